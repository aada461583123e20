#include "cli/CliKit.h"

namespace velloria::test
{

/// Films that ffmpeg made, as somebody edits their sound from the command line.
class FilmCommandTest : public CliTest
{
protected:
    void SetUp() override
    {
        const Outcome made = shell(
            "F='ffmpeg -v error -f lavfi -i testsrc=d=2:s=96x64:r=25 -f lavfi -i sine=d=2:r=48000'\n"
            "$F -c:v mpeg4 -c:a aac film.mp4 && $F -c:v mjpeg -c:a pcm_s16le film.mov &&\n"
            "$F -c:v mpeg4 -c:a libmp3lame mp3.mp4 && $F -c:v mpeg4 -c:a ac3 ac3.mp4 &&\n"
            "ffmpeg -v error -i film.mp4 -c copy film.3gp && cp film.mp4 film.m4v && cp film.mp4 film.m4b");
        ASSERT_EQ(made.status, 0) << made.errors.toStdString();
    }

    /// Everything but the sound, as ffmpeg copies it.
    QByteArray picturesOf(const std::string& name) const
    {
        return shell("ffmpeg -v error -i " + name + " -map 0:v -c copy -f framemd5 -").output;
    }
};

TEST_F(FilmCommandTest, AnOutputWithTheFilmsExtensionKeepsItsPictures)
{
    const struct {
        std::string in;
        std::string out;
        bool becomesAac = false;
    } cases[] = {{"film.mp4", "other.mp4"},      {"film.mp4", "film.mp4"},
                 {"film.m4v", "film.m4v"},       {"film.m4b", "other.m4b"},
                 {"film.3gp", "film.3gp"},       {"film.mov", "other.mov", true},
                 {"film.mov", "film.mov", true}, {"mp3.mp4", "mp3.mp4", true},
                 {"film.mp4", "moved.mov"},      {"film.m4v", "moved.mp4"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.in + " to " + c.out);
        const QByteArray pictures = picturesOf(c.in);
        const std::vector<float> before = decoded(c.in);
        const Outcome outcome = cli({"run", c.in, "-o", c.out, "amplify Gain=-12"});
        EXPECT_EQ(outcome.status, 0) << outcome.errors.toStdString();
        EXPECT_FALSE(outcome.errors.contains("left out")) << outcome.errors.toStdString();
        EXPECT_EQ(outcome.errors.contains("The encoding changes from"), c.becomesAac);
        EXPECT_GT(pictures.count('\n'), 50);
        EXPECT_EQ(picturesOf(c.out), pictures);
        EXPECT_EQ(decoded(c.out).size(), before.size());
    }
}

TEST_F(FilmCommandTest, AFilmStaysAsItIsWhereItCannotBeSaved)
{
    const QByteArray before = bytesOf("film.mp4");
    const QByteArray files = shell("ls -A").output;
    expectFailure({"run", "film.mp4", "-o", "film.mp4", "select Start=0.5 End=1", "delete"}, 1,
                  "use Save As");
    const Outcome full = shell("trap '' XFSZ; ulimit -f 20; $CLI run film.mp4 -o film.mp4 invert");
    EXPECT_EQ(full.status, 1) << full.errors.toStdString();
    EXPECT_EQ(bytesOf("film.mp4"), before);
    EXPECT_EQ(shell("ls -A").output, files) << "nothing is left beside it";
    // A shorter sound under another name says what it lacks.
    const Outcome shorter = cli({"run", "film.mp4", "-o", "short.mp4", "select Start=0.5 End=1", "delete"});
    EXPECT_EQ(shorter.status, 0);
    EXPECT_TRUE(shorter.errors.contains("video track (mp4v, 96 × 64)"));
    expectFailure({"info", "ac3.mp4"}, 1, "encoded in a way that is not supported");
}

} // namespace velloria::test
