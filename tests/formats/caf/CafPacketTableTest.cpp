#include "formats/caf/VLAFCoreAudioFile.h"
#include "formats/kit/CompressedFileKit.h"
#include "formats/kit/LedgerKit.h"

#include <QtEndian>

namespace velloria::test
{

class CafPacketTableTest : public CompressedFileTest
{
protected:
    QString refusalOf(const std::string& name, const QByteArray& bytes) const
    {
        MaybeError error;
        writeBytes(name, bytes);
        const auto file = AudioFileRegistry::audioFileWithPath(path(name), &error);
        EXPECT_FALSE(file) << name;
        return error ? error->message : QString();
    }
};

TEST_F(CafPacketTableTest, PacketsThatCannotBeToldApartAreRefusedForThatReason)
{
    writeSource("source.wav", testSound(20000, 2));
    ffmpeg("-i source.wav -c:a alac whole.caf");
    const QByteArray whole = readBytes("whole.caf");
    const qsizetype table = whole.indexOf("pakt");
    ASSERT_GT(table, 0);
    const auto why = [](const char* encoding) {
        return QStringLiteral("“in.caf” cannot be read: its table of packets is missing or damaged, without "
                              "which its sound (%1) cannot be taken apart.")
            .arg(encoding);
    };
    const auto numFrames = [this](const QByteArray& bytes) {
        writeBytes("in.caf", bytes);
        return decoded(*open("in.caf")).numFrames();
    };
    EXPECT_EQ(numFrames(whole), 20000);
    const QString encoding = open("whole.caf")->encodingDescription();
    EXPECT_EQ(refusalOf("in.caf", QByteArray(whole).replace(table, 4, "free")), why(encoding.toUtf8()));
    QByteArray longer = whole;
    qToBigEndian<quint64>(qFromBigEndian<quint64>(whole.constData() + table + 12) + 1,
                          longer.data() + table + 12);
    EXPECT_EQ(refusalOf("in.caf", longer), why(encoding.toUtf8()));
    // Without a sound there is nothing to take apart.
    const qsizetype data = whole.indexOf("data");
    const QByteArray empty = whole.left(data + 4) + bytes("\0\0\0\0\0\0\0\4\0\0\0\0");
    EXPECT_EQ(numFrames(empty), 0);
}

TEST_F(CafPacketTableTest, WhatAnotherProgramMeasuredIsTold)
{
    writeSource("source.wav", testSound(2000, 1));
    ffmpeg("-i source.wav -c:a pcm_s16be plain.caf");
    const QByteArray chunk = bytes("\0\0\0\0\0\0\0\1x");
    writeBytes("in.caf", readBytes("plain.caf") + "peak" + chunk + "ovvw" + chunk);
    EXPECT_EQ(chunksOutside(*open("in.caf")),
              QStringList({"peak levels (peak)", "overview of the sound (ovvw)"}));
}

} // namespace velloria::test
