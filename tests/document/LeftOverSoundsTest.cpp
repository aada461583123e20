#include "document/LeftOverSounds.h"

#include "document/DocumentKit.h"
#include "document/UndoGroup.h"
#include "platform/ScratchFolder.h"
#include "platform/ScratchNote.h"

#include <QLocale>
#include <QTemporaryDir>
#include <fstream>

using namespace velloria;

namespace
{

using Use = ScratchLabel::Use;

/// Scratch files as a program that was killed leaves them.
class LeftOverSoundsTest : public testing::Test
{
protected:
    ~LeftOverSoundsTest() override { ScratchFolder::removeLeftOversUpTo(INT64_MAX); }

    static ScratchLabel labelOf(Use use, const QString& name)
    {
        ScratchLabel label;
        label.use = use;
        label.documentID = QStringLiteral("of ") + name;
        label.documentName = name;
        label.file = "/music/" + name.toUtf8();
        return label;
    }
    /// Two sounds at a time take numbers in turn, as those of two programs do.
    static void leave(const std::vector<std::pair<ScratchLabel, std::vector<size_t>>>& sounds,
                      double rate = 44100)
    {
        std::vector<std::shared_ptr<const ScratchLabel>> labels;
        size_t mostTracks = 0;
        for (const auto& [label, lengths] : sounds) {
            labels.push_back(
                std::make_shared<ScratchLabel>(label.forNewSound(static_cast<int32_t>(lengths.size()))));
            mostTracks = std::max(mostTracks, lengths.size());
        }
        for (size_t track = 0; track < mostTracks; ++track)
            for (size_t i = 0; i < sounds.size(); ++i)
                if (track < sounds[i].second.size())
                    leaveTrack(labels[i], static_cast<int32_t>(track), sounds[i].second[track], rate);
    }
    static void leaveTrack(const std::shared_ptr<const ScratchLabel>& label, int32_t track, size_t length,
                           double rate = 44100)
    {
        MutableAudioClip clip(rate);
        clip.setLabel(label, track);
        ASSERT_FALSE(clip.appendData(kit::noise(length, static_cast<unsigned>(track))));
        clip.tempFile()->leaveBehind();
        mKept.push_back(clip.tempFile());
    }
    /// The program is gone.
    static std::vector<LeftOverSound> found()
    {
        mKept.clear();
        return LeftOverSounds::find(ScratchFolder::leftOvers());
    }
    static QStringList titlesOf(const std::vector<LeftOverSound>& sounds)
    {
        QStringList titles;
        for (const LeftOverSound& sound : sounds)
            titles += QStringLiteral("%1 x%2").arg(sound.title()).arg(sound.numTracks);
        return titles;
    }
    static QString now() { return QLocale().toString(QTime::currentTime(), QLocale::ShortFormat); }

    const QTemporaryDir mFolder;

private:
    // Else the next file would take the number of one that is free again.
    static inline std::vector<std::shared_ptr<TempFile>> mKept;
};

} // namespace

TEST_F(LeftOverSoundsTest, TheTracksOfATakeAreOneDocumentAgainWhateverLiesBetween)
{
    ScratchLabel interview = labelOf(Use::recording, QStringLiteral("interview.wav"));
    interview.sampleBits = 32;
    leave({{interview, {50000, 49000}},
           {labelOf(Use::recording, QStringLiteral("talk.wav")), {49500, 49500}},
           {labelOf(Use::computation, QStringLiteral("talk.wav")), {49200}}});
    const QString time = now();
    const std::vector<LeftOverSound> sounds = found();
    EXPECT_EQ(titlesOf(sounds),
              QStringList({QStringLiteral("Take of %1, interview.wav x2").arg(time),
                           QStringLiteral("Take of %1, talk.wav x2").arg(time), "Part of talk.wav x1"}))
        << "the longest first";
    MaybeError error;
    const auto document = LeftOverSounds::open(sounds[0], &error);
    ASSERT_TRUE(document);
    EXPECT_EQ(document->numberOfFrames(), 50000);
    EXPECT_EQ(kit::samplesOf(*document, 0), kit::noise(50000, 0));
    EXPECT_EQ(document->sampleDataAtOffset(0, 49000, 1), kit::noise(49000, 1));
    EXPECT_EQ(document->sampleSize(), 32);
    EXPECT_EQ(document->displayName(), sounds[0].title());
    EXPECT_TRUE(document->isDocumentEdited());
    EXPECT_FALSE(document->undoManager().canUndo());
    EXPECT_TRUE(document->filePath().empty()) << "a save asks for a place";
}

TEST_F(LeftOverSoundsTest, WithoutNotesEveryFileIsASoundOfItsOwn)
{
    for (int i = 0; i < 4; ++i)
        leaveTrack(nullptr, 0, 1000);
    // Of one sound, as somebody copied it: two that claim to be the same track.
    const auto label =
        std::make_shared<ScratchLabel>(labelOf(Use::recording, QStringLiteral("a")).forNewSound(2));
    leaveTrack(label, 1, 1000);
    leaveTrack(label, 1, 1000);
    leaveTrack(label, 0, 1000, 48000);
    const std::vector<LeftOverSound> sounds = found();
    EXPECT_EQ(sounds.size(), 7U);
    EXPECT_TRUE(
        std::all_of(sounds.begin(), sounds.end(), [](const auto& sound) { return sound.files.size() == 1; }));
}

TEST_F(LeftOverSoundsTest, DamagedNotesAreNoNotes)
{
    const QByteArray whole =
        ScratchTrackLabel{labelOf(Use::recording, QStringLiteral("a")).forNewSound(2), 1}.toNote();
    ASSERT_TRUE(ScratchTrackLabel::ofNote(whole));
    for (qsizetype length = 0; length < whole.size(); ++length)
        EXPECT_FALSE(ScratchTrackLabel::ofNote(whole.left(length))) << length;
    const std::pair<const char*, const char*> changes[] = {
        {"\"tracks\":2", "\"tracks\":1"},   {"\"track\":1", "\"track\":-1"},
        {"\"tracks\":2", "\"tracks\":1e9"}, {"\"velloria\":1", "\"velloria\":2"},
        {"recording", "cooking"},           {"{", "[{"}};
    for (const auto& [from, to] : changes)
        EXPECT_FALSE(ScratchTrackLabel::ofNote(QByteArray(whole).replace(from, to))) << to;
    const QByteArray bytes("/a\xff\n\"b");
    ScratchLabel odd = labelOf(Use::decoding, QStringLiteral("a\"\\\n")).forNewSound(1);
    odd.file = bytes;
    const auto read = ScratchTrackLabel::ofNote(ScratchTrackLabel{odd, 0}.toNote());
    ASSERT_TRUE(read);
    EXPECT_EQ(read->label, odd) << "names are any text, paths any bytes";
}

TEST_F(LeftOverSoundsTest, FilesThatAreNoSoundAreLeftAlone)
{
    EXPECT_TRUE(found().empty());
    std::filesystem::create_directories(ScratchFolder::path());
    std::ofstream(ScratchFolder::path() / "Velloria_Temp-001.caf") << "caff";
    std::ofstream(ScratchFolder::path() / "Velloria_Temp-002.caf") << "";
    EXPECT_EQ(ScratchFolder::leftOvers().size(), 2U);
    EXPECT_TRUE(found().empty());
    MaybeError error;
    LeftOverSound sound;
    sound.files = ScratchFolder::leftOvers();
    EXPECT_FALSE(LeftOverSounds::open(sound, &error));
    EXPECT_TRUE(error);
}

TEST_F(LeftOverSoundsTest, AnUnsavedDocumentIsKeptWithAllThatItHolds)
{
    const kit::TrackSamples samples = {kit::noise(20000, 1), kit::noise(20000, 2), kit::noise(20000, 3)};
    {
        const auto document = kit::documentOf(samples);
        kit::setMarkers(*document, {5, 1234});
        document->undoableSetSampleSize(24);
        EXPECT_EQ(LeftOverSounds::keep(*document), std::nullopt);
    }
    const std::vector<LeftOverSound> sounds = found();
    EXPECT_EQ(titlesOf(sounds), QStringList("Untitled, not saved x3"));
    MaybeError error;
    const auto document = LeftOverSounds::open(sounds.at(0), &error);
    ASSERT_TRUE(document);
    EXPECT_EQ(kit::samplesOf(*document), samples);
    EXPECT_EQ(document->sampleSize(), 24) << "as wide as it was";
    EXPECT_EQ(kit::positionsOf(*document->orderedMarkers()), std::vector<int64_t>({5, 1234}));
}

TEST_F(LeftOverSoundsTest, FilesGoOnlyWhenSomebodyAnsweredForThem)
{
    enum class Answer { none, saved, discarded, exported };
    for (const Answer answer : {Answer::none, Answer::exported, Answer::saved, Answer::discarded}) {
        if (found().empty())
            leave({{labelOf(Use::recording, QStringLiteral("a.wav")), {3000, 3000}}});
        const LeftOverSound sound = found().at(0);
        MaybeError error;
        auto document = LeftOverSounds::open(sound, &error);
        ASSERT_TRUE(document);
        EXPECT_TRUE(found().empty()) << "another program is not offered what is open here";
        EXPECT_FALSE(LeftOverSounds::open(sound, &error));
        EXPECT_TRUE(LeftOverSounds::discard(sound));
        SaveRequest request;
        request.path = mFolder.path().toStdString() + "/saved.wav";
        request.uti = QStringLiteral("com.microsoft.waveform-audio");
        request.operation = answer == Answer::saved ? SaveOperation::saveAs : SaveOperation::saveTo;
        SilentProgress progress;
        if (answer == Answer::saved || answer == Answer::exported) {
            EXPECT_FALSE(document->writeToPath(request, progress));
        }
        if (answer == Answer::discarded)
            document->discardLeftOvers();
        EXPECT_EQ(document->sampleDataAtOffset(0, 3000, 1), kit::noise(3000, 1));
        document.reset();
        const bool isGone = answer == Answer::saved || answer == Answer::discarded;
        EXPECT_EQ(found().size(), isGone ? 0U : 1U);
        EXPECT_EQ(std::filesystem::exists(ScratchNote::pathFor(sound.files[0])), !isGone);
    }
}

TEST_F(LeftOverSoundsTest, WhatIsEditedFurtherIsKeptBesideWhatWasRecovered)
{
    leave({{labelOf(Use::recording, QStringLiteral("a.wav")), {3000}}});
    MaybeError error;
    auto document = LeftOverSounds::open(found().at(0), &error);
    EXPECT_FALSE(LeftOverSounds::keep(*document));
    EXPECT_TRUE(found().empty()) << "nothing is written that is there already";
    document->replaceDataAtOffset(0, 1000, 0, ClipList());
    EXPECT_FALSE(LeftOverSounds::keep(*document));
    document.reset();
    const std::vector<LeftOverSound> sounds = found();
    ASSERT_EQ(sounds.size(), 2U);
    EXPECT_EQ(sounds[0].numFrames, 3000);
    EXPECT_EQ(sounds[1].numFrames, 2000);
}

TEST_F(LeftOverSoundsTest, WhatACommandComputedSaysWhichAndForWhom)
{
    {
        const auto document = kit::documentOf({kit::noise(3000, 1), kit::noise(3000, 2)});
        SilentProgress progress;
        const UndoGroup group(*document, QStringLiteral("Mix Down"));
        EXPECT_FALSE(document->mixdownToMono(progress));
        const AudioClipPtr mixed = document->audioTracks()->front()->clips().at(0);
        dynamic_cast<const MutableAudioClip&>(*mixed).tempFile()->leaveBehind();
    }
    const std::vector<LeftOverSound> sounds = found();
    EXPECT_EQ(titlesOf(sounds), QStringList("Mix Down in Untitled x1"));
    EXPECT_FALSE(sounds.at(0).isPersons());
}
