#include "formats/kit/DecodingTestKit.h"

namespace velloria::test
{

/// What holds for every type that is written and read again, row by row of the registry.
class EveryFormatTest : public DecodingTest
{
protected:
    /// The types that open what they save.
    static std::vector<const AudioFileType*> types()
    {
        std::vector<const AudioFileType*> types = AudioFileRegistry::writableTypes();
        std::erase_if(types, [](const AudioFileType* type) { return !type->open; });
        return types;
    }
    static std::shared_ptr<AudioFile> writerOf(const AudioFileType& type, size_t numChannels)
    {
        auto writer =
            AudioFileRegistry::audioFileWithUTI(type.uti, 44100.0, 16, static_cast<uint32_t>(numChannels));
        writer->validateAndCorrectParameters();
        return writer;
    }
    static std::string fileName(const AudioFileType& type)
    {
        return "out." + type.defaultExtension.toStdString();
    }

    struct Outcome {
        bool hasSucceeded = false;
        MaybeError error;
    };
    Outcome saved(AudioFile& writer, const AudioFileType& type, const FrameSource& document,
                  const SoundSelection* selection, Progress& progress) const
    {
        writer.setFileHandle(newFile(fileName(type)));
        writer.setFilePath(path(fileName(type)));
        Outcome outcome;
        outcome.hasSucceeded = writer.saveDocument(document, selection, progress, &outcome.error);
        return outcome;
    }
    /// The frames that come back, as they are counted and as there are; -1 where they disagree.
    int64_t numFramesAgain(const AudioFileType& type, uint32_t* numChannels = nullptr) const
    {
        const auto file = opened(fileName(type));
        if (!file)
            return -1;
        const TrackDocument document =
            file->requiresConversion() ? SavingTest::decoded(*file) : documentOf(file);
        if (numChannels)
            *numChannels = file->numberOfChannels();
        return document.numberOfFrames() == file->numberOfFrames() ? file->numberOfFrames() : -1;
    }
    /// What a format that cannot tell its length gives back of so many frames, at most.
    static int64_t slackOf(const AudioFileType& type)
    {
        if (type.uti == QLatin1String("public.aifc-audio"))
            return 63;
        return type.uti == QLatin1String("public.aac-audio") ? 2 * 1024 : 0;
    }
};

TEST_F(EveryFormatTest, HoldsFromOneToThirtyTwoChannelsOrSaysThatItDoesNot)
{
    for (const AudioFileType* type : types()) {
        for (const size_t numChannels : {1, 2, 3, 6, 8, 9, 32}) {
            SCOPED_TRACE(type->displayName.toStdString() + " " + std::to_string(numChannels));
            const auto writer = writerOf(*type, numChannels);
            SilentProgress progress;
            const Outcome outcome =
                saved(*writer, *type, noiseDocument(5000, numChannels), nullptr, progress);
            if (numChannels > writer->maximumNumberOfChannels()) {
                EXPECT_FALSE(outcome.hasSucceeded);
                ASSERT_TRUE(outcome.error);
                EXPECT_TRUE(outcome.error->message.contains("channels"));
                continue;
            }
            ASSERT_TRUE(outcome.hasSucceeded) << outcome.error->message.toStdString();
            uint32_t numFound = 0;
            const int64_t numFrames = numFramesAgain(*type, &numFound);
            EXPECT_GE(numFrames, 5000);
            EXPECT_LE(numFrames, 5000 + slackOf(*type));
            const bool isFolded = type->uti == QLatin1String("public.mp3") && numChannels > 2;
            EXPECT_EQ(numFound, isFolded ? 2 : numChannels);
            if (isFolded || numChannels < 3) {
                EXPECT_EQ(isFolded || slackOf(*type) > 0, !writer->soundLosses().isEmpty());
            }
        }
    }
}

TEST_F(EveryFormatTest, HoldsOneFrameAndNoneOrSaysThatItCannotBeEmpty)
{
    for (const AudioFileType* type : types()) {
        for (const int64_t numFrames : {0, 1}) {
            SCOPED_TRACE(type->displayName.toStdString() + " " + std::to_string(numFrames));
            const auto writer = writerOf(*type, 2);
            SilentProgress progress;
            const Outcome outcome = saved(*writer, *type, silence(numFrames, 2), nullptr, progress);
            if (!outcome.hasSucceeded) {
                EXPECT_EQ(numFrames, 0);
                EXPECT_TRUE(outcome.error && outcome.error->message.contains("cannot be empty"));
                continue;
            }
            const int64_t numFound = numFramesAgain(*type);
            EXPECT_GE(numFound, numFrames);
            EXPECT_LE(numFound, numFrames + slackOf(*type));
        }
    }
}

TEST_F(EveryFormatTest, SavesTheSelectedFramesOfTheSelectedTracksWithoutMarkers)
{
    // Silence, and between it the sound of the tracks in the middle.
    FloatBuffer sound(30000, 0.0F);
    for (size_t i = 10000; i < 20000; ++i)
        sound[i] = 0.5F * std::sin(0.05F * static_cast<float>(i));
    const ClipList silent(AudioClipPtr(std::make_shared<AudioClip>(30000)));
    const TrackDocument document({silent, ClipList(floatClip(sound)), ClipList(floatClip(sound)), silent});
    (*document.audioTracks())[1]->setPan(-1.0);
    (*document.audioTracks())[2]->setPan(1.0);
    SoundSelection selection;
    selection.startTime = 10000 / 44100.0;
    selection.endTime = 20000 / 44100.0;
    selection.firstTrack = 1;
    selection.numTracks = 2;
    for (const AudioFileType* type : types()) {
        SCOPED_TRACE(type->displayName.toStdString());
        const auto writer = writerOf(*type, 4);
        writer->setMarkers(markerList({{12000, "inside"}}));
        SilentProgress progress;
        const Outcome outcome = saved(*writer, *type, document, &selection, progress);
        ASSERT_TRUE(outcome.hasSucceeded) << outcome.error->message.toStdString();
        uint32_t numChannels = 0;
        const int64_t numFrames = numFramesAgain(*type, &numChannels);
        EXPECT_GE(numFrames, 10000);
        EXPECT_LE(numFrames, 10000 + slackOf(*type));
        EXPECT_EQ(numChannels, 2U);
        EXPECT_TRUE(markersOf(*opened(fileName(*type))).empty());
        double sum = 0.0;
        const FloatBuffer frames = decodedFrames(fileName(*type));
        for (size_t i = 0; i < 20000; ++i)
            sum += frames[i] * frames[i];
        // A full sine of half the amplitude; the older encodings are coarse.
        EXPECT_NEAR(10.0 * std::log10(sum / 20000 / 0.125), 0.0, 0.3);
    }
}

TEST_F(EveryFormatTest, StopsWhenItIsCancelled)
{
    for (const AudioFileType* type : AudioFileRegistry::writableTypes()) {
        SCOPED_TRACE(type->displayName.toStdString());
        const auto writer = writerOf(*type, 2);
        ImpatientProgress progress(0);
        const Outcome outcome = saved(*writer, *type, noiseDocument(200000, 2), nullptr, progress);
        EXPECT_FALSE(outcome.hasSucceeded);
        ASSERT_TRUE(outcome.error);
        EXPECT_TRUE(outcome.error->isUserCancelled()) << outcome.error->message.toStdString();
    }
}

TEST_F(EveryFormatTest, KeepsTenThousandMarkersWithLongNamesOfEveryScript)
{
    const QString scripts[] = {"Takt Größe ", "Вступление ", "音楽の始まり", "פתיחה ", "🎵é"};
    std::vector<std::pair<int64_t, QString>> markers;
    for (int i = 0; i < 10000; ++i) {
        QString name = QStringLiteral("%1 ").arg(i);
        const QString& script = scripts[i % 5];
        while (name.size() + script.size() <= 300)
            name += script;
        markers.emplace_back(5 + 7 * i, name);
    }
    for (const AudioFileType* type : types()) {
        SCOPED_TRACE(type->displayName.toStdString());
        const auto writer = writerOf(*type, 1);
        if (!writer->canSaveMarkers())
            continue;
        writer->setMarkers(markerList(markers));
        SilentProgress progress;
        ASSERT_TRUE(saved(*writer, *type, silence(80000), nullptr, progress).hasSucceeded);
        const auto found = markersOf(*opened(fileName(*type)));
        const size_t most = static_cast<size_t>(writer->maximumNumberOfMarkers());
        ASSERT_EQ(found.size(), std::min(markers.size(), most));
        // Chapters of packet streams begin at whole milliseconds.
        const QString uti = type->uti;
        const bool isInMilliseconds = uti.contains(QLatin1String("mp3")) ||
                                      uti.contains(QLatin1String("flac")) ||
                                      uti.contains(QLatin1String("ogg"));
        for (size_t i = 0; i < found.size(); ++i) {
            const auto& [position, name] = markers[i];
            ASSERT_NEAR(found[i].first, position, isInMilliseconds ? 44100 / 2000 + 1 : 0);
            ASSERT_EQ(found[i].second, name) << i;
        }
    }
}

} // namespace velloria::test
