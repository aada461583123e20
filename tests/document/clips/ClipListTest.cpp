#include "document/clips/ClipList.h"

#include <cmath>
#include <gtest/gtest.h>
#include <random>

namespace velloria
{
namespace
{

using Clips = std::vector<AudioClipPtr>;

AudioClipPtr silence(int64_t numFrames)
{
    return std::make_shared<AudioClip>(numFrames);
}

Clips randomClips(size_t count, std::mt19937& engine)
{
    Clips clips;
    for (size_t i = 0; i < count; ++i)
        clips.push_back(silence(static_cast<int64_t>(engine() % 5)));
    return clips;
}

Clips part(const Clips& clips, size_t first, size_t count)
{
    const auto begin = clips.begin() + static_cast<std::ptrdiff_t>(first);
    return {begin, begin + static_cast<std::ptrdiff_t>(count)};
}

int64_t lengthOf(const Clips& clips)
{
    int64_t length = 0;
    for (const auto& clip : clips)
        length += clip->numFrames();
    return length;
}

/// The clip that holds a frame, by walking.
ClipList::Position slowFind(const Clips& clips, int64_t frame)
{
    int64_t start = 0;
    for (size_t i = 0; i < clips.size(); ++i) {
        if (start <= frame && frame < start + clips[i]->numFrames())
            return {static_cast<int64_t>(i), start};
        start += clips[i]->numFrames();
    }
    return {};
}

void expectSame(const ClipList& list, const Clips& clips)
{
    ASSERT_EQ(list.count(), static_cast<int64_t>(clips.size()));
    ASSERT_EQ(list.length(), lengthOf(clips));
    ASSERT_EQ(list.toVector(), clips);
}

TEST(ClipList, StandsForAnArrayThroughRandomEdits)
{
    std::mt19937 engine(1);
    Clips model = randomClips(1000, engine);
    ClipList list(model);
    std::vector<std::pair<ClipList, Clips>> history;
    for (int step = 0; step < 4000; ++step) {
        const size_t first = engine() % (model.size() + 1);
        const size_t count = engine() % 3 ? engine() % std::min<size_t>(12, model.size() - first + 1)
                                          : engine() % (model.size() - first + 1);
        const Clips cut = part(model, first, count);
        const auto listFirst = static_cast<int64_t>(first);
        const auto listCount = static_cast<int64_t>(count);
        const ClipList cutList = list.slice(listFirst, listCount);
        ASSERT_NO_FATAL_FAILURE(expectSame(cutList, cut));
        model.erase(model.begin() + listFirst, model.begin() + listFirst + listCount);
        list = list.removing(listFirst, listCount);
        const size_t target = engine() % (model.size() + 1);
        model.insert(model.begin() + static_cast<std::ptrdiff_t>(target), cut.begin(), cut.end());
        list = list.inserting(static_cast<int64_t>(target), cutList);
        if (step % 4 == 0) {
            const Clips fresh = randomClips(engine() % 3, engine);
            model.insert(model.end(), fresh.begin(), fresh.end());
            list = list.joinedWith(ClipList(fresh));
        }
        if (step % 50 == 0) {
            ASSERT_NO_FATAL_FAILURE(expectSame(list, model));
            history.emplace_back(list, model);
        }
        const auto frame = static_cast<int64_t>(engine() % static_cast<uint64_t>(lengthOf(model) + 2)) - 1;
        const auto found = list.find(frame);
        const auto expected = slowFind(model, frame);
        ASSERT_EQ(found.index, expected.index);
        ASSERT_EQ(found.startFrame, expected.startFrame);
    }
    for (const auto& [oldList, oldModel] : history)
        ASSERT_NO_FATAL_FAILURE(expectSame(oldList, oldModel));
}

TEST(ClipList, WalksFromEveryClip)
{
    std::mt19937 engine(2);
    const Clips clips = randomClips(200, engine);
    const ClipList list(clips);
    int64_t start = 0;
    for (size_t i = 0; i < clips.size(); ++i) {
        EXPECT_EQ(list.at(static_cast<int64_t>(i)), clips[i]);
        size_t next = i;
        int64_t expectedStart = start;
        list.forEachFrom(static_cast<int64_t>(i), [&](const AudioClipPtr& clip, int64_t clipStart) {
            EXPECT_EQ(clip, clips[next]);
            EXPECT_EQ(clipStart, expectedStart);
            expectedStart += clip->numFrames();
            return ++next < i + 20;
        });
        EXPECT_EQ(next, std::min(i + 20, clips.size()));
        start += clips[i]->numFrames();
    }
    EXPECT_EQ(list.at(-1), nullptr);
    EXPECT_EQ(list.at(200), nullptr);
}

TEST(ClipList, OutOfRangeSlicesAreCutOff)
{
    const Clips clips = {silence(1), silence(2), silence(3)};
    const ClipList list(clips);
    expectSame(list.slice(1, 99), part(clips, 1, 2));
    expectSame(list.slice(-5, 2), part(clips, 0, 2));
    EXPECT_TRUE(list.slice(3, 1).isEmpty());
    EXPECT_TRUE(list.slice(1, 0).isEmpty());
    EXPECT_TRUE(ClipList().slice(0, 1).isEmpty());
    expectSame(ClipList().inserting(0, list), clips);
    expectSame(list.removing(0, 3), {});
    EXPECT_EQ(ClipList().find(0).index, -1);
}

int heightBound(int64_t count)
{
    return 4 + static_cast<int>(2 * std::log2(static_cast<double>(count + 1)) / std::log2(3.0));
}

TEST(ClipList, StaysLowUnderOneSidedEdits)
{
    // What makes unbalanced trees: growth at one end, in one place, and thinning out.
    const AudioClipPtr clip = silence(1);
    const ClipList one(clip);
    ClipList front;
    ClipList back;
    ClipList middle;
    for (int64_t i = 0; i < 20'000; ++i) {
        front = one.joinedWith(front);
        back = back.joinedWith(one);
        middle = middle.inserting(middle.count() / 2, one);
    }
    ClipList thinned = back.joinedWith(back).joinedWith(back);
    for (int64_t i = 0; i < thinned.count(); ++i)
        thinned = thinned.removing(i, 2);
    for (const ClipList& list : {front, back, middle}) {
        EXPECT_EQ(list.count(), 20'000);
        EXPECT_LE(list.height(), heightBound(list.count()));
    }
    EXPECT_EQ(thinned.count(), 20'000);
    EXPECT_LE(thinned.height(), heightBound(thinned.count()));
}

TEST(ClipList, ALongHistoryIsLetGoWithoutDeepRecursion)
{
    ClipList list;
    std::vector<ClipList> history;
    const AudioClipPtr clip = silence(1);
    for (int64_t i = 0; i < 100'000; ++i) {
        list = list.inserting(i / 2, ClipList(clip));
        history.push_back(list);
    }
    const std::weak_ptr<const AudioClip> last = clip;
    list = ClipList();
    history.clear();
    EXPECT_EQ(last.use_count(), 1);
}

} // namespace
} // namespace velloria
