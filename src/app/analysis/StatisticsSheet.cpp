#include "app/analysis/StatisticsSheet.h"

#include "measurement/Levels.h"

#include <QClipboard>
#include <QCoreApplication>
#include <QDialogButtonBox>
#include <QFontDatabase>
#include <QGridLayout>
#include <QGuiApplication>
#include <QLabel>
#include <QLocale>
#include <QPushButton>
#include <QScrollArea>
#include <QVBoxLayout>
#include <cmath>

namespace velloria
{

namespace
{

constexpr int kLabelColumn = 0;
constexpr int kFirstValueColumn = 1;
constexpr int kValueWidth = 78;
/// More tracks than this scroll.
constexpr size_t kMostTracksShown = 6;

QString number(double value, int decimals)
{
    if (!std::isfinite(value))
        return QStringLiteral("−∞");
    QString text = QLocale().toString(std::fabs(value), 'f', decimals);
    return value < 0.0 ? QStringLiteral("−") + text : text;
}

/// A dash for what the sound is too short or too soft for.
QString loudnessText(double loudness)
{
    return std::isfinite(loudness) ? number(loudness, 1) : QStringLiteral("–");
}

QString level(double linear)
{
    return number(decibelsOfLevel(linear), 2);
}

QLabel* makeLabel(const QString& text, Qt::Alignment alignment,
                  QPalette::ColorRole role = QPalette::WindowText)
{
    auto* const label = new QLabel(text);
    label->setTextFormat(Qt::PlainText);
    label->setAlignment(alignment | Qt::AlignVCenter);
    label->setForegroundRole(role);
    return label;
}

} // namespace

StatisticsSheet::StatisticsSheet(const AnalysedSound& sound, const SoundStatistics& statistics,
                                 QWidget* parent)
    : QDialog(parent, Qt::Sheet)
{
    //% "Statistics"
    setWindowTitle(qtTrId("statistics-title"));
    setWindowModality(Qt::WindowModal);
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(22, 18, 22, 16);
    layout->setSpacing(14);
    QLabel* const part = makeLabel(sound.description(), Qt::AlignLeft, QPalette::PlaceholderText);
    part->setWordWrap(true);
    layout->addWidget(part);

    auto* const table = new QWidget;
    auto* const grid = new QGridLayout(table);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->setHorizontalSpacing(14);
    grid->setVerticalSpacing(5);
    addLoudness(*grid, statistics);
    addLevels(*grid, sound, statistics);
    if (statistics.tracks.size() > kMostTracksShown) {
        auto* const area = new QScrollArea;
        area->setWidget(table);
        area->setWidgetResizable(true);
        area->setFrameShape(QFrame::NoFrame);
        area->setMinimumWidth(720);
        layout->addWidget(area);
    } else {
        layout->addWidget(table);
        layout->setSizeConstraint(QLayout::SetFixedSize);
    }

    auto* const buttons = new QDialogButtonBox(QDialogButtonBox::Close);
    //% "Close"
    buttons->button(QDialogButtonBox::Close)->setText(qtTrId("close"));
    //% "&Copy"
    QPushButton* const copy = buttons->addButton(qtTrId("analysis-copy"), QDialogButtonBox::ActionRole);
    connect(copy, &QPushButton::clicked, this, [this] { QGuiApplication::clipboard()->setText(text()); });
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    buttons->button(QDialogButtonBox::Close)->setDefault(true);
    buttons->button(QDialogButtonBox::Close)->setFocus();
    layout->addWidget(buttons);
}

QString StatisticsSheet::text() const
{
    return mLines.join(u'\n') + u'\n';
}

void StatisticsSheet::addHeading(QGridLayout& grid, const QString& title, const QStringList& columns)
{
    int row = grid.rowCount();
    if (!mLines.isEmpty())
        grid.setRowMinimumHeight(row++, 8);
    QLabel* const label = makeLabel(title, Qt::AlignLeft);
    QFont bold = label->font();
    bold.setBold(true);
    label->setFont(bold);
    grid.addWidget(label, row, kLabelColumn);
    for (qsizetype i = 0; i < columns.size(); ++i)
        grid.addWidget(makeLabel(columns[i], Qt::AlignRight, QPalette::PlaceholderText), row,
                       kFirstValueColumn + static_cast<int>(i));
    mLines.append((QStringList{title} + columns).join(u'\t'));
}

void StatisticsSheet::addRow(QGridLayout& grid, const QString& label, const QStringList& values,
                             const QString& unit)
{
    const int row = grid.rowCount();
    grid.addWidget(makeLabel(label, Qt::AlignLeft), row, kLabelColumn);
    int column = kFirstValueColumn;
    for (const QString& value : values) {
        QLabel* const cell = makeLabel(value, Qt::AlignRight);
        cell->setTextInteractionFlags(Qt::TextSelectableByMouse);
        cell->setMinimumWidth(kValueWidth);
        //: What a screen reader says of a figure; %1 is what it is, %2 the number, %3 its unit
        //% "%1: %2 %3"
        cell->setAccessibleName(qtTrId("statistics-cell").arg(label, value, unit));
        grid.addWidget(cell, row, column++);
    }
    grid.addWidget(makeLabel(unit, Qt::AlignLeft, QPalette::PlaceholderText), row, column);
    mLines.append((QStringList{label} + values + QStringList{unit}).join(u'\t').trimmed());
}

void StatisticsSheet::addLoudness(QGridLayout& grid, const SoundStatistics& statistics)
{
    if (!statistics.loudness)
        return;
    const SoundStatistics::Loudness& loudness = *statistics.loudness;
    const QString lufs = QStringLiteral("LUFS");
    //% "Loudness"
    addHeading(grid, qtTrId("statistics-loudness"), {});
    //% "Integrated"
    addRow(grid, qtTrId("statistics-integrated"), {loudnessText(loudness.integrated)}, lufs);
    //% "Highest short-term"
    addRow(grid, qtTrId("statistics-short-term"), {loudnessText(loudness.highestShortTerm)}, lufs);
    //% "Highest momentary"
    addRow(grid, qtTrId("statistics-momentary"), {loudnessText(loudness.highestMomentary)}, lufs);
    //% "Range"
    addRow(grid, qtTrId("statistics-range"), {number(loudness.range, 1)}, QStringLiteral("LU"));
}

void StatisticsSheet::addLevels(QGridLayout& grid, const AnalysedSound& sound,
                                const SoundStatistics& statistics)
{
    using Track = SoundStatistics::Track;
    const auto row = [&](const QString& label, const QString& unit, const auto& textOf) {
        QStringList values;
        for (const Track& track : statistics.tracks)
            values.append(textOf(track));
        addRow(grid, label, values, unit);
    };
    //% "Levels"
    addHeading(grid, qtTrId("statistics-levels"), sound.trackNames);
    //% "True peak"
    row(qtTrId("statistics-true-peak"), QStringLiteral("dBTP"),
        [](const Track& track) { return level(track.truePeak); });
    //% "Peak"
    row(qtTrId("statistics-peak"), QStringLiteral("dBFS"),
        [](const Track& track) { return level(track.peak); });
    //% "RMS level"
    row(qtTrId("statistics-rms"), QStringLiteral("dBFS"),
        [](const Track& track) { return level(track.rms); });
    //% "DC offset"
    row(qtTrId("statistics-dc"), QStringLiteral("%"),
        [](const Track& track) { return number(100.0 * track.dcOffset, 3); });
    //% "Clipped samples"
    row(qtTrId("statistics-clipped"), QString(),
        [](const Track& track) { return QLocale().toString(static_cast<qlonglong>(track.numClipped)); });
}

} // namespace velloria
