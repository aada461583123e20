#include "app/effects/GeneratorDialog.h"

#include "app/effects/KeyboardView.h"
#include "app/effects/NoteSheet.h"
#include "app/effects/ParameterRow.h"
#include "app/kit/AppTestKit.h"
#include "app/kit/TabOrder.h"
#include "app/menus/DocumentMenus.h"
#include "controllers/SelectionModel.h"
#include "platform/Log.h"
#include "platform/hardware/SimulatedStreams.h"

#include <QLabel>
#include <QMenuBar>
#include <QPushButton>

namespace velloria::test
{

/// A second of sound in a window, on simulated hardware.
class GeneratorDialogTest : public AppTest
{
protected:
    GeneratorDialogTest()
    {
        AudioHardware::setCurrent(hardware);
        window = open(makeSound("sound.wav", 44100));
    }
    ~GeneratorDialogTest() override
    {
        window->closeWithoutAsking();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        AudioHardware::setCurrent(nullptr);
        for (const char* const key : {"duration", "amplitude", "frequency", "waveShape", "note", "tuning"})
            UserDefaults::standard().removeValue(QStringLiteral("insert.") + QLatin1String(key));
    }
    GeneratorDialog& openSheet(const char* title)
    {
        for (QAction* const action : window->findChildren<QAction*>())
            if (action->text() == QString::fromUtf8(title))
                action->trigger();
        GeneratorDialog& sheet = part<GeneratorDialog>(*window);
        EXPECT_TRUE(QTest::qWaitForWindowExposed(&sheet));
        return sheet;
    }
    void select(double start, double end)
    {
        window->controller().selection().setSelection({start, end, 0, 2});
    }
    int64_t numFrames() const { return window->document().numberOfFrames(); }

    LogCapture log;
    std::shared_ptr<SimulatedHardware> hardware = std::make_shared<SimulatedHardware>();
    DocumentWindow* window = nullptr;
};

TEST_F(GeneratorDialogTest, ATonesLengthIsTheSelectionsAndItIsHeardAndInserted)
{
    select(0.25, 0.75);
    GeneratorDialog& sheet = openSheet("Insert Tone…");
    EXPECT_EQ(sheet.rows()[0]->value(), 0.5);
    sheet.rows()[2]->setValue(1000.0);
    QTest::keyClick(&sheet, Qt::Key_Space, Qt::ControlModifier);
    ASSERT_TRUE(sheet.preview().isRunning());
    keepPicture(sheet, QStringLiteral("insert-tone"));
    float peak = 0.0F;
    for (const float sample : hardware->output()->pull(4096))
        peak = std::max(peak, std::abs(sample));
    EXPECT_GT(peak, 0.5F);
    sheet.accept();
    EXPECT_EQ(hardware->output(), nullptr);
    EXPECT_TRUE(waitUntil([this] { return numFrames() == 44100 + 22050; }));
    EXPECT_EQ(window->document().undoManager().undoText(), QStringLiteral("Insert Tone"));
    EXPECT_EQ(UserDefaults::standard().doubleValue(QStringLiteral("insert.frequency")), 1000.0);
    EXPECT_FALSE(UserDefaults::standard().isSet(QStringLiteral("insert.duration")))
        << "the selection's length is none to be offered again";
}

TEST_F(GeneratorDialogTest, NotesArePlayedWithKeysAndMouseAndInsertedInTheirOrder)
{
    select(0.5, 0.5);
    auto& sheet = dynamic_cast<NoteSheet&>(openSheet("Insert Notes…"));
    KeyboardView& keyboard = sheet.keyboard();
    sheet.rows()[0]->setValue(0.25);
    keyboard.setFocus();
    QTest::keyPress(&keyboard, Qt::Key_A);
    EXPECT_EQ(keyboard.heldNote(), 60);
    ASSERT_TRUE(sheet.preview().isRunning()) << "heard while it is held";
    keepPicture(sheet, QStringLiteral("insert-notes"));
    QTest::keyRelease(&keyboard, Qt::Key_A);
    EXPECT_FALSE(keyboard.heldNote());
    QTest::keyClick(&keyboard, Qt::Key_X);
    QTest::keyClick(&keyboard, Qt::Key_W);
    QTest::mouseClick(&keyboard, Qt::LeftButton, {}, keyboard.rectOfNote(69).center().toPoint());
    QTest::mouseClick(&keyboard, Qt::LeftButton, {}, keyboard.rectOfNote(70).center().toPoint());
    QTest::keyClick(&keyboard, Qt::Key_Backspace);
    EXPECT_EQ(sheet.notes(), (std::vector<int>{60, 73, 69}));
    sheet.accept();
    EXPECT_TRUE(waitUntil([this] { return numFrames() == 44100 + 3 * 11025; }));
    EXPECT_EQ(window->document().undoManager().count(), 1);
    const SoundSelection selected = window->controller().selection().normalizedSelection();
    EXPECT_NEAR(selected.startTime, 0.5, 1e-6);
    EXPECT_NEAR(selected.endTime, 1.25, 1e-6);
    // Cycles of each note, counted by where it rises through 0.
    const AudioTrackPtr track = window->document().audioTracks()->front();
    for (const auto& [index, hertz] : {std::pair{0, 261.63}, {1, 554.37}, {2, 440.0}}) {
        FloatBuffer samples(11025);
        track->readSamples(22050 + index * 11025, samples);
        int numRising = 0;
        for (size_t i = 1; i < samples.size(); ++i)
            numRising += samples[i - 1] <= 0 && samples[i] > 0 ? 1 : 0;
        EXPECT_NEAR(numRising, hertz / 4, 1.5) << index;
    }
}

TEST_F(GeneratorDialogTest, TheOtherSheetsHaveTheirRowsAndNames)
{
    const std::pair<const char*, QStringList> sheets[] = {
        {"Insert Noise…", {QStringLiteral("Duration"), QStringLiteral("Amplitude")}},
        {"Insert FM Tone…",
         {QStringLiteral("Duration"), QStringLiteral("Amplitude"), QStringLiteral("Carrier"),
          QStringLiteral("Modulation"), QStringLiteral("Deviation")}}};
    for (const bool isDark : {false, true}) {
        QApplication::setPalette(isDark ? ThemePalettes::dark() : ThemePalettes::light());
        for (const auto& [title, names] : sheets) {
            GeneratorDialog& sheet = openSheet(title);
            ASSERT_EQ(static_cast<qsizetype>(sheet.rows().size()), names.size());
            for (qsizetype i = 0; i < names.size(); ++i)
                EXPECT_EQ(sheet.rows()[static_cast<size_t>(i)]->description().name, names[i]);
            expectReadingOrder(sheet);
            keepPicture(sheet, QStringLiteral("insert-%1-%2")
                                   .arg(names.size())
                                   .arg(isDark ? QStringLiteral("dark") : QStringLiteral("light")));
            sheet.reject();
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        }
    }
    QApplication::setPalette(ThemePalettes::light());
}

TEST_F(GeneratorDialogTest, ArrowKeysChooseAPianoKeyAndTheSpaceBarPlaysIt)
{
    auto& sheet = dynamic_cast<NoteSheet&>(openSheet("Insert Notes…"));
    sheet.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&sheet)) << "or the space bar is the editor's";
    KeyboardView& keyboard = sheet.keyboard();
    keyboard.setFocus();
    std::vector<int> played;
    QObject::connect(&keyboard, &KeyboardView::notePressed, [&played](int note) { played.push_back(note); });
    const std::pair<Qt::Key, int> moves[] = {{Qt::Key_Right, 61}, {Qt::Key_Left, 60},  {Qt::Key_Up, 72},
                                             {Qt::Key_Up, 84},    {Qt::Key_Right, 85}, {Qt::Key_Home, 60},
                                             {Qt::Key_Down, 48},  {Qt::Key_End, 84},   {Qt::Key_Z, 72}};
    for (const auto& [key, note] : moves) {
        QTest::keyClick(&keyboard, key);
        EXPECT_EQ(keyboard.markedNote(), note);
        EXPECT_TRUE(note >= keyboard.firstNote() && note <= keyboard.firstNote() + 36) << "in view";
        QTest::keyPress(&keyboard, Qt::Key_Space);
        EXPECT_EQ(keyboard.heldNote(), note);
        QTest::keyRelease(&keyboard, Qt::Key_Space);
        EXPECT_FALSE(keyboard.heldNote());
    }
    EXPECT_EQ(played.size(), std::size(moves));
    EXPECT_EQ(keyboard.accessibleDescription(), QStringLiteral("C5"));
    for (const Qt::Key key : {Qt::Key_Down, Qt::Key_Up})
        for (int i = 0; i < 20; ++i) {
            QTest::keyClick(&keyboard, key);
            EXPECT_TRUE(keyboard.markedNote() >= 0 && keyboard.markedNote() < 128);
            EXPECT_TRUE(keyboard.markedNote() >= keyboard.firstNote() && keyboard.firstNote() >= 0);
        }
}

TEST_F(GeneratorDialogTest, KeysLieWhereTheyAreDrawn)
{
    KeyboardView keyboard;
    keyboard.resize(484, 116);
    for (const int octaves : {0, -20, 20}) {
        keyboard.moveByOctaves(octaves);
        for (int note = keyboard.firstNote(); note <= keyboard.firstNote() + 36; ++note) {
            const QRectF rect = keyboard.rectOfNote(note);
            EXPECT_EQ(keyboard.noteAt({rect.center().x(), rect.bottom() - 4}), note);
            EXPECT_TRUE(note >= 0 && note < 128);
        }
    }
    EXPECT_FALSE(keyboard.noteAt({-5, 10}));
}

} // namespace velloria::test
