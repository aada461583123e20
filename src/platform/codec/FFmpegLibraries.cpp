#include "platform/codec/FFmpegLibraries.h"

#include <dlfcn.h>

namespace velloria
{

namespace
{

// The largest buffer that any sane sound file needs; the index of an MPEG-4 file of three days fits in it.
constexpr size_t kMaxAllocationBytes = size_t{256} << 20;

template <typename Function> bool find(void* library, const char* name, Function& function)
{
    function = reinterpret_cast<Function>(::dlsym(library, name));
    return function != nullptr;
}

void* openLibrary(const char* name, int majorVersion)
{
    const std::string file = std::string("lib") + name + ".so." + std::to_string(majorVersion);
    return ::dlopen(file.c_str(), RTLD_LAZY | RTLD_LOCAL);
}

bool openAll(FFmpegLibraries& table)
{
    void* const avutil = openLibrary("avutil", LIBAVUTIL_VERSION_MAJOR);
    void* const avcodec = openLibrary("avcodec", LIBAVCODEC_VERSION_MAJOR);
    void* const avformat = openLibrary("avformat", LIBAVFORMAT_VERSION_MAJOR);
    if (!avutil || !avcodec || !avformat)
        return false;
    bool isComplete = true;
#define VELLORIA_FIND_IN_AVFORMAT(function) isComplete &= find(avformat, #function, table.function);
#define VELLORIA_FIND_IN_AVCODEC(function) isComplete &= find(avcodec, #function, table.function);
#define VELLORIA_FIND_IN_AVUTIL(function) isComplete &= find(avutil, #function, table.function);
    VELLORIA_AVFORMAT_FUNCTIONS(VELLORIA_FIND_IN_AVFORMAT)
    VELLORIA_AVCODEC_FUNCTIONS(VELLORIA_FIND_IN_AVCODEC)
    VELLORIA_AVUTIL_FUNCTIONS(VELLORIA_FIND_IN_AVUTIL)
#undef VELLORIA_FIND_IN_AVFORMAT
#undef VELLORIA_FIND_IN_AVCODEC
#undef VELLORIA_FIND_IN_AVUTIL
    if (!isComplete)
        return false;
    table.av_log_set_level(AV_LOG_QUIET);
    table.av_max_alloc(kMaxAllocationBytes);
    return true;
}

struct LoadedLibraries {
    FFmpegLibraries table;
    bool isUsable = openAll(table);
};

const LoadedLibraries& libraries()
{
    static const LoadedLibraries theLibraries;
    return theLibraries;
}

} // namespace

const FFmpegLibraries* FFmpegLibraries::load(MaybeError* error)
{
    if (libraries().isUsable)
        return &libraries().table;
    if (error) {
        *error =
            Error{Error::Code::unsupported,
                  QStringLiteral("The libraries of FFmpeg (libavformat %1, libavcodec %2), which compressed "
                                 "sound needs, cannot be loaded.")
                      .arg(LIBAVFORMAT_VERSION_MAJOR)
                      .arg(LIBAVCODEC_VERSION_MAJOR)};
    }
    return nullptr;
}

const FFmpegLibraries& FFmpegLibraries::loaded()
{
    return libraries().table;
}

} // namespace velloria
