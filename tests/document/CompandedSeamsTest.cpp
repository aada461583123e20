#include "document/SeamsKit.h"
#include "formats/kit/FileTestKit.h"

namespace velloria::kit
{

namespace
{

using testing::ElementsAre;

class CompandedSeamsTest : public SeamsTest
{
};

TEST_F(CompandedSeamsTest, BytesThatNoEditTouchedAreCopied)
{
    constexpr int64_t frames = 20'000;
    // All codes, both zeros of mu-law among them.
    const QByteArray bytes = test::noiseBytes(2 * frames, 3);
    writeBytes("sound.raw", bytes);
    for (const QString& law : {QStringLiteral("alaw"), QStringLiteral("mulaw")}) {
        SCOPED_TRACE(law.toStdString());
        ffmpeg(QStringLiteral("-f %1 -ar 44100 -ac 2 -i sound.raw -c copy -f aiff a.aifc").arg(law));
        for (unsigned round = 0; round < 12; ++round) {
            SCOPED_TRACE(round);
            EditedSound sound(open("a.aifc"), 16, round);
            for (unsigned i = 0; i <= round; ++i)
                sound.editAtRandom(500);
            save(sound.document(), copyTo(sound.document(), "b.aifc"));
            const QByteArray saved =
                run("ffmpeg", {"-v", "error", "-i", "b.aifc", "-c", "copy", "-f", law, "-"});
            ASSERT_EQ(saved.size(), 2 * sound.length());
            for (int64_t frame = 0; frame < sound.length(); ++frame) {
                const int64_t origin = sound.origins()[static_cast<size_t>(frame)];
                if (origin >= 0) {
                    ASSERT_EQ(saved.sliced(2 * frame, 2), bytes.sliced(2 * origin, 2)) << frame;
                }
            }
        }
    }
    EditedSound sound(open("a.aifc"), 16, 1);
    sound.cut(100, 200);
    EXPECT_THAT(losses(sound.document(), copyTo(sound.document(), "b.aifc")), ElementsAre());
    sound.compute(1000, 4410);
    EXPECT_THAT(losses(sound.document(), copyTo(sound.document(), "b.aifc")),
                ElementsAre("0.10 s are encoded once more."));
}

} // namespace

} // namespace velloria::kit
