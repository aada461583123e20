#pragma once

#include "document/clips/AudioClip.h"
#include "document/clips/ClipNodePool.h"

#include <atomic>
#include <span>
#include <utility>

namespace velloria
{

class ClipNode;

/// Owns one reference to a node, or none.
class ClipNodeRef
{
public:
    ClipNodeRef() = default;
    /// Takes over a reference.
    explicit ClipNodeRef(ClipNodePool::Handle handle)
        : mHandle(handle)
    {
    }
    ClipNodeRef(const ClipNodeRef& other);
    ClipNodeRef(ClipNodeRef&& other) noexcept
        : mHandle(other.release())
    {
    }
    ClipNodeRef& operator=(ClipNodeRef other) noexcept
    {
        std::swap(mHandle, other.mHandle);
        return *this;
    }
    ~ClipNodeRef();

    const ClipNode* get() const;
    const ClipNode* operator->() const { return get(); }
    explicit operator bool() const { return mHandle != 0; }
    ClipNodePool::Handle release() { return std::exchange(mHandle, 0); }

private:
    ClipNodePool::Handle mHandle = 0;
};

/// A node of a clip list's tree: an inner one holds child nodes, all of the same height, a leaf (height 0)
/// holds clips. Nodes never change once made, are shared by any number of lists, and take exactly the room of
/// their items, because an undo history without a limit consists mostly of them.
class ClipNode
{
public:
    /// An inner node of the largest size fills a cache line.
    static constexpr int kMaxChildren = 12;
    static constexpr int kMaxClips = 6;

    /// Moves the items out of the span, at most kMaxClips or kMaxChildren of them.
    static ClipNodeRef leaf(std::span<AudioClipPtr> clips);
    static ClipNodeRef inner(std::span<ClipNodeRef> children);

    int height() const { return static_cast<int>(mHeight); }
    bool isLeaf() const { return mHeight == 0; }
    int numItems() const { return static_cast<int>(mNumItems); }
    int64_t numClips() const { return mIsCounted ? int64_t{mNumClips} : countClips(); }
    int64_t numFrames() const { return mIsCounted ? static_cast<int64_t>(mNumFrames) : countFrames(); }

    const AudioClipPtr& clip(int index) const { return clips()[index]; }
    const ClipNodeRef& child(int index) const { return children()[index]; }

    /// Brings the lengths of all items on the way into the cache, at once instead of one after the other.
    void prefetchItems() const;

    /// Appends the node's items to those of the caller; they are moved when the node has no other owner.
    static void takeClips(ClipNodeRef node, AudioClipPtr* out);
    static void takeChildren(ClipNodeRef node, ClipNodeRef* out);

private:
    friend class ClipNodeRef;

    ClipNode(int height, int numItems)
        : mHeight(static_cast<uint64_t>(height))
        , mNumItems(static_cast<uint64_t>(numItems))
    {
    }
    ~ClipNode() = default;

    static size_t numUnits(int height, int numItems);
    static ClipNodePool::Handle make(int height, int numItems);
    void setCounts(int64_t numClips, int64_t numFrames, bool isFixed);
    bool hasOneOwner() const { return mNumOwners.load(std::memory_order_acquire) == 1; }
    int64_t countClips() const;
    int64_t countFrames() const;
    static void destroy(ClipNodePool::Handle handle);

    AudioClipPtr* clips() { return reinterpret_cast<AudioClipPtr*>(this + 1); }
    const AudioClipPtr* clips() const { return reinterpret_cast<const AudioClipPtr*>(this + 1); }
    ClipNodeRef* children() { return reinterpret_cast<ClipNodeRef*>(this + 1); }
    const ClipNodeRef* children() const { return reinterpret_cast<const ClipNodeRef*>(this + 1); }

    mutable std::atomic<uint32_t> mNumOwners{1};
    uint32_t mNumClips = 0;
    uint64_t mNumFrames : 54 = 0;
    // False when a clip below was still growing as the node was made, or when the counts are too large for
    // their fields; then the items are asked each time.
    uint64_t mIsCounted : 1 = 0;
    uint64_t mHeight : 5;
    uint64_t mNumItems : 4;
};

inline const ClipNode* ClipNodeRef::get() const
{
    return static_cast<const ClipNode*>(ClipNodePool::blockAt(mHandle));
}

inline ClipNodeRef::ClipNodeRef(const ClipNodeRef& other)
    : mHandle(other.mHandle)
{
    if (mHandle != 0)
        get()->mNumOwners.fetch_add(1, std::memory_order_relaxed);
}

inline ClipNodeRef::~ClipNodeRef()
{
    if (mHandle != 0 && get()->mNumOwners.fetch_sub(1, std::memory_order_acq_rel) == 1)
        ClipNode::destroy(mHandle);
}

} // namespace velloria
