#pragma once

#include "document/clips/ClipNode.h"

#include <array>
#include <functional>

namespace velloria
{

/// An immutable, ordered list of clips that knows its length in frames. Copies are one pointer; slicing,
/// joining and inserting take time and memory logarithmic in the number of clips, because lists share their
/// structure (a persistent B-tree). Any thread may read. A clip that still grows makes the list's length
/// grow.
class ClipList
{
public:
    ClipList() = default;
    explicit ClipList(AudioClipPtr clip);
    explicit ClipList(const std::vector<AudioClipPtr>& clips);

    int64_t count() const;
    bool isEmpty() const { return count() == 0; }
    /// Frames of all clips.
    int64_t length() const;

    AudioClipPtr at(int64_t index) const;

    struct Position {
        int64_t index = -1;
        int64_t startFrame = 0;
    };
    /// The first clip with start <= frame < start + length; index -1 when there is none. Clips of no length
    /// hold no frame.
    Position find(int64_t frame) const;

    /// Clips first .. first + count - 1.
    ClipList slice(int64_t first, int64_t count) const;
    ClipList joinedWith(const ClipList& other) const;
    ClipList inserting(int64_t index, const ClipList& clips) const;
    ClipList removing(int64_t first, int64_t count) const;
    /// Removes clips first .. first + count - 1 and puts others in their place, at the cost of one edit.
    ClipList replacing(int64_t first, int64_t count, const ClipList& clips) const;

    /// Calls fn(clip, its start frame) for the clips from `index` on until fn answers false.
    void forEachFrom(int64_t index, const std::function<bool(const AudioClipPtr&, int64_t)>& fn) const;

    std::vector<AudioClipPtr> toVector() const;

    /// Levels of the tree: 0 for an empty list, 1 for a few clips.
    int height() const;

    /// Walks the clips in order; the list must outlive it.
    class Cursor
    {
    public:
        /// At the first clip that ends beyond the frame.
        static Cursor atFrame(const ClipList& list, int64_t frame);
        static Cursor atIndex(const ClipList& list, int64_t index);

        bool atEnd() const { return mDepth < 0; }
        const AudioClipPtr& clip() const;
        /// Frame within the list at which clip() begins.
        int64_t startFrame() const { return mStartFrame; }
        void next();

    private:
        friend class ClipList;
        static constexpr int kMaxDepth = 32;
        struct Level {
            const ClipNode* node;
            int index;
        };

        void push(const ClipNode* node, int index) { mLevels[static_cast<size_t>(++mDepth)] = {node, index}; }

        // Only the levels up to mDepth are set.
        std::array<Level, kMaxDepth> mLevels;
        int mDepth = -1;
        int64_t mStartFrame = 0;
        int64_t mIndex = 0;
    };

private:
    explicit ClipList(ClipNodeRef root);

    ClipNodeRef mRoot;
};

} // namespace velloria
