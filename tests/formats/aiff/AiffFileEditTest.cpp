#include "formats/aiff/AifcFile.h"
#include "formats/aiff/AiffFile.h"

#include "formats/kit/SavingTestKit.h"

namespace velloria::test
{

namespace
{

using Markers = std::vector<std::pair<int64_t, QString>>;

constexpr int kNumFrames = 101;
const QByteArray kSound = noiseBytes(kNumFrames, 3);
const QByteArray kCommon = iffChunk("COMM", commonPayload({1, kNumFrames, 8}));

struct Mark {
    int ident;
    int64_t position;
    QByteArray name;
};

QByteArray marks(const std::vector<Mark>& list)
{
    QByteArray payload = bigEndian16(std::ssize(list));
    for (const Mark& mark : list)
        payload += bigEndian16(mark.ident) + bigEndian32(static_cast<quint32>(mark.position)) +
                   static_cast<char>(mark.name.size()) + mark.name +
                   QByteArray(1 - mark.name.size() % 2, '\0');
    return iffChunk("MARK", payload);
}

/// A sustain loop from one marker to another.
QByteArray instrument(int begin, int end)
{
    return iffChunk("INST", bytes("\x3C\0\0\x7F\1\x7F\0\0\0\1") + bigEndian16(begin) + bigEndian16(end) +
                                QByteArray(6, '\0'));
}

QByteArray soundInPlace()
{
    return soundChunk(kSound) + '\0';
}

} // namespace

/// Hand-made files that are saved as what they are.
class AiffFileEditTest : public SavingTest
{
protected:
    std::shared_ptr<AudioFile> openedFrom(const QByteArray& bytes)
    {
        makeFile("in.aif", bytes);
        return opened("in.aif");
    }

    QByteArray saved(const std::shared_ptr<AudioFile>& file, const AudioMetadata& metadata,
                     const std::vector<AudioMarkerPtr>& markers, int64_t numFrames = kNumFrames)
    {
        mWriter =
            std::make_shared<AiffFile>(file->sampleRate(), file->bitsPerSample(), file->numberOfChannels());
        mWriter->setOpenedFile(file);
        mWriter->setMarkers(std::make_shared<const std::vector<AudioMarkerPtr>>(markers));
        mWriter->setMetadata(metadata);
        mWriter->setNumberOfFrames(numFrames);
        mLost = file->ledger().namesOf(ItemKind::part,
                                       [&](const FileItem& item) { return !mWriter->willWrite(item); });
        mMovesReferences = AiffFile::movesReferences(*file, *mWriter);
        mWrittenTags = mWriter->writtenTags();
        const ClipList track(AudioClipPtr(std::make_shared<AudioClip>(file, 0, numFrames, 0)));
        save(*mWriter, "out.aif", TrackDocument({track}, file->sampleRate()));
        return bytesOf("out.aif");
    }

    /// As a document has them after edits: copies.
    static std::vector<AudioMarkerPtr> copies(const AudioFile& file, int64_t shift = 0)
    {
        std::vector<AudioMarkerPtr> markers;
        for (const AudioMarkerPtr& marker :
             file.markers() ? *file.markers() : std::vector<AudioMarkerPtr>()) {
            markers.push_back(AudioMarker::markerWithMarker(*marker));
            markers.back()->setPosition(marker->position() + shift);
        }
        return markers;
    }

    std::shared_ptr<AiffFile> mWriter;
    QStringList mLost;
    MetadataDictionary mWrittenTags;
    bool mMovesReferences = false;
};

TEST_F(AiffFileEditTest, ChunksStayInTheirOrderOnTheirSideOfTheSound)
{
    const auto bytes = [](const QByteArray& name, const QByteArray& author, const QByteArray& sound,
                          const QByteArray& added = {},
                          const QByteArray& counting = iffChunk("SAXL", "1234")) {
        return form("AIFF", iffChunk("APPL", "stocodd") + name + iffChunk("COMT", bigEndian16(0)) + sound +
                                author + instrument(7, 9) + marks({{7, 10, "a"}, {9, 20, "bc"}}) +
                                iffChunk("ANNO", "one") + iffChunk("ANNO", "two") +
                                iffChunk("AUTH", "other") + counting + iffChunk("wxyz", "") +
                                iffChunk("MIDI", "1") + iffChunk("MIDI", "2") +
                                iffChunk("AESD", QByteArray(24, '\0')) + added);
    };
    const QByteArray whole = kCommon + soundInPlace();
    const QByteArray name = iffChunk("NAME", test::bytes("Stra\xA7"
                                                         "e\0"));
    const auto file = openedFrom(bytes(name, iffChunk("AUTH", "Me"), whole));
    EXPECT_EQ(saved(file, file->metadata(), copies(*file)), bytes(name, iffChunk("AUTH", "Me"), whole));
    EXPECT_EQ(mLost, QStringList());
    EXPECT_EQ(file->chunksNotKept(), QStringList());
    EXPECT_EQ(mWrittenTags, file->metadata().dictionary());

    // Changed texts change where they stand, and no tag of another kind comes in.
    AudioMetadata metadata = file->metadata();
    metadata.setTitle("Größe");
    metadata.setArtist({});
    metadata.setCopyright("me");
    const QByteArray other = iffChunk("NAME", "Gr\x9A\xA7"
                                              "e");
    // The other author is none, as before.
    EXPECT_EQ(saved(file, metadata, copies(*file)),
              bytes(other, iffChunk("AUTH", ""), whole, iffChunk("(c) ", "me")));
    EXPECT_EQ(mWrittenTags, metadata.dictionary());
    EXPECT_EQ(opened("out.aif")->metadata().dictionary(), metadata.dictionary());
    // What has no room there needs a tag.
    metadata.setAlbum("Album");
    const QByteArray tagged = saved(file, metadata, copies(*file));
    EXPECT_TRUE(tagged.contains(other) && tagged.contains("ID3 "));
    EXPECT_EQ(opened("out.aif")->metadata().album(), "Album");

    // What counts frames goes with sound of another length.
    const QByteArray shorter = iffChunk("COMM", commonPayload({1, 40, 8})) + soundChunk(kSound.first(40));
    EXPECT_EQ(saved(file, file->metadata(), copies(*file), 40),
              bytes(name, iffChunk("AUTH", "Me"), shorter, {}, {}));
    EXPECT_EQ(mLost, QStringList("sound accelerator (SAXL)"));
}

TEST_F(AiffFileEditTest, MarkersKeepTheNumbersThatLoopsMean)
{
    const QByteArray front = kCommon + instrument(7, 9);
    const auto bytes = [&](const QByteArray& marks) { return form("AIFF", front + marks + soundInPlace()); };
    const std::vector<Mark> before = {{7, 10, "a"}, {2, 15, "\x8A"}, {9, 20, "bc"}};
    const struct {
        const char* what;
        std::function<void(std::vector<AudioMarkerPtr>&)> change;
        std::vector<Mark> after;
        bool movesReferences;
    } cases[] = {
        {"cut in front",
         [](auto& list) {
             for (auto& each : list)
                 each->setPosition(each->position() - 5);
         },
         {{7, 5, "a"}, {2, 10, "\x8A"}, {9, 15, "bc"}},
         false},
        {"renamed",
         [](auto& list) { list[2]->setName("ö"); },
         {{7, 10, "a"}, {2, 15, "\x8A"}, {9, 20, "\x9A"}},
         false},
        {"one removed",
         [](auto& list) { list.erase(list.begin() + 1); },
         {{7, 10, "a"}, {9, 20, "bc"}},
         false},
        {"one of the loop removed",
         [](auto& list) { list.pop_back(); },
         {{7, 10, "a"}, {2, 15, "\x8A"}},
         true},
        {"added",
         [](auto& list) { list.insert(list.begin(), std::make_shared<AudioMarker>(0, 3, "n")); },
         {{7, 10, "a"}, {2, 15, "\x8A"}, {9, 20, "bc"}, {1, 3, "n"}},
         false},
        {"all removed", [](auto& list) { list.clear(); }, {}, true},
    };
    for (const auto& c : cases) {
        const auto file = openedFrom(bytes(marks(before)));
        std::vector<AudioMarkerPtr> markers = copies(*file);
        c.change(markers);
        EXPECT_EQ(saved(file, file->metadata(), markers),
                  bytes(c.after.empty() ? QByteArray() : marks(c.after)))
            << c.what;
        EXPECT_EQ(mMovesReferences, c.movesReferences) << c.what;
    }
    // A name that Mac Roman has no letters for stands in our chunk, which comes in then.
    const auto file = openedFrom(bytes(marks(before)));
    std::vector<AudioMarkerPtr> markers = copies(*file);
    markers[0]->setName("Ж");
    EXPECT_TRUE(saved(file, file->metadata(), markers)
                    .contains(marks({{7, 10, "?"}, {2, 15, "\x8A"}, {9, 20, "bc"}})));
    EXPECT_EQ(markersOf(*opened("out.aif")), (Markers{{10, "Ж"}, {15, "ä"}, {20, "bc"}}));
}

TEST_F(AiffFileEditTest, AnEditIsTakenBackByTheNextOne)
{
    AudioMetadata metadata;
    metadata.setTitle("Title");
    metadata.setAiffInstrumentChunk(QByteArray(20, 'i'));
    AiffFile writer(44100.0, 8, 1);
    writer.setMetadata(metadata);
    writer.setMarkers(markerList({{10, "a"}, {20, "a"}, {30, "Ж"}}));
    save(writer, "own.aif", noiseDocument(kNumFrames, 1));
    const QByteArray bytes = bytesOf("own.aif");
    const auto file = openedFrom(bytes);
    EXPECT_EQ(saved(file, file->metadata(), copies(*file)), bytes);
    const std::vector<AudioMarkerPtr> before = copies(*file);
    // Markers of ours all have the number 0: here their order tells them apart.
    metadata = file->metadata();
    metadata.setTitle("Other");
    EXPECT_NE(saved(file, metadata, copies(*file, 7)), bytes);
    EXPECT_EQ(opened("out.aif")->metadata().title(), "Other");
    EXPECT_EQ(bytesOf("out.aif").count("Other"), 2);
    mWriter->takeOverLedger();
    makeFile("kept.aif", bytesOf("out.aif"));
    mWriter->setFileHandle(FileHandle::openForReading(path("kept.aif")));
    const std::shared_ptr<AiffFile> written = mWriter;
    EXPECT_EQ(saved(written, file->metadata(), before), bytes);
    EXPECT_EQ(mLost, QStringList());
}

TEST_F(AiffFileEditTest, MarkersThatDisagreeWithOursStayUntilOneChanges)
{
    const QByteArray ours = iffChunk("uMrk", archivedMarkers(markerList({{10, "a"}, {20, "b"}})));
    const QByteArray bytes =
        form("AIFF", kCommon + soundInPlace() + marks({{5, 10, "a"}, {6, 21, "b"}}) + ours);
    const auto file = openedFrom(bytes);
    EXPECT_EQ(markersOf(*file), (Markers{{10, "a"}, {20, "b"}}));
    EXPECT_EQ(saved(file, file->metadata(), copies(*file)), bytes);
    EXPECT_EQ(mLost, QStringList());
    saved(file, file->metadata(), copies(*file, 1));
    EXPECT_EQ(mLost, QStringList("markers (MARK)"));
    EXPECT_TRUE(bytesOf("out.aif").contains(marks({{5, 11, "a"}, {6, 21, "b"}})) ||
                bytesOf("out.aif").contains(marks({{5, 11, "a"}, {1, 21, "b"}})));
    // Another program's record of the same name stays, and no other one comes beside it.
    const QByteArray theirs =
        form("AIFF", kCommon + soundInPlace() + iffChunk("uMrk", "bplist00...") + marks({{5, 10, "a"}}));
    const auto other = openedFrom(theirs);
    EXPECT_EQ(saved(other, other->metadata(), copies(*other)), theirs);
}

TEST_F(AiffFileEditTest, CompressedFilesKeepTheirChunksAndPackets)
{
    save(*std::make_shared<AiffFile>(44100.0, 16, 1), "in.aif", noiseDocument(4000, 1));
    run("ffmpeg", {"-v", "error", "-i", argument("in.aif"), "-c:a", "pcm_alaw", "-write_id3v2", "0", "-y",
                   argument("alaw.aifc")});
    QByteArray bytes = bytesOf("alaw.aifc");
    bytes.replace(4, 4, bigEndian32(static_cast<quint32>(bytes.size() + 12 + 12 - 8)));
    bytes += iffChunk("NAME", "Song") + iffChunk("APPL", "stoc");
    makeFile("in.aifc", bytes);
    const auto file = opened("in.aifc");
    AifcFile writer(44100.0, 16, 1);
    writer.setOpenedFile(file);
    writer.setMetadata(file->metadata());
    writer.setDataFormat(file->dataFormat());
    writer.setNumberOfFrames(4000);
    writer.validateAndCorrectParameters();
    writer.offerSound(file);
    ASSERT_TRUE(writer.keptSound());
    save(writer, "out.aifc", decoded(*file));
    EXPECT_EQ(bytesOf("out.aifc"), bytes);
}

} // namespace velloria::test
