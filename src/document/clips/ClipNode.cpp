#include "document/clips/ClipNode.h"

#include <algorithm>
#include <new>

namespace velloria
{

static_assert(sizeof(ClipNode) == 16 && sizeof(ClipNodeRef) == 4);

size_t ClipNode::numUnits(int height, int numItems)
{
    const size_t itemSize = height == 0 ? sizeof(AudioClipPtr) : sizeof(ClipNodeRef);
    return (sizeof(ClipNode) + static_cast<size_t>(numItems) * itemSize + ClipNodePool::kUnit - 1) /
           ClipNodePool::kUnit;
}

ClipNodePool::Handle ClipNode::make(int height, int numItems)
{
    const auto handle = ClipNodePool::allocate(numUnits(height, numItems));
    new (ClipNodePool::blockAt(handle)) ClipNode(height, numItems);
    return handle;
}

void ClipNode::setCounts(int64_t numClips, int64_t numFrames, bool isFixed)
{
    mNumClips = static_cast<uint32_t>(numClips);
    mNumFrames = static_cast<uint64_t>(numFrames) & ((uint64_t{1} << 54) - 1);
    mIsCounted = isFixed && int64_t{mNumClips} == numClips && static_cast<int64_t>(mNumFrames) == numFrames;
}

ClipNodeRef ClipNode::leaf(std::span<AudioClipPtr> clips)
{
    int64_t numFrames = 0;
    bool isFixed = true;
    for (const AudioClipPtr& clip : clips) {
        // Asked in this order: a clip that stops growing in between is then counted whole.
        isFixed = isFixed && !clip->isGrowing();
        numFrames += clip->numFrames();
    }
    const auto handle = make(0, static_cast<int>(clips.size()));
    auto* const node = static_cast<ClipNode*>(ClipNodePool::blockAt(handle));
    node->setCounts(static_cast<int64_t>(clips.size()), numFrames, isFixed);
    std::uninitialized_move(clips.begin(), clips.end(), node->clips());
    return ClipNodeRef(handle);
}

ClipNodeRef ClipNode::inner(std::span<ClipNodeRef> children)
{
    int64_t numClips = 0;
    int64_t numFrames = 0;
    bool isFixed = true;
    for (const ClipNodeRef& child : children) {
        isFixed = isFixed && child->mIsCounted;
        numClips += child->numClips();
        numFrames += child->numFrames();
    }
    const auto handle = make(children[0]->height() + 1, static_cast<int>(children.size()));
    auto* const node = static_cast<ClipNode*>(ClipNodePool::blockAt(handle));
    node->setCounts(numClips, numFrames, isFixed);
    std::uninitialized_move(children.begin(), children.end(), node->children());
    return ClipNodeRef(handle);
}

void ClipNode::prefetchItems() const
{
    for (int i = 0; i < numItems(); ++i)
        __builtin_prefetch(isLeaf() ? static_cast<const void*>(clip(i).get()) : child(i).get());
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): the reference is taken over, and ends here
void ClipNode::takeClips(ClipNodeRef node, AudioClipPtr* out)
{
    // A node without another owner dies here, so that emptying it is seen by nobody.
    if (node->hasOneOwner()) {
        AudioClipPtr* const clips = const_cast<ClipNode*>(node.get())->clips();
        std::move(clips, clips + node->numItems(), out);
    } else {
        std::copy_n(node->clips(), node->numItems(), out);
    }
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): as above
void ClipNode::takeChildren(ClipNodeRef node, ClipNodeRef* out)
{
    if (node->hasOneOwner()) {
        ClipNodeRef* const children = const_cast<ClipNode*>(node.get())->children();
        std::move(children, children + node->numItems(), out);
    } else {
        std::copy_n(node->children(), node->numItems(), out);
    }
}

int64_t ClipNode::countClips() const
{
    if (isLeaf())
        return numItems();
    int64_t numClips = 0;
    for (int i = 0; i < numItems(); ++i)
        numClips += child(i)->numClips();
    return numClips;
}

int64_t ClipNode::countFrames() const
{
    int64_t numFrames = 0;
    for (int i = 0; i < numItems(); ++i)
        numFrames += isLeaf() ? clip(i)->numFrames() : child(i)->numFrames();
    return numFrames;
}

void ClipNode::destroy(ClipNodePool::Handle handle)
{
    // Recursion goes as deep as the tree is high, however long the history.
    auto* const node = static_cast<ClipNode*>(ClipNodePool::blockAt(handle));
    const int height = node->height();
    const int numItems = node->numItems();
    if (height == 0)
        std::destroy_n(node->clips(), numItems);
    else
        std::destroy_n(node->children(), numItems);
    node->~ClipNode();
    ClipNodePool::release(handle, numUnits(height, numItems));
}

} // namespace velloria
