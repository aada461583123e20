#include "platform/codec/RubberBandLibrary.h"

#include "platform/Log.h"

#include <dlfcn.h>

namespace velloria
{

namespace
{

/// Below the level of warnings, which is 0.
constexpr int kSilent = -1;

template <typename Function> bool find(void* library, const char* name, Function& function)
{
    function = reinterpret_cast<Function>(::dlsym(library, name));
    return function != nullptr;
}

} // namespace

bool RubberBandLibrary::open()
{
    void* const library = ::dlopen("librubberband.so.2", RTLD_NOW | RTLD_LOCAL);
    if (!library)
        return false;
    bool isComplete = true;
#define VELLORIA_FIND(name) isComplete &= find(library, #name, name);
    VELLORIA_RUBBERBAND_FUNCTIONS(VELLORIA_FIND)
#undef VELLORIA_FIND
    // Else it tells on standard error what it is about to do.
    if (isComplete)
        rubberband_set_default_debug_level(kSilent);
    return isComplete;
}

const RubberBandLibrary* RubberBandLibrary::get()
{
    static RubberBandLibrary library;
    static const bool isUsable = library.open();
    if (isUsable)
        return &library;
    logLine(
        QStringLiteral("The library Rubber Band, which other speeds and pitches need, cannot be loaded."));
    return nullptr;
}

} // namespace velloria
