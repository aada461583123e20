#include "scripting/CommandDictionary.h"

#include "controllers/ControllerKit.h"
#include "controllers/SelectionModel.h"
#include "document/AudioClipboard.h"
#include "effects/EffectRegistry.h"
#include "formats/kit/FileTestKit.h"

#include <QSet>

namespace velloria
{

namespace
{

class ScriptedWindow : public kit::Window
{
public:
    explicit ScriptedWindow(const kit::TrackSamples& samples)
        : kit::Window(samples)
    {
        controller.selection().selectAll();
    }

    /// The error's words, or nothing.
    QString run(const QString& text)
    {
        QString problem;
        const auto command = CommandDictionary::parse(text, &problem);
        if (!command)
            return QStringLiteral("parse: ") + problem;
        const MaybeError error = CommandDictionary::run(*command, controller);
        return error ? error->message : QString();
    }

    QString run(const char* text) { return run(QString::fromUtf8(text)); }

    /// "position name" of each marker, in the order of positions.
    QStringList markerTexts() const
    {
        QStringList list;
        for (const AudioMarkerPtr& marker : *document->orderedMarkers())
            list += QStringLiteral("%1 %2").arg(marker->position()).arg(marker->name());
        return list;
    }
};

class CommandDictionaryTest : public test::FileTest
{
protected:
    void SetUp() override { AudioClipboard::clipboard().setContents(nullptr); }
};

} // namespace

TEST_F(CommandDictionaryTest, DescribesEveryCommandInFull)
{
    QSet<QString> names;
    for (const CommandDescription& command : CommandDictionary::commands()) {
        SCOPED_TRACE(command.name.toStdString());
        EXPECT_FALSE(names.contains(command.name));
        names.insert(command.name);
        EXPECT_TRUE(command.summary.endsWith(u'.'));
        EXPECT_TRUE(command.run);
        EXPECT_EQ(CommandDictionary::commandWithName(command.name.toUpper()), &command);
        for (const CommandParameter& parameter : command.parameters) {
            EXPECT_FALSE(parameter.key.isEmpty());
            EXPECT_TRUE(parameter.summary.endsWith(u'.')) << parameter.key.toStdString();
        }
    }
    for (const EffectEntry& effect : EffectRegistry::effects())
        EXPECT_TRUE(names.contains(effect.scriptName)) << effect.scriptName.toStdString();
}

TEST_F(CommandDictionaryTest, SelectsWithinTheDocument)
{
    struct Case {
        const char* command;
        int64_t start, end;
        int32_t firstTrack, numTracks;
    };
    const Case cases[] = {
        {"select", 0, 44'100, 0, 3},
        {"select Start=0.5", 22'050, 44'100, 0, 3},
        {"select End=0.5 FirstTrack=1", 0, 22'050, 1, 2},
        {"select StartFrame=7 EndFrame=8 FirstTrack=2 NumTracks=1", 7, 8, 2, 1},
        {"select Start=-3 End=99", 0, 44'100, 0, 3},
        {"select Start=99", 44'100, 44'100, 0, 3},
        {"select StartFrame=-9 EndFrame=999999", 0, 44'100, 0, 3},
        {"select Start=0.5 End=0.25", 11'025, 22'050, 0, 3},
    };
    ScriptedWindow window({FloatBuffer(44'100), FloatBuffer(44'100), FloatBuffer(44'100)});
    for (const Case& each : cases) {
        EXPECT_EQ(window.run(each.command), QString()) << each.command;
        EXPECT_EQ(window.selectedFrames(), std::pair(each.start, each.end)) << each.command;
        EXPECT_EQ(window.controller.selection().value().firstTrack, each.firstTrack) << each.command;
        EXPECT_EQ(window.controller.selection().value().numTracks, each.numTracks) << each.command;
    }
    for (const char* command :
         {"select FirstTrack=3", "select NumTracks=4", "select FirstTrack=2 NumTracks=2"})
        EXPECT_TRUE(window.run(command).startsWith(QStringLiteral("There "))) << command;
    EXPECT_EQ(window.document->undoManager().count(), 0);
}

TEST_F(CommandDictionaryTest, MakesOneNamedStepOfEachEditAndRestoresTheSelection)
{
    ScriptedWindow window({kit::ramp(1000, 1), kit::ramp(1000, 2001)});
    const QUndoStack& history = window.document->undoManager();
    window.run("select StartFrame=100 EndFrame=200");
    window.run("delete");
    EXPECT_EQ(history.undoText(), QStringLiteral("AppleScript 'delete' Command"));
    EXPECT_EQ(window.selectedFrames(), std::pair(int64_t{100}, int64_t{100}));
    // With nothing selected an effect takes everything, and an edit nothing.
    EXPECT_EQ(window.run("amplify Gain=-6"), QString());
    EXPECT_EQ(history.undoText(), QStringLiteral("AppleScript 'amplify' Command"));
    EXPECT_EQ(window.selectedFrames(), std::pair(int64_t{0}, int64_t{900}));
    window.run("select StartFrame=5 EndFrame=5");
    for (const char* command : {"delete", "cut", "clear", "crop"})
        EXPECT_EQ(window.run(command), QString());
    EXPECT_EQ(history.count(), 2);

    window.run("undo");
    EXPECT_EQ(window.selectedFrames(), std::pair(int64_t{100}, int64_t{100}));
    window.run("undo");
    EXPECT_EQ(window.selectedFrames(), std::pair(int64_t{100}, int64_t{200}));
    EXPECT_EQ(kit::samplesOf(*window.document, 1), kit::ramp(1000, 2001));
    EXPECT_EQ(window.run("undo"), QString()) << "with nothing left it succeeds";
    window.run("redo");
    window.run("redo");
    EXPECT_EQ(window.run("redo"), QString());
    EXPECT_EQ(window.selectedFrames(), std::pair(int64_t{0}, int64_t{900}));
}

TEST_F(CommandDictionaryTest, EditsMarkers)
{
    ScriptedWindow window({FloatBuffer(44'100)});
    window.run("select StartFrame=100 EndFrame=300");
    for (const char* command : {"insert marker", "insert marker Name=\"at start\"",
                                "insert marker Position=0.5", "insert marker Frame=44100 Name=end"})
        EXPECT_EQ(window.run(command), QString()) << command;
    EXPECT_EQ(window.markerTexts().join(u'|'),
              QStringLiteral("100 Start Marker|100 at start|300 End Marker|22050 New Marker 4|44100 end"));
    for (const char* command : {"move marker Name=end Frame=50", "rename marker Index=0 Name=first",
                                "rename marker Position=0.5 Name=half", "delete marker Name=\"Start Marker\"",
                                "delete marker Index=1", "delete marker Frame=300"})
        EXPECT_EQ(window.run(command), QString()) << command;
    EXPECT_EQ(window.markerTexts().join(u'|'), QStringLiteral("50 first|22050 half"));
    EXPECT_EQ(window.document->undoManager().count(), 10);

    for (const char* command :
         {"delete marker Index=2", "rename marker Frame=51 Name=x", "move marker Name=nobody Frame=1"})
        EXPECT_EQ(window.run(command), QStringLiteral("There is no such marker: the document has 2."))
            << command;
    for (const char* command : {"insert marker Frame=44101", "move marker Index=0 Position=1.1"})
        EXPECT_TRUE(window.run(command).contains(QStringLiteral("outside the document"))) << command;

    window.run("delete markers");
    EXPECT_TRUE(window.markerTexts().isEmpty());
    window.run("undo");
    EXPECT_EQ(window.markerTexts().size(), 2);
}

TEST_F(CommandDictionaryTest, SetsSomeTagsAndLeavesTheOthers)
{
    ScriptedWindow window({FloatBuffer(10)});
    window.run("set metadata title=One artist=\"The Two\" track number=3/12 compilation=yes tempo=120");
    window.run("set metadata title=\"\" album=Three compilation=0 track number=0");
    const AudioMetadata& metadata = window.document->audioMetadata();
    EXPECT_EQ(metadata.title(), QString());
    EXPECT_EQ(metadata.artist(), QStringLiteral("The Two"));
    EXPECT_EQ(metadata.album(), QStringLiteral("Three"));
    EXPECT_EQ(metadata.tempo(), 120);
    EXPECT_EQ(metadata.trackNumber(), 0);
    EXPECT_FALSE(metadata.compilation());
    window.run("undo");
    EXPECT_EQ(metadata.title(), QStringLiteral("One"));
    EXPECT_EQ(metadata.totalNumberOfTracks(), 12);
}

TEST_F(CommandDictionaryTest, SetsTheNumberOfTracks)
{
    ScriptedWindow window({FloatBuffer(10), FloatBuffer(10)});
    window.run("set tracks Count=5");
    EXPECT_EQ(window.document->trackCount(), 5);
    window.run("set tracks Count=1");
    window.run("undo");
    EXPECT_EQ(window.document->trackCount(), 5);
}

TEST_F(CommandDictionaryTest, FadesByDirectionAndRange)
{
    ScriptedWindow window({FloatBuffer(1000, 1.0F)});
    window.document->undoableSetSampleRate(1000.0);
    EXPECT_EQ(window.run("fade Direction=in End=0.1"), QString());
    EXPECT_EQ(window.run("fade Direction=out Start=0.9"), QString());
    const FloatBuffer samples = kit::samplesOf(*window.document, 0);
    EXPECT_EQ(samples[0], 0.0F);
    EXPECT_FLOAT_EQ(samples[50], 0.5F);
    EXPECT_EQ(samples[100], 1.0F);
    EXPECT_EQ(samples[900], 1.0F);
    EXPECT_FLOAT_EQ(samples[950], 0.5F);

    // An empty range is nothing, where an empty selection would be everything.
    const SoundSelection selected = window.controller.selection().value();
    for (const char* const empty :
         {"fade Direction=in Start=9 End=10", "fade Direction=out Start=0.5 End=0.5",
          "fade Direction=in Start=-2 End=-1", "fade Direction=in Start=0.5001 End=0.5002"})
        EXPECT_EQ(window.run(empty), QString()) << empty;
    EXPECT_EQ(kit::samplesOf(*window.document, 0), samples);
    EXPECT_EQ(window.document->undoManager().count(), 3);
    EXPECT_EQ(window.controller.selection().value(), selected);
}

TEST_F(CommandDictionaryTest, CopiesFromFilesAndOpensEachOnce)
{
    const QByteArray sound = test::noiseBytes(2000, 1);
    makeFile("other.wav", test::wave({1, 2, 44100, 16}, sound));
    ScriptedWindow window({kit::ramp(100, 1), kit::ramp(100, 1)});
    const QString copy =
        QStringLiteral("copy File=\"%1\" StartFrame=10 EndFrame=60").arg(argument("other.wav"));
    window.run("select StartFrame=100");
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(window.run(copy), QString());
        EXPECT_EQ(window.run("paste"), QString());
        window.run("select Start=999");
    }
    EXPECT_EQ(window.document->numberOfFrames(), 350);
    EXPECT_EQ(window.host.calls.count(QStringLiteral("progress Opening “other.wav”")), 5);
    const ClipList clips = (*window.document->audioTracks())[0]->clips();
    EXPECT_EQ(clips.at(1)->sourceFile(), clips.at(5)->sourceFile()) << "one open file for all pieces";

    // Another file under the same name is another sound.
    makeFile("other.wav", test::wave({1, 2, 44100, 16}, sound + sound));
    window.run(copy);
    window.run("paste");
    EXPECT_NE((*window.document->audioTracks())[0]->clips().at(6)->sourceFile(), clips.at(5)->sourceFile());
    EXPECT_TRUE(window.run("copy File=/nowhere/x.wav").contains(QStringLiteral("x.wav")));
    EXPECT_TRUE(
        window.run(copy + QStringLiteral(" FirstTrack=2")).startsWith(QStringLiteral("There is no track 2")));
}

TEST_F(CommandDictionaryTest, SavesOverItsOwnFileOrElsewhere)
{
    SilentProgress progress;
    const auto document = SoundDocument::readFromPath(
        makeFile("in.wav", test::wave({1, 1, 44100, 16}, test::noiseBytes(2000, 1))), {}, progress, nullptr);
    ASSERT_TRUE(document);
    kit::HostRecorder host;
    SoundController controller(document, host);
    controller.selection().selectAll();
    const auto run = [&controller](const QString& text) {
        return CommandDictionary::run(*CommandDictionary::parse(text, nullptr), controller);
    };
    EXPECT_FALSE(run(QStringLiteral("save Path=\"%1\" Option=8").arg(argument("out.wav"))));
    EXPECT_EQ(bytesOf("out.wav").size(), 44 + 1000);
    EXPECT_EQ(host.losses.size(), 1) << "16 bits become 8";
    EXPECT_FALSE(run(QStringLiteral("crop")));
    EXPECT_FALSE(run(QStringLiteral("select StartFrame=500")));
    EXPECT_FALSE(run(QStringLiteral("delete")));
    EXPECT_FALSE(run(QStringLiteral("save")));
    EXPECT_EQ(bytesOf("in.wav").size(), 44 + 1000) << "500 frames of still 16 bits";

    ScriptedWindow unsaved({FloatBuffer(10)});
    EXPECT_TRUE(unsaved.run("save").contains(QStringLiteral("Path= is missing")));
}

TEST_F(CommandDictionaryTest, SavesWithOrWithoutPacketsOfTheOpenedFile)
{
    SilentProgress progress;
    // Louder noise would be stored sample by sample, the same in all packets.
    kit::TrackSamples sound = {kit::noise(30'000, 1)};
    for (float& sample : sound.front())
        sample *= 0.05F;
    SaveRequest request;
    request.path = path("a.flac");
    request.uti = QStringLiteral("org.videolan.flac");
    ASSERT_FALSE(kit::documentOf(sound)->writeToPath(request, progress));
    const auto document = SoundDocument::readFromPath(path("a.flac"), {}, progress, nullptr);
    ASSERT_TRUE(document);
    kit::HostRecorder host;
    SoundController controller(document, host);
    const auto saved = [&](const QString& keys) {
        const QString text = QStringLiteral("save Path=\"%1\"%2").arg(argument("b.flac"), keys);
        EXPECT_FALSE(CommandDictionary::run(*CommandDictionary::parse(text, nullptr), controller));
        return bytesOf("b.flac");
    };
    EXPECT_FALSE(CommandDictionary::run(
        *CommandDictionary::parse("select StartFrame=0 EndFrame=100", nullptr), controller));
    EXPECT_FALSE(CommandDictionary::run(*CommandDictionary::parse("delete", nullptr), controller));
    const QByteArray copied = saved({});
    // The tail of a packet that stays is the same bytes, without the sum behind it.
    const QByteArray tail = bytesOf("a.flac").chopped(2).last(1000);
    EXPECT_TRUE(copied.contains(tail));
    EXPECT_TRUE(saved(QStringLiteral(" Seams=exact")) == copied);
    EXPECT_FALSE(saved(QStringLiteral(" Seams=none")).contains(tail));
}

TEST_F(CommandDictionaryTest, StopsAnEffectThatIsCancelled)
{
    ScriptedWindow window({kit::noise(100'000, 1)});
    window.host.cancelAfter = 2;
    EXPECT_EQ(window.run("reverse"), QStringLiteral("Cancelled."));
    EXPECT_EQ(window.document->undoManager().count(), 0);
}

TEST_F(CommandDictionaryTest, DoesNothingToADocumentWithoutSound)
{
    ScriptedWindow window({FloatBuffer(), FloatBuffer()});
    for (const EffectEntry& effect : EffectRegistry::effects())
        EXPECT_EQ(window.run(effect.scriptName), QString());
    for (const char* command : {"select", "copy", "paste", "cut", "delete", "clear", "crop", "insert marker"})
        EXPECT_EQ(window.run(command), QString()) << command;
    EXPECT_EQ(window.document->undoManager().count(), 1);
}

TEST_F(CommandDictionaryTest, PastingNothingIsOnlyWorthAWord)
{
    ScriptedWindow window({FloatBuffer(100)});
    EXPECT_EQ(window.run("paste"), QString());
    EXPECT_TRUE(window.host.calls.last().contains(QStringLiteral("nothing was copied")));
}

TEST_F(CommandDictionaryTest, ConvertsMixesAndSplits)
{
    ScriptedWindow window({FloatBuffer(100, 0.5F), FloatBuffer(100, 0.25F)});
    for (const char* const command :
         {"copy", "mix paste Existing=-6 Pasteboard=-6 Into=1", "insert silence Duration=0.01", "add track",
          "mixdown Channels=2", "insert markers at gridlines Spacing=0.005", "insert markers in gaps",
          "set format Rate=22050 Bits=24", "resample Rate=44100", "mixdown Channels=1", "remove tracks"})
        EXPECT_EQ(window.run(command), QString()) << command;
    EXPECT_EQ(window.document->trackCount(), 1);
    EXPECT_EQ(window.document->numberOfFrames(), 2 * (100 + 441));
    EXPECT_EQ(window.document->sampleSize(), 24);
    // Copying makes no step, and the last command had nothing to remove.
    EXPECT_EQ(window.document->undoManager().count(), 9);
    window.document->undoManager().setIndex(0);
    EXPECT_EQ(kit::samplesOf(*window.document),
              (kit::TrackSamples{FloatBuffer(100, 0.5F), FloatBuffer(100, 0.25F)}));
    for (const char* const wrong :
         {"mixdown", "mixdown Channels=3", "resample", "resample Rate=0", "resample Rate=nan",
          "resample Duration=0", "insert silence Duration=-1", "insert silence Duration=inf",
          "insert markers at gridlines", "insert markers at gridlines Spacing=0", "mix paste Existing=loud",
          "set format", "set format Bits=12", "split Type=WAVE", "split Folder=x",
          "split Folder=x Type=none"})
        EXPECT_TRUE(window.run(wrong).startsWith(QStringLiteral("parse: "))) << wrong;
}

} // namespace velloria
