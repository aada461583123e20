#pragma once

#include "document/LeftOverSounds.h"
#include "platform/DispatchQueue.h"

#include <QTreeWidget>

namespace velloria
{

/// The sounds that earlier runs left, a line each: what it is, how long, from when. What the program computed
/// on the way stands below, folded up, under the document that it was computed for. The pictures of the
/// sounds come when they are read.
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
    bool isEmpty() const { return topLevelItemCount() == 0; }
    /// Takes its line away.
    void removeSound(const LeftOverSound& sound);

protected:
    void changeEvent(QEvent* event) override;

private:
    QTreeWidgetItem* lineFor(size_t index) const;
    QTreeWidgetItem* groupFor(const LeftOverSound& sound);
    void showGroupLength(QTreeWidgetItem& group) const;
    const LeftOverSound* soundOf(const QTreeWidgetItem* item) const;
    std::vector<QTreeWidgetItem*> lines() const;
    void readOutlines();
    void drawOutline(QTreeWidgetItem& item) const;

    const std::vector<LeftOverSound> mSounds;
    std::vector<LeftOverSounds::Outline> mOutlines;
    struct Reader;
    std::shared_ptr<Reader> mReader;
    DispatchQueue mQueue;
};

} // namespace velloria
