#include "CliKit.h"

namespace velloria::test
{

class Mp3WithoutLameTest : public CliTest
{
};

/// The program finds a file of the library's name that is no library.
TEST_F(Mp3WithoutLameTest, SavingSaysInOneLineThatTheLibraryIsMissing)
{
    makeFile("in.wav", wave({}, QByteArray(40000, '\0')));
    makeFile("out.mp3", "what was there");
    std::filesystem::create_directory(path("lib"));
    makeFile("lib/libmp3lame.so.0", "");
    const Outcome without = shell("LD_LIBRARY_PATH=lib $CLI convert in.wav out.mp3");
    EXPECT_EQ(without.status, 1);
    EXPECT_EQ(without.errorLines().size(), 1);
    EXPECT_TRUE(without.errors.contains("LAME")) << without.errors.toStdString();
    EXPECT_EQ(bytesOf("out.mp3"), "what was there");
    const Outcome with = shell("$CLI convert in.wav out.mp3");
    EXPECT_EQ(with.status, 0) << with.errors.toStdString();
}

} // namespace velloria::test
