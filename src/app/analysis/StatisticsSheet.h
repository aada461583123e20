#pragma once

#include "app/analysis/AnalysedSound.h"
#include "measurement/SoundStatistics.h"

#include <QDialog>

class QGridLayout;

namespace velloria
{

/// Loudness and levels of a sound as a table, which can be copied as text.
class StatisticsSheet : public QDialog
{
    Q_OBJECT

public:
    StatisticsSheet(const AnalysedSound& sound, const SoundStatistics& statistics, QWidget* parent);

    /// Rows of cells parted by tabs.
    QString text() const;

private:
    /// A row of values, one a track or one for all.
    void addRow(QGridLayout& grid, const QString& label, const QStringList& values, const QString& unit);
    void addHeading(QGridLayout& grid, const QString& title, const QStringList& columns);
    void addLoudness(QGridLayout& grid, const SoundStatistics& statistics);
    void addLevels(QGridLayout& grid, const AnalysedSound& sound, const SoundStatistics& statistics);

    QStringList mLines;
};

} // namespace velloria
