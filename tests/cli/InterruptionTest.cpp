#include "cli/CliKit.h"

namespace velloria
{

namespace
{

/// What happens when a job cannot be ended as it was meant.
class InterruptionTest : public test::CliTest
{
};

} // namespace

TEST_F(InterruptionTest, ADiskThatIsFullLeavesTheTargetAsItWas)
{
    makeNoise("in.wav", 100'000);
    makeFile("out.wav", "precious");
    const char* const jobs[] = {"run in.wav 'amplify Gain=-6' -o out.wav", "convert in.wav out.wav",
                                "decode in.wav -o out.wav"};
    for (const char* job : jobs) {
        const test::Outcome outcome = shell(std::string("ulimit -f 100; exec $CLI ") + job);
        EXPECT_EQ(outcome.status, 1) << job;
        EXPECT_EQ(outcome.errorLines().size(), 1) << outcome.errors.toStdString();
        EXPECT_EQ(bytesOf("out.wav"), "precious") << job;
    }
    EXPECT_EQ(fileNames(), (std::vector<std::string>{"in.wav", "out.wav"}));
    EXPECT_EQ(scratchFiles(), std::vector<std::filesystem::path>());
    EXPECT_EQ(shell("$CLI decode in.wav > /dev/full").status, 1);
}

TEST_F(InterruptionTest, AClosedPipeIsAFailureAndNotACrash)
{
    makeNoise("in.wav", 500'000);
    const test::Outcome outcome =
        shell("$CLI decode in.wav | head -c 100 > /dev/null; exit ${PIPESTATUS[0]}");
    EXPECT_EQ(outcome.status, 1);
    ASSERT_EQ(outcome.errorLines().size(), 1);
    EXPECT_TRUE(outcome.errors.contains("Broken pipe"));
    EXPECT_EQ(shell("$CLI info in.wav >&-").status, 1);
    // With nothing but its input open, no file may take the place of standard output or standard error.
    EXPECT_EQ(shell("$CLI run in.wav reverse -o out.wav >&- 2>&- <&-").status, 0);
    EXPECT_EQ(bytesOf("out.wav").size(), bytesOf("in.wav").size());
}

TEST_F(InterruptionTest, AFileThatIsCutWhileItIsReadIsAFailure)
{
    for (const char* change :
         {"truncate -s 30000 in.wav", "cat garbage | dd conv=notrunc of=in.wav seek=3000"}) {
        makeNoise("in.wav", 500'000);
        makeFile("garbage", QByteArray(1000, 'x'));
        // The pipe holds the program up after its first blocks.
        const test::Outcome outcome = shell(std::string("sleep 0.02; $CLI decode in.wav | (head -c 1000; ") +
                                            change + " 2>&1; cat) > /dev/null; exit ${PIPESTATUS[0]}");
        EXPECT_EQ(outcome.status, 1) << change;
        ASSERT_EQ(outcome.errorLines().size(), 1) << outcome.errors.toStdString();
        EXPECT_TRUE(outcome.errors.contains("in.wav")) << outcome.errors.toStdString();
    }
}

TEST_F(InterruptionTest, AnInterruptCancelsAndCleansUp)
{
    makeNoise("in.wav", 10'000'000);
    int numCancelled = 0;
    for (const char* signal : {"INT", "TERM"}) {
        // However far it has come: nothing is half done.
        for (const char* delay : {"0.02", "0.1", "0.3", "0.7"}) {
            makeFile("out.wav", "precious");
            // Without --foreground the signal comes twice, and the second one ends any program at once.
            const test::Outcome outcome =
                shell(std::string("timeout --foreground --preserve-status -s ") + signal + ' ' + delay +
                      " $CLI run in.wav reverse invert reverse -o out.wav");
            SCOPED_TRACE(outcome.errors.toStdString());
            if (outcome.status == 0)
                continue;
            // A busy machine may not even have started the program: then the signal itself ends it.
            if (outcome.status > 128) {
                EXPECT_EQ(bytesOf("out.wav"), "precious");
                continue;
            }
            ++numCancelled;
            EXPECT_EQ(outcome.status, 1);
            EXPECT_TRUE(outcome.errors.contains("cancelled"));
            EXPECT_EQ(outcome.errorLines().size(), 1);
            EXPECT_EQ(bytesOf("out.wav"), "precious");
        }
    }
    EXPECT_GT(numCancelled, 0);
    EXPECT_EQ(fileNames(), (std::vector<std::string>{"in.wav", "out.wav"}));
    EXPECT_EQ(scratchFiles(), std::vector<std::filesystem::path>());
}

TEST_F(InterruptionTest, AKilledSaveLeavesTheTargetAsItWas)
{
    makeNoise("in.wav", 10'000'000);
    makeFile("out.wav", "precious");
    for (const char* delay : {"0.03", "0.06", "0.12"}) {
        shell(std::string("$CLI convert in.wav out.wav --option 24 & sleep ") + delay +
              "; kill -9 $!; wait $!");
        const QByteArray bytes = bytesOf("out.wav");
        EXPECT_TRUE(bytes == "precious" || bytes.size() == 44 + 60'000'000) << bytes.size();
    }
    // What one that was killed may leave behind, the next save to this folder takes away.
    cli({"convert", "in.wav", "out.wav"});
    EXPECT_EQ(fileNames(), (std::vector<std::string>{"in.wav", "out.wav"}));
}

TEST_F(InterruptionTest, AFolderThatCannotBeWrittenIsSaid)
{
    makeNoise("in.wav", 1000);
    expectFailure({"convert", "in.wav", "/proc/out.wav"}, 1, "/proc");
    expectFailure({"convert", "in.wav", "missing/out.wav"}, 1, "missing");
    expectFailure({"decode", "in.wav", "-o", "."}, 1, ".");
    expectFailure({"waveform", "in.wav", "-o", "/proc/x.png"}, 1, "/proc");
}

// AddressSanitizer's own memory is beyond any limit that would prove something.
#ifndef __SANITIZE_ADDRESS__
TEST_F(InterruptionTest, DecodingTakesLittleMemoryForALongFile)
{
    makeNoise("in.wav", 20'000'000);
    const test::Outcome outcome =
        shell("ulimit -v 300000; $CLI decode in.wav | wc -c; $CLI decode in.wav -o out.raw");
    EXPECT_EQ(outcome.output.trimmed(), "160000000");
    EXPECT_EQ(outcome.errors.toStdString(), "");
    EXPECT_EQ(std::filesystem::file_size(path("out.raw")), 160'000'000U);
}
#endif

} // namespace velloria
