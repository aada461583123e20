#include "cli/CliKit.h"
#include "engine/EventLoop.h"
#include "engine/PulseServer.h"
#include "platform/hardware/PulseHardware.h"

#include <QProcess>

using namespace velloria;

namespace
{

/// So long the recording is; scripts/soak sets minutes.
int soakSeconds()
{
    const int asked = qEnvironmentVariableIntValue("VELLORIA_SOAK_SECONDS");
    return asked > 0 ? asked : 20;
}

/// Keeps a core busy with an effect over a long file for as long as it lives.
class BusyCore
{
public:
    BusyCore(const std::string& program, const std::filesystem::path& folder)
    {
        mProcess.setWorkingDirectory(QString::fromStdString(folder.native()));
        mProcess.start(
            QStringLiteral("/bin/sh"),
            {QStringLiteral("-c"),
             QStringLiteral("trap 'kill $child; exit' TERM; while :; do %1 run noise.wav 'normalize Peak=-1' "
                            "'resample Rate=48000' & child=$!; wait $child; done")
                 .arg(QString::fromStdString(program))});
    }
    ~BusyCore()
    {
        mProcess.terminate();
        mProcess.waitForFinished();
    }

private:
    QProcess mProcess;
};

class RecordingSoakTest : public test::CliTest
{
};

} // namespace

TEST_F(RecordingSoakTest, LosesNoBlockWhileAllCoresAreBusy)
{
    const int seconds = soakSeconds();
    const kit::PulseServer server({{"two48", 48000, 2}});
    makeNoise("noise.wav", 10 * 44100);
    const BusyCore first(program(), path(""));
    const BusyCore second(program(), path(""));
    QProcess recorder;
    recorder.setWorkingDirectory(QString::fromStdString(path("").native()));
    recorder.start(QString::fromStdString(program()),
                   {QStringLiteral("record"), QStringLiteral("take.caf"), QStringLiteral("--seconds"),
                    QString::number(seconds)});
    ASSERT_TRUE(kit::waitUntil([&] { return recorder.state() == QProcess::NotRunning; },
                               std::chrono::seconds(60 + 2 * seconds)));
    EXPECT_EQ(recorder.exitCode(), 0);
    EXPECT_TRUE(recorder.readAllStandardError().isEmpty()) << "it tells of lost blocks";
    EXPECT_EQ(infoOf("take.caf")[QStringLiteral("frames")].toInteger(), int64_t{48000} * seconds);
}
