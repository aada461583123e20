#include "effects/presets/PresetManager.h"

#include "platform/FileHandle.h"
#include "platform/FileReplacer.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <algorithm>
#include <cerrno>

// A static library's resources are not registered by themselves. The macro may not stand in a namespace.
static void registerPresets()
{
    Q_INIT_RESOURCE(velloria_presets);
}

namespace velloria
{

namespace
{

const QString kExtension = QStringLiteral(".velloriapreset");
const QString kFactoryFolder = QStringLiteral(":/Presets/");
/// An envelope of 65,000 points. What is larger is something else, and shall not fill the memory.
constexpr int64_t kMostBytes = int64_t{1} << 20;

/// By name as a person sorts them: the file system lists files in the order of its hashes here.
void sortByName(std::vector<std::filesystem::path>& files)
{
    std::sort(files.begin(), files.end(), [](const auto& a, const auto& b) {
        const int order = QString::localeAwareCompare(PresetManager::nameOfPreset(a).toCaseFolded(),
                                                      PresetManager::nameOfPreset(b).toCaseFolded());
        return order == 0 ? a < b : order < 0;
    });
}

} // namespace

PresetManager::PresetManager()
{
    registerPresets();
}

const PresetManager& PresetManager::defaultManager()
{
    static const PresetManager manager;
    return manager;
}

std::filesystem::path PresetManager::defaultPresetsPath() const
{
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    return folder.isEmpty() ? std::filesystem::path()
                            : pathFromQString(folder + QStringLiteral("/Velloria/Presets"));
}

std::filesystem::path PresetManager::pathForFolderNamed(const QString& folderName) const
{
    const std::filesystem::path folder = defaultPresetsPath();
    return folder.empty() ? folder : folder / pathFromQString(folderName);
}

std::filesystem::path PresetManager::pathForPreset(const QString& folderName, const QString& name) const
{
    return pathForFolderNamed(folderName) / pathFromQString(name + kExtension);
}

std::vector<std::filesystem::path> PresetManager::listOfPresetsInFolderNamed(const QString& folderName) const
{
    return listOfPresetsInPath(pathForFolderNamed(folderName));
}

std::vector<std::filesystem::path> PresetManager::listOfPresetsInPath(const std::filesystem::path& path) const
{
    std::vector<std::filesystem::path> files;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(path, error), end; !error && entry != end;
         entry.increment(error))
        if (isPresetFile(entry->path()))
            files.push_back(entry->path());
    sortByName(files);
    return files;
}

std::filesystem::path PresetManager::pathCreatingPresetFolderWithName(const QString& folderName,
                                                                      MaybeError* error) const
{
    std::filesystem::path folder = pathForFolderNamed(folderName);
    if (folder.empty()) {
        *error = Error{Error::Code::failed, QStringLiteral("This system names no folder for presets.")};
        return folder;
    }
    std::error_code problem;
    std::filesystem::create_directories(folder, problem);
    std::error_code ignored;
    if (!problem && !std::filesystem::is_directory(folder, ignored))
        problem = std::make_error_code(std::errc::not_a_directory);
    if (!problem)
        return folder;
    *error = Error::fromErrno(
        QStringLiteral("The folder “%1” for presets could not be made").arg(displayPath(folder)),
        problem.value());
    return {};
}

std::vector<std::filesystem::path>
PresetManager::listOfFactoryPresetsInDirectory(const QString& folderName) const
{
    std::vector<std::filesystem::path> files;
    const QDir folder(kFactoryFolder + folderName);
    for (const QString& name : folder.entryList(QDir::Files))
        files.push_back(pathFromQString(folder.filePath(name)));
    std::erase_if(files, [](const std::filesystem::path& file) { return !isPresetFile(file); });
    sortByName(files);
    return files;
}

bool PresetManager::isFactoryPreset(const std::filesystem::path& file)
{
    return file.native().starts_with(":/");
}

bool PresetManager::isPresetFile(const std::filesystem::path& file)
{
    return QString::fromStdString(file.extension().native()).compare(kExtension, Qt::CaseInsensitive) == 0;
}

QString PresetManager::nameOfPreset(const std::filesystem::path& file)
{
    return displayName(isPresetFile(file) ? file.stem() : file.filename());
}

QString PresetManager::fileNameForName(const QString& name)
{
    return QString(name).replace(u'/', u'-');
}

QByteArray PresetManager::read(const std::filesystem::path& file, MaybeError* error) const
{
    if (isFactoryPreset(file)) {
        QFile resource(QFile::decodeName(file.c_str()));
        if (resource.open(QIODevice::ReadOnly))
            return resource.readAll();
        *error = Error{Error::Code::readFailed, resource.errorString()};
        return {};
    }
    const std::shared_ptr<FileHandle> handle = FileHandle::openForReading(file, error);
    if (!handle)
        return {};
    const int64_t length = handle->length();
    if (length > kMostBytes) {
        *error = Error{Error::Code::fileTooLarge,
                       QStringLiteral("“%1” is too large to be a preset.").arg(displayName(file))};
        return {};
    }
    QByteArray data = handle->readAt(0, length);
    if (data.size() == length)
        return data;
    *error = Error{Error::Code::readFailed,
                   QStringLiteral("“%1” could not be read to its end.").arg(displayName(file))};
    return {};
}

MaybeError PresetManager::write(const std::filesystem::path& file, const QByteArray& data) const
{
    MaybeError error;
    const std::unique_ptr<FileReplacer> replacer = FileReplacer::create(file, &error);
    if (!replacer)
        return error;
    if ((error = replacer->handle()->writeAt(0, data)))
        return error;
    return replacer->commit();
}

MaybeError PresetManager::remove(const std::filesystem::path& file) const
{
    std::error_code problem;
    if (std::filesystem::remove(file, problem))
        return std::nullopt;
    return Error::fromErrno(QStringLiteral("“%1” could not be removed").arg(nameOfPreset(file)),
                            problem ? problem.value() : ENOENT);
}

MaybeError PresetManager::rename(const std::filesystem::path& file, const QString& name) const
{
    const std::filesystem::path target =
        file.parent_path() / pathFromQString(fileNameForName(name) + kExtension);
    if (target == file)
        return std::nullopt;
    std::error_code problem;
    if (std::filesystem::exists(std::filesystem::symlink_status(target, problem)))
        return Error{Error::Code::failed,
                     QStringLiteral("There is a preset “%1” already.").arg(nameOfPreset(target))};
    std::filesystem::rename(file, target, problem);
    if (!problem)
        return std::nullopt;
    return Error::fromErrno(QStringLiteral("“%1” could not be renamed").arg(nameOfPreset(file)),
                            problem.value());
}

} // namespace velloria
