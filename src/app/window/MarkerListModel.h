#pragma once

#include "display/TimeFormatter.h"
#include "document/SoundDocument.h"

#include <QAbstractTableModel>

namespace velloria
{

/// A document's markers in the order of their positions: time and name, both editable. Times are in the
/// ruler's units; any other unit may be typed.
class MarkerListModel : public QAbstractTableModel
{
    Q_OBJECT

public:
    enum Column { timeColumn, nameColumn, numColumns };

    explicit MarkerListModel(QObject* parent = nullptr);

    void setDocument(std::shared_ptr<SoundDocument> document);
    /// Markers, rate or units changed. Where one marker came, went or moved the others stay chosen, and a
    /// hundred thousand are not laid out anew.
    void refresh();
    AudioMarkerPtr markerAtRow(int row) const;

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;

private:
    void reset(const MarkerList& next);
    /// False when the lists differ by more than two rows or one that moved.
    bool replaceOne(const MarkerList& next);
    /// Takes rows away, then puts rows of `next`, which is the list from then on, in.
    void replaceRows(ptrdiff_t out, ptrdiff_t numOut, ptrdiff_t in, ptrdiff_t numIn, const MarkerList& next);

    std::shared_ptr<SoundDocument> mDocument;
    MarkerList mMarkers; ///< null without a document
    TimeFormatter mFormatter;
};

} // namespace velloria
