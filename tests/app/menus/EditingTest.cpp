#include "app/kit/AppTestKit.h"
#include "app/kit/TabOrder.h"
#include "app/menus/DocumentMenus.h"
#include "app/menus/EditActions.h"
#include "app/preferences/Settings.h"
#include "app/progress/MessageBar.h"
#include "app/sheets/EditSheets.h"
#include "app/sheets/FormSheet.h"
#include "app/sheets/SplitSheet.h"
#include "app/sheets/TimeField.h"
#include "app/waveform/MarkerLane.h"
#include "app/window/MarkerListDock.h"
#include "controllers/EditCommands.h"
#include "controllers/EffectController.h"
#include "controllers/SelectionModel.h"
#include "controllers/TransportController.h"
#include "effects/EffectRegistry.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QMenuBar>
#include <QProcess>
#include <QPushButton>
#include <QTableView>

namespace velloria::test
{

namespace
{

class EditingTest : public AppTest
{
protected:
    void TearDown() override
    {
        for (const QString& key : {Settings::showsGrid, Settings::snapsToGrid, Settings::gridSpacingValue,
                                   Settings::gridSpacingUnits, Settings::locksMarkers})
            UserDefaults::standard().removeValue(key);
    }

    static std::vector<int64_t> markersOf(DocumentWindow& window)
    {
        std::vector<int64_t> positions;
        for (const AudioMarkerPtr& marker : *window.document().orderedMarkers())
            positions.push_back(marker->position());
        return positions;
    }

    static void addMarkers(DocumentWindow& window)
    {
        window.document().addMarkers({std::make_shared<AudioMarker>(0, 11'025, QStringLiteral("Intro")),
                                      std::make_shared<AudioMarker>(0, 22'050, QStringLiteral("Interview"))},
                                     QStringLiteral("Markers"));
    }
};

void accept(QDialog& dialog)
{
    dialog.findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok)->click();
}

void mouse(QWidget& widget, QEvent::Type type, QPointF position, Qt::KeyboardModifiers modifiers = {})
{
    const bool isMove = type == QEvent::MouseMove;
    QMouseEvent event(type, position, widget.mapToGlobal(position), isMove ? Qt::NoButton : Qt::LeftButton,
                      Qt::LeftButton, modifiers);
    QApplication::sendEvent(&widget, &event);
}

} // namespace

TEST_F(EditingTest, SilenceOfATypedLengthInAnyUnit)
{
    DocumentWindow* const window = open(makeSound());
    for (const char* const text : {"0.5 s", "500 ms", "22050 samples", "0'00.5"}) {
        whenShown<FormSheet>([text](FormSheet& sheet) {
            auto* const field = sheet.findChild<TimeField*>();
            auto* const ok = sheet.findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok);
            EXPECT_EQ(sheet.focusWidget(), field) << "who types, types the length";
            EXPECT_EQ(field->selectedText(), field->text());
            expectReadingOrder(sheet);
            for (const char* const wrong : {"", "nan", "inf", "-1 s", "0", "1e999 s", "x"}) {
                field->setText(QString::fromUtf8(wrong));
                EXPECT_FALSE(ok->isEnabled()) << wrong;
            }
            field->setText(QString::fromUtf8(text));
            keepPicture(sheet, QStringLiteral("sheet-silence"));
            accept(sheet);
        });
        EditSheets::insertSilence(window->controller(), *window);
        EXPECT_EQ(window->document().numberOfFrames(), 66'150) << text;
        window->controller().editing().undo();
        EXPECT_EQ(window->document().numberOfFrames(), 44'100);
    }
    window->controller().selection().selectNone();
    whenShown<FormSheet>([](FormSheet& sheet) {
        EXPECT_EQ(sheet.findChild<TimeField*>()->time(), 0.5) << "offered again";
        sheet.reject();
    });
    EditSheets::insertSilence(window->controller(), *window);
    UserDefaults::standard().removeValue(QStringLiteral("insert.duration"));
}

TEST_F(EditingTest, SheetsDoWhatTheyAreAskedFor)
{
    DocumentWindow* const window = open(makeSound());
    window->controller().selection().selectAll();
    window->controller().editing().copy();
    whenShown<FormSheet>([](FormSheet& sheet) {
        expectReadingOrder(sheet);
        keepPicture(sheet, QStringLiteral("sheet-mix"));
        accept(sheet);
    });
    EditSheets::mixPaste(window->controller(), *window);
    EXPECT_EQ(window->document().undoManager().undoText(), QStringLiteral("Mix Paste"));
    whenShown<FormSheet>([](FormSheet& sheet) {
        sheet.findChild<QComboBox*>()->setEditText(QStringLiteral("22050"));
        expectReadingOrder(sheet);
        keepPicture(sheet, QStringLiteral("sheet-resample"));
        accept(sheet);
    });
    EditSheets::resample(window->controller(), *window);
    EXPECT_EQ(window->document().numberOfFrames(), 22'050);
    whenShown<FormSheet>([](FormSheet& sheet) {
        sheet.findChildren<QComboBox*>().first()->setEditText(QStringLiteral("44100"));
        keepPicture(sheet, QStringLiteral("sheet-properties"));
        accept(sheet);
    });
    EditSheets::documentProperties(window->controller(), *window);
    EXPECT_EQ(window->document().sampleRate(), 44'100);
    EXPECT_EQ(window->document().numberOfFrames(), 22'050);
    whenShown<FormSheet>([](FormSheet& sheet) {
        expectReadingOrder(sheet);
        keepPicture(sheet, QStringLiteral("sheet-grid"));
        sheet.reject();
    });
    EditSheets::gridSettings(*window);
}

TEST_F(EditingTest, MarkersAreDraggedRenamedAndListed)
{
    DocumentWindow* const window = open(makeSound());
    addMarkers(*window);
    auto* const lane = window->findChild<MarkerLane*>();
    ASSERT_TRUE(lane && waitUntil([lane] { return lane->isVisible(); }));
    const WaveformViewGeometry& geometry = window->view().context().geometry();
    const QPointF flag(geometry.xAtTime(0.25) + 3, 8);
    const auto drag = [&](double seconds, Qt::KeyboardModifiers modifiers) {
        mouse(*lane, QEvent::MouseButtonPress, flag);
        mouse(*lane, QEvent::MouseMove, {geometry.xAtTime(0.25 + seconds) + 3, 8}, modifiers);
        mouse(*lane, QEvent::MouseButtonRelease, {geometry.xAtTime(0.25 + seconds) + 3, 8}, modifiers);
    };
    Settings::change(Settings::locksMarkers, 1);
    drag(0.1, Qt::ControlModifier);
    EXPECT_EQ(markersOf(*window), (std::vector<int64_t>{11'025, 22'050})) << "locked";
    Settings::change(Settings::locksMarkers, 0);
    Settings::change(Settings::gridSpacingValue, 0.1);
    Settings::change(Settings::snapsToGrid, 1);
    drag(0.155, {});
    EXPECT_EQ(markersOf(*window).front() % 4410, 0) << "snapped to the grid";
    window->controller().editing().undo();
    EXPECT_EQ(markersOf(*window), (std::vector<int64_t>{11'025, 22'050}));

    lane->rename(window->document().orderedMarkers()->front());
    auto* const field = lane->findChild<QLineEdit*>();
    ASSERT_TRUE(field);
    field->setText(QStringLiteral("Welcome"));
    QTest::keyClick(field, Qt::Key_Return);
    EXPECT_EQ(window->document().orderedMarkers()->front()->name(), QStringLiteral("Welcome"));

    MarkerListModel& model = part<MarkerListDock>(*window).model();
    ASSERT_EQ(model.rowCount(), 2);
    EXPECT_TRUE(
        model.setData(model.index(1, MarkerListModel::timeColumn), QStringLiteral("750 ms"), Qt::EditRole));
    EXPECT_TRUE(
        model.setData(model.index(1, MarkerListModel::nameColumn), QStringLiteral("End"), Qt::EditRole));
    for (const char* const wrong : {"nan", "-1 s", "2 s", ""})
        EXPECT_FALSE(model.setData(model.index(1, MarkerListModel::timeColumn), QString::fromUtf8(wrong),
                                   Qt::EditRole));
    EXPECT_EQ(markersOf(*window).back(), 33'075);
    part<MarkerListDock>(*window).show();
    Settings::change(Settings::showsGrid, 1);
    QCoreApplication::processEvents();
    keepPicture(*window, QStringLiteral("markers"));
    part<MarkerListDock>(*window).list().selectRow(0);
    QTest::keyClick(&part<MarkerListDock>(*window).list(), Qt::Key_Delete);
    EXPECT_EQ(markersOf(*window), (std::vector<int64_t>{33'075}));
    window->controller().editing().undo();
    part<MarkerListDock>(*window).list().selectAll();
    QTest::keyClick(&part<MarkerListDock>(*window).list(), Qt::Key_Delete);
    EXPECT_TRUE(markersOf(*window).empty());
    window->controller().editing().undo();
    EXPECT_EQ(markersOf(*window).size(), 2U) << "all that were chosen are one step";
}

TEST_F(EditingTest, SplitsIntoTheChosenFolder)
{
    DocumentWindow* const window = open(makeSound());
    addMarkers(*window);
    SplitSheet sheet(window->document(), window);
    sheet.show();
    sheet.findChild<QLineEdit*>()->setText(QStringLiteral("/gone/for/good"));
    auto* const ok = sheet.findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok);
    EXPECT_FALSE(ok->isEnabled());
    sheet.findChild<QLineEdit*>()->setText(mFolder.path());
    EXPECT_TRUE(ok->isEnabled());
    expectReadingOrder(sheet);
    keepPicture(sheet, QStringLiteral("sheet-split"));
    SilentProgress progress;
    EXPECT_EQ(MarkerSplitter(window->document(), sheet.request()).run(progress).paths.size(), 3);
}

TEST_F(EditingTest, SplitsAtTheBitRateOfTheFile)
{
    QProcess lame;
    lame.start(QStringLiteral("lame"), {QStringLiteral("--quiet"), QStringLiteral("-b"),
                                        QStringLiteral("320"), QString::fromStdString(makeSound().native()),
                                        QString::fromStdString(path("sound.mp3").native())});
    ASSERT_TRUE(lame.waitForFinished() && lame.exitCode() == 0);
    DocumentWindow* const window = open(path("sound.mp3"));
    addMarkers(*window);
    const SplitSheet sheet(window->document(), window);
    EXPECT_EQ(sheet.request().optionTag, 320'000);
    SaveRequest save;
    save.uti = window->document().fileType();
    EXPECT_EQ(sheet.request().optionTag, window->document().fileOptions(save).selectedTag);
}

TEST_F(EditingTest, SaysWhatAPasteDidAndTakesItBack)
{
    DocumentWindow* const window = open(makeSound());
    MessageBar& bar = part<MessageBar>(*window);
    const int64_t whole = window->document().numberOfFrames();
    window->controller().selection().setSelection({0.1, 0.2, 0, 1});
    window->menus().edit().copyAction()->trigger();
    const auto paste = [&] {
        window->controller().selection().setSelection({0.5, 0.5, 0, 2});
        window->menus().edit().pasteAction()->trigger();
        EXPECT_EQ(window->document().numberOfFrames(), whole + 4410);
    };
    paste();
    EXPECT_TRUE(bar.message().contains(QStringLiteral("first ones")));
    keepPicture(*window, QStringLiteral("message-undo"));
    const QPalette light = QApplication::palette();
    QApplication::setPalette(ThemePalettes::dark());
    QTest::qWait(50);
    keepPicture(*window, QStringLiteral("message-undo-dark"));
    QApplication::setPalette(light);

    // By the keyboard alone; Space and Return do not play or go to the start there.
    for (const int key : {Qt::Key_Space, Qt::Key_Return}) {
        ASSERT_TRUE(bar.offersUndo());
        window->activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(window));
        window->view().setFocus();
        const auto* const undo = bar.findChild<QPushButton*>();
        for (int i = 0; i < 30 && !undo->hasFocus(); ++i)
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        ASSERT_TRUE(undo->hasFocus());
        QTest::keyClick(QApplication::focusWidget(), static_cast<Qt::Key>(key));
        EXPECT_EQ(window->document().numberOfFrames(), whole);
        EXPECT_FALSE(window->controller().transport().isPlaying());
        EXPECT_EQ(bar.message(), QString());
        paste();
    }

    // The next step is not the one that the button speaks of.
    window->controller().editing().insertSilence(0.1, QStringLiteral("Silence"));
    EXPECT_EQ(bar.message(), QString());
    // Nor is what another matter says to be undone.
    window->resultIsPartial(PartialResult::mixdownCancelled);
    EXPECT_TRUE(bar.message().startsWith(QStringLiteral("Mixing down was cancelled")));
    window->playbackFailed(QStringLiteral("No device."));
    EXPECT_FALSE(bar.offersUndo());
    window->menus().edit().undoAction()->trigger();
    EXPECT_TRUE(bar.message().contains(QStringLiteral("No device.")));
}

TEST_F(EditingTest, SaysWhatAnEffectDidNotDoUntilTheNextStep)
{
    DocumentWindow* const window = open(makeSound());
    const MessageBar& bar = part<MessageBar>(*window);
    const auto apply = [window](const char* name, const QVariantMap& arguments) {
        const EffectEntry& entry = *EffectRegistry::effectWithScriptName(QString::fromLatin1(name));
        const std::shared_ptr<Filter> filter = entry.make(entry.menuTitle);
        filter->setParameters(arguments);
        window->controller().selection().setSelection({0.6, 0.9, 0, 2});
        window->controller().effects().setUpFilter(*filter);
        EXPECT_FALSE(window->controller().effects().applyFilter(filter));
    };
    apply("normalize", {});
    EXPECT_EQ(bar.message(), QStringLiteral("Normalize: The selection is silent; it stays as it is."));
    EXPECT_FALSE(bar.offersUndo());
    EXPECT_FALSE(window->isWindowModified());
    keepPicture(*window, QStringLiteral("remark"));
    window->controller().editing().insertSilence(0.1, QStringLiteral("Silence"));
    EXPECT_EQ(bar.message(), QString());
    // Less than all is a step, which can be taken back.
    const int before = window->document().undoManager().index();
    apply("equalize 3", {{QStringLiteral("LowGain"), 6.0},
                         {QStringLiteral("HighGain"), 6.0},
                         {QStringLiteral("HighFrequency"), 21'000.0}});
    EXPECT_TRUE(bar.message().contains(QStringLiteral("21,000"))) << bar.message().toStdString();
    ASSERT_TRUE(bar.offersUndo());
    bar.findChild<QPushButton*>()->click();
    EXPECT_EQ(window->document().undoManager().index(), before);
    EXPECT_EQ(bar.message(), QString());
}

TEST_F(EditingTest, AScriptsPartialResultIsToldUntilTheStepAfterIt)
{
    DocumentWindow* const window = open(makeSound());
    const MessageBar& bar = part<MessageBar>(*window);
    SoundDocument& document = window->document();
    const int64_t whole = document.numberOfFrames();
    window->controller().selection().setSelection({0.1, 0.2, 0, 1});
    window->menus().edit().copyAction()->trigger();
    window->controller().selection().setSelection({0.5, 0.5, 0, 2});
    document.beginUndoGroup(QStringLiteral("Script"));
    window->menus().edit().pasteAction()->trigger();
    ASSERT_TRUE(bar.offersUndo());
    document.addMarker(std::make_shared<AudioMarker>(1, 100, QStringLiteral("also part of it")));
    document.endUndoGroup();
    EXPECT_TRUE(bar.message().contains(QStringLiteral("first ones")));
    bar.findChild<QPushButton*>()->click();
    EXPECT_EQ(document.numberOfFrames(), whole);
    EXPECT_TRUE(document.audioMarkers()->empty());
    EXPECT_FALSE(bar.offersUndo());
    // A step that came to nothing takes nothing else with it.
    document.undoManager().redo();
    document.beginUndoGroup(QStringLiteral("Nothing"));
    window->resultIsPartial(PartialResult::mixdownCancelled);
    document.endUndoGroup();
    bar.findChild<QPushButton*>()->click();
    EXPECT_EQ(document.numberOfFrames(), whole + 4410);
    EXPECT_EQ(bar.message(), QString());
}

TEST_F(EditingTest, KeysMoveTheCueByGridLinesAndZeroCrossings)
{
    DocumentWindow* const window = open(makeSound());
    Settings::change(Settings::gridSpacingValue, 0.1);
    WaveformWidget& waveform = window->view().waveform();
    QTest::keyClick(&waveform, Qt::Key_Right, Qt::AltModifier);
    QTest::keyClick(&waveform, Qt::Key_Right, Qt::AltModifier);
    EXPECT_NEAR(window->controller().transport().cueTime(), 0.2, 1e-9);
    QTest::keyClick(&waveform, Qt::Key_Right, Qt::AltModifier | Qt::ControlModifier);
    // The sine crosses zero every 20 pi frames.
    const double frame = window->controller().transport().cueTime() * 44'100;
    EXPECT_GT(frame, 8820.5);
    EXPECT_LT(frame, 8820 + 80);
    QTest::keyClick(&waveform, Qt::Key_Left, Qt::AltModifier);
    EXPECT_NEAR(window->controller().transport().cueTime(), 0.2, 1e-9);
}

} // namespace velloria::test
