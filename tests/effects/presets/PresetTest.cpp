#include "effects/presets/Preset.h"

#include "effects/EffectKit.h"
#include "effects/VelloriaPreset.h"
#include "platform/FileHandle.h"
#include "platform/Log.h"
#include "platform/UserDefaults.h"

#include <QFile>
#include <QTemporaryDir>

namespace velloria::kit
{

namespace
{

const PresetManager& manager()
{
    return PresetManager::defaultManager();
}

std::filesystem::path makeFile(const std::filesystem::path& file, const QByteArray& bytes)
{
    std::filesystem::create_directories(file.parent_path());
    QFile out(QFile::decodeName(file.c_str()));
    EXPECT_TRUE(out.open(QIODevice::WriteOnly) && out.write(bytes) == bytes.size());
    return file;
}

QByteArray bytesOf(const std::filesystem::path& file)
{
    QFile in(QFile::decodeName(file.c_str()));
    EXPECT_TRUE(in.open(QIODevice::ReadOnly)) << file;
    return in.readAll();
}

/// Code, version 200, then dry -3 dB, wet -6 dB, 250 ms and no feedback.
QByteArray delayRecord()
{
    return QByteArray::fromHex("646c6179"
                               "000000c8"
                               "c008000000000000"
                               "c018000000000000"
                               "406f400000000000"
                               "00");
}

} // namespace

/// The presets of the delay, in a folder of the test's own.
class PresetTest : public testing::Test, protected PresetDelegate
{
protected:
    ~PresetTest() override
    {
        std::filesystem::remove_all(manager().defaultPresetsPath());
        UserDefaults::standard().removeValue(QStringLiteral("filter.delayEcho.preset"));
    }

    void presetMenuDidChange() override { ++numChanges; }
    void savePresetAs() override { asked += "save "; }
    void askConfirmDeletePreset() override { asked += "delete "; }
    void presetFailed(const Error& error) override { errors.append(error.message); }

    /// A letter an item: Make, Delete, a separator, None, Preset.
    std::string menu() const
    {
        std::string letters;
        for (const PresetMenuItem& item : preset.items())
            letters += "MD-NP"[static_cast<size_t>(item.kind)];
        return letters;
    }
    std::filesystem::path fileNamed(const char* name) const
    {
        return manager().pathForFolderNamed(QStringLiteral("Delay")) / name;
    }
    void setDelay(double dryDB, double wetDB, double seconds, bool repeats) const
    {
        size_t index = 0;
        for (const double value : {dryDB, wetDB, seconds, repeats ? 1.0 : 0.0})
            filter->setParameterValue(index++, value);
    }

    LogCapture log;
    std::unique_ptr<Filter> filter = effectNamed(QStringLiteral("add delay"));
    int numChanges = 0;
    std::string asked;
    QStringList errors;
    Preset preset{*filter, *this, [](const std::function<void()>& change) { change(); }};
};

TEST_F(PresetTest, SavesTheEffectsRecordUnderTheTypedNameAndListsIt)
{
    preset.updatePresetButton();
    EXPECT_EQ(menu(), "M-N") << "without presets there is no second separator";
    setDelay(-3, -6, 0.25, false);
    ASSERT_FALSE(preset.okSavePreset(QStringLiteral("Left/Right")));
    EXPECT_EQ(preset.presetFile(), fileNamed("Left-Right.velloriapreset"));
    EXPECT_EQ(bytesOf(preset.presetFile()), delayRecord());
    EXPECT_EQ(menu(), "MD-N-P");
    EXPECT_EQ(preset.selectedItem(), 5U);

    // In place of what has the name, without a question.
    setDelay(0, 0, 1, true);
    EXPECT_TRUE(preset.hasPresetNamed(QStringLiteral("Left/Right")));
    ASSERT_FALSE(preset.okSavePreset(QStringLiteral("Left/Right")));
    EXPECT_NE(bytesOf(preset.presetFile()), delayRecord());
    preset.selectNoPreset();
    EXPECT_EQ(menu(), "M-N-P");
    EXPECT_EQ(preset.selectedItem(), 2U);
    EXPECT_EQ(filter->parameterValue(2), 1.0) << "the parameters stay";
}

TEST_F(PresetTest, ListsFilesByTheirExtensionInAnyCaseAndSorted)
{
    for (const char* const name : {"b.velloriapreset", "A.VELLORIAPRESET", "notes.txt", ".velloriapreset"})
        makeFile(fileNamed(name), delayRecord());
    preset.updatePresetButton();
    EXPECT_EQ(menu(), "M-N-PP");
    preset.handlePresetButton(4);
    EXPECT_EQ(preset.presetFile(), fileNamed("A.VELLORIAPRESET"));
    EXPECT_EQ(filter->parameterValue(2), 0.25);
    EXPECT_FALSE(preset.loadPresetWithName(QStringLiteral("A")));
    EXPECT_TRUE(errors.isEmpty());
    EXPECT_TRUE(manager().listOfPresetsInFolderNamed(QStringLiteral("Nothing")).empty());
}

TEST_F(PresetTest, ItemsDoWhatTheySay)
{
    ASSERT_FALSE(preset.okSavePreset(QStringLiteral("One")));
    preset.handlePresetButton(0);
    preset.handlePresetButton(1);
    preset.handlePresetButton(2);
    EXPECT_EQ(asked, "save delete ");
    std::filesystem::remove(preset.presetFile());
    preset.deletePreset();
    EXPECT_TRUE(preset.presetFile().empty() && errors.isEmpty()) << "it was gone already";

    ASSERT_FALSE(preset.okSavePreset(QStringLiteral("Two")));
    preset.deletePreset();
    EXPECT_FALSE(std::filesystem::exists(fileNamed("Two.velloriapreset")));
    EXPECT_EQ(menu(), "M-N");
    // A folder cannot be removed as a file is, as long as something is in it.
    makeFile(fileNamed("Folder.velloriapreset/x"), "x");
    EXPECT_TRUE(preset.loadPreset(fileNamed("Folder.velloriapreset")));
    EXPECT_TRUE(preset.removePreset(fileNamed("Folder.velloriapreset")));
    EXPECT_TRUE(std::filesystem::exists(fileNamed("Folder.velloriapreset")));
}

TEST_F(PresetTest, BadFilesAreOneErrorEachAndChangeNothing)
{
    const std::filesystem::path huge = makeFile(fileNamed("huge.velloriapreset"), delayRecord());
    std::filesystem::resize_file(huge, uint64_t{1} << 30);
    QByteArray newer = delayRecord();
    newer[7] = static_cast<char>(201);
    QByteArray noNumber = delayRecord();
    noNumber.replace(8, 8, QByteArray::fromHex("7ff8000000000000"));
    const std::pair<QByteArray, const char*> cases[] = {
        {delayRecord().replace(0, 4, "comp"), "This is no preset of “Delay”."},
        {QByteArray(), "This is no preset of “Delay”."},
        {delayRecord().left(7), "This is no preset of “Delay”."},
        {delayRecord().chopped(1), "This preset of “Delay” is damaged."},
        {noNumber, "This preset of “Delay” is damaged."},
        {newer, "This preset of “Delay” is of a newer version of Velloria."},
    };
    for (const auto& [bytes, message] : cases) {
        const MaybeError error = preset.loadPreset(makeFile(fileNamed("bad.velloriapreset"), bytes));
        ASSERT_TRUE(error) << message;
        EXPECT_EQ(error->message, QString::fromUtf8(message));
    }
    EXPECT_EQ(preset.loadPreset(huge)->code, Error::Code::fileTooLarge);
    EXPECT_TRUE(preset.loadPreset(fileNamed("none.velloriapreset")));
    EXPECT_EQ(filter->parameterValue(2), 0.1);
    EXPECT_TRUE(preset.presetFile().empty());
}

TEST_F(PresetTest, AFolderThatIsAFileIsAnError)
{
    std::filesystem::remove_all(manager().defaultPresetsPath());
    makeFile(manager().defaultPresetsPath() / "Delay", "not a folder");
    const MaybeError error = preset.okSavePreset(QStringLiteral("One"));
    ASSERT_TRUE(error);
    EXPECT_TRUE(error->message.contains(QStringLiteral("Delay"))) << error->message.toStdString();
    EXPECT_TRUE(preset.presetFile().empty());
    preset.updatePresetButton();
    EXPECT_EQ(menu(), "M-N");
    EXPECT_TRUE(preset.okSavePreset(QString(300, u'x')));
}

TEST_F(PresetTest, TheSelectedOneIsThereTheNextTime)
{
    setDelay(-3, -6, 0.25, false);
    ASSERT_FALSE(preset.okSavePreset(QStringLiteral("Mine")));
    preset.saveDefaults();
    EXPECT_EQ(UserDefaults::standard().stringValue(QStringLiteral("filter.delayEcho.preset")),
              QStringLiteral("Mine.velloriapreset"));
    const auto restored = [this](Filter& next) {
        Preset other(next, *this, [](const std::function<void()>& change) { change(); });
        other.loadPresetFromDefaults();
        return other.presetFile();
    };
    const auto next = effectNamed(QStringLiteral("add delay"));
    EXPECT_EQ(restored(*next), preset.presetFile());
    EXPECT_EQ(next->parameterValue(2), 0.25);

    ASSERT_FALSE(preset.loadPreset(preset.factoryPresets().front()));
    preset.saveDefaults();
    EXPECT_EQ(restored(*next), preset.factoryPresets().front());
    std::filesystem::remove(fileNamed("Mine.velloriapreset"));
    UserDefaults::standard().setValue(QStringLiteral("filter.delayEcho.preset"),
                                      QStringLiteral("Mine.velloriapreset"));
    EXPECT_TRUE(restored(*next).empty());
    EXPECT_TRUE(errors.isEmpty());
    preset.selectNoPreset();
    preset.saveDefaults();
    EXPECT_FALSE(UserDefaults::standard().isSet(QStringLiteral("filter.delayEcho.preset")));
}

TEST_F(PresetTest, PresetsAreRenamedAndExchanged)
{
    setDelay(-3, -6, 0.25, false);
    ASSERT_FALSE(preset.okSavePreset(QStringLiteral("One")));
    ASSERT_FALSE(preset.renamePreset(preset.presetFile(), QStringLiteral("Two/Three")));
    EXPECT_EQ(preset.presetFile(), fileNamed("Two-Three.velloriapreset")) << "it stays selected";
    makeFile(fileNamed("Other.velloriapreset"), "x");
    EXPECT_TRUE(preset.renamePreset(preset.presetFile(), QStringLiteral("Other")));
    EXPECT_EQ(bytesOf(fileNamed("Other.velloriapreset")), "x");

    const QTemporaryDir elsewhere;
    const std::filesystem::path out =
        pathFromQString(elsewhere.filePath(QStringLiteral("out.velloriapreset")));
    ASSERT_FALSE(preset.exportPreset(preset.presetFile(), out));
    EXPECT_EQ(bytesOf(out), delayRecord());
    ASSERT_FALSE(preset.importPreset(out));
    EXPECT_EQ(bytesOf(fileNamed("out.velloriapreset")), delayRecord());
    EXPECT_TRUE(preset.importPreset(makeFile(out, "comp, not a delay")));
    EXPECT_EQ(bytesOf(fileNamed("out.velloriapreset")), delayRecord());
}

TEST(FactoryPresets, AreFiveOrMoreOfEachEffectAndWithinItsLimits)
{
    for (const EffectEntry& entry : EffectRegistry::effects()) {
        const auto filter = entry.make(entry.menuTitle);
        if (!filter->presetFormat())
            continue;
        SCOPED_TRACE(filter->presetFolderName().toStdString());
        const auto files = manager().listOfFactoryPresetsInDirectory(filter->presetFolderName());
        EXPECT_GE(files.size(), 5U);
        for (const std::filesystem::path& file : files) {
            MaybeError error;
            const QByteArray record = manager().read(file, &error);
            ASSERT_FALSE(error);
            filter->parameters().reset();
            ASSERT_FALSE(filter->loadPresetData(record)) << file;
            // Nothing was cut to a limit, and no control stands beyond its slider.
            EXPECT_EQ(filter->presetData().toHex(), record.toHex()) << file;
            for (size_t i = 0; i < filter->parameters().size(); ++i) {
                const ParameterDescription& parameter = filter->parameters()[i];
                if (parameter.kind != ParameterDescription::Kind::number)
                    continue;
                EXPECT_GE(filter->parameterValue(i), parameter.minimum)
                    << file << parameter.name.toStdString();
                EXPECT_LE(filter->parameterValue(i), parameter.maximum)
                    << file << parameter.name.toStdString();
            }
        }
    }
}

/// Preset files that are opened from outside.
class VelloriaPresetTest : public PresetTest
{
protected:
    std::filesystem::path outside(const QByteArray& bytes, const char* name = "Mine.velloriapreset") const
    {
        return makeFile(pathFromQString(folder.path()) / name, bytes);
    }
    std::optional<VelloriaPreset::Installed> install(const std::filesystem::path& file)
    {
        error.reset();
        return VelloriaPreset::install(
            file,
            [this](const QString& name) {
                question = name;
                return mayReplace;
            },
            &error);
    }

    QTemporaryDir folder;
    MaybeError error;
    QString question;
    bool mayReplace = false;
};

TEST_F(VelloriaPresetTest, GoToTheFolderOfTheirCode)
{
    const std::pair<const char*, const char*> cases[] = {
        {"comp", "Compressor"}, {"dlay", "Delay"},           {"eq03", "Graphic EQ - 3 Band"},
        {"expn", "Expander"},   {"fade", "Fade Special"},    {"eq10", "Graphic EQ - 10 Band"},
        {"flan", "Flanger"},    {"nois", "Noise Gate"},      {"grEQ", "Graphic Equalizer"},
        {"rvrb", "Reverb"},     {"ptch", "Pitch and Tempo"},
    };
    for (const auto& [code, name] : cases) {
        const auto word = QByteArray(code);
        const auto at = [&word](int i) { return static_cast<uint32_t>(static_cast<uint8_t>(word[i])); };
        EXPECT_EQ(VelloriaPreset::folderForCode(at(0) << 24 | at(1) << 16 | at(2) << 8 | at(3)),
                  QString::fromLatin1(name));
    }
    const auto installed = install(outside(delayRecord()));
    ASSERT_TRUE(installed);
    EXPECT_EQ(installed->file, fileNamed("Mine.velloriapreset"));
    EXPECT_TRUE(installed->isListed());
    EXPECT_EQ(bytesOf(installed->file), delayRecord());
    // From where it lies it is installed already.
    EXPECT_TRUE(install(installed->file));
    EXPECT_TRUE(question.isEmpty());
    EXPECT_EQ(bytesOf(installed->file), delayRecord());
}

TEST_F(VelloriaPresetTest, AskBeforeTheyReplaceOne)
{
    makeFile(fileNamed("Mine.velloriapreset"), "older");
    EXPECT_FALSE(install(outside(delayRecord())));
    EXPECT_TRUE(error && error->isUserCancelled());
    EXPECT_EQ(question, QStringLiteral("Mine"));
    EXPECT_EQ(bytesOf(fileNamed("Mine.velloriapreset")), "older");
    mayReplace = true;
    EXPECT_TRUE(install(outside(delayRecord())));
    EXPECT_EQ(bytesOf(fileNamed("Mine.velloriapreset")), delayRecord());
}

TEST_F(VelloriaPresetTest, AreRefusedWhenTheyAreNoneOrDamaged)
{
    const QByteArray chorus = QByteArray("chor") + delayRecord().mid(4);
    for (const QByteArray& bytes : {chorus, QByteArray("dl"), QByteArray(), delayRecord().chopped(1)}) {
        EXPECT_FALSE(install(outside(bytes)));
        ASSERT_TRUE(error);
        EXPECT_EQ(error->code, Error::Code::corruptFile);
    }
    EXPECT_TRUE(manager().listOfPresetsInFolderNamed(QStringLiteral("Delay")).empty());
}

TEST_F(VelloriaPresetTest, OfChorusGoToTheFlanger)
{
    const auto chorus = effectNamed(QStringLiteral("add chorus"));
    const auto installed = install(outside(chorus->presetData(), "Wide.velloriapreset"));
    ASSERT_TRUE(installed);
    EXPECT_EQ(installed->folderName, QStringLiteral("Flanger"));
}

} // namespace velloria::kit
