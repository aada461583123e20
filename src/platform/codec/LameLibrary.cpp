#include "platform/codec/LameLibrary.h"

#include <dlfcn.h>

namespace velloria
{

namespace
{

constexpr const char* kFileName = "libmp3lame.so.0";

template <typename Function> bool find(void* library, const char* name, Function& function)
{
    function = reinterpret_cast<Function>(::dlsym(library, name));
    return function != nullptr;
}

bool findAll(void* library, LameLibrary& table)
{
    bool isComplete = true;
#define VELLORIA_FIND(function) isComplete &= find(library, #function, table.function);
    VELLORIA_LAME_FUNCTIONS(VELLORIA_FIND)
#undef VELLORIA_FIND
    return isComplete;
}

struct LoadedLibrary {
    LameLibrary table;
    void* library = ::dlopen(kFileName, RTLD_LAZY | RTLD_LOCAL);
    bool isUsable = library && findAll(library, table);
};

} // namespace

const LameLibrary* LameLibrary::load()
{
    static const LoadedLibrary theLibrary;
    return theLibrary.isUsable ? &theLibrary.table : nullptr;
}

} // namespace velloria
