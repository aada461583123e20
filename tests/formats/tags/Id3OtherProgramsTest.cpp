#include "formats/tags/AudioMetadata.h"
#include "formats/tags/ID3Data.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace velloria
{
namespace
{

/// Tags that ffmpeg wrote, read by us, and ours read by ffprobe.
class Id3OtherPrograms : public testing::Test
{
protected:
    QString path(const QString& name) const { return mFolder.filePath(name); }

    static QByteArray run(const QString& program, const QStringList& arguments)
    {
        QProcess process;
        process.start(program, QStringList{"-v", "error"} + arguments);
        EXPECT_TRUE(process.waitForFinished() && process.exitCode() == 0)
            << process.readAllStandardError().toStdString();
        return process.readAllStandardOutput();
    }

    /// Makes an MP3 file of half a second of tone.
    QString makeMp3(const QString& name, const QStringList& arguments) const
    {
        run("ffmpeg",
            QStringList{"-f", "lavfi", "-i", "sine=d=0.5"} + arguments + QStringList{"-y", path(name)});
        return path(name);
    }

private:
    QTemporaryDir mFolder;
};

TEST_F(Id3OtherPrograms, ReadWhatWeWrite)
{
    QImage cover(8, 8, QImage::Format_RGB32);
    cover.fill(Qt::blue);
    ASSERT_TRUE(cover.save(path("cover.png")));
    QFile coverFile(path("cover.png"));
    ASSERT_TRUE(coverFile.open(QIODevice::ReadOnly));
    auto picture = AttachedPicture::withPictureData(coverFile.readAll());
    ASSERT_TRUE(picture);
    picture->setPictureType(3);
    picture->setPictureDescription("Vorn Ж1");

    AudioMetadata metadata;
    metadata.setTitle("Käse");
    metadata.setArtist("日本 A");
    metadata.setTrackNumber(3);
    metadata.setTotalNumberOfTracks(12);
    metadata.setGenre("Rock");
    metadata.setComments("a comment");
    metadata.setArtwork({*picture});

    QFile plain(makeMp3("plain.mp3", {"-map_metadata", "-1", "-id3v2_version", "0", "-write_id3v1", "0"}));
    QFile tagged(path("tagged.mp3"));
    ASSERT_TRUE(plain.open(QIODevice::ReadOnly) && tagged.open(QIODevice::WriteOnly));
    tagged.write(metadata.id3Data() + plain.readAll());
    tagged.close();

    const QJsonObject told = QJsonDocument::fromJson(run("ffprobe", {"-show_format", "-show_streams", "-of",
                                                                     "json", tagged.fileName()}))
                                 .object();
    const QJsonObject tags = told["format"].toObject()["tags"].toObject();
    EXPECT_EQ(tags["title"].toString(), "Käse");
    EXPECT_EQ(tags["artist"].toString(), "日本 A");
    EXPECT_EQ(tags["track"].toString(), "3/12");
    EXPECT_EQ(tags["genre"].toString(), "Rock");
    EXPECT_EQ(tags["comment"].toString(), "a comment");
    const QJsonArray streams = told["streams"].toArray();
    ASSERT_EQ(streams.size(), 2);
    EXPECT_EQ(streams[0].toObject()["codec_name"].toString(), "mp3");
    EXPECT_EQ(streams[1].toObject()["codec_name"].toString(), "png");
    EXPECT_EQ(streams[1].toObject()["width"].toInt(), 8);
    EXPECT_EQ(streams[1].toObject()["tags"].toObject()["title"].toString(), "Vorn Ж1");
    EXPECT_EQ(streams[1].toObject()["tags"].toObject()["comment"].toString(), "Cover (front)");
}

TEST_F(Id3OtherPrograms, WriteWhatWeRead)
{
    run("ffmpeg", {"-f", "lavfi", "-i", "color=red:s=8x8", "-frames:v", "1", "-y", path("cover.png")});
    for (const QString& version : {QString("3"), QString("4")}) {
        const QString file = makeMp3("tagged.mp3", {"-i",
                                                    path("cover.png"),
                                                    "-map",
                                                    "0",
                                                    "-map",
                                                    "1",
                                                    "-c:v",
                                                    "copy",
                                                    "-id3v2_version",
                                                    version,
                                                    "-metadata",
                                                    "title=Käse",
                                                    "-metadata",
                                                    "artist=日本",
                                                    "-metadata",
                                                    "album_artist=AA",
                                                    "-metadata",
                                                    "track=3/12",
                                                    "-metadata",
                                                    "lyrics=la",
                                                    "-metadata:s:v",
                                                    "title=Ж1",
                                                    "-metadata:s:v",
                                                    "comment=Cover (front)"});
        const auto tag = ID3Data::id3DataWithFile(file.toStdString());
        ASSERT_TRUE(tag) << version.toStdString();
        AudioMetadata metadata;
        metadata.setValuesWithDictionary(tag->dictionary());
        EXPECT_EQ(metadata.title(), "Käse");
        EXPECT_EQ(metadata.artist(), "日本");
        EXPECT_EQ(metadata.albumArtist(), "AA");
        EXPECT_EQ(metadata.trackNumber(), 3);
        EXPECT_EQ(metadata.totalNumberOfTracks(), 12);
        ASSERT_EQ(metadata.artwork().size(), 1);
        EXPECT_EQ(metadata.artwork()[0].pictureType(), 3U);
        EXPECT_EQ(metadata.artwork()[0].pictureDescription(), "Ж1");
        EXPECT_EQ(metadata.artwork()[0].image().size(), QSize(8, 8));
    }
}

} // namespace
} // namespace velloria
