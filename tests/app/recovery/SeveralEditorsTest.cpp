#include "app/kit/AppTestKit.h"
#include "app/recovery/LeftOverList.h"
#include "app/recovery/RecoveryWindow.h"
#include "controllers/RecordingController.h"
#include "controllers/TransportController.h"
#include "document/DocumentRecording.h"
#include "document/clips/MutableAudioClip.h"
#include "document/clips/TempFile.h"
#include "platform/Log.h"
#include "platform/ScratchFolder.h"
#include "platform/hardware/SimulatedStreams.h"

#include <QProcess>
#include <cstdio>

namespace velloria::test
{

namespace
{

constexpr const char* kScratchVariable = "VELLORIA_TEST_EDITOR_SCRATCH";

} // namespace

/// Editors in processes of their own: copies of this program that run the test below.
class SeveralEditorsTest : public AppTest
{
protected:
    void SetUp() override
    {
        mFormerScratch = qgetenv("TMPDIR");
        qputenv("TMPDIR", mScratch.path().toLocal8Bit());
    }
    void TearDown() override { qputenv("TMPDIR", mFormerScratch); }

    /// Starts one and waits until it has a take that is not saved; the file of its first channel.
    std::filesystem::path startWithTake(QProcess& process) const
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QString::fromLatin1(kScratchVariable), mScratch.path());
        process.setProcessEnvironment(environment);
        process.start(QCoreApplication::applicationFilePath(),
                      {QStringLiteral("--gtest_also_run_disabled_tests"),
                       QStringLiteral("--gtest_filter=EditorProcess.DISABLED_HasATakeAndWaits")});
        QByteArray output;
        const bool hasSaid = waitUntil([&] {
            output += process.readAllStandardOutput();
            return output.contains("take: ") && output.mid(output.indexOf("take: ")).contains('\n');
        });
        EXPECT_TRUE(hasSaid) << output.toStdString();
        const QByteArray line = output.mid(output.indexOf("take: ") + 6);
        return line.left(line.indexOf('\n')).toStdString();
    }

    static RecoveryWindow* recovery()
    {
        for (QWidget* const widget : QApplication::topLevelWidgets())
            if (auto* const found = qobject_cast<RecoveryWindow*>(widget))
                return found;
        return nullptr;
    }

    LogCapture log;

private:
    QTemporaryDir mScratch;
    QByteArray mFormerScratch;
};

/// Not a test: what the other processes do.
TEST(EditorProcess, DISABLED_HasATakeAndWaits)
{
    if (!qEnvironmentVariableIsSet(kScratchVariable))
        GTEST_SKIP() << "started by hand";
    qputenv("TMPDIR", qgetenv(kScratchVariable));
    const auto hardware = std::make_shared<SimulatedHardware>();
    AudioHardware::setCurrent(hardware);
    Application editor;
    editor.newDocument();
    SoundController& controller = editor.windows().front()->controller();
    controller.recording().record();
    for (int i = 0; i < 40; ++i) {
        hardware->input()->push(std::vector<float>(2 * 1024, 0.5F));
        QTest::qWait(2);
    }
    DocumentRecording& recording = controller.document().recording();
    const std::filesystem::path file = recording.audioRecordingClips().front()->tempFile()->path();
    controller.transport().stopAudio();
    ASSERT_TRUE(waitUntil([&] { return !controller.recording().isRecording(); }));
    std::printf("take: %s\n", file.c_str());
    std::fflush(stdout);
    QApplication::exec(); // until it is killed
}

TEST_F(SeveralEditorsTest, AStartOffersWhatAKilledOneLeftAndNothingOfTheOneThatLives)
{
    QProcess living;
    QProcess killed;
    const std::filesystem::path kept = startWithTake(living);
    const std::filesystem::path left = startWithTake(killed);
    ASSERT_NE(kept, left);
    killed.kill();
    ASSERT_TRUE(killed.waitForFinished());
    editor.newDocument();
    editor.offerRecovery();
    ASSERT_TRUE(waitUntil([] { return recovery() != nullptr; }));
    ASSERT_EQ(recovery()->list().topLevelItemCount(), 1);
    ASSERT_NE(recovery()->list().currentSound(), nullptr);
    EXPECT_EQ(recovery()->list().currentSound()->files.front(), left);
    recovery()->openAll();
    ASSERT_EQ(editor.windows().size(), 1U);
    EXPECT_GE(editor.windows().front()->document().numberOfFrames(), 40 * 1024);
    // The end of this one discards its own and takes nothing from the other.
    editor.windows().front()->document().discardLeftOvers();
    editor.windows().front()->closeWithoutAsking();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    ScratchFolder::removeLeftOversUpTo(INT64_MAX);
    EXPECT_FALSE(std::filesystem::exists(left));
    EXPECT_TRUE(std::filesystem::exists(kept));
    EXPECT_GE(std::filesystem::file_size(kept), 40U * 1024 * sizeof(float));
    living.kill();
    ASSERT_TRUE(living.waitForFinished());
    EXPECT_FALSE(ScratchFolder::leftOvers().empty()) << "now it is left over, too";
}

} // namespace velloria::test
