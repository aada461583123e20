#include "formats/ledger/FileLedger.h"

#include <algorithm>

namespace velloria
{

namespace
{

// A damaged file could have thousands.
constexpr qsizetype mostNames = 50;
constexpr size_t mostItems = 100000;

} // namespace

void FileLedger::add(FileItem item)
{
    if (item.bytes.length > 0)
        cover(item.bytes);
    const bool isPlain = item.keeping == Keeping::structure || item.keeping == Keeping::inModel;
    if ((!isPlain || !item.name.isEmpty()) && mItems.size() < mostItems)
        mItems.push_back(std::move(item));
}

void FileLedger::addNested(const FileLedger& part, int64_t offset)
{
    for (const ByteRange& range : part.mCovered)
        cover({offset + range.offset, range.length});
    for (FileItem item : part.mItems) {
        item.bytes.offset += offset;
        mItems.push_back(std::move(item));
    }
}

/// Joins the range with those that it meets; readers go forwards mostly, so the place is near the end.
void FileLedger::cover(ByteRange bytes)
{
    auto first = mCovered.end();
    while (first != mCovered.begin() && std::prev(first)->end() >= bytes.offset)
        --first;
    auto last = first;
    while (last != mCovered.end() && last->offset <= bytes.end())
        ++last;
    if (first == last) {
        mCovered.insert(first, bytes);
        return;
    }
    const int64_t start = std::min(first->offset, bytes.offset);
    const int64_t end = std::max(std::prev(last)->end(), bytes.end());
    *first = {start, end - start};
    mCovered.erase(std::next(first), last);
}

QStringList FileLedger::counted(const std::vector<QString>& names)
{
    QStringList order;
    std::vector<int> counts;
    qsizetype numLeftOut = 0;
    for (const QString& name : names) {
        const qsizetype index = order.indexOf(name);
        if (index >= 0) {
            ++counts[static_cast<size_t>(index)];
        } else if (order.size() < mostNames) {
            order.append(name);
            counts.push_back(1);
        } else {
            ++numLeftOut;
        }
    }
    for (qsizetype i = 0; i < order.size(); ++i) {
        if (counts[static_cast<size_t>(i)] > 1)
            order[i] = QStringLiteral("%1 (%2 times)").arg(order[i]).arg(counts[static_cast<size_t>(i)]);
    }
    if (numLeftOut > 0)
        order.append(QStringLiteral("and %1 more").arg(numLeftOut));
    return order;
}

QStringList FileLedger::namesNotKept(ItemKind kind) const
{
    return namesOf(kind, [](const FileItem& item) {
        return item.keeping == Keeping::notKept || item.keeping == Keeping::withSound;
    });
}

std::vector<ByteRange> FileLedger::undeclared(int64_t fileLength) const
{
    std::vector<ByteRange> gaps;
    int64_t end = 0;
    for (const ByteRange& range : mCovered) {
        if (range.offset > end && end < fileLength)
            gaps.push_back({end, std::min(range.offset, fileLength) - end});
        end = std::max(end, range.end());
    }
    if (end < fileLength)
        gaps.push_back({end, fileLength - end});
    return gaps;
}

void FileLedger::declareRest(int64_t fileLength)
{
    for (const ByteRange& gap : undeclared(fileLength)) {
        addNotKept(ItemKind::part,
                   QStringLiteral("%1 bytes of unknown use at %2").arg(gap.length).arg(gap.offset), gap);
    }
}

} // namespace velloria
