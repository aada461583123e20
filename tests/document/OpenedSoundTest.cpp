#include "document/OpenedSound.h"

#include "document/DocumentKit.h"
#include "formats/AudioFileRegistry.h"

#include <algorithm>

namespace velloria::kit
{

namespace
{

constexpr double kRate = 44100.0;
constexpr int64_t kNumFrames = 1000;

/// A sample of the plain model: which frame of which track of the opened file it is, or neither.
struct Sample {
    int track = -1;
    int64_t frame = 0;
    bool operator==(const Sample&) const = default;
};
using Model = std::vector<std::vector<Sample>>;

/// Tracks that are edited beside a plain model of them.
class OpenedSoundTest : public testing::Test
{
protected:
    explicit OpenedSoundTest(int numTracks = 2)
        : mOther(clipOf(ramp(300, 0.0F)))
        , mModel(static_cast<size_t>(numTracks))
    {
        for (int track = 0; track < numTracks; ++track) {
            mTracks.push_back(trackOf(ramp(kNumFrames, 0.0F)));
            for (int64_t frame = 0; frame < kNumFrames; ++frame)
                mModel[static_cast<size_t>(track)].push_back({track, frame});
        }
        mOpened = OpenedSound(AudioFileRegistry::audioFileWithUTI(QStringLiteral("org.videolan.flac"), kRate,
                                                                  16, static_cast<uint32_t>(numTracks)),
                              mTracks, kRate);
    }

    int64_t length() const { return std::ssize(mModel.front()); }

    int64_t random(int64_t least, int64_t most)
    {
        return std::uniform_int_distribution<int64_t>(least, most)(mGenerator);
    }

    /// Installs tracks as a document does: the old ones stay as they are.
    void edit(const std::function<void(AudioTrack&, std::vector<Sample>&, size_t)>& change)
    {
        mHistory.emplace_back(mTracks, mModel);
        for (size_t i = 0; i < mTracks.size(); ++i) {
            mTracks[i] = AudioTrack::trackWithTrack(*mTracks[i]);
            change(*mTracks[i], mModel[i], i);
        }
    }

    void cut(int64_t at, int64_t count)
    {
        edit([&](AudioTrack& track, std::vector<Sample>& model, size_t) {
            track.removeDataAtOffset(at, count);
            model.erase(model.begin() + at, model.begin() + at + count);
        });
    }

    void paste(int64_t from, int64_t count, int64_t at)
    {
        edit([&](AudioTrack& track, std::vector<Sample>& model, size_t) {
            track.insertClips(track.clipsAtOffset(from, count), at);
            const std::vector<Sample> copied(model.begin() + from, model.begin() + from + count);
            model.insert(model.begin() + at, copied.begin(), copied.end());
        });
    }

    void pasteOther(int64_t at, int64_t count, const AudioClipPtr& clip)
    {
        edit([&](AudioTrack& track, std::vector<Sample>& model, size_t) {
            track.insertClip(clip->subdataWithOffset(0, count), at);
            model.insert(model.begin() + at, static_cast<size_t>(count), Sample());
        });
    }

    /// On one track or on all, as an effect does.
    void compute(int64_t at, int64_t count, int64_t onlyTrack)
    {
        const AudioClipPtr computed = clipOf(noise(static_cast<size_t>(count), 7));
        edit([&](AudioTrack& track, std::vector<Sample>& model, size_t i) {
            if (onlyTrack >= 0 && i != static_cast<size_t>(onlyTrack))
                return;
            track.removeDataAtOffset(at, count);
            track.insertClip(computed, at);
            std::fill_n(model.begin() + at, count, Sample());
        });
    }

    /// Moves one track against the others.
    void insertSilenceIntoOne(int64_t at, int64_t count)
    {
        const int64_t end = length();
        edit([&](AudioTrack& track, std::vector<Sample>& model, size_t i) {
            const int64_t place = i == 0 ? at : end;
            track.insertClip(std::make_shared<AudioClip>(count), place);
            model.insert(model.begin() + place, static_cast<size_t>(count), Sample());
        });
    }

    void undo()
    {
        if (mHistory.empty())
            return;
        std::tie(mTracks, mModel) = mHistory.back();
        mHistory.pop_back();
    }

    void editAtRandom()
    {
        const int64_t at = random(0, length());
        const int64_t count = random(0, std::min<int64_t>(80, length() - at));
        switch (random(0, 6)) {
        case 0:
            return cut(at, count);
        case 1:
            return paste(at, count, random(0, length()));
        case 2:
            return pasteOther(at, count, mOther);
        case 3:
            return pasteOther(at, count, std::make_shared<AudioClip>(int64_t{300}));
        case 4:
            return count > 0 ? compute(at, count, random(-1, 1)) : undo();
        case 5:
            return insertSilenceIntoOne(at, count);
        default:
            return undo();
        }
    }

    /// What the pieces must be, frame by frame.
    SoundPieces expected(int64_t start, int64_t count) const
    {
        SoundPieces pieces;
        for (int64_t i = 0; i < count; ++i) {
            const int64_t frame = mModel.front()[static_cast<size_t>(start + i)].frame;
            const bool isUntouched = std::ranges::all_of(mModel, [&](const std::vector<Sample>& track) {
                const Sample& sample = track[static_cast<size_t>(start + i)];
                return sample == Sample{static_cast<int>(&track - mModel.data()), frame};
            });
            if (!isUntouched)
                continue;
            if (!pieces.empty() && pieces.back().end() == i && pieces.back().sourceEnd() == frame)
                ++pieces.back().numFrames;
            else
                pieces.push_back({i, frame, 1});
        }
        return pieces;
    }

    std::mt19937 mGenerator{1};
    AudioClipPtr mOther;
    std::vector<AudioTrackPtr> mTracks;
    Model mModel;
    OpenedSound mOpened;
    std::vector<std::pair<std::vector<AudioTrackPtr>, Model>> mHistory;
};

TEST_F(OpenedSoundTest, PiecesAreTheRunsThatNoEditTouched)
{
    for (int round = 0; round < 2000; ++round) {
        SCOPED_TRACE(round);
        editAtRandom();
        if (length() > 3000)
            cut(0, 1500);
        const int64_t start = random(0, length());
        const int64_t count = random(0, length() - start);
        ASSERT_EQ(mOpened.piecesIn(mTracks, kRate, 0, length()), expected(0, length()));
        ASSERT_EQ(mOpened.piecesIn(mTracks, kRate, start, count), expected(start, count));
    }
}

TEST_F(OpenedSoundTest, WhatIsPutTogetherAgainIsOnePiece)
{
    cut(400, 100);
    EXPECT_EQ(mOpened.piecesIn(mTracks, kRate, 0, 900), (SoundPieces{{0, 0, 400}, {400, 500, 500}}));
    edit([&](AudioTrack& track, std::vector<Sample>&, size_t i) {
        track.insertClips(mHistory.front().first[i]->clipsAtOffset(400, 100), 400);
    });
    EXPECT_EQ(mOpened.piecesIn(mTracks, kRate, 0, 1000), (SoundPieces{{0, 0, 1000}}));
    EXPECT_TRUE(mOpened.isWholeIn(mTracks, kRate));
}

TEST_F(OpenedSoundTest, NothingIsUntouchedWhereTheTracksSoundOtherwise)
{
    const std::vector<AudioTrackPtr> tracks = mTracks;
    const auto changed = [&](const std::function<void(AudioTrack&)>& change) {
        auto track = AudioTrack::trackWithTrack(*tracks[1]);
        change(*track);
        return std::vector{tracks[0], track};
    };
    const std::pair<const char*, std::vector<AudioTrackPtr>> cases[] = {
        {"another order", {tracks[1], tracks[0]}},
        {"one track twice", {tracks[0], tracks[0]}},
        {"fewer tracks", {tracks[0]}},
        {"more tracks", {tracks[0], tracks[1], tracks[1]}},
        {"no tracks", {}},
        {"volume", changed([](AudioTrack& track) { track.setScalarVolume(0.5); })},
        {"pan", changed([](AudioTrack& track) { track.setPan(0.5); })},
    };
    for (const auto& [what, other] : cases)
        EXPECT_TRUE(mOpened.piecesIn(other, kRate, 0, kNumFrames).empty()) << what;
    EXPECT_TRUE(mOpened.piecesIn(tracks, 48000.0, 0, kNumFrames).empty());
    EXPECT_TRUE(OpenedSound().piecesIn(tracks, kRate, 0, kNumFrames).empty());
    EXPECT_EQ(mOpened.piecesIn(tracks, kRate, 10, 5000), (SoundPieces{{0, 10, 990}}));
}

} // namespace

} // namespace velloria::kit
