#include "formats/mpeg/Mp3File.h"

#include "formats/kit/CompressedFileKit.h"

namespace velloria::test
{

class Mp3FileTest : public CompressedFileTest
{
protected:
    /// An MP3 file of `numFrames` frames by the lame program.
    void makeMp3(const std::string& name, const Sound& sound, const QString& options = "-b 128") const
    {
        writeSource("source64.wav", sound);
        ffmpeg("-i source64.wav -c:a pcm_s16le source16.wav");
        run("lame", QStringList{"--quiet"} + options.split(' ') +
                        QStringList{"source16.wav", QString::fromStdString(name)});
    }
};

TEST_F(Mp3FileTest, GivesEveryFrameInItsPlaceWhereTheFileTellsTheDelay)
{
    const struct {
        double sampleRate;
        size_t numChannels;
        const char* options;
        int64_t numFrames;
    } cases[] = {
        {44100.0, 2, "-b 160 -m j", 70001}, {48000.0, 2, "-b 192 -m s", 48000}, {32000.0, 1, "-b 64", 30011},
        {22050.0, 2, "-V 4", 40000},        {11025.0, 1, "-b 32", 12345},       {44100.0, 2, "--abr 150", 1},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.options);
        const Sound source = testSound(each.numFrames, each.numChannels, each.sampleRate);
        makeMp3("a.mp3", source,
                QString::fromLatin1(each.options) + " --resample " +
                    QString::number(each.sampleRate / 1000.0));
        const auto file = open("a.mp3");
        ASSERT_TRUE(file);
        EXPECT_TRUE(file->requiresConversion());
        EXPECT_EQ(file->numberOfFrames(), each.numFrames);
        const Sound got = decoded(*file);
        EXPECT_EQ(file->numberOfFrames(), each.numFrames);
        EXPECT_EQ(file->sampleRate(), each.sampleRate);
        EXPECT_EQ(fourCharText(file->dataFormat()), QByteArray("MPG3"));
        ASSERT_EQ(got.numChannels, each.numChannels);
        ASSERT_EQ(got.numFrames(), each.numFrames);
        for (size_t c = 0; c < each.numChannels && each.numFrames > 10000; ++c) {
            EXPECT_EQ(lagOf(got.channel(c), source.channel(c)), 0);
            EXPECT_LT(differenceDB(got.channel(c), source.channel(c)), -15.0);
        }
    }
}

/// A packet of silence with the header that other encoders than LAME put into their first packet.
QByteArray fraunhoferHeaderPacket(int numPackets, int numBytes)
{
    QByteArray packet = QByteArray::fromHex("fffb9064"); // 128 kbit/s, 44100 Hz, joint stereo
    packet.append(QByteArray(32, '\0'));
    packet.append("VBRI" + bigEndian16(1) + bigEndian16(0x0C2D) + bigEndian16(75));
    packet.append(bigEndian32(static_cast<quint32>(numBytes)) +
                  bigEndian32(static_cast<quint32>(numPackets)));
    packet.append(bigEndian16(1) + bigEndian16(1) + bigEndian16(2) + bigEndian16(numPackets));
    packet.append(bigEndian16(417));
    return packet.leftJustified(417, '\0');
}

TEST_F(Mp3FileTest, CountsEveryPacketWhereTheFileTellsNothing)
{
    makeMp3("a.mp3", testSound(50000, 2), "-b 128 -t");
    const QByteArray packets = readBytes("a.mp3");
    // The encoder's delay, the sound and what fills up the last packet.
    const int64_t numPackets = (50000 + 1105 + 1151) / 1152 + 1;
    const auto id3v1 = QByteArray("TAG").leftJustified(128, 'x');
    const QByteArray ape = "APETAGEX" + QByteArray(24, '\0');
    const struct {
        const char* what;
        QByteArray bytes;
    } cases[] = {
        {"plain", packets},
        {"VBRI",
         fraunhoferHeaderPacket(static_cast<int>(numPackets), static_cast<int>(packets.size())) + packets},
        {"junk before", QByteArray(70001, 'j') + packets},
        {"zeros before", QByteArray(3000, '\0') + packets},
        {"two tags before", tag(3, QByteArray(3000, '\0')) + tag(4, QByteArray(500, '\0')) + packets},
        {"tags behind", packets + ape + id3v1},
        {"junk behind", packets + QByteArray(5000, '\0')},
    };
    const QByteArray expected = [&] {
        const auto floats = floatsFromFfmpeg("a.mp3");
        return QByteArray(reinterpret_cast<const char*>(floats.data()), std::ssize(floats) * 4);
    }();
    for (const auto& each : cases) {
        SCOPED_TRACE(each.what);
        writeBytes("b.mp3", each.bytes);
        const auto file = open("b.mp3");
        ASSERT_TRUE(file);
        EXPECT_NEAR(static_cast<double>(file->numberOfFrames()), static_cast<double>(1152 * numPackets),
                    1152.0);
        const Sound got = decoded(*file);
        EXPECT_EQ(QByteArray(reinterpret_cast<const char*>(got.samples.data()), std::ssize(got.samples) * 4),
                  expected);
    }
}

TEST_F(Mp3FileTest, OpensShortAndDamagedFilesAsFarAsTheyGo)
{
    makeMp3("a.mp3", testSound(50000, 1), "-b 64 -t");
    const QByteArray packets = readBytes("a.mp3");
    const qsizetype second = packets.indexOf(packets.first(2), 2);
    writeBytes("one.mp3", packets.first(second));
    EXPECT_EQ(decoded(*open("one.mp3")).numFrames(), 1152);
    writeBytes("cut.mp3", packets.first(packets.size() / 2));
    EXPECT_NEAR(static_cast<double>(decoded(*open("cut.mp3")).numFrames()), 25000.0, 1800.0);

    QByteArray flipped = packets;
    std::mt19937 random(3);
    for (int i = 0; i < 40; ++i)
        flipped[static_cast<qsizetype>(random() % static_cast<size_t>(flipped.size()))] ^= 1 << random() % 8;
    writeBytes("flipped.mp3", flipped);
    EXPECT_NEAR(static_cast<double>(decoded(*open("flipped.mp3")).numFrames()), 50000.0, 8 * 1152.0);
}

TEST_F(Mp3FileTest, TakesNothingElseForMpegAudio)
{
    QByteArray noise(3 << 20, '\0');
    std::mt19937 random(1);
    for (char& byte : noise)
        byte = static_cast<char>(random());
    const std::pair<std::string, QByteArray> files[] = {
        {"noise.mp3", noise},
        {"text.wav", "Just words, and some more of them, to make up a file of text."},
        {"tag.mp3", tag(3, QByteArray(3000, '\0'))},
        {"head.mp3", QByteArray::fromHex("fffb9064") + QByteArray(100, '\0')},
    };
    const LogCapture quiet;
    for (const auto& [name, bytes] : files) {
        writeBytes(name, bytes);
        MaybeError error;
        EXPECT_FALSE(AudioFileRegistry::audioFileWithPath(path(name), &error)) << name;
        EXPECT_EQ(error->message, QStringLiteral("“%1” is not a sound file that Velloria can read.")
                                      .arg(QString::fromStdString(name)));
    }
}

TEST_F(Mp3FileTest, ReadsTagsAndTheRateOfTheSoundAlone)
{
    const Sound source = testSound(44100, 2);
    makeMp3("a.mp3", source, "-b 128 --id3v2-only --tt Song --ta Someone --tg Jazz --tn 3/12");
    run("ffmpeg", {"-v", "error", "-f", "lavfi", "-i", "color=red:s=64x64", "-frames:v", "1", "cover.png"});
    for (const QString version : {"3", "4"}) {
        run("ffmpeg", {"-v", "error", "-y", "-i", "a.mp3", "-i", "cover.png", "-map", "0", "-map", "1", "-c",
                       "copy", "-id3v2_version", version, "-metadata", "artist=Ünïcødé 音楽", "b.mp3"});
        const auto file = open("b.mp3");
        ASSERT_TRUE(file);
        EXPECT_EQ(file->metadata().title(), "Song");
        EXPECT_EQ(file->metadata().artist(), "Ünïcødé 音楽");
        EXPECT_EQ(file->metadata().genre(), "Jazz");
        EXPECT_EQ(file->metadata().trackNumber(), 3);
        EXPECT_EQ(file->metadata().totalNumberOfTracks(), 12);
        ASSERT_EQ(file->metadata().artwork().size(), 1);
        EXPECT_EQ(file->metadata().artwork()[0].pictureData(), readBytes("cover.png"));
        EXPECT_NEAR(static_cast<double>(file->bitRate()), 128000.0, 12000.0);
        decoded(*file);
        EXPECT_NEAR(static_cast<double>(file->bitRate()), 128000.0, 12000.0);
    }
}

TEST_F(Mp3FileTest, CountsEverythingBehindTheTagIntoTheBitRate)
{
    makeMp3("a.mp3", testSound(22050, 2), "-b 128");
    const QByteArray sound = readBytes("a.mp3");
    const auto id3v1 = QByteArray("TAG").leftJustified(128, 'x');
    writeBytes("b.mp3", tag(3, QByteArray(3000, '\0')) + sound + id3v1);
    const auto file = open("b.mp3");
    ASSERT_TRUE(file);
    ASSERT_EQ(file->numberOfFrames(), 22050);
    // In half a second.
    EXPECT_EQ(file->bitRate(), (sound.size() + 128) * 8 * 2);
}

TEST_F(Mp3FileTest, OffersTheBitRatesOfTheFormatAndTakesTheNearest)
{
    Mp3File file(44100.0, 16, 2);
    const FileOptions options = file.fileOptions();
    EXPECT_EQ(options.label, "Bit Rate:");
    ASSERT_EQ(options.items.size(), 17U);
    EXPECT_EQ(options.items.front().title, "8 kbps");
    EXPECT_EQ(options.items.back().tag, 320000);
    EXPECT_EQ(options.selectedTag, 128000);
    const std::pair<int64_t, int64_t> cases[] = {
        {100000, 96000}, {104000, 96000}, {104001, 112000}, {1, 8000}, {1000000, 320000}};
    for (const auto& [wanted, closest] : cases)
        EXPECT_EQ(Mp3File::closestValidBitRate(wanted), closest);
    file.setNumberOfFrames(441000);
    EXPECT_EQ(file.estimatedFileSizeWithTag(192000), 192000 / 8 * 10 + 4096);
    file.validateAndCorrectParameters();
    EXPECT_EQ(file.bitRate(), 128000);
}

class Mp3SavingTest : public Mp3FileTest
{
};

TEST_F(Mp3SavingTest, KeepsLengthPlaceAndLevelAtEveryShape)
{
    const struct {
        double sampleRate;
        size_t numChannels;
        int64_t bitRate;
        int64_t numFrames;
    } cases[] = {
        {44100.0, 2, 192000, 70001}, {48000.0, 1, 96000, 60000}, {22050.0, 2, 64000, 30000},
        {8000.0, 1, 24000, 20001},   {44100.0, 2, 320000, 1},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(testing::Message() << each.sampleRate << " " << each.numFrames);
        const Sound source = testSound(each.numFrames, each.numChannels, each.sampleRate);
        Mp3File writer(each.sampleRate, 16, static_cast<uint32_t>(each.numChannels));
        writer.setBitRate(each.bitRate);
        save("a.mp3", source, writer);
        EXPECT_EQ(static_cast<uint8_t>(readBytes("a.mp3")[0]), 0xFF);
        const auto file = open("a.mp3");
        ASSERT_TRUE(file);
        const Sound got = decoded(*file);
        ASSERT_EQ(got.numFrames(), each.numFrames);
        EXPECT_EQ(got.numChannels, each.numChannels);
        for (size_t c = 0; c < each.numChannels && each.numFrames > 1; ++c) {
            EXPECT_EQ(lagOf(got.channel(c), source.channel(c)), 0);
            EXPECT_NEAR(20.0 * std::log10(rmsOf(got.channel(c)) / rmsOf(source.channel(c))), 0.0, 0.1);
        }
        if (each.numFrames > 1) {
            EXPECT_EQ(static_cast<int64_t>(floatsFromFfmpeg("a.mp3").size() / each.numChannels),
                      each.numFrames);
            EXPECT_NEAR(static_cast<double>(file->bitRate()), static_cast<double>(each.bitRate),
                        0.1 * static_cast<double>(each.bitRate));
        }
    }
}

/// Where a click stands, in seconds.
double clickOf(std::span<const float> samples, size_t numChannels, double sampleRate)
{
    size_t loudest = 0;
    for (size_t i = 0; i < samples.size(); ++i) {
        if (std::abs(samples[i]) > std::abs(samples[loudest]))
            loudest = i;
    }
    const size_t frame = loudest / numChannels;
    return static_cast<double>(frame) / sampleRate;
}

TEST_F(Mp3SavingTest, KeepsLengthAndPlaceAtEveryBitRateAndSaysWhatTheRateBecomes)
{
    for (const double sampleRate : {8000.0, 11025.0, 22050.0, 44100.0, 48000.0, 96000.0}) {
        for (const size_t numChannels : {size_t{1}, size_t{2}}) {
            const auto numFrames = static_cast<size_t>(sampleRate / 2) + 7;
            Sound click{sampleRate, numChannels, FloatBuffer(numFrames * numChannels)};
            for (size_t c = 0; c < numChannels; ++c)
                click.samples[numFrames / 2 * numChannels + c] = 0.9F;
            QStringList names;
            QByteArray bitRates;
            for (const int64_t bitRate : Mp3File::validBitRates()) {
                SCOPED_TRACE(testing::Message() << sampleRate << " " << numChannels << " " << bitRate);
                Mp3File writer(sampleRate, 16, static_cast<uint32_t>(numChannels));
                writer.setBitRate(bitRate);
                const QString losses = writer.soundLosses().join(' ');
                names += QString::number(bitRate) + ".mp3";
                const std::string name = names.last().toStdString();
                save(name, click, writer);
                const auto file = open(name);
                ASSERT_TRUE(file);
                const Sound got = decoded(*file);
                EXPECT_EQ(losses.contains("is converted to"), got.sampleRate != sampleRate);
                EXPECT_EQ(losses.contains("mixed to mono"), got.numChannels != numChannels);
                EXPECT_EQ(losses.contains("have at most"), writer.bitRate() < bitRate);
                bitRates += QByteArray::number(qlonglong{writer.bitRate() / 1000}) + '\n';
                EXPECT_EQ(got.numFrames(),
                          std::llround(static_cast<double>(numFrames) * got.sampleRate / sampleRate));
                // The lowest bit rates smear a click over some milliseconds.
                const size_t middle = numFrames / 2;
                const double expected = static_cast<double>(middle) / sampleRate;
                EXPECT_NEAR(clickOf(got.samples, got.numChannels, got.sampleRate), expected, 0.002);
                // It only depends on whether the rate and the number of channels change.
                if (bitRate != 8000 && bitRate != 64000 && bitRate != 320000)
                    continue;
                const auto byFfmpeg = floatsFromFfmpeg(names.last());
                EXPECT_EQ(static_cast<int64_t>(byFfmpeg.size() / got.numChannels), got.numFrames());
                EXPECT_NEAR(clickOf(byFfmpeg, got.numChannels, got.sampleRate), expected, 0.002);
            }
            // All at once: starting another program for each took most of the time.
            const QString question = "ffmpeg -hide_banner -i " + names.join(" -i ") +
                                     R"( 2>&1 | sed -n "s/.*Audio: mp3.* \([0-9]*\) kb.s.*/\1/p")";
            EXPECT_EQ(run("bash", {"-c", question}), bitRates) << sampleRate << " " << numChannels;
        }
    }
}

TEST_F(Mp3SavingTest, TellsWhatNewPacketsDoNotHave)
{
    const struct {
        const char* options;
        const char* lost;
    } cases[] = {
        {"-b 128", ""},
        {"-b 128 -t", ""},
        {"-V 4", "a variable bit rate"},
        {"-b 128 -p", "checksums"},
        {"-b 128 -c", "the copyright bit"},
        {"-b 128 -o -m d", "two independent channels, the mark of a copy"},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.options);
        makeMp3("a.mp3", testSound(22050, 2), QString::fromLatin1(each.options));
        const auto file = open("a.mp3");
        ASSERT_TRUE(file);
        const QString lost = QString::fromLatin1(each.lost);
        Mp3File writer(44100.0, 16, 2);
        writer.setBitRate(128000);
        writer.setOpenedFile(file);
        EXPECT_EQ(writer.soundLosses(),
                  lost.isEmpty()
                      ? QStringList()
                      : QStringList("Encoded anew, the sound loses what its packets had: " + lost + "."));
        // What was saved has nothing more to lose.
        save("b.mp3", decoded(*file), writer);
        Mp3File next(44100.0, 16, 2);
        next.setBitRate(128000);
        next.setOpenedFile(open("b.mp3"));
        EXPECT_EQ(next.soundLosses(), QStringList());
    }
}

TEST_F(Mp3SavingTest, WritesTagsThatOthersReadAndTheSelectedTracksOnly)
{
    const Sound source = testSound(30000, 2);
    AudioMetadata metadata;
    metadata.setTitle("Titel 音楽");
    metadata.setTrackNumber(3);
    metadata.setTotalNumberOfTracks(12);
    auto picture = AttachedPicture::withPictureData(QByteArray("\x89PNG") + noiseBytes(5000, 1));
    picture->setPictureType(3);
    metadata.setArtwork({*picture});
    Mp3File writer(44100.0, 16, 2);
    writer.setMetadata(metadata);
    SoundSelection right{10000.0 / 44100.0, 20000.0 / 44100.0, 1, 1};
    save("a.mp3", source, writer, &right);
    const auto file = open("a.mp3");
    ASSERT_TRUE(file);
    EXPECT_EQ(file->metadata().title(), metadata.title());
    EXPECT_EQ(file->metadata().totalNumberOfTracks(), 12);
    ASSERT_EQ(file->metadata().artwork().size(), 1);
    EXPECT_EQ(file->metadata().artwork()[0].pictureData(), picture->pictureData());
    const Sound got = decoded(*file);
    ASSERT_EQ(got.numFrames(), 10000);
    ASSERT_EQ(got.numChannels, 1U);
    const std::vector<float> whole = source.channel(1);
    EXPECT_LT(differenceDB(got.channel(0), {whole.begin() + 10000, whole.begin() + 20000}), -15.0);
    const QByteArray seen =
        run("/usr/bin/python3", {"-c", "import mutagen; f = mutagen.File(\"a.mp3\"); "
                                       "print(f[\"TIT2\"], f[\"TRCK\"], len(f.tags.getall(\"APIC\")), "
                                       "f.info.encoder_info)"});
    EXPECT_TRUE(QString::fromUtf8(seen).startsWith(QStringLiteral("Titel 音楽 3/12 1 LAME")))
        << seen.toStdString();
}

TEST_F(Mp3SavingTest, LeavesNoErrorUnsaid)
{
    const Sound source = testSound(500000, 1);
    const TrackDocument document({ClipList(floatClip(source.samples))});
    Mp3File writer(44100.0, 16, 1);
    writer.setFileHandle(newFile("a.mp3"));
    RecordingProgress progress(200000);
    MaybeError error;
    EXPECT_FALSE(writer.saveDocument(document, nullptr, progress, &error));
    EXPECT_TRUE(error && error->isUserCancelled());
    writeBytes("readonly.mp3", "");
    writer.setFileHandle(FileHandle::openForReading(path("readonly.mp3")));
    SilentProgress silent;
    error.reset();
    EXPECT_FALSE(writer.saveDocument(document, nullptr, silent, &error));
    EXPECT_TRUE(error && !error->isUserCancelled());
}

} // namespace velloria::test
