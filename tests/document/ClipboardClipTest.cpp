#include "document/AudioClipboard.h"
#include "document/DocumentKit.h"

using namespace velloria;

TEST(ClipboardClip, IsAsLongAsItsLongestTrack)
{
    ClipboardClip clip(22050.0);
    EXPECT_EQ(clip.length(), 0);
    clip.addTrack(kit::trackOf(kit::ramp(100, 1)));
    clip.addTrackWithClips(ClipList(std::make_shared<const AudioClip>(22050)));
    EXPECT_EQ(clip.numTracks(), 2);
    EXPECT_EQ(clip.length(), 22050);
    EXPECT_DOUBLE_EQ(clip.duration(), 1.0);
}

TEST(ClipboardClip, TruncatesMarkersAtAnotherRateAndKeepsThemAtItsOwn)
{
    const double oddRate = 44100.7;
    ClipboardClip clip(oddRate);
    std::vector<AudioMarkerPtr> markers;
    for (int64_t position = 0; position < 20000; ++position)
        markers.push_back(kit::markerAt(position, QStringLiteral("a")));
    clip.addMarkers({kit::markerAt(1)});
    clip.addMarkers(markers);

    EXPECT_EQ(kit::positionsOf(clip.markersAtSampleRate(oddRate)), kit::positionsOf(markers));
    const auto halved = clip.markersAtSampleRate(oddRate / 2);
    EXPECT_EQ(halved.size(), markers.size());
    EXPECT_EQ(halved[7]->position(), 3);
    EXPECT_EQ(halved[7]->name(), QStringLiteral("a"));
    EXPECT_NE(halved[7], markers[7]) << "copies";
}

TEST(AudioClipboard, IsOneForTheApplication)
{
    EXPECT_FALSE(AudioClipboard::clipboard().hasContent());
    AudioClipboard::clipboard().setContents(ClipboardClip::clipWithSampleRate(8000.0));
    EXPECT_TRUE(AudioClipboard::clipboard().hasContent());
    EXPECT_EQ(AudioClipboard::clipboard().contents()->sampleRate(), 8000.0);
    AudioClipboard::clipboard().setContents(nullptr);
    EXPECT_FALSE(AudioClipboard::clipboard().hasContent());
}
