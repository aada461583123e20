#include "formats/AudioFileRegistry.h"

#include "formats/aiff/AifcFile.h"
#include "formats/aiff/AiffFile.h"
#include "formats/caf/VLAFCoreAudioFile.h"
#include "formats/flac/FLACFile.h"
#include "formats/mpeg/AudioDataTransportStreamAACFile.h"
#include "formats/mpeg/Mp3File.h"
#include "formats/mpeg4/Mpeg4AACFile.h"
#include "formats/mpeg4/Mpeg4AppleLosslessFile.h"
#include "formats/plain/AudioText.h"
#include "formats/plain/NeXTSunFile.h"
#include "formats/vorbis/OggVorbisFile.h"
#include "formats/wave/WaveFile.h"
#include "platform/Log.h"
#include "platform/MissedReads.h"

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

/// What there is to do with a file of one class; none for another type than `uti`.
template <typename File> void addFunctions(AudioFileType& type, const char* uti)
{
    if (type.uti != QLatin1String(uti))
        return;
    if constexpr (requires { &File::validateFileHeader; }) {
        type.validateFileHeader = File::validateFileHeader;
        type.open = File::open;
    }
    type.create = [](double sampleRate, uint32_t sampleSize, uint32_t numChannels) {
        return std::make_shared<File>(sampleRate, sampleSize, numChannels);
    };
}

std::vector<AudioFileType> typesWithFunctions()
{
    std::vector<AudioFileType> types;
    for (const AudioFileTypeNames& names : AudioFileTypeNames::all()) {
        AudioFileType& type = types.emplace_back(AudioFileType{names, {}, {}, {}});
        addFunctions<AiffFile>(type, "public.aiff-audio");
        addFunctions<AifcFile>(type, "public.aifc-audio");
        addFunctions<AudioDataTransportStreamAACFile>(type, "public.aac-audio");
        addFunctions<VLAFCoreAudioFile>(type, "com.apple.coreaudio-format");
        addFunctions<FLACFile>(type, "org.videolan.flac");
        addFunctions<Mpeg4AACFile>(type, "public.mpeg-4-audio.aac");
        addFunctions<Mpeg4AppleLosslessFile>(type, "public.mpeg-4-audio.apple-lossless");
        addFunctions<NeXTSunFile>(type, "public.ulaw-audio");
        addFunctions<Mp3File>(type, "public.mp3");
        addFunctions<OggVorbisFile>(type, "org.videolan.ogg-audio");
        addFunctions<AudioText>(type, "public.plain-text");
        addFunctions<WaveFile>(type, "com.microsoft.waveform-audio");
    }
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

/// A reader that forgot bytes of its file would let a save lose them. What it forgot is told like everything
/// else; the tests end here, so that it is mended.
void closeLedger(AudioFile& file)
{
    const std::vector<ByteRange> forgotten = file.closeLedger();
#ifndef NDEBUG
    if (!forgotten.empty() && qEnvironmentVariableIsSet("VELLORIA_STRICT_LEDGER")) {
        qFatal("%s: nobody declared %lld bytes at %lld", qPrintable(displayName(file.filePath())),
               static_cast<long long>(forgotten.front().length),
               static_cast<long long>(forgotten.front().offset));
    }
#endif
}

/// Opens a file as `type` (null for none), else as what its header tells; null with `failure` filled if
/// neither can be done.
std::shared_ptr<AudioFile> openHandle(const AudioFileType* type, const std::shared_ptr<FileHandle>& handle,
                                      MaybeError& failure)
{
    std::shared_ptr<AudioFile> file;
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
    return file;
}

/// The same for a path. Readers take bytes that a disk does not give for the file's end: what stood there
/// would be gone from the next save without a word, so such a file is not opened, whatever they made of it.
std::shared_ptr<AudioFile> openFile(const AudioFileType* type, const std::filesystem::path& path,
                                    MaybeError* error)
{
    MaybeError failure;
    std::shared_ptr<AudioFile> file;
    if (const std::shared_ptr<FileHandle> handle = FileHandle::openForReading(path, &failure)) {
        file = openHandle(type, handle, failure);
        if (handle->numMissedReads() > 0) {
            file = nullptr;
            failure = missedReadsError(*handle);
        }
        if (file)
            closeLedger(*file);
    }
    if (!file && error)
        *error = failure;
    return file;
}

} // namespace

const std::vector<AudioFileType>& types()
{
    static const std::vector<AudioFileType> all = typesWithFunctions();
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

const AudioFileType* typeOpenedByExtension(const QString& extension)
{
    for (const AudioFileType& type : types()) {
        if (type.open && type.extensionsForOpen.contains(extension, Qt::CaseInsensitive))
            return &type;
    }
    return nullptr;
}

QStringList extensionsForOpen()
{
    QStringList extensions;
    for (const AudioFileType& type : types()) {
        if (type.open)
            extensions += type.extensionsForOpen;
    }
    extensions.removeDuplicates();
    return extensions;
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
        type = typeOpenedByExtension(
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
