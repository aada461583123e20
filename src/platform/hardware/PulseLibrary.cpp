#include "platform/hardware/PulseLibrary.h"

#include <dlfcn.h>

namespace velloria
{

namespace
{

template <typename Function> bool find(void* library, const char* name, Function& function)
{
    function = reinterpret_cast<Function>(::dlsym(library, name));
    return function != nullptr;
}

bool openLibrary(PulseLibrary& table)
{
    void* const library = ::dlopen("libpulse.so.0", RTLD_LAZY | RTLD_LOCAL);
    if (!library)
        return false;
    bool isComplete = true;
#define VELLORIA_FIND(function) isComplete &= find(library, #function, table.function);
    VELLORIA_PULSE_FUNCTIONS(VELLORIA_FIND)
#undef VELLORIA_FIND
    return isComplete;
}

struct LoadedLibrary {
    PulseLibrary table;
    bool isUsable = openLibrary(table);
};

} // namespace

const PulseLibrary* PulseLibrary::load(MaybeError* error)
{
    static const LoadedLibrary library;
    if (library.isUsable)
        return &library.table;
    if (error)
        *error = Error{Error::Code::unsupported,
                       QStringLiteral("The library libpulse, which sound devices need, cannot be loaded.")};
    return nullptr;
}

} // namespace velloria
