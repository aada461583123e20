#include "document/DocumentFilesKit.h"
#include "document/UndoGroup.h"
#include "document/clips/ComputedClip.h"
#include "formats/AudioFileRegistry.h"
#include "platform/Log.h"

#include <cmath>
#include <sys/stat.h>

using namespace velloria;
using kit::DocumentFiles;
using kit::kWave;
using kit::samplesOf;

namespace
{

class DocumentLosses : public DocumentFiles
{
protected:
    static bool mention(const QStringList& losses, const char* words)
    {
        return losses.join(u'\n').contains(QLatin1String(words));
    }
};

TEST_F(DocumentLosses, NamePrecisionButNotTheRoundingOfComputedSamples)
{
    makeWave("a16.wav", 100, 16);
    makeWave("a24.wav", 100, 24);
    const auto document = open("a16.wav");
    const SaveRequest request = requestFor("a16.wav", SaveOperation::save);
    document->replaceDataAtOffset(0, 50, 0, ClipList(AudioClipPtr(kit::clipOf(kit::noise(50, 3)))));
    EXPECT_TRUE(document->lossesWhenSaving(request).isEmpty());
    SaveRequest eightBits = request;
    eightBits.optionTag = 8;
    EXPECT_EQ(document->lossesWhenSaving(eightBits),
              QStringList(QStringLiteral("Samples of 16 bits are rounded to 8 bits.")));
    const auto decoded = MutableAudioClip::clipWithSampleRate(44100.0);
    decoded->setStoredSamples({24, false, false});
    EXPECT_FALSE(decoded->appendData(kit::noise(10, 4)));
    for (const ClipList& clips :
         {open("a24.wav")->clipsAtOffset(0, 10, 0), ClipList(AudioClipPtr(decoded))}) {
        document->replaceDataAtOffset(0, 0, 1, clips);
        EXPECT_EQ(document->lossesWhenSaving(request),
                  QStringList(QStringLiteral("Samples of 24 bits are rounded to 16 bits.")));
        document->undoManager().undo();
    }
}

TEST_F(DocumentLosses, NamePrecisionByWhatTheSamplesWere)
{
    const StoredSamples wide = {32, false, false};
    const StoredSamples floats = {32, true, false};
    const StoredSamples doubles = {64, true, false};
    const StoredSamples lossy = {0, false, true};
    const StoredSamples adaptive = {16, false, true};
    const StoredSamples computed = {};
    const StoredSamples computedFromWide = {0, false, false, 32, 0};
    const StoredSamples computedFromDoubles = {0, false, false, 0, 64};
    struct Case {
        StoredSamples stored;
        const char* uti;
        int tag;
        const char* loss;
    };
    constexpr auto caf = "com.apple.coreaudio-format";
    constexpr auto flac = "org.videolan.flac";
    constexpr auto mp3 = "public.mp3";
    constexpr auto fl32 = static_cast<int>(fourCharCode("fl32"));
    constexpr auto in32 = static_cast<int>(fourCharCode("in32"));
    constexpr auto ima4 = static_cast<int>(fourCharCode("ima4"));
    constexpr auto ulaw = static_cast<int>(fourCharCode("ulaw"));
    const Case cases[] = {
        {computed, caf, fl32, ""},
        {computed, flac, 16, ""},
        {computed, mp3, 0, ""},
        {floats, caf, fl32, ""},
        {floats, caf, in32,
         "Floating-point samples become 32-bit integers; what is louder than full scale is clipped."},
        {doubles, caf, fl32, "Floating-point samples of 64 bits are rounded to 32 bits."},
        {wide, caf, fl32, "Samples of 32 bits are rounded to 24 significant bits."},
        {wide, caf, in32, "Samples of 32 bits were rounded to 24 significant bits when they were decoded."},
        {wide, flac, 24, "Samples of 32 bits are rounded to 24 bits."},
        {computedFromWide, caf, in32,
         "Samples of 32 bits were rounded to 24 significant bits where the sound was changed."},
        {computedFromWide, caf, fl32, "Samples of 32 bits are rounded to 24 significant bits."},
        {computedFromWide, flac, 24, ""},
        {computedFromDoubles, caf, fl32, "Floating-point samples of 64 bits are rounded to 32 bits."},
        {lossy, caf, fl32, ""},
        {lossy, flac, 24,
         "Decoded sound is rounded to 24-bit integers; what is louder than full scale is clipped."},
        {lossy, mp3, 0,
         "Sound that was decoded from a lossy encoding is encoded once more, which loses some more of it."},
        {adaptive, flac, 16, ""},
        {adaptive, caf, ima4,
         "Sound that was decoded from a lossy encoding is encoded once more, which loses some more of it."},
        {floats, mp3, 0, ""},
        {computed, "public.aifc-audio", ulaw, "The encoding mu-law loses some of the sound."},
        {floats, caf, ima4, "The encoding IMA 4:1 loses some of the sound."},
        {wide, "public.mpeg-4-audio.aac", 0, ""},
    };
    for (const Case& each : cases) {
        const auto clip = MutableAudioClip::clipWithSampleRate(44100.0);
        clip->setStoredSamples(each.stored);
        EXPECT_FALSE(clip->appendData(kit::noise(10, 4)));
        const auto document = kit::documentOf({kit::noise(10, 1)});
        document->replaceDataAtOffset(0, 10, 0, ClipList(AudioClipPtr(clip)));
        SaveRequest request = requestFor("a", SaveOperation::saveTo);
        request.uti = QString::fromLatin1(each.uti);
        request.optionTag = each.tag;
        EXPECT_EQ(document->lossesWhenSaving(request).join('|').toStdString(), each.loss)
            << each.stored.bits << each.stored.isFloat << each.stored.isLossy << each.uti << each.tag;
    }
}

TEST_F(DocumentLosses, NameComputedSoundAboveFullScale)
{
    constexpr auto fl32 = static_cast<int>(fourCharCode("fl32"));
    FloatBuffer samples = kit::noise(200'000, 1);
    samples[150'000] = -1.01F;
    const auto whole = kit::clipOf(samples);
    struct Case {
        AudioClipPtr clip;
        const char* uti;
        int tag;
        const char* loss;
    };
    constexpr auto wave = "com.microsoft.waveform-audio";
    const char* const clipped = "Sound that is louder than full scale is clipped in 16-bit integers.";
    const Case cases[] = {
        {whole, wave, 16, clipped},
        {whole, "com.apple.coreaudio-format", fl32, ""},
        {whole->subdataWithOffset(149'999, 2), wave, 16, clipped},
        {whole->subdataWithOffset(0, 150'000), wave, 16, ""},
        {whole->subdataWithOffset(150'001, 100), wave, 16, ""},
        {kit::clipOf({1.0F, -1.0F, std::numeric_limits<float>::quiet_NaN()}), wave, 16, ""},
    };
    for (const Case& each : cases) {
        const auto document = kit::documentOf({kit::noise(10, 1)});
        document->replaceDataAtOffset(0, 10, 0, ClipList(each.clip));
        SaveRequest request = requestFor("a", SaveOperation::saveTo);
        request.uti = QString::fromLatin1(each.uti);
        request.optionTag = each.tag;
        EXPECT_EQ(document->lossesWhenSaving(request).join('|').toStdString(), each.loss)
            << each.clip->numFrames();
    }
}

// A result that is computed as it is saved shows only then what it is.
TEST_F(DocumentLosses, OfSoundComputedAsItIsSavedAreFoundByTheSave)
{
    const auto saved = [this](float value, QStringList* warnings) {
        const auto document = kit::documentOf({kit::noise(10, 1)});
        const auto function = [value](int64_t, std::span<float> out) { std::ranges::fill(out, value); };
        document->replaceDataAtOffset(0, 10, 0,
                                      ClipList(std::make_shared<ComputedClip>(100'000, AudioTrack::track(),
                                                                              function, StoredSamples())));
        SilentProgress progress;
        SaveRequest request = requestFor("computed.wav", SaveOperation::save);
        request.optionTag = 16;
        const MaybeError error = document->writeToPath(request, progress);
        *warnings = document->saveWarnings();
        return error;
    };
    QStringList warnings;
    EXPECT_FALSE(saved(0.5F, &warnings));
    EXPECT_EQ(warnings, QStringList());
    EXPECT_FALSE(saved(1.5F, &warnings));
    EXPECT_EQ(warnings, QStringList(QStringLiteral(
                            "Sound that is louder than full scale is clipped in 16-bit integers.")));
    const QByteArray before = bytesOf("computed.wav");
    for (const float wrong :
         {std::numeric_limits<float>::infinity(), std::numeric_limits<float>::quiet_NaN()}) {
        const MaybeError error = saved(wrong, &warnings);
        ASSERT_TRUE(error);
        EXPECT_TRUE(error->message.contains(QStringLiteral("infinite or no numbers")));
    }
    EXPECT_EQ(bytesOf("computed.wav"), before) << "the old file is untouched";
}

TEST_F(DocumentLosses, NameWhatAnotherFormatCannotHold)
{
    makeWave("a.wav", 100, 16);
    const auto document = open("a.wav");
    AudioMetadata metadata = document->audioMetadata();
    metadata.setAiffInstrumentChunk(QByteArray(20, 'i'));
    metadata.setWaveBWFChunks({QByteArray(20, 'b')});
    document->undoableSetAudioMetadata(metadata);
    for (const AudioFileType* type : AudioFileRegistry::writableTypes()) {
        SCOPED_TRACE(type->displayName.toStdString());
        const auto writer = type->create(44100, 16, 2);
        SaveRequest request = requestFor("new");
        request.uti = type->uti;
        const QStringList losses = document->lossesWhenSaving(request);
        EXPECT_EQ(mention(losses, "no markers"), !writer->canSaveMarkers());
        EXPECT_EQ(mention(losses, "no tags"), !writer->canSaveMetadata());
        EXPECT_EQ(mention(losses, "Broadcast Wave"), type->uti != kWave);
        EXPECT_EQ(mention(losses, "AIFF instrument"), !type->uti.startsWith(QLatin1String("public.aif")));
        request.selection = SoundSelection{0, 1, 0, 2};
        EXPECT_FALSE(mention(document->lossesWhenSaving(request), "no markers"));
    }
}

TEST_F(DocumentLosses, NameTagsThatComeBackOtherwiseFromTheFile)
{
    makeWave("a.wav", 100, 16);
    const auto document = open("a.wav");
    // With markers an MP3 file gets a tag of a later version, which holds more.
    document->removeAudioMarkers(*document->audioMarkers(), QString());
    const struct {
        const char* uti;
        const char* key;
        const char* value;
        const char* loss;
    } cases[] = {
        {"public.mp3", "encoding application", "Mine",
         "hold some tags otherwise: encoding application “Mine” becomes “Velloria”."},
        {"public.mpeg-4-audio.aac", "encoding application", "Mine", "“Mine” becomes “Velloria”."},
        {"org.videolan.flac", "encoding application", "Mine", ""},
        {"com.microsoft.waveform-audio", "podcast url", "http://a/Ж", "becomes “http://a/%D0%96”."},
        {"com.microsoft.waveform-audio", "podcast url", "http://a/ä", ""},
        {"org.videolan.ogg-audio", "podcast url", "http://a/Ж", ""},
        {"public.mpeg-4-audio.aac", "tempo", "70000", "tempo “70000” becomes “65535”."},
        {"public.mpeg-4-audio.aac", "disc number", "70000/3", "disc number “70000/3” becomes “65535/3”."},
        {"public.mp3", "tempo", "70000", ""},
        {"public.mpeg-4-audio.aac", "isrc", "DEA129900001", ""},
        {"com.apple.coreaudio-format", "isrc", "DEA129900001", ""},
    };
    for (const auto& c : cases) {
        AudioMetadata metadata;
        metadata.setValuesWithDictionary({{c.key, QString::fromUtf8(c.value)}});
        document->undoableSetAudioMetadata(metadata);
        SaveRequest request = requestFor("new");
        request.uti = QString::fromLatin1(c.uti);
        const QStringList losses = document->lossesWhenSaving(request);
        const QString text = losses.join('|');
        EXPECT_TRUE(*c.loss ? text.contains(QString::fromUtf8(c.loss)) : !text.contains("tags"))
            << c.uti << " " << c.key << ": " << text.toStdString();
    }
}

TEST_F(DocumentLosses, NameAnEncodingThatAPlainSaveDoesNotKeep)
{
    // NeXT/Sun: magic, offset of the sound, its size, encoding, rate, channels.
    const auto sun = [](char encoding, const QByteArray& samples) {
        QByteArray head(".snd\0\0\0\x18\0\0\0\0\0\0\0\0\0\0\x1F\x40\0\0\0\1", 24);
        head[11] = static_cast<char>(samples.size());
        head[15] = encoding;
        return head + samples;
    };
    const struct {
        char encoding;
        const char* loss;
    } cases[] = {
        {1, "The encoding changes from mu-law to 16-bit integer."},
        {6, "Floating-point samples become 32-bit integers; what is louder than full scale is clipped."},
        {3, ""}};
    for (const auto& c : cases) {
        writeBytes("a.au", sun(c.encoding, QByteArray(40, '\x3F')));
        const auto document = open("a.au");
        SaveRequest request = requestFor("a.au", SaveOperation::save);
        request.uti = document->fileType();
        // As long as nobody touches the sound it stays what it is.
        EXPECT_EQ(document->lossesWhenSaving(request).join('|'), "");
        document->replaceDataAtOffset(0, 1, 0, ClipList());
        EXPECT_EQ(document->lossesWhenSaving(request).join('|'), c.loss);
        // Computed samples do not say any more what the file holds.
        document->replaceDataAtOffset(0, document->numberOfFrames(), 0,
                                      ClipList(AudioClipPtr(kit::clipOf(kit::noise(10, 3)))));
        EXPECT_EQ(document->lossesWhenSaving(request).join('|'),
                  c.encoding == 6 ? "The encoding changes from 32-bit floating point to 32-bit integer."
                                  : c.loss);
    }
}

TEST_F(DocumentLosses, NameALossyEncodingThatTheOpenedFileDidNotHave)
{
    SaveRequest request = requestFor("a.aifc", SaveOperation::saveAs);
    request.uti = QStringLiteral("public.aifc-audio");
    // Whole packets, so that nothing else is lost.
    const auto document = kit::documentOf({kit::noise(1024, 1)});
    const QString loss = QStringLiteral("The encoding IMA 4:1 loses some of the sound.");
    EXPECT_EQ(document->lossesWhenSaving(request), QStringList(loss));
    EXPECT_EQ(messageOfSaving(*document, request), "");
    // Computed sound in its place came lossless, but whoever opened the file knows what it is.
    const auto opened = open("a.aifc");
    opened->replaceDataAtOffset(0, opened->numberOfFrames(), 0,
                                ClipList(AudioClipPtr(kit::clipOf(kit::noise(1024, 3)))));
    request.operation = SaveOperation::save;
    EXPECT_EQ(opened->lossesWhenSaving(request), QStringList());
    request.optionTag = static_cast<int>(fourCharCode("ulaw"));
    EXPECT_TRUE(mention(opened->lossesWhenSaving(request), "The encoding mu-law loses some of the sound."));
}

TEST_F(DocumentLosses, NameCommentsThatOtherProgramsDoNotShow)
{
    makeWave("a.wav", 100, 16);
    const auto document = open("a.wav");
    AudioMetadata metadata = document->audioMetadata();
    metadata.setLyrics(QStringLiteral("Grüße"));
    // The tag of the opened file, a WAVE, is edited, and holds them as everybody expects.
    const QStringList typesWithNewTag = {QStringLiteral("public.aiff-audio"),
                                         QStringLiteral("public.aifc-audio"), QStringLiteral("public.mp3")};
    // With markers an MP3 file gets a tag of a version that has chapters, and holds them so, too.
    document->removeAudioMarkers(*document->audioMarkers(), QString());
    for (const QString& comments : {QStringLiteral("Grüße"), QStringLiteral("Привет")}) {
        metadata.setComments(comments);
        document->undoableSetAudioMetadata(metadata);
        for (const AudioFileType* type : AudioFileRegistry::writableTypes()) {
            SaveRequest request = requestFor("new");
            request.uti = type->uti;
            EXPECT_EQ(mention(document->lossesWhenSaving(request), "may not show the comments:"),
                      comments == QStringLiteral("Привет") && typesWithNewTag.contains(type->uti))
                << type->displayName.toStdString();
        }
    }
}

TEST_F(DocumentLosses, NamePicturesThatATagHasNoRoomFor)
{
    makeWave("a.wav", 100, 16);
    const auto document = open("a.wav");
    AudioMetadata metadata = document->audioMetadata();
    // With markers an MP3 file gets a tag of a later version, which has more room.
    document->removeAudioMarkers(*document->audioMarkers(), QString());
    for (const bool isTooLarge : {false, true}) {
        const qsizetype numBytes = (16 << 20) + (isTooLarge ? 0 : -100);
        metadata.setArtwork({*AttachedPicture::withPictureData("\x89PNG" + QByteArray(numBytes, 'p'))});
        document->undoableSetAudioMetadata(metadata);
        for (const char* uti : {"public.aiff-audio", "public.mp3", "com.microsoft.waveform-audio",
                                "public.mpeg-4-audio.apple-lossless"}) {
            SaveRequest request = requestFor("new");
            request.uti = QString::fromLatin1(uti);
            EXPECT_EQ(mention(document->lossesWhenSaving(request), "too large"),
                      isTooLarge && !request.uti.contains("mpeg-4"))
                << uti;
        }
    }
}

TEST_F(DocumentLosses, NameTheTrackThatSurroundSoundKeepsTheLowFrequenciesOf)
{
    const auto treble = [](const FloatBuffer& samples) {
        double sum = 0;
        for (size_t i = 1; i < samples.size(); ++i)
            sum += std::pow(samples[i] - samples[i - 1], 2);
        return sum;
    };
    for (const char* type : {"public.mpeg-4-audio.aac", "public.aac-audio", "org.videolan.ogg-audio"})
        for (const unsigned numTracks : {2U, 3U, 6U, 7U, 8U}) {
            SCOPED_TRACE(testing::Message() << type << ", " << numTracks << " tracks");
            kit::TrackSamples tracks;
            for (unsigned i = 0; i < numTracks; ++i)
                tracks.push_back(kit::noise(20'000, i + 1));
            const auto document = kit::documentOf(tracks);
            SaveRequest request = requestFor("surround");
            request.uti = QString::fromLatin1(type);
            ASSERT_EQ(messageOfSaving(*document, request), "");
            std::vector<size_t> dull;
            const kit::TrackSamples saved = samplesOf(*open("surround"));
            ASSERT_EQ(saved.size(), numTracks);
            for (size_t i = 0; i < numTracks; ++i)
                if (treble(saved[i]) < 1e-4 * treble(tracks[i])) // below about 1 kHz
                    dull.push_back(i);
            const bool isTold = mention(document->lossesWhenSaving(request), "the fourth keeps low");
            EXPECT_EQ(dull, isTold ? std::vector<size_t>{3} : std::vector<size_t>{});
        }
}

TEST_F(DocumentLosses, NameMarkersWhoseNamesAreCut)
{
    makeWave("a.wav", 100, 16);
    // Cue points have room for any name; a file with markers of ours alone gets none.
    writeBytes("own.wav", bytesOf("a.wav").replace("cue ", "none"));
    for (const int numLetters : {127, 128}) {
        const auto own = open("own.wav");
        const auto document = open("a.wav");
        for (const auto& each : {own, document})
            each->addMarker(std::make_shared<AudioMarker>(0, 0, QString(numLetters, QChar(u'ж'))));
        EXPECT_EQ(mention(own->lossesWhenSaving(requestFor("b.wav")), "more than 255 bytes"),
                  numLetters > 127);
        EXPECT_FALSE(mention(document->lossesWhenSaving(requestFor("b.wav")), "more than 255 bytes"));
        SaveRequest request = requestFor("b.aif");
        request.uti = QStringLiteral("public.aiff-audio");
        EXPECT_EQ(document->lossesWhenSaving(request), QStringList());
    }
}

TEST_F(DocumentLosses, NameARateThatATypeCannotHold)
{
    const auto document = kit::documentOf({kit::noise(1000, 1)});
    document->undoableSetSampleRate(44100.5);
    for (const AudioFileType* type : AudioFileRegistry::writableTypes()) {
        SaveRequest request = requestFor("out");
        request.uti = type->uti;
        // What cannot be written at all need not be told.
        const bool isTold = mention(document->lossesWhenSaving(request), "44100.5 Hz");
        if (!messageOfSaving(*document, request).empty() || type->uti == QLatin1String("public.plain-text"))
            continue;
        // The rate stands in AIFF-C, whose reader rounds it; MP3 has rates of its own, which it tells itself.
        if (type->uti == QLatin1String("public.aifc-audio") || type->uti == QLatin1String("public.mp3"))
            continue;
        const bool isKept = open("out")->sampleRate() == 44100.5;
        EXPECT_NE(isTold, isKept) << type->displayName.toStdString();
    }
}

TEST_F(DocumentLosses, NameWhatAPartOfASoundDoesNotTakeAlong)
{
    makeWave("a.wav", 1000, 16);
    QByteArray withChunk = bytesOf("a.wav");
    withChunk += QByteArray("zzzz\x04\0\0\0abcd", 12);
    const auto riffSize = static_cast<uint32_t>(withChunk.size() - 8);
    std::memcpy(withChunk.data() + 4, &riffSize, 4);
    writeBytes("a.wav", withChunk);
    const auto document = open("a.wav");
    SaveRequest request = requestFor("a.wav");
    // Markers stand at 10 and 100.
    for (const auto& [start, end, hasMarker] : {std::tuple(11, 99, false), std::tuple(11, 101, true)}) {
        request.selection = SoundSelection{start / 44100.0, end / 44100.0, 0, 2};
        const QStringList losses = document->lossesWhenSaving(request);
        EXPECT_EQ(mention(losses, "without its markers"), hasMarker) << start;
        EXPECT_TRUE(mention(losses, "zzzz"));
    }
    request.isBetweenMarkers = true;
    EXPECT_FALSE(mention(document->lossesWhenSaving(request), "without its markers"));
}

TEST_F(DocumentLosses, NameLoopsThatPointAtOtherMarkers)
{
    makeWave("a.wav", 1000, 16);
    const auto wave = open("a.wav");
    AudioMetadata metadata = wave->audioMetadata();
    // A sustain loop from marker 0 to marker 1, and no release loop.
    metadata.setAiffInstrumentChunk(QByteArray::fromHex("3c00007f017f0000"
                                                        "000100000001"
                                                        "000000000000"));
    wave->undoableSetAudioMetadata(metadata);
    SaveRequest request = requestFor("a.aif", SaveOperation::save);
    request.uti = QStringLiteral("public.aiff-audio");
    ASSERT_EQ(messageOfSaving(*wave, request), "");
    const auto document = open("a.aif");
    const auto isTold = [&] {
        return mention(document->lossesWhenSaving(request), "point at other markers");
    };
    EXPECT_FALSE(isTold());
    document->addMarker(kit::markerAt(500, QStringLiteral("last")));
    EXPECT_FALSE(isTold());
    ASSERT_EQ(messageOfSaving(*document, request), "");
    document->replaceDataAtOffset(0, 5, 0, ClipList());
    document->setName(QStringLiteral("another"), document->audioMarkers()->front());
    EXPECT_FALSE(isTold());
    document->removeAudioMarker(document->audioMarkers()->front());
    EXPECT_TRUE(isTold());
    document->undoManager().undo();
    EXPECT_FALSE(isTold());
    // A part is written with its loops and without markers.
    request.selection = SoundSelection{0.0, 0.01, 0, 2};
    EXPECT_TRUE(isTold());
}

TEST_F(DocumentLosses, NameOtherHandsOnTheFiles)
{
    makeWave("a.wav", 1000, 16);
    QByteArray withChunk = bytesOf("a.wav");
    withChunk += QByteArray("junk\x04\0\0\0abcd", 12);
    const auto riffSize = static_cast<uint32_t>(withChunk.size() - 8);
    std::memcpy(withChunk.data() + 4, &riffSize, 4);
    withChunk.replace("junk", "pad1");
    writeBytes("a.wav", withChunk);
    std::filesystem::create_hard_link(path("a.wav"), path("b.wav"));
    const auto document = open("a.wav");
    const SaveRequest request = requestFor("a.wav", SaveOperation::save);
    EXPECT_TRUE(mention(document->lossesWhenSaving(request), "hard link"));
    EXPECT_FALSE(mention(document->lossesWhenSaving(request), "pad1"));
    ASSERT_EQ(messageOfSaving(*document, request), "");
    EXPECT_EQ(bytesOf("a.wav"), withChunk);
    SaveRequest other = requestFor("a.aif", SaveOperation::saveAs);
    other.uti = QStringLiteral("public.aiff-audio");
    EXPECT_TRUE(mention(document->lossesWhenSaving(other), "pad1"));
}

} // namespace
