#include "app/recovery/RecoveryWindow.h"

#include "app/desktop/FileManager.h"
#include "app/progress/WindowAlerts.h"
#include "app/recovery/LeftOverList.h"
#include "app/recovery/LeftOverTitle.h"
#include "app/recovery/LengthText.h"
#include "app/recovery/SoundPlayer.h"
#include "platform/ScratchFolder.h"

#include <QCoreApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QShortcut>
#include <QVBoxLayout>

namespace velloria
{

namespace
{

constexpr QSize kSize(760, 460);
constexpr size_t kMostWindowsUnasked = 8;

QLabel* addText(QVBoxLayout& layout, const QString& text)
{
    auto* const label = new QLabel(text);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    layout.addWidget(label);
    return label;
}

} // namespace

RecoveryWindow::RecoveryWindow(std::vector<LeftOverSound> sounds, Open open, QWidget* parent)
    : QDialog(parent)
    , mOpen(std::move(open))
    , mList(new LeftOverList(std::move(sounds), this))
    , mPlayer(new SoundPlayer(this))
{
    //% "Recovered Sound"
    setWindowTitle(qtTrId("recovery-window"));
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(18, 16, 18, 14);
    layout->setSpacing(8);
    //% "Velloria did not end properly last time"
    QLabel* const title = addText(*layout, qtTrId("RECOVER_TITLE"));
    QFont font = title->font();
    font.setBold(true);
    font.setPointSizeF(font.pointSizeF() * 1.15);
    title->setFont(font);
    //% "This sound was not saved. Listen to it, and open what you need. What is still listed when you close this "
    //% "window is kept, and offered again the next time Velloria starts."
    addText(*layout, qtTrId("RECOVER_TEXT"))->setForegroundRole(QPalette::PlaceholderText);
    layout->addSpacing(4);
    layout->addWidget(mList, 1);
    layout->addWidget(mPlayer);
    addButtons();
    connect(mList, &QTreeWidget::currentItemChanged, this,
            [this] { mPlayer->setSound(mList->currentSound()); });
    connect(mList, &QTreeWidget::itemSelectionChanged, this, &RecoveryWindow::updateButtons);
    connect(mList, &QTreeWidget::itemDoubleClicked, this, [this] {
        if (mList->currentSound())
            openSelected();
    });
    connect(mPlayer, &SoundPlayer::failed, this,
            [this](const QString& message) { WindowAlerts(this).showError(message); });
    const auto* const space = new QShortcut(Qt::Key_Space, mList, nullptr, nullptr, Qt::WidgetShortcut);
    connect(space, &QShortcut::activated, mPlayer, &SoundPlayer::toggle);
    const auto* const discard =
        new QShortcut(QKeySequence::Delete, mList, nullptr, nullptr, Qt::WidgetShortcut);
    connect(discard, &QShortcut::activated, this, &RecoveryWindow::discardSelected);
    mPlayer->setSound(mList->currentSound());
    mList->setFocus();
    updateButtons();
    resize(kSize);
}

RecoveryWindow::~RecoveryWindow() = default;

void RecoveryWindow::addButtons()
{
    auto* const row = new QHBoxLayout;
    const auto add = [&](const QString& text, auto pressed) {
        auto* const button = new QPushButton(text, this);
        button->setAutoDefault(false);
        connect(button, &QPushButton::clicked, this, pressed);
        row->addWidget(button);
        return button;
    };
    //% "Discard…"
    mDiscardButton = add(qtTrId("recovery-discard"), [this] { discardSelected(); });
    //% "Show Files"
    add(qtTrId("RECOVER_OK"), [this] { showFiles(); });
    row->addStretch(1);
    //% "Keep for Later"
    add(qtTrId("RECOVER_CANCEL"), [this] { reject(); });
    //% "Open All"
    mOpenAllButton = add(qtTrId("recovery-open-all"), [this] { openAll(); });
    //% "Open"
    mOpenButton = add(qtTrId("RECOVER_OPEN"), [this] { openSelected(); });
    mOpenButton->setDefault(true);
    qobject_cast<QVBoxLayout*>(layout())->addSpacing(6);
    qobject_cast<QVBoxLayout*>(layout())->addLayout(row);
}

void RecoveryWindow::updateButtons()
{
    const bool isAnySelected = !mList->selectedItems().isEmpty();
    mOpenButton->setEnabled(isAnySelected);
    mDiscardButton->setEnabled(isAnySelected);
    mOpenAllButton->setEnabled(mList->hasSoundOfPerson());
}

void RecoveryWindow::openSelected()
{
    openSounds(mList->selectedSounds());
}

void RecoveryWindow::openAll()
{
    openSounds(mList->soundsOfPersons());
}

bool RecoveryWindow::confirmsSoManyWindows(size_t count)
{
    if (count <= kMostWindowsUnasked)
        return true;
    QMessageBox box(QMessageBox::Question, QString(),
                    //: %1 is a number, more than one
                    //% "Open %1 windows?"
                    qtTrId("recovery-many").arg(count), QMessageBox::Cancel, this, Qt::Sheet);
    box.setTextFormat(Qt::PlainText);
    box.setWindowModality(Qt::WindowModal);
    box.setDefaultButton(box.addButton(qtTrId("RECOVER_OPEN"), QMessageBox::AcceptRole));
    box.button(QMessageBox::Cancel)->setText(qtTrId("cancel"));
    return box.exec() != QMessageBox::Cancel;
}

void RecoveryWindow::openSounds(const std::vector<LeftOverSound>& sounds)
{
    if (!confirmsSoManyWindows(sounds.size()))
        return;
    mPlayer->stop();
    for (const LeftOverSound& sound : sounds) {
        if (const MaybeError error = mOpen(sound))
            WindowAlerts(this).showError(qtTrId("open-error").arg(leftOverTitle(sound), error->message));
        else
            mList->removeSound(sound);
    }
    closeIfEmpty();
}

void RecoveryWindow::discardSelected()
{
    mPlayer->stop();
    for (const LeftOverSound& sound : mList->selectedSounds()) {
        //: %1 is the name of a sound, %2 its length
        //% "Discard “%1” (%2)?"
        const QString question =
            qtTrId("recovery-discard-question").arg(leftOverTitle(sound), lengthText(sound.totalTime()));
        QMessageBox box(QMessageBox::Warning, QString(), question, QMessageBox::Cancel, this, Qt::Sheet);
        box.setTextFormat(Qt::PlainText);
        box.setWindowModality(Qt::WindowModal);
        //% "It cannot be brought back."
        box.setInformativeText(qtTrId("recovery-discard-detail"));
        QPushButton* const discard = box.addButton(qtTrId("discard"), QMessageBox::DestructiveRole);
        box.button(QMessageBox::Cancel)->setText(qtTrId("cancel"));
        box.setDefaultButton(QMessageBox::Cancel);
        box.exec();
        if (box.clickedButton() != discard)
            return;
        if (const MaybeError error = LeftOverSounds::discard(sound)) {
            WindowAlerts(this).showError(error->message);
            return;
        }
        mList->removeSound(sound);
    }
    closeIfEmpty();
}

void RecoveryWindow::showFiles()
{
    const LeftOverSound* const sound = mList->currentSound();
    // The folder itself, where no sound is chosen.
    FileManager::show(sound ? sound->files.front() : ScratchFolder::path() / ".", this);
}

void RecoveryWindow::closeIfEmpty()
{
    updateButtons();
    if (mList->isEmpty())
        accept();
}

} // namespace velloria
