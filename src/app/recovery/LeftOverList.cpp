#include "app/recovery/LeftOverList.h"

#include "app/look/ItemNames.h"
#include "app/look/Theme.h"
#include "app/look/TrackNames.h"
#include "app/recovery/LeftOverTitle.h"
#include "app/recovery/LengthText.h"

#include <QHash>
#include <QHeaderView>
#include <QLocale>
#include <QPainter>
#include <QStyledItemDelegate>
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

/// Draws the picture before the text of a line.
class LeftOverList::PictureDelegate : public QStyledItemDelegate
{
public:
    explicit PictureDelegate(LeftOverList& list)
        : QStyledItemDelegate(&list)
        , mList(list)
    {
    }

protected:
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override
    {
        QStyledItemDelegate::initStyleOption(option, index);
        const LeftOverSounds::Outline* const outline = mList.outlineOf(index);
        if (!outline)
            return;
        const QPixmap picture = mList.pictureOf(*outline);
        option->features |= QStyleOptionViewItem::HasDecoration;
        option->decorationSize = mList.iconSize();
        option->icon = QIcon(picture);
        // The same picture when the line is chosen.
        option->icon.addPixmap(picture, QIcon::Selected);
    }

private:
    LeftOverList& mList;
};

namespace
{

enum Column { soundColumn, lengthColumn, timeColumn, formatColumn, numColumns };

constexpr int kIndexRole = Qt::UserRole;
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
    setItemDelegateForColumn(soundColumn, new PictureDelegate(*this));
    addLines();
    setRootIsDecorated(std::any_of(mSounds.begin(), mSounds.end(),
                                   [](const LeftOverSound& sound) { return !sound.isPersons(); }));
    header()->setStretchLastSection(false);
    header()->setSectionResizeMode(QHeaderView::ResizeToContents);
    header()->setSectionResizeMode(soundColumn, QHeaderView::Stretch);
    setCurrentItem(topLevelItem(0));
}

LeftOverList::~LeftOverList()
{
    mReader->isStopped = true;
    mReader->list = nullptr;
}

void LeftOverList::addLines()
{
    QList<QTreeWidgetItem*> lines;
    QList<QTreeWidgetItem*> groups;
    QHash<QString, QTreeWidgetItem*> groupOfDocument;
    for (size_t i = 0; i < mSounds.size(); ++i) {
        if (mSounds[i].isPersons()) {
            lines << lineFor(i);
            continue;
        }
        QTreeWidgetItem*& group = groupOfDocument[mSounds[i].label->documentID];
        if (!group)
            groups << (group = groupFor(mSounds[i]));
        group->addChild(lineFor(i));
    }
    std::for_each(groups.begin(), groups.end(), [](QTreeWidgetItem* group) { showGroupLength(*group); });
    addTopLevelItems(lines + groups);
}

QTreeWidgetItem* LeftOverList::lineFor(size_t index) const
{
    const LeftOverSound& sound = mSounds[index];
    auto* const line = new QTreeWidgetItem;
    line->setText(soundColumn, leftOverTitle(sound));
    line->setText(lengthColumn, lengthText(sound.totalTime()));
    line->setTextAlignment(lengthColumn, Qt::AlignRight | Qt::AlignVCenter);
    line->setText(timeColumn, timeOf(sound));
    line->setText(formatColumn, formatOf(sound));
    line->setToolTip(soundColumn, pathsOf(sound));
    line->setData(soundColumn, kIndexRole, static_cast<int>(index));
    line->setSizeHint(soundColumn, QSize(0, kPictureSize.height() + 8));
    return line;
}

QTreeWidgetItem* LeftOverList::groupFor(const LeftOverSound& sound)
{
    auto* const group = new QTreeWidgetItem;
    //: %1 is the name of a document
    //% "What was computed for %1"
    group->setText(soundColumn, qtTrId("recovery-computed").arg(ItemNames::shown(sound.label->documentName)));
    group->setData(soundColumn, kIndexRole, -1);
    group->setSizeHint(soundColumn, QSize(0, kPictureSize.height() + 8));
    return group;
}

void LeftOverList::showGroupLength(QTreeWidgetItem& group)
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

bool LeftOverList::hasSoundOfPerson() const
{
    // Those stand before the groups.
    const LeftOverSound* const first = soundOf(topLevelItem(0));
    return first && first->isPersons();
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

const LeftOverSounds::Outline* LeftOverList::outlineOf(const QModelIndex& index) const
{
    const int sound = index.data(kIndexRole).toInt();
    if (sound < 0)
        return nullptr;
    std::optional<LeftOverSounds::Outline>& outline = mOutlines[static_cast<size_t>(sound)];
    if (!outline) {
        outline.emplace();
        readOutline(static_cast<size_t>(sound));
    }
    return &*outline;
}

void LeftOverList::readOutline(size_t index) const
{
    mQueue.async([reader = mReader, sound = mSounds[index], index] {
        if (reader->isStopped)
            return;
        postToMainThread([reader, index, outline = LeftOverSounds::outline(sound, kPictureSize.width())] {
            if (!reader->list)
                return;
            reader->list->mOutlines[index] = outline;
            reader->list->viewport()->update();
        });
    });
}

QPixmap LeftOverList::pictureOf(const LeftOverSounds::Outline& outline) const
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
    for (size_t x = 0; x < outline.size(); ++x) {
        const double top = middle - scale * std::clamp(outline[x].second, -1.0F, 1.0F);
        const double bottom = middle - scale * std::clamp(outline[x].first, -1.0F, 1.0F);
        painter.fillRect(QRectF(static_cast<double>(x), top, 1.0, std::max(1.0, bottom - top)),
                         theme.waveform);
    }
    return picture;
}

} // namespace velloria
