#pragma once

#include "document/LeftOverSounds.h"
#include "platform/DispatchQueue.h"

#include <QTreeWidget>
#include <optional>

namespace velloria
{

/// The sounds that earlier runs left, a line each: what it is, how long, from when. What the program computed
/// on the way stands below, folded up, under the document that it was computed for. The picture of a sound
/// is read when its line is seen: a batch that was killed can leave ten thousand.
class LeftOverList : public QTreeWidget
{
    Q_OBJECT

public:
    /// The longest first.
    explicit LeftOverList(std::vector<LeftOverSound> sounds, QWidget* parent = nullptr);
    ~LeftOverList() override;

    /// That of the current line; null for a line that stands for several, and without one.
    const LeftOverSound* currentSound() const;
    /// Those of the chosen lines, with all that stand below such a line.
    std::vector<LeftOverSound> selectedSounds() const;
    /// What a person made, not what was computed.
    std::vector<LeftOverSound> soundsOfPersons() const;
    bool hasSoundOfPerson() const;
    bool isEmpty() const { return topLevelItemCount() == 0; }
    /// Takes its line away.
    void removeSound(const LeftOverSound& sound);

private:
    class PictureDelegate;
    struct Reader;

    void addLines();
    QTreeWidgetItem* lineFor(size_t index) const;
    static QTreeWidgetItem* groupFor(const LeftOverSound& sound);
    static void showGroupLength(QTreeWidgetItem& group);
    const LeftOverSound* soundOf(const QTreeWidgetItem* item) const;
    std::vector<QTreeWidgetItem*> lines() const;
    /// Null for a line that stands for several sounds.
    const LeftOverSounds::Outline* outlineOf(const QModelIndex& index) const;
    void readOutline(size_t index) const;
    QPixmap pictureOf(const LeftOverSounds::Outline& outline) const;

    const std::vector<LeftOverSound> mSounds;
    /// None for those that were not seen yet; those that are being read are empty.
    mutable std::vector<std::optional<LeftOverSounds::Outline>> mOutlines;
    std::shared_ptr<Reader> mReader;
    mutable DispatchQueue mQueue;
};

} // namespace velloria
