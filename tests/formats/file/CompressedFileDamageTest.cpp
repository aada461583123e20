#include "formats/decoding/FileDamage.h"
#include "formats/kit/CompressedFileKit.h"

#include <QtEndian>

namespace velloria::test
{

/// Files of packets that were cut off, or overwritten in the middle, by another program.
class CompressedFileDamageTest : public CompressedFileTest
{
protected:
    struct Case {
        const char* name;
        const char* options;
        /// Overwritten in the middle; 0 where packets are then skipped, or decode to something else.
        int numDamagedBytes;
        int64_t framesPerPacket;
    };

    static std::vector<Case> cases()
    {
        return {
            {"tagged.mp3", "-c:a libmp3lame -b:a 128k", 0, 1152},
            {"plain.mp3", "-c:a libmp3lame -b:a 128k -write_xing 0", 0, 1152},
            {"a.aac", "-c:a aac", 1500, 1024},
            {"aac.m4a", "-c:a aac -movflags faststart", 1500, 1024},
            {"alac.m4a", "-c:a alac -movflags faststart", 40000, 4096},
            {"fragments.m4a", "-c:a aac -movflags frag_keyframe+empty_moov -frag_duration 300000", false,
             1024},
            {"ima.caf", "-c:a adpcm_ima_qt", 0, 64},
            {"ima.wav", "-c:a adpcm_ima_wav", 0, 4096},
        };
    }

    struct Opened {
        Sound sound;
        QStringList warnings;
        QStringList notKept;
    };
    Opened opened(const std::string& name) const
    {
        const auto file = open(name);
        if (!file)
            return {};
        Sound sound = decoded(*file);
        EXPECT_EQ(sound.numFrames(), file->numberOfFrames());
        return {sound, file->warnings(), file->chunksNotKept()};
    }

    static std::string prefixed(const char* prefix, const char* name) { return std::string(prefix) + name; }
};

TEST_F(CompressedFileDamageTest, WhatAFileThatIsCutShortStillHoldsIsOpenedWithAWarning)
{
    writeSource("source.wav", testSound(100000, 2));
    for (const Case& each : cases()) {
        SCOPED_TRACE(each.name);
        ffmpeg(QStringLiteral("-i source.wav %1 %2").arg(each.options, each.name));
        const Opened whole = opened(each.name);
        EXPECT_EQ(whole.warnings, QStringList());
        const QByteArray bytes = readBytes(each.name);
        writeBytes(prefixed("cut-", each.name), bytes.left(bytes.size() * 6 / 10));
        const Opened cut = opened(prefixed("cut-", each.name));
        EXPECT_EQ(cut.warnings, QStringList(FileDamage::soundCutShort(
                                    QString::fromStdString(prefixed("cut-", each.name)))));
        const int64_t numFrames = cut.sound.numFrames() - 2 * each.framesPerPacket;
        ASSERT_GT(numFrames, 30000);
        ASSERT_LT(numFrames, 80000);
        // All but what the last packets share is as it was.
        for (size_t i = 0; i < static_cast<size_t>(numFrames) * 2; ++i)
            ASSERT_EQ(cut.sound.samples[i], whole.sound.samples[i]) << i;
    }
}

TEST_F(CompressedFileDamageTest, DamageInTheMiddleIsToldAndWhatFollowsKeepsItsPlace)
{
    writeSource("source.wav", testSound(100000, 2));
    for (const Case& each : cases()) {
        if (each.numDamagedBytes == 0)
            continue;
        SCOPED_TRACE(each.name);
        ffmpeg(QStringLiteral("-i source.wav %1 %2").arg(each.options, each.name));
        const Opened whole = opened(each.name);
        QByteArray bytes = readBytes(each.name);
        const int count = each.numDamagedBytes;
        bytes.replace(bytes.size() / 2, count, QByteArray(count, '\xFF'));
        writeBytes(prefixed("bad-", each.name), bytes);
        const Opened damaged = opened(prefixed("bad-", each.name));
        EXPECT_EQ(damaged.warnings,
                  QStringList(FileDamage::soundDamaged(QString::fromStdString(prefixed("bad-", each.name)))));
        EXPECT_TRUE(damaged.notKept.contains("damaged sound"));
        EXPECT_FALSE(whole.notKept.contains("damaged sound"));
        if (damaged.sound.numFrames() != whole.sound.numFrames()) {
            EXPECT_STREQ(each.name, "a.aac") << "where nothing tells how many packets there were";
            continue;
        }
        const std::vector<float> expected = whole.sound.channel(0);
        const std::vector<float> found = damaged.sound.channel(0);
        for (size_t i = 0; i < 20000; ++i)
            ASSERT_EQ(found[i], expected[i]) << i;
        // The decoder of AAC invents noise where the encoder left it out, another one behind the damage.
        for (size_t i = found.size() - 20000; i < found.size(); ++i)
            ASSERT_NEAR(found[i], expected[i], 0.01) << i;
    }
}

TEST_F(CompressedFileDamageTest, PacketsThatFailInAnyContainerAreTold)
{
    writeSource("source.wav", testSound(100000, 2));
    const struct {
        const char* name;
        const char* options;
        int numDamagedBytes;
        /// Where a packet that fails is silent, for its length is known.
        bool keepsLength;
    } files[] = {
        {"mp3.caf", "-c:a libmp3lame -b:a 128k", 1000, true},
        {"mp3.mov", "-c:a libmp3lame -b:a 128k", 1000, false},
        {"flac.wav", "-c:a flac", 1, false},
        {"flac.mp4", "-c:a flac -strict -2", 1, true},
    };
    for (const auto& each : files) {
        SCOPED_TRACE(each.name);
        ffmpeg(QStringLiteral("-i source.wav %1 %2").arg(each.options, each.name));
        const Opened whole = opened(each.name);
        EXPECT_FALSE(whole.notKept.contains("damaged sound"));
        const QString warning = FileDamage::soundDamaged(QString::fromStdString(prefixed("bad-", each.name)));
        QByteArray bytes = readBytes(each.name);
        bytes.replace(bytes.size() / 2, each.numDamagedBytes, QByteArray(each.numDamagedBytes, '\xFF'));
        writeBytes(prefixed("bad-", each.name), bytes);
        const Opened damaged = opened(prefixed("bad-", each.name));
        EXPECT_TRUE(damaged.warnings.contains(warning));
        EXPECT_TRUE(damaged.notKept.contains("damaged sound"));
        if (each.keepsLength) {
            EXPECT_EQ(damaged.sound.numFrames(), whole.sound.numFrames());
        }
    }
}

TEST_F(CompressedFileDamageTest, AContainerThatTellsMoreSoundThanItsPacketsHoldIsDamaged)
{
    writeSource("source.wav", testSound(40000, 2));
    ffmpeg("-i source.wav -c:a adpcm_ima_wav told.wav");
    const QByteArray bytes = readBytes("told.wav");
    const qsizetype fact = bytes.indexOf("fact") + 8;
    // The encoder leaves out what does not fill a block.
    const auto numFrames = qFromLittleEndian<uint32_t>(bytes.constData() + fact);
    const struct {
        const char* name;
        uint32_t numFramesTold;
        bool isDamaged;
    } files[] = {
        {"exact.wav", numFrames, false},
        // Less than a block.
        {"with-delay.wav", numFrames + 1000, false},
        // Of both channels.
        {"samples.wav", 2 * numFrames, false},
        {"more.wav", numFrames + 20000, true},
        {"far-more.wav", 3 * numFrames, true},
    };
    for (const auto& each : files) {
        SCOPED_TRACE(each.name);
        QByteArray changed = bytes;
        qToLittleEndian(each.numFramesTold, changed.data() + fact);
        writeBytes(each.name, changed);
        EXPECT_EQ(opened(each.name).notKept.contains("damaged sound"), each.isDamaged);
    }
}

} // namespace velloria::test
