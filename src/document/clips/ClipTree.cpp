#include "document/clips/ClipTree.h"

#include <algorithm>
#include <array>

namespace velloria::ClipTree
{

namespace
{

template <typename Item>
constexpr int kMax = std::is_same_v<Item, AudioClipPtr> ? ClipNode::kMaxClips : ClipNode::kMaxChildren;

// A node with fewer items is joined with a neighbour that has room.
constexpr int kMin = 2;

/// One node or two neighbours of the same height.
struct Nodes {
    ClipNodeRef first;
    ClipNodeRef second;
};

/// The items of two neighbours, and room for what replaces two of them.
template <typename Item> struct Items {
    std::array<Item, 2 * kMax<Item> + 1> item;
    int count = 0;

    void add(Item value) { item[static_cast<size_t>(count++)] = std::move(value); }
    void add(Nodes nodes)
    {
        add(std::move(nodes.first));
        if (nodes.second)
            add(std::move(nodes.second));
    }
    std::span<Item> span(int first, int number)
    {
        return std::span(item).subspan(static_cast<size_t>(first), static_cast<size_t>(number));
    }
};

ClipNodeRef makeNode(std::span<AudioClipPtr> clips)
{
    return ClipNode::leaf(clips);
}

ClipNodeRef makeNode(std::span<ClipNodeRef> children)
{
    return ClipNode::inner(children);
}

template <typename Item> Nodes makeNodes(Items<Item>& items)
{
    if (items.count <= kMax<Item>)
        return {makeNode(items.span(0, items.count)), {}};
    const int half = items.count / 2;
    return {makeNode(items.span(0, half)), makeNode(items.span(half, items.count - half))};
}

void take(ClipNodeRef node, Items<AudioClipPtr>& items)
{
    const int count = node->numItems();
    ClipNode::takeClips(std::move(node), items.item.data() + items.count);
    items.count += count;
}

void take(ClipNodeRef node, Items<ClipNodeRef>& items)
{
    const int count = node->numItems();
    ClipNode::takeChildren(std::move(node), items.item.data() + items.count);
    items.count += count;
}

int maxItemsOf(const ClipNodeRef& node)
{
    return node->isLeaf() ? kMax<AudioClipPtr> : kMax<ClipNodeRef>;
}

bool fitTogether(const ClipNodeRef& left, const ClipNodeRef& right)
{
    return left->numItems() + right->numItems() <= maxItemsOf(left);
}

template <typename Item> ClipNodeRef unionOf(ClipNodeRef left, ClipNodeRef right)
{
    Items<Item> items;
    take(std::move(left), items);
    take(std::move(right), items);
    return makeNode(items.span(0, items.count));
}

/// All items of two neighbours that fit together.
ClipNodeRef united(ClipNodeRef left, ClipNodeRef right)
{
    return left->isLeaf() ? unionOf<AudioClipPtr>(std::move(left), std::move(right))
                          : unionOf<ClipNodeRef>(std::move(left), std::move(right));
}

/// Unites a child that came out of a cut too small with a neighbour among its siblings.
void mendChild(Items<ClipNodeRef>& items, int index)
{
    ClipNodeRef* const item = items.item.data();
    if (item[index]->numItems() >= kMin)
        return;
    int left = index - 1;
    if (left < 0 || !fitTogether(item[left], item[index]))
        left = index;
    if (left + 1 >= items.count || !fitTogether(item[left], item[left + 1]))
        return;
    item[left] = united(std::move(item[left]), std::move(item[left + 1]));
    std::move(item + left + 2, item + items.count, item + left + 1);
    --items.count;
}

Nodes joinNodes(ClipNodeRef left, ClipNodeRef right);

/// Replaces the last of the left items and the first of the right ones by their union.
Nodes joinItems(Items<ClipNodeRef>& leftItems, Items<ClipNodeRef>& rightItems, Nodes middle)
{
    Items<ClipNodeRef> items;
    for (int i = 0; i < leftItems.count - 1; ++i)
        items.add(std::move(leftItems.item[static_cast<size_t>(i)]));
    const int firstOfMiddle = items.count;
    items.add(std::move(middle));
    const int lastOfMiddle = items.count - 1;
    for (int i = 1; i < rightItems.count; ++i)
        items.add(std::move(rightItems.item[static_cast<size_t>(i)]));
    mendChild(items, lastOfMiddle);
    mendChild(items, std::min(firstOfMiddle, items.count - 1));
    return makeNodes(items);
}

/// One or two nodes as high as the higher of the two. The seam is joined on every level, down to the clips:
/// what a cut left there on both sides then becomes one node a level.
Nodes joinNodes(ClipNodeRef left, ClipNodeRef right)
{
    const int leftHeight = left->height();
    const int rightHeight = right->height();
    if (leftHeight == 0 && rightHeight == 0) {
        if (fitTogether(left, right))
            return {united(std::move(left), std::move(right)), {}};
        return {std::move(left), std::move(right)};
    }

    Items<ClipNodeRef> leftItems;
    Items<ClipNodeRef> rightItems;
    if (leftHeight >= rightHeight)
        take(std::move(left), leftItems);
    else
        leftItems.add(std::move(left));
    if (rightHeight >= leftHeight)
        take(std::move(right), rightItems);
    else
        rightItems.add(std::move(right));
    Nodes middle = joinNodes(std::move(leftItems.item[static_cast<size_t>(leftItems.count - 1)]),
                             std::move(rightItems.item[0]));
    return joinItems(leftItems, rightItems, std::move(middle));
}

/// Items firstItem .. of a node, whole, with what was cut from the items beside them.
ClipNodeRef innerOf(ClipNodeRef before, const ClipNodeRef& node, int firstItem, int endItem,
                    ClipNodeRef after)
{
    Items<ClipNodeRef> items;
    if (before)
        items.add(std::move(before));
    for (int i = firstItem; i < endItem; ++i)
        items.add(node->child(i));
    if (after)
        items.add(std::move(after));
    return ClipNode::inner(items.span(0, items.count));
}

ClipNodeRef leafOf(const ClipNodeRef& node, int64_t first, int64_t end)
{
    Items<AudioClipPtr> items;
    for (auto i = static_cast<int>(first); i < end; ++i)
        items.add(node->clip(i));
    return ClipNode::leaf(items.span(0, items.count));
}

/// The item that holds clip `index`, which becomes the index within that item.
int itemWithClip(const ClipNodeRef& node, int64_t& index)
{
    node->prefetchItems();
    int item = 0;
    while (index >= node->child(item)->numClips()) {
        index -= node->child(item)->numClips();
        ++item;
    }
    return item;
}

/// Clips 0 .. end - 1 at the node's own height; end >= 1.
ClipNodeRef prefix(const ClipNodeRef& node, int64_t end)
{
    if (end == node->numClips())
        return node;
    if (node->isLeaf())
        return leafOf(node, 0, end);
    int64_t last = end - 1;
    const int item = itemWithClip(node, last);
    return innerOf({}, node, 0, item, prefix(node->child(item), last + 1));
}

/// Clips first .. at the node's own height; at least one.
ClipNodeRef suffix(const ClipNodeRef& node, int64_t first)
{
    if (first == 0)
        return node;
    if (node->isLeaf())
        return leafOf(node, first, node->numClips());
    const int item = itemWithClip(node, first);
    return innerOf(suffix(node->child(item), first), node, item + 1, node->numItems(), {});
}

/// The nodes of a level, filled up, over the items below.
template <typename Item> std::vector<ClipNodeRef> makeLevel(std::span<Item> items)
{
    std::vector<ClipNodeRef> nodes;
    for (; !items.empty(); items = items.subspan(std::min<size_t>(kMax<Item>, items.size())))
        nodes.push_back(makeNode(items.first(std::min<size_t>(kMax<Item>, items.size()))));
    return nodes;
}

/// A root with a single child is no better than the child.
ClipNodeRef withoutIdleRoots(ClipNodeRef node)
{
    while (!node->isLeaf() && node->numItems() == 1)
        node = ClipNodeRef(node->child(0));
    return node;
}

} // namespace

ClipNodeRef slice(const ClipNodeRef& root, int64_t first, int64_t end)
{
    if (first >= end)
        return {};
    const ClipNodeRef* node = &root;
    while (true) {
        if (first == 0 && end == (*node)->numClips())
            return *node;
        if ((*node)->isLeaf())
            return leafOf(*node, first, end);
        int64_t firstInItem = first;
        int64_t lastInItem = end - 1;
        const int firstItem = itemWithClip(*node, firstInItem);
        const int lastItem = itemWithClip(*node, lastInItem);
        if (firstItem < lastItem) {
            return withoutIdleRoots(innerOf(suffix((*node)->child(firstItem), firstInItem), *node,
                                            firstItem + 1, lastItem,
                                            prefix((*node)->child(lastItem), lastInItem + 1)));
        }
        node = &(*node)->child(firstItem);
        first = firstInItem;
        end = lastInItem + 1;
    }
}

ClipNodeRef join(ClipNodeRef left, ClipNodeRef right)
{
    if (!left)
        return right;
    if (!right)
        return left;
    Nodes nodes = joinNodes(std::move(left), std::move(right));
    if (!nodes.second)
        return withoutIdleRoots(std::move(nodes.first));
    std::array<ClipNodeRef, 2> children = {std::move(nodes.first), std::move(nodes.second)};
    return ClipNode::inner(children);
}

ClipNodeRef fromClips(std::span<AudioClipPtr> clips)
{
    if (clips.empty())
        return {};
    std::vector<ClipNodeRef> level = makeLevel(clips);
    while (level.size() > 1)
        level = makeLevel(std::span(level));
    return std::move(level[0]);
}

} // namespace velloria::ClipTree
