#include "app/effects/NoteSheet.h"

#include "app/effects/KeyboardView.h"

#include <QCoreApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QShortcut>
#include <QVBoxLayout>

namespace velloria
{

namespace
{

constexpr size_t kMostShown = 14;

QString shownName(int note)
{
    return NoteGenerator::nameOfNote(note).replace(u'#', QChar(0x266f));
}

} // namespace

NoteSheet::NoteSheet(const std::shared_ptr<NoteGenerator>& generator, const QString& title,
                     const QString& summary, double sampleRate, QWidget* parent)
    : GeneratorDialog(generator, title, summary, sampleRate, NoteGenerator::kNote, parent)
    , mKeyboard(new KeyboardView(this))
    , mList(new QLabel(this))
    //% "Remove &Last"
    , mRemove(new QPushButton(qtTrId("notes-remove"), this))
{
    place().setSpacing(8);
    place().addWidget(mKeyboard);
    auto* const row = new QHBoxLayout;
    row->addWidget(mList, 1);
    row->addWidget(mRemove);
    place().addLayout(row);
    mRemove->setAutoDefault(false);
    preview().setSounding(false);
    connect(mKeyboard, &KeyboardView::notePressed, this, &NoteSheet::play);
    connect(mKeyboard, &KeyboardView::noteReleased, this, [this] { preview().setSounding(false); });
    connect(mRemove, &QPushButton::clicked, this, &NoteSheet::removeLast);
    const auto* const back =
        new QShortcut(Qt::Key_Backspace, mKeyboard, nullptr, nullptr, Qt::WidgetShortcut);
    connect(back, &QShortcut::activated, this, &NoteSheet::removeLast);
    mKeyboard->setFocus();
    showNotes();
}

NoteSheet::~NoteSheet()
{
    // A keyboard that goes away loses the focus and lets its key go, when there is nothing to be heard any
    // more.
    mKeyboard->disconnect(this);
}

void NoteSheet::play(int note)
{
    mNotes.push_back(note);
    showNotes();
    preview().changeAndBegin([this, note] { generator().parameters().setValue(NoteGenerator::kNote, note); });
    preview().setSounding(true);
    startPreview();
}

void NoteSheet::removeLast()
{
    if (!mNotes.empty())
        mNotes.pop_back();
    showNotes();
}

void NoteSheet::showNotes()
{
    QStringList names;
    const size_t first = mNotes.size() > kMostShown ? mNotes.size() - kMostShown : 0;
    for (size_t i = first; i < mNotes.size(); ++i)
        names.append(shownName(mNotes[i]));
    if (first > 0)
        names.prepend(QChar(0x2026));
    //% "Play the notes to insert: with the mouse, or with the letters A to L."
    mList->setText(names.isEmpty() ? qtTrId("notes-none") : names.join(QStringLiteral("  ")));
    mList->setForegroundRole(names.isEmpty() ? QPalette::PlaceholderText : QPalette::WindowText);
    mRemove->setEnabled(!mNotes.empty());
    insertButton().setEnabled(!mNotes.empty());
}

} // namespace velloria
