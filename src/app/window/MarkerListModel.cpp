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
    refresh();
}

void MarkerListModel::refresh()
{
    beginResetModel();
    mMarkers = mDocument ? mDocument->orderedMarkers() : nullptr;
    mFormatter.setSampleRate(mDocument ? mDocument->sampleRate() : 1.0);
    mFormatter.setUnits(UserDefaults::standard().integerValue(Settings::rulerUnits));
    endResetModel();
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
    return QAbstractTableModel::flags(index) | Qt::ItemIsEditable;
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
