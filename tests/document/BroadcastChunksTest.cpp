#include "document/DocumentFilesKit.h"

#include <QtEndian>

using namespace velloria;
using kit::DocumentFiles;
using kit::noise;

namespace
{

constexpr int64_t kTime = 5'000'000'000;
constexpr int64_t kNumFrames = 1000;
constexpr int kNumTracks = 2;

QByteArray number(int64_t value, int numBytes)
{
    QByteArray bytes;
    for (int i = 0; i < numBytes; ++i)
        bytes += static_cast<char>(value >> (8 * i));
    return bytes;
}

QByteArray chunk(const char* ident, const QByteArray& payload)
{
    return QByteArray(ident, 4) + number(payload.size(), 4) + payload + QByteArray(payload.size() % 2, '\0');
}

/// EBU Tech 3285: texts of 338 bytes, the time, the version, an identifier of 64 bytes, five values of
/// loudness and 180 reserved bytes.
QByteArray broadcastChunk(int64_t time, int version = 1, int64_t loudness = 0)
{
    return chunk("bext", QByteArray(338, 'd') + number(time, 8) + number(version, 2) + QByteArray(64, '\0') +
                             number(loudness, 2) + QByteArray(8 + 180, '\0'));
}

class BroadcastChunksTest : public DocumentFiles
{
protected:
    /// A file of integers that is read in place, or one of floats that is decoded.
    std::shared_ptr<SoundDocument> openRecording(bool isFloat, const QByteArray& chunks) const
    {
        const int sampleBytes = isFloat ? 4 : 2;
        const int frameBytes = kNumTracks * sampleBytes;
        const QByteArray format = number(isFloat ? 3 : 1, 2) + number(kNumTracks, 2) + number(44100, 4) +
                                  number(int64_t{44100} * frameBytes, 4) + number(frameBytes, 2) +
                                  number(8 * sampleBytes, 2);
        const QByteArray all = "WAVE" + chunk("fmt ", format) +
                               chunk("data", QByteArray(kNumFrames * frameBytes, '\1')) + chunks;
        writeBytes("in.wav", "RIFF" + number(all.size(), 4) + all);
        return open("in.wav");
    }

    int64_t timeIn(const std::string& name) const
    {
        const QByteArray bytes = bytesOf(name);
        return qFromLittleEndian<qint64>(bytes.constData() + bytes.indexOf("bext") + 8 + 338);
    }

    /// For a start that moved by so many frames, or nobody knows how far.
    static QString stampTold(std::optional<int64_t> moved)
    {
        if (!moved)
            return QStringLiteral("The time stamp of the recording (bext) is that of the original's start.");
        const QString text = QStringLiteral(
            "The time stamp of the recording (bext) moves with the start of the sound, by %1 frames.");
        // At half the rate the same time has half as many.
        return *moved == 0 || *moved == kTime / 2 - kTime ? QString() : text.arg(*moved);
    }

    static QString stampsIn(const QStringList& losses)
    {
        return losses.filter(QStringLiteral("time stamp")).join(u'|');
    }
};

void replace(SoundDocument& document, int64_t offset, int64_t length, const FloatBuffer& samples)
{
    const ClipList clips = samples.empty() ? ClipList() : ClipList(AudioClipPtr(kit::clipOf(samples)));
    for (int32_t track = 0; track < kNumTracks; ++track)
        document.replaceDataAtOffset(offset, length, track, clips);
}

void nothing(SoundDocument&) {}
void cutStart(SoundDocument& document)
{
    replace(document, 0, 100, {});
}
void cutEnd(SoundDocument& document)
{
    replace(document, 900, 100, {});
}
void fadeStart(SoundDocument& document)
{
    replace(document, 0, 50, noise(50, 1));
}
void insertAtStart(SoundDocument& document)
{
    replace(document, 0, 0, noise(50, 1));
}
void computeAll(SoundDocument& document)
{
    replace(document, 0, document.numberOfFrames(), noise(static_cast<size_t>(document.numberOfFrames()), 2));
}
void halveRate(SoundDocument& document)
{
    SilentProgress progress;
    EXPECT_FALSE(document.resampleTo(22050.0, document.totalTime(), progress));
}
void fadeStartAndCutEnd(SoundDocument& document)
{
    fadeStart(document);
    cutEnd(document);
}
void computeAllAndCutStart(SoundDocument& document)
{
    computeAll(document);
    cutStart(document);
}
void cutStartAndFade(SoundDocument& document)
{
    cutStart(document);
    fadeStart(document);
}
void crop(SoundDocument& document)
{
    cutEnd(document);
    cutStart(document);
}

TEST_F(BroadcastChunksTest, WriteTheTimeAtWhichTheSoundStartsOrTellThatItIsTheOriginals)
{
    constexpr int64_t told = -1;
    const struct {
        const char* name;
        void (*edit)(SoundDocument&);
        int64_t time;
    } cases[] = {
        {"as it is", nothing, kTime},
        {"start cut", cutStart, kTime + 100},
        {"end cut", cutEnd, kTime},
        {"cropped", crop, kTime + 100},
        {"start faded", fadeStart, kTime},
        {"start faded, end cut", fadeStartAndCutEnd, kTime},
        {"computed anew", computeAll, kTime},
        {"other rate", halveRate, kTime / 2},
        {"sound inserted at the start", insertAtStart, told},
        {"computed anew, start cut", computeAllAndCutStart, told},
        {"start cut, then faded", cutStartAndFade, told},
    };
    for (const bool isFloat : {false, true}) {
        for (const auto& c : cases) {
            SCOPED_TRACE(std::string(c.name) + (isFloat ? ", decoded" : ""));
            const auto document = openRecording(isFloat, broadcastChunk(kTime) + chunk("iXML", "<x/>"));
            ASSERT_TRUE(document);
            c.edit(*document);
            const SaveRequest request = requestFor("out.wav");
            EXPECT_EQ(stampsIn(document->lossesWhenSaving(request)),
                      stampTold(c.time == told ? std::nullopt : std::optional(c.time - kTime)));
            EXPECT_EQ(messageOfSaving(*document, request), "");
            EXPECT_EQ(timeIn("out.wav"), c.time == told ? kTime : c.time);
            // Nothing else of the chunk changes.
            const QByteArray expected = broadcastChunk(c.time == told ? kTime : c.time);
            EXPECT_TRUE(bytesOf("out.wav").contains(expected));
        }
    }
}

TEST_F(BroadcastChunksTest, FollowSelectionsAndLaterSaves)
{
    const auto document = openRecording(false, broadcastChunk(kTime));
    SaveRequest part = requestFor("part.wav");
    part.selection = SoundSelection{441 / 44100.0, 882 / 44100.0, 1, 1};
    EXPECT_EQ(stampsIn(document->lossesWhenSaving(part)), QString());
    EXPECT_EQ(messageOfSaving(*document, part), "");
    EXPECT_EQ(timeIn("part.wav"), kTime + 441);

    // Saved twice, and computed anew after that: the removed frames count once.
    const SaveRequest save = requestFor("in.wav", SaveOperation::save);
    const auto saveAgain = [&](int64_t moved) {
        EXPECT_EQ(stampsIn(document->lossesWhenSaving(save)), stampTold(moved));
        EXPECT_EQ(messageOfSaving(*document, save), "");
        return timeIn("in.wav") - kTime;
    };
    cutStart(*document);
    EXPECT_EQ(saveAgain(100), 100);
    EXPECT_EQ(saveAgain(0), 100);
    cutStart(*document);
    EXPECT_EQ(saveAgain(100), 200);
    computeAll(*document);
    EXPECT_EQ(saveAgain(0), 200);
    while (document->undoManager().canUndo())
        document->undoManager().undo();
    EXPECT_EQ(saveAgain(-200), 0);
    EXPECT_EQ(open("in.wav")->numberOfFrames(), kNumFrames);
}

TEST_F(BroadcastChunksTest, AreNotFollowedBySoundOfAnotherRecording)
{
    const auto other = openRecording(false, broadcastChunk(77));
    const ClipList pasted = other->clipsAtOffset(10, 500, 0);
    const auto document = openRecording(false, broadcastChunk(kTime));
    document->replaceDataAtOffset(0, 0, 0, pasted);
    document->replaceDataAtOffset(0, 0, 1, pasted);
    EXPECT_NE(stampsIn(document->lossesWhenSaving(requestFor("out.wav"))), QString());
}

TEST_F(BroadcastChunksTest, TellOfMeasurementsAndTextThatNoLongerFit)
{
    const QByteArray envelope = chunk("levl", QByteArray(120, 'e'));
    const QByteArray text = chunk("iXML", "<TIMESTAMP_SAMPLES_SINCE_MIDNIGHT_LO>7<");
    const QString peaks = QStringLiteral("The peak envelope (levl) is that of the sound as it was opened.");
    const QString loudness =
        QStringLiteral("The noted loudness (bext) is that of the sound as it was opened.");
    const QString time =
        QStringLiteral("The time stamp of the recording (iXML) is that of the original's start.");
    const struct {
        QByteArray chunks;
        void (*edit)(SoundDocument&);
        QStringList losses;
    } cases[] = {
        {envelope, nothing, {}},
        {envelope, cutEnd, {peaks}},
        {envelope, computeAll, {peaks}},
        {broadcastChunk(kTime, 2, -2300), nothing, {}},
        {broadcastChunk(kTime, 2, -2300), fadeStart, {loudness}},
        {broadcastChunk(kTime, 2, 0x7FFF), fadeStart, {}},
        {broadcastChunk(kTime, 1, -2300), fadeStart, {}},
        {text, nothing, {}},
        {text, cutEnd, {}},
        {text, cutStart, {time}},
        {broadcastChunk(kTime) + text + envelope, cutStart, {time, peaks}},
    };
    for (size_t i = 0; i < std::size(cases); ++i) {
        for (const bool isFloat : {false, true}) {
            SCOPED_TRACE(i);
            const auto document = openRecording(isFloat, cases[i].chunks);
            cases[i].edit(*document);
            SaveRequest request = requestFor("out.wav");
            EXPECT_EQ(document->lossesWhenSaving(request).filter(QStringLiteral(" is that of ")),
                      cases[i].losses);
            request.uti = QStringLiteral("org.videolan.flac");
            EXPECT_EQ(document->lossesWhenSaving(request).filter(QStringLiteral(" is that of ")),
                      QStringList());
        }
    }
}

} // namespace
