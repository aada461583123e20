#include "app/recovery/RecoveryWindow.h"

#include "app/desktop/TerminationSignals.h"
#include "app/kit/AppTestKit.h"
#include "app/look/Theme.h"
#include "app/recovery/LeftOverList.h"
#include "app/recovery/LengthText.h"
#include "app/recovery/SoundPlayer.h"
#include "document/DocumentTransport.h"
#include "document/clips/TempFile.h"
#include "platform/Log.h"
#include "platform/ScratchFolder.h"
#include "platform/hardware/SimulatedStreams.h"

#include <QMessageBox>
#include <QPushButton>
#include <csignal>
#include <ctime>
#include <unistd.h>

namespace velloria::test
{

using Use = ScratchLabel::Use;

/// A start after a program that was killed left sounds behind.
class RecoveryWindowTest : public AppTest
{
protected:
    RecoveryWindowTest() { AudioHardware::setCurrent(hardware); }
    ~RecoveryWindowTest() override
    {
        delete window();
        for (DocumentWindow* const document : std::vector(editor.windows()))
            document->closeWithoutAsking();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        ScratchFolder::removeLeftOversUpTo(INT64_MAX);
        AudioHardware::setCurrent(nullptr);
    }

    /// Its first seconds sound, the rest is silence that takes no room on the disk.
    static void leave(Use use, const QString& name, int numTracks, double seconds,
                      const QString& command = {})
    {
        ScratchLabel label;
        label.use = use;
        label.documentID = label.documentName = name;
        label.file = "/music/" + name.toUtf8();
        label.command = command;
        label = label.forNewSound(numTracks);
        for (int track = 0; track < numTracks; ++track) {
            const auto handle = ScratchFolder::createFile(nullptr);
            ASSERT_FALSE(handle->writeAt(0, TempFile::headerWithSampleRate(44100)));
            std::vector<float> samples(static_cast<size_t>(std::min(seconds, 20.0) * 44100));
            for (size_t i = 0; i < samples.size(); ++i)
                samples[i] = static_cast<float>(std::sin(1e-5 * static_cast<double>(i)) *
                                                std::sin(0.05 * static_cast<double>(i)));
            ASSERT_FALSE(handle->writeAt(TempFile::headerLength, std::as_bytes(std::span(samples))));
            ScratchFolder::setNote(handle->path(), ScratchTrackLabel{label, track}.toNote());
            std::filesystem::resize_file(handle->path(), TempFile::headerLength +
                                                             4 * static_cast<uintmax_t>(seconds * 44100));
        }
    }

    /// Twenty sounds: two documents, fifteen takes, one of them an hour long, three computed pieces.
    static void leaveTwenty()
    {
        leave(Use::document, QStringLiteral("speech.flac"), 2, 95);
        leave(Use::document, QStringLiteral("<s>&amp; [*].wav"), 1, 61);
        for (int i = 1; i <= 14; ++i)
            leave(Use::recording, QStringLiteral("interview %1.wav").arg(i), 2, i);
        leave(Use::recording, QStringLiteral("meeting.wav"), 2, 3600);
        leave(Use::computation, QStringLiteral("music.wav"), 2, 200, QStringLiteral("Amplify"));
        leave(Use::computation, QStringLiteral("music.wav"), 2, 30, QStringLiteral("Reverb"));
        leave(Use::decoding, QStringLiteral("music.wav"), 2, 240);
    }

    static RecoveryWindow* window()
    {
        for (QWidget* const widget : QApplication::topLevelWidgets())
            if (auto* const recovery = qobject_cast<RecoveryWindow*>(widget))
                return recovery;
        return nullptr;
    }
    RecoveryWindow& start()
    {
        editor.newDocument();
        editor.offerRecovery();
        EXPECT_TRUE(waitUntil([] { return window() != nullptr; }));
        RecoveryWindow* const recovery = window();
        EXPECT_TRUE(recovery && QTest::qWaitForWindowExposed(recovery));
        return *recovery;
    }
    static size_t numLeft() { return LeftOverSounds::find(ScratchFolder::leftOvers()).size(); }
    static void choose(RecoveryWindow& recovery, const std::vector<int>& lines)
    {
        recovery.list().clearSelection();
        for (const int line : lines)
            recovery.list().topLevelItem(line)->setSelected(true);
    }

    LogCapture log;
    std::shared_ptr<SimulatedHardware> hardware = std::make_shared<SimulatedHardware>();
};

TEST_F(RecoveryWindowTest, ListsEverythingTheLongestFirst)
{
    leaveTwenty();
    RecoveryWindow& recovery = start();
    LeftOverList& list = recovery.list();
    ASSERT_EQ(list.topLevelItemCount(), 18);
    EXPECT_TRUE(list.topLevelItem(0)->text(0).endsWith(QStringLiteral("meeting.wav")));
    EXPECT_EQ(list.topLevelItem(0)->text(1), QStringLiteral("1:00:00"));
    EXPECT_EQ(list.topLevelItem(1)->text(0), QStringLiteral("speech.flac, not saved"));
    EXPECT_EQ(list.topLevelItem(2)->text(0), QStringLiteral("<s>&amp; [*].wav, not saved"));
    QTreeWidgetItem* const computed = list.topLevelItem(17);
    EXPECT_EQ(computed->text(0), QStringLiteral("What was computed for music.wav"));
    EXPECT_EQ(computed->childCount(), 3);
    EXPECT_EQ(computed->child(1)->text(0), QStringLiteral("Amplify in music.wav"));
    QTest::qWait(400);
    computed->setExpanded(true);
    keepPicture(recovery, QStringLiteral("recovery"));
    const QPalette former = QApplication::palette();
    QApplication::setPalette(ThemePalettes::dark());
    QTest::qWait(50);
    keepPicture(recovery, QStringLiteral("recovery-dark"));
    QApplication::setPalette(former);
}

TEST_F(RecoveryWindowTest, OpensWhatIsChosenAsUnsavedDocumentsWithTheirPicture)
{
    leaveTwenty();
    RecoveryWindow& recovery = start();
    choose(recovery, {0, 1});
    const QString title = recovery.list().topLevelItem(0)->text(0);
    recovery.openSelected();
    EXPECT_EQ(recovery.list().topLevelItemCount(), 16);
    ASSERT_EQ(editor.windows().size(), 2U) << "the empty window showed the first";
    DocumentWindow& meeting = *editor.windows()[0];
    EXPECT_EQ(meeting.document().displayName(), title);
    EXPECT_EQ(meeting.document().numberOfFrames(), int64_t{3600} * 44100);
    EXPECT_TRUE(meeting.document().isDocumentEdited());
    // Of an hour the beginning is scanned first.
    EXPECT_TRUE(waitUntil([&meeting] {
        const FloatBuffer picture = meeting.document().minMaxDataFrom(0.0, 20.0, 1.0, 1);
        return !picture.empty() && *std::max_element(picture.begin(), picture.end()) > 0.9F;
    }));
    EXPECT_EQ(numLeft(), 18U) << "what is open is not offered elsewhere";
}

TEST_F(RecoveryWindowTest, TenThousandSoundsAreListedAtOnce)
{
    constexpr int numSounds = 10'000;
    constexpr int numDocuments = 50;
    std::vector<LeftOverSound> sounds(numSounds);
    for (int i = 0; i < numSounds; ++i) {
        LeftOverSound& sound = sounds[static_cast<size_t>(i)];
        sound.files = {path("gone-" + std::to_string(i))};
        sound.sampleRate = 44100;
        sound.numFrames = 44100 * (numSounds - i);
        sound.numTracks = 2;
        ScratchLabel label;
        label.use = i % 2 == 0 ? Use::recording : Use::computation;
        label.documentName = label.documentID = QStringLiteral("document %1").arg(i % numDocuments);
        sound.label = label;
    }
    std::clock_t start = std::clock();
    LeftOverList list(std::move(sounds));
    list.resize(700, 400);
    list.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&list));
    list.grab();
    // Seconds would be a window that seems to hang at a start.
    EXPECT_LT(std::clock() - start, 2 * CLOCKS_PER_SEC);
    EXPECT_EQ(list.topLevelItemCount(), numSounds / 2 + numDocuments / 2);
    EXPECT_EQ(list.soundsOfPersons().size(), size_t{numSounds} / 2);
    start = std::clock();
    list.selectAll();
    EXPECT_GE(list.selectedSounds().size(), size_t{numSounds} / 2);
    list.scrollToBottom();
    list.grab();
    list.removeSound(*list.currentSound());
    EXPECT_LT(std::clock() - start, 2 * CLOCKS_PER_SEC);
    EXPECT_EQ(list.soundsOfPersons().size(), size_t{numSounds} / 2 - 1);
}

TEST_F(RecoveryWindowTest, ClosingItQuittingAndSignalsKeepEverything)
{
    leaveTwenty();
    start().reject();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_EQ(numLeft(), 20U);

    editor.offerRecovery();
    ASSERT_TRUE(waitUntil([] { return window() != nullptr; }));
    choose(*window(), {0, 3, 4});
    const TerminationSignals signals;
    QObject::connect(&signals, &TerminationSignals::received, &editor, &Application::endAtOnce);
    // While it asks whether to discard.
    whenShown<QMessageBox>([](QMessageBox&) { ::kill(::getpid(), SIGTERM); });
    QTimer::singleShot(0, window(), [] { window()->discardSelected(); });
    QApplication::exec();
    EXPECT_EQ(numLeft(), 20U);
    {
        // The program ends, with a window open for some of them and without an answer.
        Application next;
        next.newDocument();
        MaybeError error;
        for (const LeftOverSound& sound : LeftOverSounds::find(ScratchFolder::leftOvers()))
            next.openLeftOver(sound);
        EXPECT_EQ(numLeft(), 0U);
        // From within the event loop: ended without one, no dialog of a later test would stay open.
        QTimer::singleShot(0, &next, [&next] { next.endAtOnce(); });
        QApplication::exec();
    }
    // Pictures that were done too late to be shown hold on to their sounds until the loop lets go of them.
    EXPECT_TRUE(waitUntil([] { return numLeft() == 20; }))
        << numLeft() << ": nothing is written twice either";
}

TEST_F(RecoveryWindowTest, DiscardsWhatWasAskedForByNameAndNothingElse)
{
    leave(Use::recording, QStringLiteral("a.wav"), 2, 30);
    leave(Use::recording, QStringLiteral("b.wav"), 2, 20);
    leave(Use::recording, QStringLiteral("c.wav"), 2, 10);
    RecoveryWindow& recovery = start();
    choose(recovery, {0, 1, 2});
    QStringList questions;
    const auto answerWith = [&](const QString& button) {
        whenShown<QMessageBox>([&questions, button](QMessageBox& box) {
            questions << box.text();
            keepPicture(box, QStringLiteral("recovery-discard"));
            for (QAbstractButton* const candidate : box.buttons())
                if (candidate->text().remove(u'&') == button) {
                    candidate->click();
                    return;
                }
        });
    };
    answerWith(QStringLiteral("Discard"));
    answerWith(QStringLiteral("Cancel"));
    recovery.discardSelected();
    ASSERT_EQ(questions.size(), 2) << "Cancel ends the questions";
    EXPECT_TRUE(questions[0].contains(QStringLiteral("a.wav” (0:30)"))) << qPrintable(questions[0]);
    EXPECT_EQ(recovery.list().topLevelItemCount(), 2);
    EXPECT_EQ(numLeft(), 2U);
    EXPECT_EQ(ScratchFolder::leftOvers().size(), 4U);
}

TEST_F(RecoveryWindowTest, TheAnswerAtClosingCountsOnlyWhenTheWindowCloses)
{
    leave(Use::recording, QStringLiteral("a.wav"), 2, 30);
    RecoveryWindow& recovery = start();
    choose(recovery, {0});
    recovery.openSelected();
    EXPECT_FALSE(window() && window()->isVisible()) << "nothing is left to be asked";
    QPointer<DocumentWindow> document = editor.windows().front();
    whenShown<QMessageBox>([](QMessageBox& box) { box.button(QMessageBox::Discard)->click(); });
    EXPECT_TRUE(document->prepareToClose());
    EXPECT_EQ(numLeft(), 0U) << "it is still open";
    document->closeWithoutAsking();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_EQ(numLeft(), 0U);
    EXPECT_TRUE(ScratchFolder::leftOvers().empty());
}

TEST_F(RecoveryWindowTest, PlaysASoundAndLeavesItThere)
{
    leave(Use::recording, QStringLiteral("a.wav"), 2, 30);
    leave(Use::recording, QStringLiteral("b.wav"), 1, 2);
    RecoveryWindow& recovery = start();
    QTest::keyClick(&recovery.list(), Qt::Key_Space);
    EXPECT_TRUE(recovery.player().isPlaying());
    ASSERT_NE(hardware->output(), nullptr);
    ASSERT_TRUE(waitUntil([&] {
        hardware->output()->pull(512);
        return recovery.player().position() > 0.5;
    }));
    recovery.list().setCurrentItem(recovery.list().topLevelItem(1));
    EXPECT_FALSE(recovery.player().isPlaying()) << "another is another";
    EXPECT_EQ(recovery.player().position(), 0.0);
    recovery.player().toggle();
    choose(recovery, {1});
    recovery.openSelected();
    EXPECT_FALSE(recovery.player().isPlaying());
    EXPECT_EQ(editor.windows().front()->document().numberOfFrames(), 88200);
    hardware->unplug(QStringLiteral("out"));
    whenShown<QMessageBox>([](QMessageBox& box) { box.accept(); });
    recovery.player().toggle();
    EXPECT_FALSE(recovery.player().isPlaying());
}

TEST(LengthText, ReadsAsAClock)
{
    EXPECT_EQ(lengthText(0.9), QStringLiteral("0:00"));
    EXPECT_EQ(lengthText(65.0), QStringLiteral("1:05"));
    EXPECT_EQ(lengthText(3599.99), QStringLiteral("59:59"));
    EXPECT_EQ(lengthText(36061.0), QStringLiteral("10:01:01"));
}

} // namespace velloria::test
