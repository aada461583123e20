#include "formats/AudioFileRegistry.h"

#include "formats/AifcFile.h"
#include "formats/AiffFile.h"
#include "formats/AudioDataTransportStreamAACFile.h"
#include "formats/AudioText.h"
#include "formats/FLACFile.h"
#include "formats/Mp3File.h"
#include "formats/Mpeg4AACFile.h"
#include "formats/Mpeg4AppleLosslessFile.h"
#include "formats/NeXTSunFile.h"
#include "formats/OggVorbisFile.h"
#include "formats/VLAFCoreAudioFile.h"
#include "formats/WaveFile.h"
#include "platform/Log.h"

#include <array>
#include <string_view>

namespace velloria::AudioFileRegistry
{

namespace
{

const QString aacUTI = QStringLiteral("public.mpeg-4-audio.aac");
const QString mp3UTI = QStringLiteral("public.mp3");
const QString quickTimeUTI = QStringLiteral("com.apple.quicktime-movie");

// The order in which a file that its name does not explain is looked at; the last ones take almost anything.
constexpr std::array<std::u16string_view, 10> recognitionOrder = {
    u"public.aiff-audio",          u"public.aifc-audio",
    u"com.apple.coreaudio-format", u"org.videolan.flac",
    u"public.ulaw-audio",          u"com.microsoft.waveform-audio",
    u"public.mpeg-4-audio.aac",    u"org.videolan.ogg-audio",
    u"public.aac-audio",           u"public.mp3"};

template <typename File> auto creator()
{
    return [](double sampleRate, uint32_t sampleSize, uint32_t numChannels) {
        return std::make_shared<File>(sampleRate, sampleSize, numChannels);
    };
}

template <typename File> void setReader(AudioFileType& type)
{
    type.validateFileHeader = File::validateFileHeader;
    type.open = File::open;
}

template <typename File> void setFunctions(AudioFileType& type)
{
    setReader<File>(type);
    type.create = creator<File>();
}

std::vector<AudioFileType> describedTypes()
{
    std::vector<AudioFileType> types;
    const auto add = [&types](const char* displayName, const char* uti, const QStringList& acceptedNames,
                              const QStringList& extensionsForSave, FourCharCode hfsType) -> AudioFileType& {
        AudioFileType type;
        type.displayName = QString::fromLatin1(displayName);
        type.uti = QString::fromLatin1(uti);
        type.acceptedNames = acceptedNames;
        type.defaultExtension = extensionsForSave.first();
        type.extensionsForSave = extensionsForSave;
        type.hfsType = hfsType;
        return types.emplace_back(std::move(type));
    };
    const auto list = [](const char* words) { return QString::fromLatin1(words).split(u'|'); };

    setFunctions<AiffFile>(
        add("AIFF Audio", "public.aiff-audio", list("AIFF|AIF"), list("aif|aiff"), fourCharCode("AIFF")));
    setFunctions<AifcFile>(add("AIFF-C Audio", "public.aifc-audio", list("AIFF-C|AIFC"),
                               list("aifc|aiff|aif"), fourCharCode("AIFC")));
    setFunctions<AudioDataTransportStreamAACFile>(
        add("ADTS AAC Audio", "public.aac-audio", list("ADTS|ADTS AAC"), list("aac"), fourCharCode("ADTS")));
    setFunctions<VLAFCoreAudioFile>(
        add("CAF Audio", "com.apple.coreaudio-format", list("CAF"), list("caf"), fourCharCode("CAF ")));
    setFunctions<FLACFile>(
        add("FLAC Audio", "org.videolan.flac", list("FLAC"), list("flac"), fourCharCode("fLaC")));
    setFunctions<Mpeg4AACFile>(add("AAC (m4a) Audio", "public.mpeg-4-audio.aac", list("AAC|M4A"), list("m4a"),
                                   fourCharCode("M4A ")));
    setFunctions<Mpeg4AppleLosslessFile>(add("Apple Lossless Audio", "public.mpeg-4-audio.apple-lossless",
                                             list("ALAC|Apple Lossless|Lossless"), list("m4a"),
                                             fourCharCode("M4A ")));
    setFunctions<NeXTSunFile>(add("NeXT/Sun Audio", "public.ulaw-audio", list("au|Sun|NeXT|ulaw"),
                                  list("au|snd|ulw"), fourCharCode("au  ")));
    setFunctions<Mp3File>(add("MP3 Audio", "public.mp3", list("mp3|mpeg3"), list("mp3|mpg3|mpg|mpeg|mp2"),
                              fourCharCode("MPG3")));
    setFunctions<OggVorbisFile>(add("Ogg Vorbis Audio", "org.videolan.ogg-audio",
                                    list("ogg|vorbis|ogg vorbis"), list("ogg"), fourCharCode("ogg ")));
    add("Tab-delimited Text", "public.plain-text", list("text|txt"), list("txt"), fourCharCode("TEXT"))
        .create = creator<AudioText>();
    setFunctions<WaveFile>(add("WAVE Audio", "com.microsoft.waveform-audio", list("wave|wav|bwf"),
                               list("wav|wave|bwf"), fourCharCode("WAVE")));
    return types;
}

bool matches(const AudioFileType& type, const QString& name)
{
    return type.acceptedNames.contains(name, Qt::CaseInsensitive) ||
           type.displayName.compare(name, Qt::CaseInsensitive) == 0 ||
           type.uti.compare(name, Qt::CaseInsensitive) == 0;
}

const AudioFileType* typeRecognisedIn(const FileHandle& handle)
{
    for (const std::u16string_view uti : recognitionOrder) {
        const AudioFileType* type =
            typeWithUTI(QString::fromUtf16(uti.data(), static_cast<qsizetype>(uti.size())));
        if (type && type->validateFileHeader && type->validateFileHeader(handle))
            return type;
    }
    return nullptr;
}

Error unreadableError(const FileHandle& handle)
{
    const QString name = displayName(handle.path());
    if (handle.length() == 0)
        return {Error::Code::corruptFile, QStringLiteral("“%1” is empty.").arg(name)};
    return {Error::Code::unsupported,
            QStringLiteral("“%1” is not a sound file that Velloria can read.").arg(name)};
}

/// Opens a file as `type` (null for none), else as what its header tells.
std::shared_ptr<AudioFile> openFile(const AudioFileType* type, const std::filesystem::path& path,
                                    MaybeError* error)
{
    MaybeError failure;
    std::shared_ptr<AudioFile> file;
    if (const std::shared_ptr<FileHandle> handle = FileHandle::openForReading(path, &failure)) {
        // A type without a header of its own comes after all others, whatever the name says.
        const bool hasHeader = !type || type->uti != mp3UTI;
        if (type && type->open && hasHeader)
            file = type->open(handle, &failure);
        if (!file) {
            const AudioFileType* recognised = typeRecognisedIn(*handle);
            if (recognised && (recognised != type || !hasHeader) && recognised->open)
                file = recognised->open(handle, &failure);
        }
        if (!file && !failure)
            failure = unreadableError(*handle);
    }
    if (!file && error)
        *error = failure;
    return file;
}

} // namespace

const std::vector<AudioFileType>& types()
{
    static const std::vector<AudioFileType> all = describedTypes();
    return all;
}

const AudioFileType* typeWithUTI(const QString& uti)
{
    for (const AudioFileType& type : types()) {
        if (type.uti == uti)
            return &type;
    }
    return nullptr;
}

std::vector<const AudioFileType*> writableTypes()
{
    std::vector<const AudioFileType*> writable;
    for (const AudioFileType& type : types()) {
        if (type.create)
            writable.push_back(&type);
    }
    return writable;
}

const AudioFileType* typeWithName(const QString& typeName)
{
    for (const AudioFileType& type : types()) {
        if (matches(type, typeName))
            return &type;
    }
    return nullptr;
}

QString UTIWithTypeName(const QString& typeName)
{
    const AudioFileType* type = typeWithName(typeName);
    return type ? type->uti : aacUTI;
}

const AudioFileType* typeWithExtension(const QString& extension)
{
    for (const AudioFileType& type : types()) {
        if (type.extensionsForSave.contains(extension, Qt::CaseInsensitive))
            return &type;
    }
    return nullptr;
}

std::shared_ptr<AudioFile> audioFileWithTypeName(const QString& typeName, const std::filesystem::path& path,
                                                 MaybeError* error)
{
    const QString uti = UTIWithTypeName(typeName);
    const AudioFileType* type = typeWithUTI(uti);
    if (!type->open)
        logLine(QStringLiteral("UTI not recognized: %1").arg(uti));
    return openFile(type, path, error);
}

std::shared_ptr<AudioFile> audioFileWithPath(const std::filesystem::path& path, MaybeError* error)
{
    const std::string extension = path.extension().native();
    const AudioFileType* type = nullptr;
    if (!extension.empty())
        type = typeWithExtension(
            QString::fromUtf8(extension.data() + 1, static_cast<qsizetype>(extension.size()) - 1));
    return openFile(type, path, error);
}

std::shared_ptr<AudioFile> audioFileWithUTI(const QString& uti, double sampleRate, uint32_t sampleSize,
                                            uint32_t numChannels)
{
    // A movie is written as plain AAC.
    const AudioFileType* type = typeWithUTI(uti == quickTimeUTI ? aacUTI : uti);
    if (!type || !type->create) {
        logLine(QStringLiteral("Audio file not created because UTI not recognized: %1").arg(uti));
        return nullptr;
    }
    return type->create(sampleRate, sampleSize, numChannels);
}

} // namespace velloria::AudioFileRegistry
