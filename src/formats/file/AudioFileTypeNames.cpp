#include "formats/file/AudioFileTypeNames.h"

#include <algorithm>

namespace velloria
{

namespace
{

std::vector<AudioFileTypeNames> allNames()
{
    std::vector<AudioFileTypeNames> types;
    const auto list = [](const char* words) { return QString::fromLatin1(words).split(u'|'); };
    const auto add = [&](const char* displayName, const char* uti, const char* acceptedNames,
                         const char* extensionsForSave, FourCharCode hfsType,
                         const char* furtherExtensions = nullptr) {
        AudioFileTypeNames& type = types.emplace_back();
        type.displayName = QString::fromLatin1(displayName);
        type.uti = QString::fromLatin1(uti);
        type.acceptedNames = list(acceptedNames);
        type.extensionsForSave = list(extensionsForSave);
        type.extensionsForOpen = type.extensionsForSave;
        if (furtherExtensions)
            type.extensionsForOpen += list(furtherExtensions);
        type.defaultExtension = type.extensionsForSave.first();
        type.hfsType = hfsType;
    };

    add("AIFF Audio", "public.aiff-audio", "AIFF|AIF", "aif|aiff", fourCharCode("AIFF"), "aff");
    add("AIFF-C Audio", "public.aifc-audio", "AIFF-C|AIFC", "aifc|aiff|aif", fourCharCode("AIFC"));
    add("ADTS AAC Audio", "public.aac-audio", "ADTS|ADTS AAC", "aac", fourCharCode("ADTS"), "adts");
    add("CAF Audio", "com.apple.coreaudio-format", "CAF", "caf", fourCharCode("CAF "), "caff");
    add("FLAC Audio", "org.videolan.flac", "FLAC", "flac", fourCharCode("fLaC"));
    add("AAC (m4a) Audio", "public.mpeg-4-audio.aac", "AAC|M4A", "m4a", fourCharCode("M4A "),
        "mp4|mov|m4b|m4r|m4v|qt|3gp|3g2");
    add("Apple Lossless Audio", "public.mpeg-4-audio.apple-lossless", "ALAC|Apple Lossless|Lossless", "m4a",
        fourCharCode("M4A "));
    add("NeXT/Sun Audio", "public.ulaw-audio", "au|Sun|NeXT|ulaw", "au|snd|ulw", fourCharCode("au  "),
        "ulaw");
    add("MP3 Audio", "public.mp3", "mp3|mpeg3", "mp3|mpg3|mpg|mpeg|mp2", fourCharCode("MPG3"), "mp1|mpa");
    add("Ogg Vorbis Audio", "org.videolan.ogg-audio", "ogg|vorbis|ogg vorbis", "ogg", fourCharCode("ogg "),
        "oga");
    add("Tab-delimited Text", "public.plain-text", "text|txt", "txt", fourCharCode("TEXT"));
    add("WAVE Audio", "com.microsoft.waveform-audio", "wave|wav|bwf", "wav|wave|bwf", fourCharCode("WAVE"),
        "rf64|bw64");
    return types;
}

} // namespace

const std::vector<AudioFileTypeNames>& AudioFileTypeNames::all()
{
    static const std::vector<AudioFileTypeNames> names = allNames();
    return names;
}

const AudioFileTypeNames* AudioFileTypeNames::withUTI(const QString& uti)
{
    const auto found = std::ranges::find(all(), uti, &AudioFileTypeNames::uti);
    return found == all().end() ? nullptr : &*found;
}

} // namespace velloria
