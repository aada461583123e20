#include "controllers/SoundController.h"
#include "document/MarkerSplitter.h"
#include "scripting/CommandGroups.h"
#include "scripting/SaveArguments.h"
#include "scripting/ScriptText.h"

#include <algorithm>

namespace velloria
{

namespace
{

using Type = CommandParameter::Type;

const QString kCount = QStringLiteral("Count");
const QString kPath = QStringLiteral("Path");
const QString kType = QStringLiteral("Type");
const QString kOption = QStringLiteral("Option");
const QString kSeams = QStringLiteral("Seams");
const QString kEncodeAll = QStringLiteral("none");
const QStringList kSeamModes = {QStringLiteral("exact"), kEncodeAll};
const QString kFolder = QStringLiteral("Folder");
const QString kPrefix = QStringLiteral("Prefix");
// What the formats that hold most of them can count.
constexpr int kMaxTracks = 65535;

CommandDescription setTracksCommand()
{
    CommandDescription command;
    command.name = QStringLiteral("set tracks");
    command.summary = QStringLiteral("Adds silent tracks at the end, or drops the last ones.");
    command.parameters = {makeParameter(kCount, Type::integer, {}, 1, kMaxTracks, {},
                                        QStringLiteral("Number of tracks (channels)."))};
    command.check = [](const QVariantMap& arguments) {
        return arguments.contains(kCount) ? QString() : QStringLiteral("Count= is missing");
    };
    command.run = [](SoundController& controller, const QVariantMap& arguments) {
        controller.document().setNumTracks(static_cast<int32_t>(arguments.value(kCount).toLongLong()));
        return MaybeError();
    };
    return command;
}

/// Tags that are no free text.
CommandParameter metadataParameter(const QString& key)
{
    static const QStringList numbers = {QStringLiteral("tempo"), QStringLiteral("advisory")};
    static const QStringList flags = {QStringLiteral("compilation"), QStringLiteral("gapless"),
                                      QStringLiteral("podcast")};
    if (numbers.contains(key))
        return makeParameter(key, Type::integer, {}, 0, {}, {}, QStringLiteral("0 takes it out."));
    if (flags.contains(key))
        return makeParameter(key, Type::boolean, {}, 0, 1, {}, QStringLiteral("0 takes it out."));
    if (key == MetadataKey::trackNumber || key == MetadataKey::discNumber)
        return makeParameter(key, Type::string, {}, {}, {}, {},
                             QStringLiteral("A number, or a number and a total as in 3/12."));
    return makeParameter(key, Type::string, {}, {}, {}, {}, QStringLiteral("An empty text takes it out."));
}

/// A total is kept beside a number only, and neither with other characters.
bool isPosition(const QString& text)
{
    const QStringList parts = text.split(u'/');
    const auto isNumber = [](const QString& part) {
        bool isWhole = false;
        return part.isEmpty() || (part.toLongLong(&isWhole) >= 0 && isWhole);
    };
    const bool areNumbers = parts.size() <= 2 && std::all_of(parts.begin(), parts.end(), isNumber);
    return areNumbers && (parts.size() < 2 || parts[0].toLongLong() > 0 || parts[1].toLongLong() == 0);
}

QString checkMetadata(const QVariantMap& arguments)
{
    for (const QString& key : {MetadataKey::trackNumber, MetadataKey::discNumber}) {
        if (!isPosition(arguments.value(key).toString()))
            return QStringLiteral("%1= must be a number, or a number and a total as in 3/12").arg(key);
    }
    return arguments.isEmpty() ? QStringLiteral("no tag is named") : QString();
}

CommandDescription setMetadataCommand()
{
    CommandDescription command;
    command.name = QStringLiteral("set metadata");
    command.summary = QStringLiteral("Sets tags; those that are not named stay.");
    for (const QString& key : AudioMetadata::dictionaryKeys())
        if (key != MetadataKey::attachedPictures)
            command.parameters.push_back(metadataParameter(key));
    command.check = checkMetadata;
    command.run = [](SoundController& controller, const QVariantMap& arguments) {
        AudioMetadata metadata = controller.document().audioMetadata();
        MetadataDictionary dictionary = metadata.dictionary();
        for (auto argument = arguments.begin(); argument != arguments.end(); ++argument)
            dictionary.insert(argument.key(), argument->toString());
        metadata.setValuesWithDictionary(dictionary);
        controller.document().undoableSetAudioMetadata(metadata);
        return MaybeError();
    };
    return command;
}

QString checkSave(const QVariantMap& arguments)
{
    const bool hasPath = arguments.contains(kPath);
    if (hasPath && arguments.value(kPath).toString().isEmpty())
        return QStringLiteral("Path= is empty");
    if (!hasPath && arguments.contains(kType))
        return QStringLiteral("Type= needs a Path=");
    QString problem;
    const AudioFileType* type =
        hasPath ? SaveArguments::type(arguments.value(kType).toString(),
                                      ScriptText::toPath(arguments.value(kPath).toString()), &problem)
                : nullptr;
    if (!problem.isEmpty() || !arguments.contains(kOption))
        return problem;
    const std::optional<int> tag = SaveArguments::optionTag(arguments.value(kOption).toString());
    if (!tag)
        return QStringLiteral("Option=%1 is neither a number nor a four-character code")
            .arg(arguments.value(kOption).toString());
    return type ? SaveArguments::optionProblem(type->uti, *tag) : QString();
}

MaybeError save(SoundController& controller, const QVariantMap& arguments)
{
    const SoundDocument& document = controller.document();
    SaveRequest request;
    if (arguments.contains(kPath)) {
        request.path = ScriptText::toPath(arguments.value(kPath).toString());
        request.operation = SaveOperation::saveTo;
    } else {
        request.path = document.filePath();
        request.uti = document.fileType();
    }
    if (request.path.empty())
        return Error{Error::Code::failed, QStringLiteral("The document has no file yet: Path= is missing.")};
    if (arguments.contains(kOption))
        request.optionTag = SaveArguments::optionTag(arguments.value(kOption).toString()).value_or(0);
    if (arguments.contains(kSeams))
        request.seams = arguments.value(kSeams).toString() == kEncodeAll ? SeamMode::none : SeamMode::exact;
    if (arguments.contains(kPath)) {
        QString problem;
        const auto target = SaveArguments::targetType(arguments.value(kType).toString(), request.path,
                                                      document.filePath(), &problem);
        if (!target)
            return Error{Error::Code::failed, problem + u'.'};
        request.uti = SaveArguments::utiOf(*target, document, request.optionTag);
    }
    if (request.optionTag != 0) {
        const QString problem = SaveArguments::optionProblem(request.uti, request.optionTag, document);
        if (!problem.isEmpty())
            return Error{Error::Code::failed, problem + u'.'};
    }
    return controller.save(request);
}

CommandParameter seamsParameter()
{
    CommandParameter parameter = makeParameter(
        kSeams, Type::string, {}, {}, {}, {},
        QStringLiteral("Copies packets of the opened file that no command touched: exact does and "
                       "keeps every frame in its place, none encodes all. Left out, the "
                       "preference tells."));
    parameter.choices = kSeamModes;
    return parameter;
}

CommandDescription saveCommand()
{
    CommandDescription command;
    command.name = QStringLiteral("save");
    command.summary = QStringLiteral("Writes the document: over its own file, or to another one.");
    command.parameters = {
        makeParameter(kPath, Type::path, {}, {}, {}, {},
                      QStringLiteral("File to write instead; the document stays that of its own file.")),
        makeParameter(kType, Type::string, {}, {}, {}, {},
                      QStringLiteral("File type; left out, the path's extension tells it.")),
        makeParameter(kOption, Type::string, {}, {}, {}, {},
                      QStringLiteral("Sample size in bits or bit rate, from the type's list.")),
        seamsParameter(),
    };
    command.check = checkSave;
    command.run = save;
    command.makesStep = false;
    return command;
}

QString checkSplit(const QVariantMap& arguments)
{
    if (arguments.value(kFolder).toString().isEmpty())
        return QStringLiteral("Folder= is missing");
    if (arguments.value(kType).toString().isEmpty())
        return QStringLiteral("Type= is missing");
    QString problem;
    const AudioFileType* type = SaveArguments::type(arguments.value(kType).toString(), {}, &problem);
    if (!type || !arguments.contains(kOption))
        return problem;
    const std::optional<int> tag = SaveArguments::optionTag(arguments.value(kOption).toString());
    return tag ? SaveArguments::optionProblem(type->uti, *tag)
               : QStringLiteral("Option=%1 is neither a number nor a four-character code")
                     .arg(arguments.value(kOption).toString());
}

MaybeError split(SoundController& controller, const QVariantMap& arguments)
{
    MarkerSplitter::Request request;
    request.folder = ScriptText::toPath(arguments.value(kFolder).toString());
    request.uti = SaveArguments::type(arguments.value(kType).toString(), {}, nullptr)->uti;
    request.addPrefix = arguments.value(kPrefix).toInt() != 0;
    if (arguments.contains(kOption))
        request.optionTag = SaveArguments::optionTag(arguments.value(kOption).toString()).value_or(0);
    request.metadata = MarkerSplitter::metadataForPieces(controller.document());
    request.willReplace = [&controller] { controller.host().willReplaceFile(); };
    MarkerSplitter splitter(controller.document(), request);
    if (MaybeError error = splitter.refusal())
        return error;
    const QStringList losses = splitter.losses();
    if (!losses.isEmpty() &&
        !controller.host().alerts().confirmLoss(QStringLiteral("Split all the same?"), losses))
        return Error::cancelled();
    const std::unique_ptr<Progress> progress =
        controller.host().beginProgress(QStringLiteral("Splitting at markers"));
    return splitter.run(*progress).error;
}

CommandDescription splitCommand()
{
    CommandDescription command;
    command.name = QStringLiteral("split");
    command.summary = QStringLiteral("Writes a file for each region between two markers.");
    command.parameters = {
        makeParameter(kFolder, Type::path, {}, {}, {}, {}, QStringLiteral("Folder for the files.")),
        makeParameter(kType, Type::string, {}, {}, {}, {}, QStringLiteral("Their file type.")),
        makeParameter(kOption, Type::string, {}, {}, {}, {},
                      QStringLiteral("Sample size in bits or bit rate, from the type's list.")),
        makeParameter(kPrefix, Type::boolean, {}, 0, 1, 0,
                      QStringLiteral("1 puts the track number before each name.")),
    };
    command.check = checkSplit;
    command.run = split;
    command.makesStep = false;
    return command;
}

} // namespace

void CommandGroups::appendDocumentCommands(std::vector<CommandDescription>& commands)
{
    commands.push_back(setTracksCommand());
    commands.push_back(setMetadataCommand());
    commands.push_back(saveCommand());
    commands.push_back(splitCommand());
}

} // namespace velloria
