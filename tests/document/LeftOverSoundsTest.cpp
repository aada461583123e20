#include "document/LeftOverSounds.h"
#include "document/DocumentKit.h"
#include "platform/ScratchFolder.h"

#include <fstream>

using namespace velloria;

namespace
{

/// Scratch files as a program that was killed leaves them.
class LeftOverSoundsTest : public testing::Test
{
protected:
    ~LeftOverSoundsTest() override { ScratchFolder::removeLeftOvers(); }

    /// A recording of so many frames a track, in blocks as they come.
    static void leaveTake(const std::vector<size_t>& lengths, double rate, std::chrono::seconds age)
    {
        std::vector<std::filesystem::path> files;
        for (size_t track = 0; track < lengths.size(); ++track) {
            MutableAudioClip clip(rate);
            const FloatBuffer samples = kit::noise(lengths[track], static_cast<unsigned>(track));
            ASSERT_FALSE(clip.appendData(samples));
            clip.tempFile()->leaveBehind();
            files.push_back(clip.tempFile()->path());
            mKept.push_back(clip.tempFile());
        }
        for (const auto& file : files)
            std::filesystem::last_write_time(file, std::filesystem::file_time_type::clock::now() - age);
    }
    /// The program is gone.
    static std::vector<LeftOverSound> found()
    {
        mKept.clear();
        return LeftOverSounds::find(ScratchFolder::leftOvers());
    }

private:
    // Else the next file would take the number of one that is free again.
    static inline std::vector<std::shared_ptr<TempFile>> mKept;
};

} // namespace

TEST_F(LeftOverSoundsTest, TheTracksOfATakeAreOneDocumentAgain)
{
    leaveTake({30000}, 44100, std::chrono::seconds(60)); // what an effect computed before
    leaveTake({50000, 49000}, 48000, std::chrono::seconds(0));
    leaveTake({50000, 50000}, 44100, std::chrono::seconds(30));
    const std::vector<LeftOverSound> sounds = found();
    ASSERT_EQ(sounds.size(), 3U);
    EXPECT_EQ(sounds[0].files.size(), 2U) << "the newest first";
    EXPECT_EQ(sounds[1].files.size(), 2U);
    EXPECT_EQ(sounds[2].files.size(), 1U);
    MaybeError error;
    const auto document = LeftOverSounds::open(sounds[0], &error);
    ASSERT_TRUE(document);
    EXPECT_EQ(document->sampleRate(), 48000);
    EXPECT_EQ(document->numberOfFrames(), 50000);
    EXPECT_EQ(kit::samplesOf(*document, 0), kit::noise(50000, 0));
    EXPECT_EQ(document->sampleDataAtOffset(0, 49000, 1), kit::noise(49000, 1));
    EXPECT_TRUE(document->isDocumentEdited());
    EXPECT_TRUE(document->filePath().empty()) << "a save asks for a place";
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
    EXPECT_FALSE(LeftOverSounds::open({ScratchFolder::leftOvers(), {}}, &error));
    EXPECT_TRUE(error);
}

TEST_F(LeftOverSoundsTest, AnUnsavedDocumentIsKeptWithAllThatItHolds)
{
    const kit::TrackSamples samples = {kit::noise(20000, 1), kit::noise(20000, 2), kit::noise(20000, 3)};
    {
        const auto document = kit::documentOf(samples);
        kit::setMarkers(*document, {5, 1234});
        EXPECT_EQ(LeftOverSounds::keep(*document), std::nullopt);
    }
    const std::vector<LeftOverSound> sounds = found();
    ASSERT_EQ(sounds.size(), 1U);
    MaybeError error;
    const auto document = LeftOverSounds::open(sounds[0], &error);
    ASSERT_TRUE(document);
    EXPECT_EQ(kit::samplesOf(*document), samples);
    EXPECT_EQ(kit::positionsOf(document->orderedMarkers()), std::vector<int64_t>({5, 1234}));
}
