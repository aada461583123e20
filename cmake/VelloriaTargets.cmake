# How every target of the project is made: one static library per folder, linked only to the folders
# above it, so that an include in the wrong direction does not link.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

if(NOT CMAKE_BUILD_TYPE)
    set(CMAKE_BUILD_TYPE RelWithDebInfo)
endif()

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM)
    # A precompiled header is a cache hit only when ccache may ignore its time stamp.
    set(CMAKE_CXX_COMPILER_LAUNCHER
        ${CMAKE_COMMAND} -E env
        CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime
        ${CCACHE_PROGRAM})
endif()

add_compile_options(-Wall -Wextra -Wshadow -Wnon-virtual-dtor -Wold-style-cast -Werror -fno-math-errno)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    add_compile_options(-fpch-preprocess)
endif()
if(VELLORIA_SANITIZE)
    add_compile_options(-fsanitize=${VELLORIA_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${VELLORIA_SANITIZE})
endif()
add_compile_definitions(QT_NO_CAST_TO_ASCII QT_NO_KEYWORDS QT_NO_FOREACH)

# One shared precompiled header for all targets.
function(velloria_precompile target)
    if(NOT VELLORIA_PCH)
        return()
    endif()
    if(NOT TARGET velloria_pch)
        file(WRITE "${CMAKE_BINARY_DIR}/pch.cpp" "// Holds the precompiled header.\n")
        add_library(velloria_pch OBJECT "${CMAKE_BINARY_DIR}/pch.cpp")
        target_link_libraries(velloria_pch PRIVATE Qt6::Core Qt6::Gui)
        target_include_directories(velloria_pch PRIVATE "${PROJECT_SOURCE_DIR}/src")
        target_precompile_headers(velloria_pch PRIVATE
            <algorithm> <cmath> <cstdint> <filesystem> <functional> <map> <memory> <optional> <span>
            <string> <vector> <QByteArray> <QMap> <QString> <QStringList> <QVariant>)
    endif()
    target_precompile_headers(${target} REUSE_FROM velloria_pch)
endfunction()

# velloria_library(NAME folder-library  DEPENDS libraries...)
# A static library of every source file in the calling folder.
function(velloria_library name)
    cmake_parse_arguments(ARG "" "" "DEPENDS" ${ARGN})
    file(GLOB sources CONFIGURE_DEPENDS "*.cpp")
    list(FILTER sources EXCLUDE REGEX "/main\\.cpp$")
    if(NOT sources)
        add_library(${name} INTERFACE)
        target_link_libraries(${name} INTERFACE ${ARG_DEPENDS})
        return()
    endif()
    file(GLOB headers CONFIGURE_DEPENDS "*.h")
    add_library(${name} STATIC ${sources} ${headers})
    target_include_directories(${name} PUBLIC "${PROJECT_SOURCE_DIR}/src")
    target_link_libraries(${name} PUBLIC Qt6::Core Qt6::Gui Threads::Threads ${ARG_DEPENDS})
    velloria_precompile(${name})
endfunction()
