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
    # A precompiled header is a cache hit only when ccache may ignore its time stamp. With the checkout as base
    # directory another checkout finds what this one compiled.
    set(CMAKE_CXX_COMPILER_LAUNCHER
        ${CMAKE_COMMAND} -E env
        CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime
        CCACHE_BASEDIR=${CMAKE_SOURCE_DIR}
        CCACHE_NOHASHDIR=1
        ${CCACHE_PROGRAM})
endif()

# What the optimiser of a release thinks to see should keep nobody from running the program.
set(warnings_are_errors $<$<NOT:$<CONFIG:Release>>:-Werror>)
add_compile_options(-Wall -Wextra -Wshadow -Wnon-virtual-dtor -Wold-style-cast ${warnings_are_errors} -fno-math-errno)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    add_compile_options(-fpch-preprocess)
endif()
if(VELLORIA_SANITIZE)
    add_compile_options(-fsanitize=${VELLORIA_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${VELLORIA_SANITIZE})
endif()
add_compile_definitions(QT_NO_CAST_TO_ASCII QT_NO_KEYWORDS QT_NO_FOREACH)

# velloria_precompile(TARGET [WINDOWS] [TESTS])
# The library headers of a target, parsed once for all targets of its kind. A test file takes a third of the
# time with it.
function(velloria_precompile target)
    if(NOT VELLORIA_PCH)
        return()
    endif()
    cmake_parse_arguments(ARG "WINDOWS;TESTS" "" "" ${ARGN})
    set(pch velloria_pch)
    set(libraries Qt6::Core Qt6::Gui)
    set(headers <algorithm> <cmath> <cstdint> <filesystem> <functional> <map> <memory> <optional> <span>
        <string> <vector> <QByteArray> <QMap> <QString> <QStringList> <QVariant>)
    if(ARG_WINDOWS)
        string(APPEND pch _windows)
        list(APPEND libraries Qt6::Widgets)
        list(APPEND headers <QAction> <QApplication> <QDialog> <QLabel> <QMainWindow> <QTimer>)
    endif()
    if(ARG_TESTS)
        string(APPEND pch _tests)
        list(APPEND libraries GTest::gtest GTest::gmock)
        list(APPEND headers <QDir> <QFile> <QTemporaryDir> <gmock/gmock.h> <gtest/gtest.h>)
    endif()
    if(ARG_WINDOWS AND ARG_TESTS)
        list(APPEND libraries Qt6::Network Qt6::Test)
        list(APPEND headers <QTest>)
    endif()
    if(NOT TARGET ${pch})
        file(WRITE "${CMAKE_BINARY_DIR}/${pch}.cpp" "// Holds the precompiled header.\n")
        add_library(${pch} OBJECT "${CMAKE_BINARY_DIR}/${pch}.cpp")
        target_link_libraries(${pch} PRIVATE ${libraries})
        target_include_directories(${pch} PRIVATE "${PROJECT_SOURCE_DIR}/src")
        target_precompile_headers(${pch} PRIVATE ${headers})
    endif()
    target_precompile_headers(${target} REUSE_FROM ${pch})
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
    if("Qt6::Widgets" IN_LIST ARG_DEPENDS)
        velloria_precompile(${name} WINDOWS)
    else()
        velloria_precompile(${name})
    endif()
endfunction()
