#include "app/window/MarkerListModel.h"

#include "app/look/ItemNames.h"
#include "app/preferences/Settings.h"
#include "display/TimeEntry.h"
#include "platform/UserDefaults.h"

#include <QCoreApplication>
#include <algorithm>

namespace velloria
{

namespace
{

// More than fits into the list.
constexpr qsizetype kMostCharacters = 400;

} // namespace

MarkerListModel::MarkerListModel(QObject* parent)
    : QAbstractTableModel(parent)
{
}

void MarkerListModel::setDocument(std::shared_ptr<SoundDocument> document)
{
    mDocument = std::move(document);
    reset(nullptr);
    refresh();
}

void MarkerListModel::refresh()
{
    mFormatter.setSampleRate(mDocument ? mDocument->sampleRate() : 1.0);
    mFormatter.setUnits(UserDefaults::standard().integerValue(Settings::rulerUnits));
    const MarkerList next = mDocument ? mDocument->orderedMarkers() : nullptr;
    if (!mMarkers || !next || !replaceOne(next))
        reset(next);
    else if (rowCount() > 0)
        Q_EMIT dataChanged(index(0, 0), index(rowCount() - 1, numColumns - 1));
}

void MarkerListModel::reset(const MarkerList& next)
{
    beginResetModel();
    mMarkers = next;
    endResetModel();
}

bool MarkerListModel::replaceOne(const MarkerList& next)
{
    const std::vector<AudioMarkerPtr>& before = *mMarkers;
    const auto numShared = static_cast<ptrdiff_t>(std::min(before.size(), next->size()));
    const ptrdiff_t first =
        std::mismatch(before.begin(), before.begin() + numShared, next->begin()).first - before.begin();
    const ptrdiff_t numAfter =
        std::mismatch(before.rbegin(), before.rbegin() + (numShared - first), next->rbegin()).first -
        before.rbegin();
    const ptrdiff_t numOut = std::ssize(before) - first - numAfter;
    const ptrdiff_t numIn = std::ssize(*next) - first - numAfter;
    if (numOut + numIn <= 2) {
        replaceRows(first, numOut, first, numIn, next);
        return true;
    }
    // One that moved past others: they are what both have between.
    const auto out = before.begin() + first;
    const auto in = next->begin() + first;
    if (numOut == numIn && std::equal(out + 1, out + numOut, in)) {
        replaceRows(first, 1, first + numIn - 1, 1, next);
        return true;
    }
    if (numOut == numIn && std::equal(out, out + numOut - 1, in + 1)) {
        replaceRows(first + numOut - 1, 1, first, 1, next);
        return true;
    }
    return false;
}

void MarkerListModel::replaceRows(ptrdiff_t out, ptrdiff_t numOut, ptrdiff_t in, ptrdiff_t numIn,
                                  const MarkerList& next)
{
    if (numOut > 0) {
        std::vector<AudioMarkerPtr> rest = *mMarkers;
        rest.erase(rest.begin() + out, rest.begin() + out + numOut);
        beginRemoveRows({}, static_cast<int>(out), static_cast<int>(out + numOut - 1));
        mMarkers = std::make_shared<const std::vector<AudioMarkerPtr>>(std::move(rest));
        endRemoveRows();
    }
    if (numIn > 0)
        beginInsertRows({}, static_cast<int>(in), static_cast<int>(in + numIn - 1));
    mMarkers = next;
    if (numIn > 0)
        endInsertRows();
}

AudioMarkerPtr MarkerListModel::markerAtRow(int row) const
{
    return row >= 0 && row < rowCount() ? (*mMarkers)[static_cast<size_t>(row)] : nullptr;
}

int MarkerListModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() || !mMarkers ? 0 : static_cast<int>(mMarkers->size());
}

int MarkerListModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : numColumns;
}

QVariant MarkerListModel::data(const QModelIndex& index, int role) const
{
    const AudioMarkerPtr marker = markerAtRow(index.row());
    if (!marker)
        return {};
    if (role == Qt::TextAlignmentRole && index.column() == timeColumn)
        return int(Qt::AlignRight | Qt::AlignVCenter);
    if (role != Qt::DisplayRole && role != Qt::EditRole)
        return {};
    if (index.column() == nameColumn)
        return role == Qt::EditRole ? marker->name() : ItemNames::shown(marker->name(), kMostCharacters);
    return mFormatter.stringForObjectValue(marker->secondsWithSampleRate(mFormatter.sampleRate()));
}

QVariant MarkerListModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return {};
    if (section == timeColumn)
        //% "Time"
        return qtTrId("marker-list-time");
    //% "Name"
    return qtTrId("marker-list-name");
}

Qt::ItemFlags MarkerListModel::flags(const QModelIndex& index) const
{
    return index.isValid() ? QAbstractTableModel::flags(index) | Qt::ItemIsEditable : Qt::NoItemFlags;
}

bool MarkerListModel::setData(const QModelIndex& index, const QVariant& value, int role)
{
    const AudioMarkerPtr marker = markerAtRow(index.row());
    if (!marker || role != Qt::EditRole)
        return false;
    if (index.column() == nameColumn) {
        mDocument->setName(value.toString(), marker);
        return true;
    }
    // An untouched text may show less than the position.
    if (value == data(index, Qt::EditRole))
        return true;
    const auto time = timeFromEntry(mFormatter, value.toString());
    if (!time || *time < 0 || *time > mDocument->totalTime())
        return false;
    mDocument->setPosition(frameAtTime(*time, mDocument->sampleRate()), marker);
    return true;
}

} // namespace velloria
