#pragma once

#include "app/effects/GeneratorDialog.h"
#include "effects/generators/NoteGenerator.h"

namespace velloria
{

class KeyboardView;

/// The sheet that inserts notes: those that are played on its keyboard, one after the other.
class NoteSheet : public GeneratorDialog
{
    Q_OBJECT

public:
    NoteSheet(const std::shared_ptr<NoteGenerator>& generator, const QString& title, const QString& summary,
              double sampleRate, QWidget* parent);
    ~NoteSheet() override;

    const std::vector<int>& notes() const { return mNotes; }
    KeyboardView& keyboard() { return *mKeyboard; }

private:
    void play(int note);
    void removeLast();
    void showNotes();

    KeyboardView* mKeyboard;
    QLabel* mList;
    QPushButton* mRemove;
    std::vector<int> mNotes;
};

} // namespace velloria
