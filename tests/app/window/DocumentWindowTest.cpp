#include "app/window/DocumentWindow.h"

#include "app/effects/EffectDialog.h"
#include "app/effects/ParameterRow.h"
#include "app/kit/AppTestKit.h"
#include "app/menus/DocumentMenus.h"
#include "app/menus/EditActions.h"
#include "app/menus/EffectActions.h"
#include "app/menus/FileActions.h"
#include "app/menus/ViewActions.h"
#include "app/preferences/RecentFiles.h"
#include "app/progress/MessageBar.h"
#include "app/progress/ProgressPanel.h"
#include "app/sheets/SaveDialog.h"
#include "app/transport/TimeReadout.h"
#include "app/transport/TransportBar.h"
#include "app/waveform/StatusLine.h"
#include "app/window/HistoryDock.h"
#include "controllers/SelectionModel.h"
#include "controllers/TransportController.h"
#include "document/AudioClipboard.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QMimeData>
#include <QPushButton>
#include <QUndoView>

namespace velloria::test
{

class DocumentWindowTest : public AppTest
{
protected:
    ~DocumentWindowTest() override { AudioClipboard::clipboard().setContents(nullptr); }

    static float peak(DocumentWindow& window, double start, double end, int32_t track = 0)
    {
        const double rate = window.document().sampleRate();
        const FloatBuffer samples = window.document().sampleDataAtOffset(
            static_cast<int64_t>(start * rate), static_cast<int64_t>((end - start) * rate), track);
        float largest = 0;
        for (const float sample : samples)
            largest = std::max(largest, std::abs(sample));
        return largest;
    }

    static void select(DocumentWindow& window, double start, double end)
    {
        window.controller().selection().setSelection({start, end, 0, window.document().trackCount()});
    }

    /// Drags over the waveform from one time to another.
    static void dragOver(DocumentWindow& window, double start, double end)
    {
        WaveformWidget& waveform = window.view().waveform();
        const WaveformViewGeometry& geometry = window.view().context().geometry();
        const int y = waveform.height() / 4;
        const QPoint from(static_cast<int>(std::lround(geometry.xAtTime(start))), y);
        const QPoint to(static_cast<int>(std::lround(geometry.xAtTime(end))), y);
        QTest::mousePress(&waveform, Qt::LeftButton, {}, from);
        QMouseEvent move(QEvent::MouseMove, to, waveform.mapToGlobal(to), Qt::NoButton, Qt::LeftButton, {});
        QApplication::sendEvent(&waveform, &move);
        QTest::mouseRelease(&waveform, Qt::LeftButton, {}, to);
    }

    static void pressIn(QMessageBox& box, QMessageBox::StandardButton button) { box.button(button)->click(); }
};

TEST_F(DocumentWindowTest, SelectEffectUndoRedoSaveReopen)
{
    DocumentWindow* const window = open(makeSound());
    EXPECT_FALSE(window->isWindowModified());
    dragOver(*window, 0.1, 0.3);
    EXPECT_NEAR(window->controller().selection().value().startTime, 0.1, 0.01);
    const float before = peak(*window, 0.15, 0.25);

    window->menus().effects().actionNamed(QStringLiteral("amplify"))->trigger();
    auto* const dialog = window->findChild<EffectDialog*>();
    ASSERT_NE(dialog, nullptr);
    dialog->rows()[0]->setValue(-6);
    keepPicture(*window, QStringLiteral("window"));
    dialog->accept();
    ASSERT_TRUE(waitUntil([&] { return window->isWindowModified(); }));
    EXPECT_NEAR(peak(*window, 0.15, 0.25), before * 0.501187F, 0.001);
    EXPECT_NEAR(peak(*window, 0.35, 0.45), before, 0.001);
    EXPECT_EQ(window->menus().edit().undoAction()->text(), QStringLiteral("&Undo Amplify"));

    window->menus().edit().undoAction()->trigger();
    EXPECT_NEAR(peak(*window, 0.15, 0.25), before, 1e-6);
    EXPECT_FALSE(window->isWindowModified());
    window->menus().edit().redoAction()->trigger();
    EXPECT_NEAR(peak(*window, 0.15, 0.25), before * 0.501187F, 0.001);

    ASSERT_TRUE(window->menus().file().save());
    EXPECT_FALSE(window->isWindowModified());
    window->close();
    EXPECT_TRUE(editor.windows().empty());
    DocumentWindow* const again = open(path("sound.wav"));
    EXPECT_NEAR(peak(*again, 0.15, 0.25), before * 0.501187F, 0.002);
    EXPECT_NEAR(peak(*again, 0.35, 0.45), before, 1e-6);
}

TEST_F(DocumentWindowTest, EditCommandsChangeTheSoundAndAreNamed)
{
    DocumentWindow* const window = open(makeSound());
    EditActions& edit = window->menus().edit();
    EXPECT_FALSE(edit.cutAction()->isEnabled());
    EXPECT_FALSE(edit.pasteAction()->isEnabled());
    const int64_t whole = window->document().numberOfFrames();

    select(*window, 0.1, 0.2);
    edit.cutAction()->trigger();
    EXPECT_EQ(window->document().numberOfFrames(), whole - 4410);
    EXPECT_EQ(window->document().undoManager().undoText(), QStringLiteral("Cut"));
    EXPECT_TRUE(edit.pasteAction()->isEnabled());
    edit.pasteAction()->trigger();
    EXPECT_EQ(window->document().numberOfFrames(), whole);

    select(*window, 0.1, 0.2);
    edit.clearAction()->trigger();
    EXPECT_EQ(peak(*window, 0.11, 0.19), 0);
    EXPECT_EQ(window->document().undoManager().undoText(), QStringLiteral("Clear"));
    edit.cropAction()->trigger();
    EXPECT_EQ(window->document().numberOfFrames(), 4410);
    edit.deleteAction()->trigger();
    EXPECT_EQ(window->document().numberOfFrames(), 0);
    // Every step comes back.
    while (edit.undoAction()->isEnabled())
        edit.undoAction()->trigger();
    EXPECT_EQ(window->document().numberOfFrames(), whole);
    EXPECT_GT(peak(*window, 0.11, 0.19), 0.5);
}

TEST_F(DocumentWindowTest, AClickInTheHistoryGoesThere)
{
    DocumentWindow* const window = open(makeSound());
    select(*window, 0.1, 0.2);
    window->menus().edit().clearAction()->trigger();
    window->menus().edit().deleteAction()->trigger();
    auto* const dock = window->findChild<HistoryDock*>();
    dock->show();
    QUndoView& list = dock->list();
    ASSERT_TRUE(waitUntil([&] { return list.viewport()->isVisible() && list.model()->rowCount() == 3; }));
    keepPicture(*window, QStringLiteral("history"));
    QTest::mouseClick(list.viewport(), Qt::LeftButton, {},
                      list.visualRect(list.model()->index(0, 0)).center());
    EXPECT_EQ(window->document().undoManager().index(), 0);
    EXPECT_EQ(window->document().numberOfFrames(), 44100);
    EXPECT_GT(peak(*window, 0.1, 0.2), 0.5);
}

TEST_F(DocumentWindowTest, ALongEffectIsCancelledAndLeavesTheDocument)
{
    // Half an hour: no machine is done with it before the key is pressed.
    DocumentWindow* const window = open(makeLongSound("long.wav", int64_t{44100} * 1800));
    window->controller().selection().selectAll();
    QTimer cancel;
    QObject::connect(&cancel, &QTimer::timeout, window,
                     [window] { QTest::keyClick(window, Qt::Key_Escape); });
    cancel.start(40);
    window->menus().effects().actionNamed(QStringLiteral("reverse"))->trigger();
    cancel.stop();
    EXPECT_FALSE(window->isWindowModified());
    EXPECT_FALSE(window->document().undoManager().canUndo());
}

TEST_F(DocumentWindowTest, TheLastFilterIsOfferedAgain)
{
    DocumentWindow* const window = open(makeSound());
    select(*window, 0.1, 0.2);
    window->menus().effects().actionNamed(QStringLiteral("invert"))->trigger();
    QAction* const last = window->menus().effects().lastFilterAction();
    EXPECT_TRUE(last->isEnabled());
    EXPECT_EQ(last->text(), QStringLiteral("Invert"));
    last->trigger();
    EXPECT_EQ(window->document().undoManager().count(), 2);
    EXPECT_EQ(window->document().undoManager().undoText(), QStringLiteral("Invert"));
}

TEST_F(DocumentWindowTest, ClosingAsksForUnsavedChanges)
{
    struct Case {
        QMessageBox::StandardButton answer;
        bool closes;
        bool saves;
    };
    const Case cases[] = {{QMessageBox::Cancel, false, false},
                          {QMessageBox::Discard, true, false},
                          {QMessageBox::Save, true, true}};
    for (const Case& c : cases) {
        const std::filesystem::path file = makeSound("closing.wav");
        const auto size = std::filesystem::file_size(file);
        DocumentWindow* const window = open(file);
        select(*window, 0.1, 0.2);
        window->menus().edit().deleteAction()->trigger();
        whenShown<QMessageBox>([&](QMessageBox& box) {
            keepPicture(box, QStringLiteral("close-question"));
            pressIn(box, c.answer);
        });
        EXPECT_EQ(window->close(), c.closes) << c.answer;
        EXPECT_EQ(std::filesystem::file_size(file) < size, c.saves) << c.answer;
        if (!c.closes)
            window->closeWithoutAsking();
    }
}

TEST_F(DocumentWindowTest, QuittingAsksForEveryDocumentBeforeItClosesAny)
{
    DocumentWindow* const first = open(makeSound("first.wav"));
    DocumentWindow* const second = open(makeSound("second.wav"));
    for (DocumentWindow* const window : {first, second}) {
        select(*window, 0.1, 0.2);
        window->menus().edit().clearAction()->trigger();
    }
    whenShown<QMessageBox>([](QMessageBox& box) {
        whenShown<QMessageBox>([](QMessageBox& other) { pressIn(other, QMessageBox::Cancel); });
        pressIn(box, QMessageBox::Discard);
    });
    EXPECT_FALSE(editor.quit());
    EXPECT_EQ(editor.windows().size(), 2U);
    for (DocumentWindow* const window : {first, second})
        window->menus().edit().undoAction()->trigger();
    bool hasFinished = false;
    QObject::connect(&editor, &Application::finished, &editor, [&hasFinished] { hasFinished = true; });
    EXPECT_TRUE(editor.quit());
    EXPECT_TRUE(hasFinished);
}

TEST_F(DocumentWindowTest, RevertingAsksAndBringsTheFileBack)
{
    DocumentWindow* const window = open(makeSound());
    EXPECT_FALSE(window->menus().file().revertAction()->isEnabled());
    select(*window, 0.1, 0.2);
    window->menus().edit().deleteAction()->trigger();
    for (const bool agrees : {false, true}) {
        whenShown<QMessageBox>([agrees](QMessageBox& box) {
            for (QAbstractButton* const button : box.buttons()) {
                if ((box.buttonRole(button) == QMessageBox::DestructiveRole) == agrees) {
                    button->click();
                    return;
                }
            }
        });
        window->menus().file().revert();
        EXPECT_TRUE(waitUntil([window, agrees] { return window->isWindowModified() != agrees; }));
        EXPECT_EQ(window->document().numberOfFrames() == 44100, agrees);
    }
    EXPECT_FALSE(window->document().undoManager().canUndo());
}

TEST_F(DocumentWindowTest, AWindowThatClosesWhileItReadsItsFileAnewTakesTheReadingWithIt)
{
    const QPointer<DocumentWindow> window = open(makeSound("long.wav", 1000000));
    bool hasFinished = false;
    QObject::connect(&editor, &Application::finished, &editor, [&hasFinished] { hasFinished = true; });
    window->reopen();
    window->closeWithoutAsking();
    EXPECT_TRUE(hasFinished);
    EXPECT_TRUE(waitUntil([&window] { return !window; }));
    QTest::qWait(100);
    EXPECT_TRUE(editor.windows().empty());
}

TEST_F(DocumentWindowTest, SaveAsOffersTypesOptionsAndTellsTheSize)
{
    DocumentWindow* const window = open(makeSound());
    whenShown<SaveDialog>([](SaveDialog& dialog) {
        EXPECT_EQ(dialog.typePopUp().currentData().toString(),
                  QStringLiteral("com.microsoft.waveform-audio"));
        const QString sizeOf16Bits = dialog.sizeLabel().text();
        EXPECT_FALSE(sizeOf16Bits.isEmpty());
        dialog.optionPopUp().setCurrentIndex(dialog.optionPopUp().findData(24));
        EXPECT_NE(dialog.sizeLabel().text(), sizeOf16Bits);
        dialog.findChild<QLineEdit*>()->setText(QStringLiteral("take 2.5"));
        keepPicture(dialog, QStringLiteral("save-dialog"));
        dialog.accept();
    });
    EXPECT_TRUE(window->menus().file().saveAs());
    EXPECT_TRUE(std::filesystem::exists(path("take 2.5.wav")));
    EXPECT_EQ(window->document().filePath(), path("take 2.5.wav"));
    EXPECT_EQ(window->document().sampleSize(), 24);
    EXPECT_EQ(window->windowTitle(), QStringLiteral("take 2.5.wav[*]"));
    EXPECT_EQ(RecentFiles::paths().front(), path("take 2.5.wav"));
}

TEST_F(DocumentWindowTest, ASelectionIsSavedToAFileOfItsOwn)
{
    DocumentWindow* const window = open(makeSound());
    EXPECT_FALSE(window->menus().file().saveSelectionAction()->isEnabled());
    window->controller().selection().setSelection({0.1, 0.35, 1, 1});
    whenShown<SaveDialog>([](SaveDialog& dialog) {
        dialog.findChild<QLineEdit*>()->setText(QStringLiteral("part.wav"));
        dialog.accept();
    });
    EXPECT_TRUE(window->menus().file().saveSelection());
    EXPECT_EQ(window->document().filePath(), path("sound.wav"));
    DocumentWindow* const part = open(path("part.wav"));
    EXPECT_EQ(part->document().numberOfFrames(), 11025);
    EXPECT_EQ(part->document().trackCount(), 1);
}

TEST_F(DocumentWindowTest, SaysThatAFileChangedAndSavesACopyOfWhatIsLeft)
{
    DocumentWindow* const window = open(makeSound());
    const std::filesystem::path file = window->document().filePath();
    const auto comeBack = [window] {
        window->activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(window));
        QEvent event(QEvent::ActivationChange);
        QApplication::sendEvent(window, &event);
    };
    comeBack();
    EXPECT_EQ(part<MessageBar>(*window).message(), QString());
    std::filesystem::resize_file(file, std::filesystem::file_size(file) / 2);
    comeBack();
    EXPECT_TRUE(part<MessageBar>(*window).message().contains(QStringLiteral("changed by another program")));
    // Said once.
    part<MessageBar>(*window).hide();
    comeBack();
    EXPECT_EQ(part<MessageBar>(*window).message(), QString());

    select(*window, 0.0, 0.1);
    window->menus().edit().deleteAction()->trigger();
    // The question, the dialog, and what the copy tells of itself, one after the other.
    QStringList told;
    QTimer answers;
    QObject::connect(&answers, &QTimer::timeout, &answers, [&told] {
        QWidget* const dialog = QApplication::activeModalWidget();
        if (auto* const save = qobject_cast<SaveDialog*>(dialog)) {
            save->findChild<QLineEdit*>()->setText(QStringLiteral("rest.wav"));
            save->accept();
        } else if (auto* const box = qobject_cast<QMessageBox*>(dialog)) {
            told += box->text() + box->informativeText();
            const QList<QAbstractButton*> buttons = box->buttons();
            const auto agrees = std::find_if(buttons.begin(), buttons.end(), [box](QAbstractButton* button) {
                return box->buttonRole(button) == QMessageBox::AcceptRole;
            });
            if (agrees == buttons.end())
                box->accept();
            else
                (*agrees)->click();
        }
    });
    answers.start(10);
    EXPECT_FALSE(window->menus().file().save());
    EXPECT_TRUE(window->isWindowModified());
    answers.stop();
    ASSERT_GE(told.size(), 2);
    EXPECT_TRUE(told.first().contains(QStringLiteral("changed by another program")));
    EXPECT_TRUE(told.last().contains(QStringLiteral("There is silence where sound is missing")));
    EXPECT_EQ(std::filesystem::file_size(path("rest.wav")) > std::filesystem::file_size(file), true);
}

TEST_F(DocumentWindowTest, ASaveThatFailsSaysWhyAndKeepsTheChanges)
{
    DocumentWindow* const window = open(makeSound());
    select(*window, 0.1, 0.2);
    window->menus().edit().clearAction()->trigger();
    std::filesystem::remove_all(path("").parent_path());
    QString message;
    whenShown<QMessageBox>([&message](QMessageBox& box) {
        message = box.text();
        box.accept();
    });
    EXPECT_FALSE(window->menus().file().save());
    EXPECT_FALSE(message.isEmpty());
    EXPECT_TRUE(window->isWindowModified());
}

TEST_F(DocumentWindowTest, FilesThatCannotBeOpenedAreNamedWithTheReason)
{
    QString message;
    whenShown<QMessageBox>([&message](QMessageBox& box) {
        message = box.text();
        box.accept();
    });
    editor.openFiles({path("missing.wav")});
    ASSERT_TRUE(waitUntil([&message] { return !message.isEmpty(); }));
    EXPECT_TRUE(message.contains(QStringLiteral("missing.wav")));
    // A window stays, from which another file can be opened.
    EXPECT_EQ(editor.windows().size(), 1U);
}

TEST_F(DocumentWindowTest, EveryFileHasOneWindowAndTheFirstTakesThePlaceOfTheEmptyOne)
{
    editor.newDocument();
    EXPECT_TRUE(editor.windows().front()->isPristine());
    DocumentWindow* const first = open(makeSound("first.wav"));
    EXPECT_EQ(editor.windows().size(), 1U);
    DocumentWindow* const second = open(makeSound("second.wav"));
    EXPECT_NE(first, second);
    editor.openFiles({path("first.wav"), path("./first.wav")});
    EXPECT_TRUE(waitUntil([this] { return !editor.isOpening(); }));
    EXPECT_EQ(editor.windows().size(), 2U);
}

TEST_F(DocumentWindowTest, DroppedFilesAreOpened)
{
    editor.newDocument();
    DocumentWindow* const window = editor.windows().front();
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile(QFile::decodeName(makeSound("dropped.wav").c_str()))});
    QDragEnterEvent enter({10, 10}, Qt::CopyAction, &data, Qt::LeftButton, {});
    QApplication::sendEvent(window, &enter);
    EXPECT_TRUE(enter.isAccepted());
    QDropEvent drop({10, 10}, Qt::CopyAction, &data, Qt::LeftButton, {});
    QApplication::sendEvent(window, &drop);
    EXPECT_TRUE(waitUntil([this] { return editor.windows().front()->document().numberOfFrames() == 44100; }));
}

TEST_F(DocumentWindowTest, TheStatusLineTellsTimesInTheUnitsOfTheRuler)
{
    DocumentWindow* const window = open(makeSound());
    select(*window, 0.1, 0.35);
    window->controller().transport().setCueTime(0.1);
    EXPECT_EQ(part<TransportBar>(*window).readout().text(), QStringLiteral("0'00.1000"));
    EXPECT_EQ(part<StatusLine>(*window).selectionText(), QStringLiteral("0'00.1000 – 0'00.3500"));
    EXPECT_EQ(part<StatusLine>(*window).lengthText(), QStringLiteral("0'00.2500"));
    window->menus().view().unitsMenu().actions().at(2)->trigger();
    EXPECT_EQ(part<StatusLine>(*window).lengthText(), QStringLiteral("11,025"));
    window->menus().view().unitsMenu().actions().at(0)->trigger();
}

TEST_F(DocumentWindowTest, EveryKeyBelongsToOneCommand)
{
    DocumentWindow* const window = open(makeSound());
    QSet<QKeySequence> taken;
    for (const QAction* const action : window->findChildren<QAction*>()) {
        for (const QKeySequence& key : action->shortcuts()) {
            EXPECT_FALSE(taken.contains(key)) << key.toString().toStdString() << " twice";
            taken.insert(key);
        }
    }
    // Reserved.
    for (const char* key : {"5", "6", "7", "8"})
        EXPECT_FALSE(taken.contains(QKeySequence(QString::fromLatin1(key)))) << key;
}

TEST_F(DocumentWindowTest, NoTwoItemsOfAMenuHaveTheSameMnemonic)
{
    DocumentWindow* const window = open(makeSound());
    QList<QWidget*> menus = {window->menuBar()};
    for (QMenu* const menu : window->menuBar()->findChildren<QMenu*>())
        menus << menu;
    EXPECT_GT(menus.size(), 12);
    for (const QWidget* const menu : menus) {
        QSet<QKeySequence> taken;
        for (const QAction* const action : menu->actions()) {
            const QKeySequence key = QKeySequence::mnemonic(action->text());
            EXPECT_FALSE(taken.contains(key)) << action->text().toStdString();
            if (!key.isEmpty())
                taken.insert(key);
        }
    }
}

} // namespace velloria::test
