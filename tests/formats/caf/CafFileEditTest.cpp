#include "formats/caf/VLAFCoreAudioFile.h"

#include "formats/kit/SavingTestKit.h"
#include "formats/streams/BigEndianOutputStream.h"

#include <bit>

namespace velloria::test
{

namespace
{

using Markers = std::vector<std::pair<int64_t, QString>>;

constexpr int kNumFrames = 50;

QByteArray number64(int64_t value)
{
    return bigEndian32(static_cast<quint32>(value >> 32)) + bigEndian32(static_cast<quint32>(value));
}

QByteArray cafChunk(const char* type, const QByteArray& payload)
{
    return QByteArray(type, 4) + number64(payload.size()) + payload;
}

QByteArray floatBytes(double value)
{
    return number64(std::bit_cast<int64_t>(value));
}

/// Little-endian 16-bit integers, one channel.
QByteArray description(quint32 flags = 2)
{
    return cafChunk("desc", floatBytes(44100.0) + "lpcm" + bigEndian32(flags) + bigEndian32(2) +
                                bigEndian32(1) + bigEndian32(1) + bigEndian32(16));
}

QByteArray sound(quint32 editCount, const QByteArray& samples)
{
    return cafChunk("data", bigEndian32(editCount) + samples);
}

/// A marker as the format has it, with a clock time.
QByteArray mark(double position, int ident)
{
    return bigEndian32(3) + floatBytes(position) + bigEndian32(static_cast<quint32>(ident)) +
           QByteArray(8, '\x11') + bigEndian32(1);
}

QByteArray marks(const QList<QByteArray>& list)
{
    return cafChunk("mark", bigEndian32(7) + bigEndian32(static_cast<quint32>(list.size())) + list.join());
}

QByteArray names(const std::vector<std::pair<int, QByteArray>>& list)
{
    QByteArray entries;
    QByteArray text;
    for (const auto& [ident, name] : list) {
        entries += bigEndian32(static_cast<quint32>(ident)) + number64(text.size());
        text += name + '\0';
    }
    return cafChunk("strg", bigEndian32(static_cast<quint32>(list.size())) + entries + text);
}

QByteArray info(const QList<QByteArray>& texts)
{
    return cafChunk("info", bigEndian32(static_cast<quint32>(texts.size() / 2)) + texts.join('\0') + '\0');
}

QByteArray caf(const QByteArray& chunks)
{
    return QByteArray("caff\0\1\0\0", 8) + chunks;
}

const QByteArray kSamples = noiseBytes(2 * kNumFrames, 5);

} // namespace

class CafFileEditTest : public SavingTest
{
protected:
    std::shared_ptr<AudioFile> openedFrom(const QByteArray& bytes)
    {
        makeFile("in.caf", bytes);
        return opened("in.caf");
    }

    /// `keeps` its packets, or writes noise of so many frames.
    QByteArray saved(const std::shared_ptr<AudioFile>& file, const AudioMetadata& metadata,
                     const std::vector<AudioMarkerPtr>& markers, int64_t numFrames = 0)
    {
        mWriter = std::make_shared<VLAFCoreAudioFile>(44100.0, 16, 1);
        mWriter->setDataFormat(file->dataFormat());
        mWriter->setOpenedFile(file);
        mWriter->setMarkers(std::make_shared<const std::vector<AudioMarkerPtr>>(markers));
        mWriter->setMetadata(metadata);
        mWriter->setNumberOfFrames(numFrames > 0 ? numFrames : kNumFrames);
        mWriter->validateAndCorrectParameters();
        if (numFrames == 0)
            mWriter->offerSound(file);
        EXPECT_EQ(mWriter->keptSound() != nullptr, numFrames == 0);
        mLost.clear();
        for (const ItemKind kind : {ItemKind::part, ItemKind::tag, ItemKind::value})
            mLost +=
                file->ledger().namesOf(kind, [&](const FileItem& item) { return !mWriter->willWrite(item); });
        mWrittenTags = mWriter->writtenTags();
        save(*mWriter, "out.caf", noiseDocument(static_cast<size_t>(mWriter->numberOfFrames()), 1));
        return bytesOf("out.caf");
    }

    static std::vector<AudioMarkerPtr> copies(const AudioFile& file)
    {
        std::vector<AudioMarkerPtr> markers;
        for (const AudioMarkerPtr& marker : file.markers() ? *file.markers() : std::vector<AudioMarkerPtr>())
            markers.push_back(AudioMarker::markerWithMarker(*marker));
        return markers;
    }

    std::shared_ptr<VLAFCoreAudioFile> mWriter;
    QStringList mLost;
    MetadataDictionary mWrittenTags;
};

TEST_F(CafFileEditTest, ChunksStayInTheirOrderAndWhatWasEditedChangesInItsPlace)
{
    const auto bytes = [](const QByteArray& tags, const QByteArray& marks, const QByteArray& names) {
        return caf(description() + cafChunk("uuid", "private") + tags + cafChunk("free", QByteArray(9, 'f')) +
                   marks + sound(6, kSamples) + cafChunk("regn", "123") + names +
                   cafChunk("peak", "old peaks") + cafChunk("ovvw", "1234") + cafChunk("midi", "x") +
                   cafChunk("midi", "y"));
    };
    const QByteArray tags = info({"mood", "calm", "title", "Song", "tempo", "120.5 BPM", "title", "Song"});
    const QByteArray before = marks({mark(10.0, 4), mark(20.5, 9), mark(30.0, 5)});
    const QByteArray texts = names({{9, "verse"}, {77, "a region"}, {4, "intro"}});
    const auto file = openedFrom(bytes(tags, before, texts));
    EXPECT_EQ(markersOf(*file), (Markers{{10, "intro"}, {21, "verse"}, {30, "Marker"}}));
    EXPECT_EQ(saved(file, file->metadata(), copies(*file)), bytes(tags, before, texts));
    EXPECT_EQ(mLost, QStringList());
    EXPECT_EQ(mWrittenTags, file->metadata().dictionary());

    AudioMetadata metadata = file->metadata();
    metadata.setTitle("Other");
    metadata.setArtist("Me");
    EXPECT_EQ(saved(file, metadata, copies(*file)),
              bytes(info({"mood", "calm", "title", "Other", "tempo", "120.5 BPM", "title", "Other", "artist",
                          "Me"}),
                    before, texts));
    EXPECT_EQ(opened("out.caf")->metadata().title(), "Other");

    std::vector<AudioMarkerPtr> markers = copies(*file);
    markers[0]->setPosition(11);
    markers[1]->setName("chorus");
    markers[2] = std::make_shared<AudioMarker>(0, 40, "new");
    const QByteArray added =
        bigEndian32(0) + floatBytes(40.0) + bigEndian32(1) + QByteArray(8, '\xFF') + bigEndian32(0);
    EXPECT_EQ(saved(file, file->metadata(), markers),
              bytes(tags, marks({mark(11.0, 4), mark(20.5, 9), added}),
                    names({{9, "chorus"}, {77, "a region"}, {4, "intro"}, {1, "new"}})));
    EXPECT_EQ(mLost, QStringList());
}

TEST_F(CafFileEditTest, OtherSoundMakesPeaksAnewAndLeavesOutWhatCountedItsFrames)
{
    const auto file =
        openedFrom(caf(description() + cafChunk("peak", QByteArray(16, 'p')) + sound(6, kSamples) +
                       cafChunk("regn", "123") + cafChunk("ovvw", "1234") + cafChunk("uuid", "?")));
    const QByteArray bytes = saved(file, file->metadata(), {}, 30000);
    EXPECT_EQ(mLost, (QStringList{"regions (regn)", "overview of the sound (ovvw)"}));
    // The highest sample, looked for in the samples that were written.
    const qsizetype start = bytes.indexOf("data") + 16;
    qint64 peakFrame = 0;
    int peak = 0;
    for (int i = 0; i < 30000; ++i) {
        const int sample = qFromBigEndian<qint16>(bytes.constData() + start + 2 * i);
        if (std::abs(sample) > peak) {
            peak = std::abs(sample);
            peakFrame = i;
        }
    }
    const auto amplitude = std::bit_cast<quint32>(static_cast<float>(peak) / 32768.0F);
    EXPECT_EQ(bytes, caf(description(0) +
                         cafChunk("peak", bigEndian32(7) + bigEndian32(amplitude) + number64(peakFrame)) +
                         sound(7, bytes.mid(start, 60000)) + cafChunk("uuid", "?")));
}

TEST_F(CafFileEditTest, AnEditIsTakenBackByTheNextOne)
{
    AudioMetadata metadata;
    metadata.setTitle("Title");
    VLAFCoreAudioFile writer(44100.0, 16, 1);
    writer.setDataFormat(fourCharCode("sowt"));
    writer.setMetadata(metadata);
    writer.setMarkers(markerList({{10, "a"}, {0, "b"}, {300, "Ж"}}));
    save(writer, "own.caf", noiseDocument(kNumFrames, 1));
    const QByteArray bytes = bytesOf("own.caf");
    const auto file = openedFrom(bytes);
    EXPECT_EQ(saved(file, file->metadata(), copies(*file)), bytes);
    std::vector<AudioMarkerPtr> markers = copies(*file);
    markers[0]->setPosition(12);
    markers[2]->setName("zh");
    metadata.setTitle("Other");
    EXPECT_NE(saved(file, metadata, markers), bytes);
    EXPECT_EQ(markersOf(*opened("out.caf")), (Markers{{12, "a"}, {0, "b"}, {300, "zh"}}));
    const std::shared_ptr<VLAFCoreAudioFile> written = mWriter;
    written->takeOverLedger();
    makeFile("kept.caf", bytesOf("out.caf"));
    written->setFileHandle(FileHandle::openForReading(path("kept.caf")));
    EXPECT_EQ(saved(written, file->metadata(), copies(*file)), bytes);
    EXPECT_EQ(mLost, QStringList());
}

} // namespace velloria::test
