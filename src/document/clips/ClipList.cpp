#include "document/clips/ClipList.h"

#include "document/clips/ClipTree.h"

#include <algorithm>
#include <utility>

namespace velloria
{

ClipList::ClipList(ClipNodeRef root)
    : mRoot(std::move(root))
{
}

ClipList::ClipList(AudioClipPtr clip)
    : mRoot(ClipNode::leaf(std::span(&clip, 1)))
{
}

ClipList::ClipList(const std::vector<AudioClipPtr>& clips)
{
    std::vector<AudioClipPtr> copies = clips;
    mRoot = ClipTree::fromClips(copies);
}

int64_t ClipList::count() const
{
    return mRoot ? mRoot->numClips() : 0;
}

int64_t ClipList::length() const
{
    return mRoot ? mRoot->numFrames() : 0;
}

int ClipList::height() const
{
    return mRoot ? mRoot->height() + 1 : 0;
}

AudioClipPtr ClipList::at(int64_t index) const
{
    const Cursor cursor = Cursor::atIndex(*this, index);
    return cursor.atEnd() ? nullptr : cursor.clip();
}

ClipList::Position ClipList::find(int64_t frame) const
{
    if (frame < 0)
        return {};
    const Cursor cursor = Cursor::atFrame(*this, frame);
    return cursor.atEnd() ? Position{} : Position{cursor.mIndex, cursor.startFrame()};
}

ClipList ClipList::slice(int64_t first, int64_t count) const
{
    const int64_t start = std::clamp<int64_t>(first, 0, this->count());
    const int64_t end = start + std::clamp<int64_t>(count, 0, this->count() - start);
    return ClipList(ClipTree::slice(mRoot, start, end));
}

ClipList ClipList::joinedWith(const ClipList& other) const
{
    return ClipList(ClipTree::join(mRoot, other.mRoot));
}

ClipList ClipList::inserting(int64_t index, const ClipList& clips) const
{
    return replacing(index, 0, clips);
}

ClipList ClipList::removing(int64_t first, int64_t count) const
{
    return replacing(first, count, {});
}

ClipList ClipList::replacing(int64_t first, int64_t count, const ClipList& clips) const
{
    const int64_t start = std::clamp<int64_t>(first, 0, this->count());
    const int64_t end = start + std::clamp<int64_t>(count, 0, this->count() - start);
    ClipNodeRef before = ClipTree::slice(mRoot, 0, start);
    ClipNodeRef after = ClipTree::slice(mRoot, end, this->count());
    ClipNodeRef head = ClipTree::join(std::move(before), clips.mRoot);
    return ClipList(ClipTree::join(std::move(head), std::move(after)));
}

void ClipList::forEachFrom(int64_t index, const std::function<bool(const AudioClipPtr&, int64_t)>& fn) const
{
    for (Cursor cursor = Cursor::atIndex(*this, index); !cursor.atEnd(); cursor.next()) {
        if (!fn(cursor.clip(), cursor.startFrame()))
            return;
    }
}

std::vector<AudioClipPtr> ClipList::toVector() const
{
    std::vector<AudioClipPtr> clips;
    clips.reserve(static_cast<size_t>(count()));
    for (Cursor cursor = Cursor::atIndex(*this, 0); !cursor.atEnd(); cursor.next())
        clips.push_back(cursor.clip());
    return clips;
}

ClipList::Cursor ClipList::Cursor::atFrame(const ClipList& list, int64_t frame)
{
    Cursor cursor;
    if (!list.mRoot)
        return cursor;
    const ClipNode* node = list.mRoot.get();
    if (frame >= node->numFrames())
        return cursor;
    int64_t rest = frame;
    while (true) {
        node->prefetchItems();
        // The lengths of growing clips may have grown since the level above was asked, never shrunk; so the
        // last item need not be asked.
        int item = 0;
        for (; item + 1 < node->numItems(); ++item) {
            const int64_t numFrames =
                node->isLeaf() ? node->clip(item)->numFrames() : node->child(item)->numFrames();
            if (rest < numFrames)
                break;
            rest -= numFrames;
            cursor.mStartFrame += numFrames;
            cursor.mIndex += node->isLeaf() ? 1 : node->child(item)->numClips();
        }
        cursor.push(node, item);
        if (node->isLeaf())
            return cursor;
        node = node->child(item).get();
    }
}

ClipList::Cursor ClipList::Cursor::atIndex(const ClipList& list, int64_t index)
{
    Cursor cursor;
    if (!list.mRoot)
        return cursor;
    const ClipNode* node = list.mRoot.get();
    if (index < 0 || index >= node->numClips())
        return cursor;
    cursor.mIndex = index;
    while (!node->isLeaf()) {
        node->prefetchItems();
        int item = 0;
        for (; index >= node->child(item)->numClips(); ++item) {
            index -= node->child(item)->numClips();
            cursor.mStartFrame += node->child(item)->numFrames();
        }
        cursor.push(node, item);
        node = node->child(item).get();
    }
    node->prefetchItems();
    for (int item = 0; item < index; ++item)
        cursor.mStartFrame += node->clip(item)->numFrames();
    cursor.push(node, static_cast<int>(index));
    return cursor;
}

const AudioClipPtr& ClipList::Cursor::clip() const
{
    const Level& leaf = mLevels[static_cast<size_t>(mDepth)];
    return leaf.node->clip(leaf.index);
}

void ClipList::Cursor::next()
{
    mStartFrame += clip()->numFrames();
    ++mIndex;
    while (mDepth >= 0) {
        Level& level = mLevels[static_cast<size_t>(mDepth)];
        if (++level.index < level.node->numItems())
            break;
        --mDepth;
    }
    if (mDepth < 0)
        return;
    const Level& level = mLevels[static_cast<size_t>(mDepth)];
    if (level.node->isLeaf())
        return;
    const ClipNode* node = level.node->child(level.index).get();
    for (; !node->isLeaf(); node = node->child(0).get())
        push(node, 0);
    push(node, 0);
}

} // namespace velloria
