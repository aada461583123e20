#include "app/recovery/LeftOverList.h"

#include "app/look/Theme.h"
#include "app/look/TrackNames.h"
#include "app/recovery/LengthText.h"

#include <QApplication>
#include <QEvent>
#include <QHeaderView>
#include <QLocale>
#include <QPainter>
#include <algorithm>
#include <atomic>

namespace velloria
{

/// What the background job knows of the list, which may be gone before it ends.
struct LeftOverList::Reader {
    std::atomic<bool> isStopped{false};
    /// Main thread only.
    LeftOverList* list = nullptr;
};

namespace
{

enum Column { soundColumn, lengthColumn, timeColumn, formatColumn, numColumns };

constexpr int kIndexRole = Qt::UserRole;
constexpr int kDocumentRole = Qt::UserRole + 1;
constexpr QSize kPictureSize(112, 26);

QString timeOf(const LeftOverSound& sound)
{
    return QLocale().toString(sound.made().toLocalTime(), QLocale::ShortFormat);
}

QString formatOf(const LeftOverSound& sound)
{
    //: The format of a sound: channels ("Stereo"), sample rate
    //% "%1, %2 Hz"
    return qtTrId("recovery-format")
        .arg(TrackNames::channels(sound.numTracks),
             QLocale().toString(sound.sampleRate, 'f', QLocale::FloatingPointShortest));
}

QString pathsOf(const LeftOverSound& sound)
{
    QStringList paths;
    for (const std::filesystem::path& file : sound.files)
        paths << displayPath(file);
    return paths.join(u'\n');
}

} // namespace

LeftOverList::LeftOverList(std::vector<LeftOverSound> sounds, QWidget* parent)
    : QTreeWidget(parent)
    , mSounds(std::move(sounds))
    , mOutlines(mSounds.size())
    , mReader(std::make_shared<Reader>())
    , mQueue(QStringLiteral("LeftOverList"))
{
    mReader->list = this;
    setColumnCount(numColumns);
    //% "Sound"
    setHeaderLabels({qtTrId("recovery-sound"),
                     //% "Length"
                     qtTrId("recovery-length"),
                     //% "From"
                     qtTrId("recovery-time"),
                     //% "Format"
                     qtTrId("recovery-format-title")});
    //% "Left-over sounds"
    setAccessibleName(qtTrId("recovery-list"));
    setSelectionMode(ExtendedSelection);
    setIconSize(kPictureSize);
    setAllColumnsShowFocus(true);
    setUniformRowHeights(true);
    for (size_t i = 0; i < mSounds.size(); ++i) {
        QTreeWidgetItem* const line = lineFor(i);
        if (mSounds[i].isPersons())
            insertTopLevelItem(static_cast<int>(soundsOfPersons().size()), line);
        else
            groupFor(mSounds[i])->addChild(line);
    }
    for (int i = 0; i < topLevelItemCount(); ++i)
        showGroupLength(*topLevelItem(i));
    setRootIsDecorated(std::any_of(mSounds.begin(), mSounds.end(),
                                   [](const LeftOverSound& sound) { return !sound.isPersons(); }));
    header()->setStretchLastSection(false);
    header()->setSectionResizeMode(QHeaderView::ResizeToContents);
    header()->setSectionResizeMode(soundColumn, QHeaderView::Stretch);
    setCurrentItem(topLevelItem(0));
    readOutlines();
}

LeftOverList::~LeftOverList()
{
    mReader->isStopped = true;
    mReader->list = nullptr;
}

QTreeWidgetItem* LeftOverList::lineFor(size_t index) const
{
    const LeftOverSound& sound = mSounds[index];
    auto* const line = new QTreeWidgetItem;
    line->setText(soundColumn, sound.title());
    line->setText(lengthColumn, lengthText(sound.totalTime()));
    line->setTextAlignment(lengthColumn, Qt::AlignRight | Qt::AlignVCenter);
    line->setText(timeColumn, timeOf(sound));
    line->setText(formatColumn, formatOf(sound));
    line->setToolTip(soundColumn, pathsOf(sound));
    line->setData(soundColumn, kIndexRole, static_cast<int>(index));
    line->setSizeHint(soundColumn, QSize(0, kPictureSize.height() + 8));
    drawOutline(*line);
    return line;
}

QTreeWidgetItem* LeftOverList::groupFor(const LeftOverSound& sound)
{
    for (int i = 0; i < topLevelItemCount(); ++i)
        if (topLevelItem(i)->data(soundColumn, kDocumentRole).toString() == sound.label->documentID)
            return topLevelItem(i);
    auto* const group = new QTreeWidgetItem(this);
    //: %1 is the name of a document
    //% "What was computed for %1"
    group->setText(soundColumn, qtTrId("recovery-computed").arg(sound.label->documentName));
    group->setData(soundColumn, kDocumentRole, sound.label->documentID);
    group->setData(soundColumn, kIndexRole, -1);
    group->setSizeHint(soundColumn, QSize(0, kPictureSize.height() + 8));
    return group;
}

void LeftOverList::showGroupLength(QTreeWidgetItem& group) const
{
    if (group.childCount() == 0)
        return;
    //% "1 sound"
    const QString one = qtTrId("recovery-one-sound");
    //: %1 is a number, more than one
    //% "%1 sounds"
    const QString several = qtTrId("recovery-sounds").arg(group.childCount());
    group.setText(lengthColumn, group.childCount() == 1 ? one : several);
    group.setTextAlignment(lengthColumn, Qt::AlignRight | Qt::AlignVCenter);
}

const LeftOverSound* LeftOverList::soundOf(const QTreeWidgetItem* item) const
{
    const int index = item ? item->data(soundColumn, kIndexRole).toInt() : -1;
    return index < 0 ? nullptr : &mSounds[static_cast<size_t>(index)];
}

const LeftOverSound* LeftOverList::currentSound() const
{
    return soundOf(currentItem());
}

/// Every line that stands for a sound, from top to bottom.
std::vector<QTreeWidgetItem*> LeftOverList::lines() const
{
    std::vector<QTreeWidgetItem*> lines;
    for (int i = 0; i < topLevelItemCount(); ++i) {
        QTreeWidgetItem* const item = topLevelItem(i);
        if (soundOf(item))
            lines.push_back(item);
        for (int child = 0; child < item->childCount(); ++child)
            lines.push_back(item->child(child));
    }
    return lines;
}

std::vector<LeftOverSound> LeftOverList::selectedSounds() const
{
    std::vector<LeftOverSound> sounds;
    for (const QTreeWidgetItem* const line : lines())
        if (line->isSelected() || (line->parent() && line->parent()->isSelected()))
            sounds.push_back(*soundOf(line));
    return sounds;
}

std::vector<LeftOverSound> LeftOverList::soundsOfPersons() const
{
    std::vector<LeftOverSound> sounds;
    for (const QTreeWidgetItem* const line : lines())
        if (soundOf(line)->isPersons())
            sounds.push_back(*soundOf(line));
    return sounds;
}

void LeftOverList::removeSound(const LeftOverSound& sound)
{
    for (QTreeWidgetItem* const line : lines()) {
        if (soundOf(line)->files != sound.files)
            continue;
        QTreeWidgetItem* const group = line->parent();
        delete line;
        if (group && group->childCount() == 0)
            delete group;
        else if (group)
            showGroupLength(*group);
        return;
    }
}

void LeftOverList::changeEvent(QEvent* event)
{
    QTreeWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange)
        for (QTreeWidgetItem* const line : lines())
            drawOutline(*line);
}

void LeftOverList::readOutlines()
{
    for (size_t i = 0; i < mSounds.size(); ++i)
        mQueue.async([reader = mReader, sound = mSounds[i], i] {
            if (reader->isStopped)
                return;
            postToMainThread([reader, i, outline = LeftOverSounds::outline(sound, kPictureSize.width())] {
                if (!reader->list)
                    return;
                reader->list->mOutlines[i] = outline;
                for (QTreeWidgetItem* const line : reader->list->lines())
                    if (line->data(soundColumn, kIndexRole).toInt() == static_cast<int>(i))
                        reader->list->drawOutline(*line);
            });
        });
}

void LeftOverList::drawOutline(QTreeWidgetItem& item) const
{
    const Theme theme = Theme::fromPalette(palette());
    const double ratio = devicePixelRatioF();
    QPixmap picture(kPictureSize * ratio);
    picture.setDevicePixelRatio(ratio);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(theme.lane);
    painter.drawRoundedRect(QRectF(QPointF(0, 0), kPictureSize), 3, 3);
    painter.setRenderHint(QPainter::Antialiasing, false);
    const double middle = kPictureSize.height() / 2.0;
    const double scale = middle - 2.0;
    const auto& outline = mOutlines[item.data(soundColumn, kIndexRole).toUInt()];
    for (size_t x = 0; x < outline.size(); ++x) {
        const double top = middle - scale * std::clamp(outline[x].second, -1.0F, 1.0F);
        const double bottom = middle - scale * std::clamp(outline[x].first, -1.0F, 1.0F);
        painter.fillRect(QRectF(static_cast<double>(x), top, 1.0, std::max(1.0, bottom - top)),
                         theme.waveform);
    }
    painter.end();
    // The same picture when the line is chosen.
    QIcon icon(picture);
    icon.addPixmap(picture, QIcon::Selected);
    item.setIcon(soundColumn, icon);
}

} // namespace velloria
