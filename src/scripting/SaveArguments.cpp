#include "scripting/SaveArguments.h"

#include "scripting/ScriptText.h"

#include <algorithm>
#include <array>

namespace velloria::SaveArguments
{

namespace
{

FileOptions optionsOfType(const QString& uti, double sampleRate, uint32_t sampleSize, uint32_t numChannels)
{
    const std::shared_ptr<AudioFile> writer =
        AudioFileRegistry::audioFileWithUTI(uti, sampleRate, sampleSize, numChannels);
    return writer ? writer->fileOptions() : FileOptions();
}

bool hasTag(const FileOptions& options, int tag)
{
    return std::any_of(options.items.begin(), options.items.end(),
                       [tag](const FileOption& option) { return option.isEnabled && option.tag == tag; });
}

QString notOffered(const QString& uti, const FileOptions& options)
{
    const AudioFileType* type = AudioFileRegistry::typeWithUTI(uti);
    const QString name = type ? type->displayName : uti;
    QStringList tags;
    for (const FileOption& option : options.items) {
        if (option.isEnabled)
            tags += QString::number(option.tag);
    }
    if (tags.isEmpty())
        return QStringLiteral("%1 files have no options").arg(name);
    return QStringLiteral("%1 files offer the options %2").arg(name, tags.join(QStringLiteral(", ")));
}

QString extensionOf(const std::filesystem::path& path)
{
    const std::string extension = path.extension().native();
    return QString::fromUtf8(extension.data(), qsizetype(extension.size())).sliced(extension.empty() ? 0 : 1);
}

/// True for two names of one type, as film.mp4 and film.mov.
bool areOpenedAlike(const std::filesystem::path& path, const std::filesystem::path& other)
{
    const AudioFileType* const type = AudioFileRegistry::typeOpenedByExtension(extensionOf(path));
    return type && type == AudioFileRegistry::typeOpenedByExtension(extensionOf(other));
}

} // namespace

const AudioFileType* type(const QString& typeName, const std::filesystem::path& path, QString* error)
{
    const std::string extension = path.extension().native();
    const QString shownExtension = ScriptText::forDisplay(
        ScriptText::fromBytes(QByteArrayView(extension.data(), qsizetype(extension.size()))));
    const AudioFileType* type = !typeName.isEmpty() ? AudioFileRegistry::typeWithName(typeName)
                                : shownExtension.isEmpty()
                                    ? nullptr
                                    : AudioFileRegistry::typeWithExtension(shownExtension.sliced(1));
    QString problem;
    if (!type && !typeName.isEmpty())
        problem = QStringLiteral("there is no file type “%1”").arg(typeName);
    else if (!type && shownExtension.isEmpty())
        problem = QStringLiteral("“%1” has no extension that tells its type").arg(displayName(path));
    else if (!type)
        problem = QStringLiteral("the extension “%1” is of no type that Velloria knows").arg(shownExtension);
    else if (!type->create)
        problem = QStringLiteral("%1 files cannot be written").arg(type->displayName);
    if (problem.isEmpty())
        return type;
    if (error)
        *error = problem;
    return nullptr;
}

std::optional<TargetType> targetType(const QString& typeName, const std::filesystem::path& path,
                                     const std::filesystem::path& source, QString* error)
{
    const std::string extension = path.extension().native();
    const bool isSame = !extension.empty() && qstricmp(extension.c_str(), source.extension().c_str()) == 0;
    const AudioFileType* named = type(typeName, path, nullptr);
    const bool follows = typeName.isEmpty() && (isSame || (!named && areOpenedAlike(path, source)));
    if (!named && !follows)
        type(typeName, path, error);
    if (!named && !follows)
        return std::nullopt;
    return TargetType{named ? named->uti : QString(), follows};
}

QString utiOf(const TargetType& target, const SoundDocument& document, int optionTag)
{
    const QString& own = document.fileType();
    const AudioFileType* ownType = AudioFileRegistry::typeWithUTI(own);
    if (!target.followsDocument || !ownType || !ownType->create)
        return target.uti;
    const bool isOptionOfOther = optionTag != 0 && !target.uti.isEmpty() &&
                                 !optionProblem(own, optionTag, document).isEmpty() &&
                                 optionProblem(target.uti, optionTag, document).isEmpty();
    return isOptionOfOther ? target.uti : own;
}

std::optional<int> optionTag(const QString& text)
{
    bool isNumber = false;
    const int number = text.toInt(&isNumber);
    if (isNumber)
        return number;
    const QByteArray code = text.toLatin1().leftJustified(4, ' ');
    if (text.isEmpty() || code.size() != 4)
        return std::nullopt;
    const auto byte = [&code](qsizetype i) {
        return static_cast<uint32_t>(static_cast<unsigned char>(code[i]));
    };
    return static_cast<int>(byte(0) << 24 | byte(1) << 16 | byte(2) << 8 | byte(3));
}

QString optionProblem(const QString& uti, int tag, const SoundDocument& document)
{
    const FileOptions options =
        optionsOfType(uti, document.sampleRate(), static_cast<uint32_t>(document.sampleSize()),
                      static_cast<uint32_t>(document.trackCount()));
    return hasTag(options, tag) ? QString() : notOffered(uti, options);
}

QString optionProblem(const QString& uti, int tag)
{
    // A format may offer other bit rates for other rates and channel counts.
    for (const double rate : std::array{44100.0, 8000.0, 22050.0, 96000.0})
        for (const uint32_t numChannels : std::array{2U, 1U})
            if (hasTag(optionsOfType(uti, rate, 16, numChannels), tag))
                return {};
    return notOffered(uti, optionsOfType(uti, 44100.0, 16, 2));
}

} // namespace velloria::SaveArguments
