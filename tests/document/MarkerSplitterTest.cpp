#include "document/MarkerSplitter.h"

#include "document/DocumentKit.h"
#include "formats/kit/FileTestKit.h"

#include <fstream>

namespace velloria
{

namespace
{

class MarkerSplitterTest : public test::FileTest
{
protected:
    std::shared_ptr<SoundDocument>
    documentWithMarkers(const std::vector<std::pair<int64_t, QString>>& markers) const
    {
        const auto document = kit::documentOf({FloatBuffer(1000, 0.5F), FloatBuffer(1000, 0.25F)});
        std::vector<AudioMarkerPtr> list;
        for (const auto& [position, name] : markers)
            list.push_back(kit::markerAt(position, name));
        document->addMarkers(list, {});
        return document;
    }

    MarkerSplitter::Request request(const QString& uti = QStringLiteral("public.aiff-audio"))
    {
        MarkerSplitter::Request made;
        made.folder = path("pieces");
        std::filesystem::create_directory(made.folder);
        made.uti = uti;
        made.metadata.setTrackNumber(1);
        made.metadata.setArtist(QStringLiteral("Somebody"));
        return made;
    }

    static QStringList namesOf(const MarkerSplitter::Outcome& outcome)
    {
        QStringList names;
        for (const auto& each : outcome.paths)
            names += displayName(each);
        return names;
    }

    SilentProgress mProgress;
};

} // namespace

TEST_F(MarkerSplitterTest, WritesOneTitledAndNumberedFileARegion)
{
    const auto document = documentWithMarkers({{600, QStringLiteral("Two")},
                                               {100, QStringLiteral("One")},
                                               {600, QStringLiteral("Empty")},
                                               {1000, QStringLiteral("At the end")}});
    const auto outcome = MarkerSplitter(*document, request()).run(mProgress);
    EXPECT_FALSE(outcome.error);
    // Of two markers at one place the first one's region is empty.
    EXPECT_EQ(namesOf(outcome), (QStringList{"Untitled.aif", "One.aif", "Empty.aif"}));
    const int64_t lengths[] = {100, 500, 400};
    int number = 1;
    for (const auto& each : outcome.paths) {
        SilentProgress progress;
        MaybeError error;
        const auto piece = SoundDocument::readFromPath(each, {}, progress, &error);
        ASSERT_TRUE(piece);
        EXPECT_EQ(piece->numberOfFrames(), lengths[number - 1]);
        EXPECT_EQ(piece->trackCount(), 2);
        EXPECT_TRUE(piece->audioMarkers()->empty());
        EXPECT_EQ(piece->audioMetadata().trackNumber(), number++);
        EXPECT_EQ(piece->audioMetadata().artist(), QStringLiteral("Somebody"));
        EXPECT_EQ(piece->audioMetadata().title(), displayName(each).chopped(4));
    }
    EXPECT_EQ(document->audioMetadata(), AudioMetadata());
    EXPECT_TRUE(document->filePath().empty());
}

TEST_F(MarkerSplitterTest, NamesFilesAfterMarkersWhateverTheseHold)
{
    const QString many(300, u'x');
    const QString wide(300, QChar(0x97F3));
    const auto document =
        documentWithMarkers({{0, QStringLiteral("a/b:c")},
                             {100, QString()},
                             {200, many},
                             {300, wide},
                             {400, QStringLiteral("Intro")},
                             {500, QStringLiteral("Intro")},
                             {600, QString(QChar::Null) + QStringLiteral("*?<>|\\\"\n..")}});
    std::ofstream(path("pieces") / "Intro.aif").close();
    const auto outcome = MarkerSplitter(*document, request()).run(mProgress);
    EXPECT_FALSE(outcome.error) << outcome.error->message.toStdString();
    const QStringList names = namesOf(outcome);
    ASSERT_EQ(names.size(), 7);
    EXPECT_EQ(names[0], QStringLiteral("a:b-c.aif"));
    EXPECT_EQ(names[1], QStringLiteral("Untitled.aif"));
    EXPECT_EQ(names[2], QString(245, u'x') + QStringLiteral(".aif"));
    EXPECT_EQ(names[3], QString(83, QChar(0x97F3)) + QStringLiteral(".aif"));
    EXPECT_EQ(names[5].section(u'.', 0, 0), names[4].section(u'.', 0, 0) + QStringLiteral("-1"));
    for (const auto& each : outcome.paths)
        EXPECT_TRUE(std::filesystem::exists(each)) << each;
}

TEST_F(MarkerSplitterTest, TitlesTheFirstPieceWithTheFilesNameButNotItsExtension)
{
    const std::pair<const char*, const char*> cases[] = {
        {"Front.Center.WAV", "Front.Center"}, {"a take.wav", "a take"}, {"Dr. Dre", "Dr. Dre"}};
    for (const auto& [name, title] : cases) {
        const auto document = SoundDocument::readFromPath(
            makeFile(name, test::wave({1, 1, 44100, 16}, test::noiseBytes(2000, 1))), {}, mProgress, nullptr);
        ASSERT_TRUE(document) << name;
        document->addMarker(kit::markerAt(10, QStringLiteral("rest")));
        const auto pieces = MarkerSplitter(*document, request()).run(mProgress);
        EXPECT_EQ(namesOf(pieces).join(u'|').toStdString(), std::string(title) + ".aif|rest.aif");
        std::filesystem::remove_all(path("pieces"));
    }
}

TEST_F(MarkerSplitterTest, TellsWhatThePiecesDoNotGet)
{
    const auto document = documentWithMarkers({{0, QStringLiteral(".hidden")}});
    AudioMetadata metadata = document->audioMetadata();
    metadata.setTitle(QStringLiteral("Whole"));
    metadata.setArtist(QStringLiteral("Somebody"));
    metadata.setTrackNumber(7);
    document->undoableSetAudioMetadata(metadata);
    MarkerSplitter::Request made = request();
    EXPECT_EQ(MarkerSplitter(*document, made).losses(), QStringList());
    metadata.setGenre(QStringLiteral("Interview"));
    metadata.setAiffInstrumentChunk(QByteArray(20, '\1'));
    document->undoableSetAudioMetadata(metadata);
    const QString told = MarkerSplitter(*document, made).losses().join(u'\n');
    EXPECT_TRUE(told.contains(QStringLiteral("do not get all tags: genre “Interview”")))
        << told.toStdString();
    EXPECT_TRUE(told.contains(QStringLiteral("instrument"))) << told.toStdString();
    EXPECT_EQ(namesOf(MarkerSplitter(*document, made).run(mProgress)), QStringList("_hidden.aif"));
}

TEST_F(MarkerSplitterTest, NumbersNamesThatAreTaken)
{
    const auto document = documentWithMarkers({{0, QStringLiteral("Intro")}});
    MarkerSplitter::Request numbered = request();
    numbered.addPrefix = true;
    EXPECT_EQ(namesOf(MarkerSplitter(*document, numbered).run(mProgress)), QStringList("01 Intro.aif"));
    std::filesystem::create_symlink("nowhere", numbered.folder / "01 Intro-1.aif");
    EXPECT_EQ(namesOf(MarkerSplitter(*document, numbered).run(mProgress)), QStringList("01 Intro-2.aif"));
}

TEST_F(MarkerSplitterTest, SaysWhatIsWrongAndKeepsWhatWasWritten)
{
    const auto document = documentWithMarkers({{0, QStringLiteral("a")}, {500, QStringLiteral("b")}});
    MarkerSplitter::Request missing = request();
    missing.folder = path("not there");
    EXPECT_TRUE(MarkerSplitter(*document, missing).run(mProgress).error->message.contains("not there"));
    missing.folder = path("file");
    std::ofstream(missing.folder).close();
    EXPECT_TRUE(MarkerSplitter(*document, missing).run(mProgress).error);

    kit::ProgressRecorder cancelling(1);
    const auto cancelled = MarkerSplitter(*document, request()).run(cancelling);
    EXPECT_TRUE(cancelled.error->isUserCancelled());
    EXPECT_LE(cancelled.paths.size(), 1U);
    {
        const kit::FileSizeLimit limit(1000);
        EXPECT_TRUE(MarkerSplitter(*document, request()).run(mProgress).error);
    }
    const auto bare = kit::documentOf({FloatBuffer(10)});
    EXPECT_TRUE(MarkerSplitter(*bare, request()).run(mProgress).error->message.contains("no markers"));
}

} // namespace velloria
