#include "document/DocumentFilesKit.h"
#include "document/UndoGroup.h"
#include "document/clips/ComputedClip.h"
#include "formats/AudioFileRegistry.h"
#include "platform/Log.h"

#include <QTemporaryDir>
#include <QThread>
#include <cmath>
#include <fcntl.h>
#include <fstream>
#include <sys/stat.h>
#include <thread>

using namespace velloria;
using kit::DocumentFiles;
using kit::kWave;
using kit::samplesOf;

namespace
{

using DocumentOpening = DocumentFiles;
using DocumentSaving = DocumentFiles;

FloatBuffer without(FloatBuffer samples, int64_t offset, int64_t length)
{
    samples.erase(samples.begin() + offset, samples.begin() + offset + length);
    return samples;
}

TEST_F(DocumentOpening, TakesWhatTheFileHas)
{
    makeWave("a.wav", 5000, 24);
    const auto document = open("a.wav");
    ASSERT_TRUE(document);
    EXPECT_EQ(document->numberOfFrames(), 5000);
    EXPECT_EQ(document->trackCount(), 2);
    EXPECT_EQ(document->sampleSize(), 24);
    EXPECT_EQ(document->sampleRate(), 44100.0);
    EXPECT_EQ(document->fileType(), kWave);
    EXPECT_EQ(document->filePath(), path("a.wav"));
    EXPECT_EQ(document->displayName(), QStringLiteral("a.wav"));
    EXPECT_EQ(document->audioMetadata().title(), QStringLiteral("Title"));
    EXPECT_EQ(kit::positionsOf(*document->orderedMarkers()), (std::vector<int64_t>{10, 100}));
    EXPECT_EQ(kit::pansOf(*document), (std::vector<double>{-1.0, 1.0}));
    EXPECT_EQ(document->undoManager().count(), 0);
    EXPECT_FALSE(document->isDocumentEdited());
    EXPECT_TRUE(document->openWarnings().isEmpty());
    EXPECT_EQ(SoundDocument().displayName(), QStringLiteral("Untitled"));
}

TEST_F(DocumentOpening, SaysInOneLineWhatCannotBeOpened)
{
    makeWave("a.wav", 1000, 16);
    QByteArray odd = bytesOf("a.wav");
    odd.replace(odd.indexOf("fmt ") + 8, 2, "UU");
    writeBytes("odd.wav", odd);
    writeBytes("empty.wav", QByteArray());
    writeBytes("text.wav", QByteArray(5000, 'x'));
    std::filesystem::create_directory(path("folder.wav"));
    ASSERT_EQ(mkfifo(path("fifo.wav").c_str(), 0600), 0);
    const std::pair<const char*, const char*> cases[] = {
        {"missing.wav", "No such file"}, {"folder.wav", "is a folder"}, {"fifo.wav", "not a regular file"},
        {"empty.wav", "is empty"},       {"text.wav", "text.wav"},      {"odd.wav", "not supported"}};
    for (const auto& [name, words] : cases) {
        std::string message;
        EXPECT_FALSE(open(name, &message)) << name;
        EXPECT_NE(message.find(words), std::string::npos) << message;
        EXPECT_EQ(message.find('\n'), std::string::npos);
    }
}

TEST_F(DocumentOpening, TellsOfDamageAndOffersTheRest)
{
    makeWave("a.wav", 1000, 16);
    std::filesystem::resize_file(path("a.wav"), 1044);
    const auto document = open("a.wav");
    ASSERT_TRUE(document);
    EXPECT_EQ(document->openWarnings().size(), 1);
    EXPECT_EQ(document->numberOfFrames(), 250);
}

TEST_F(DocumentOpening, WorksOnAnyThreadAndLeavesTheHistoryToTheMainThread)
{
    makeWave("a.wav", 1000, 16);
    std::shared_ptr<SoundDocument> document;
    std::thread([&] { document = open("a.wav"); }).join();
    ASSERT_TRUE(document);
    EXPECT_EQ(document->undoManager().thread(), QThread::currentThread());
    document->setNumTracks(1);
    document->undoManager().undo();
    EXPECT_EQ(document->trackCount(), 2);
}

TEST_F(DocumentSaving, OverTheFileBeingReadKeepsWorking)
{
    constexpr size_t numFrames = 100000;
    makeWave("a.wav", numFrames, 16);
    const QByteArray original = bytesOf("a.wav");
    const auto document = open("a.wav");
    const kit::TrackSamples before = samplesOf(*document);
    kit::TrackSamples expected = before;
    for (const int64_t offset : {50000, 20, 7000}) {
        {
            const UndoGroup group(*document, QStringLiteral("Delete"));
            for (int32_t track = 0; track < 2; ++track)
                document->replaceDataAndMarkersAtOffset(offset, 15000, track, nullptr);
        }
        for (FloatBuffer& samples : expected)
            samples = without(samples, offset, 15000);
        EXPECT_TRUE(document->isDocumentEdited());
        EXPECT_EQ(messageOfSaving(*document, requestFor("a.wav", SaveOperation::save)), "");
        EXPECT_FALSE(document->isDocumentEdited());
        EXPECT_EQ(samplesOf(*document), expected);
        EXPECT_EQ(samplesOf(*open("a.wav")), expected);
    }
    document->undoManager().setIndex(0);
    EXPECT_TRUE(document->isDocumentEdited());
    EXPECT_EQ(samplesOf(*document), before);
    EXPECT_EQ(messageOfSaving(*document, requestFor("a.wav", SaveOperation::save)), "");
    EXPECT_EQ(bytesOf("a.wav"), original) << "samples, markers and tags";
    EXPECT_EQ(numFiles(), 1U);
    EXPECT_TRUE(document->lossesWhenSaving(requestFor("a.wav", SaveOperation::save)).isEmpty());
}

TEST_F(DocumentSaving, TheDocumentMovesToTheNewFileUnlessItIsACopy)
{
    makeWave("a.wav", 1000, 16);
    const auto document = open("a.wav");
    document->addMarker(kit::markerAt(5));
    SaveRequest copy = requestFor("copy.wav");
    copy.optionTag = 24;
    EXPECT_EQ(messageOfSaving(*document, copy), "");
    EXPECT_EQ(document->filePath(), path("a.wav"));
    EXPECT_EQ(document->sampleSize(), 16);
    EXPECT_TRUE(document->isDocumentEdited());
    EXPECT_EQ(open("copy.wav")->sampleSize(), 24);
    EXPECT_EQ(open("copy.wav")->audioMarkers()->size(), 3U);

    SaveRequest moved = requestFor("moved.wav", SaveOperation::saveAs);
    moved.optionTag = 24;
    EXPECT_EQ(messageOfSaving(*document, moved), "");
    EXPECT_EQ(document->filePath(), path("moved.wav"));
    EXPECT_EQ(document->sampleSize(), 24);
    EXPECT_FALSE(document->isDocumentEdited());
    EXPECT_EQ(document->audioFile()->filePath(), path("moved.wav"));
    EXPECT_FALSE(document->audioFile()->fileHandle()->hasChangedOnDisk());
    std::vector<std::byte> frame(6);
    EXPECT_EQ(document->audioFile()->readAudioDataAtOffset(document->audioFile()->soundDataOffset(), frame),
              6);
}

TEST_F(DocumentSaving, ACopyOverTheOwnFileIsASave)
{
    makeWave("a.wav", 1000, 16);
    std::filesystem::create_symlink("a.wav", path("link.wav"));
    for (const char* const opened : {"a.wav", "link.wav"}) {
        for (const char* const copied : {"a.wav", "link.wav"}) {
            const auto document = open(opened);
            document->addMarker(kit::markerAt(5));
            EXPECT_EQ(messageOfSaving(*document, requestFor(copied)), "");
            EXPECT_FALSE(document->isDocumentEdited());
            EXPECT_EQ(document->filePath(), path(opened));
            EXPECT_EQ(messageOfSaving(*document, requestFor(opened, SaveOperation::save)), "");
            EXPECT_EQ(messageOfSaving(*document, requestFor(copied)), "");
        }
    }
    EXPECT_EQ(open("a.wav")->audioMarkers()->size(), 6U);
    // A part in the place of the whole is not what the document shows.
    const auto document = open("a.wav");
    SaveRequest part = requestFor("a.wav");
    part.selection = SoundSelection{0.0, 0.01, 0, 1};
    EXPECT_EQ(messageOfSaving(*document, part), "");
    EXPECT_NE(messageOfSaving(*document, requestFor("a.wav", SaveOperation::save)).find("was replaced since"),
              std::string::npos);
}

TEST_F(DocumentSaving, RemembersTheEncodingItWasOpenedWithOrSavedAsLast)
{
    struct Case {
        const char* uti;
        const char* name;
        int option;
        int other;
    };
    const Case cases[] = {{"com.microsoft.waveform-audio", "a.wav", 24, 16},
                          {"public.aiff-audio", "a.aif", 24, 16},
                          {"org.videolan.flac", "a.flac", 24, 16},
                          {"com.apple.coreaudio-format", "a.caf", fourCharCode("in24"), fourCharCode("ima4")},
                          {"public.aifc-audio", "a.aifc", fourCharCode("alaw"), fourCharCode("ulaw")},
                          {"public.mp3", "a.mp3", 192000, 128000},
                          {"public.mpeg-4-audio.aac", "a.m4a", 192000, 96000},
                          {"public.aac-audio", "a.aac", 192000, 96000},
                          {"org.videolan.ogg-audio", "a.ogg", 192000, 96000},
                          {"org.videolan.ogg-audio", "q.ogg", 109, 103}};
    for (const Case& type : cases) {
        SCOPED_TRACE(type.name);
        const auto document = kit::documentOf({kit::noise(200'000, 1), kit::noise(200'000, 2)});
        SaveRequest request = requestFor(type.name, SaveOperation::saveAs);
        request.uti = QString::fromLatin1(type.uti);
        request.optionTag = type.option;
        ASSERT_EQ(messageOfSaving(*document, request), "");
        const QByteArray bytes = bytesOf(type.name);

        // A plain save, of the document as it stands and of the file opened anew, goes on with it.
        SaveRequest plain = request;
        plain.optionTag = 0;
        plain.operation = SaveOperation::save;
        EXPECT_EQ(document->fileOptions(plain).selectedTag, type.option);
        ASSERT_EQ(messageOfSaving(*document, plain), "");
        // Free space between the parts may go; another choice would take or leave a third.
        EXPECT_NEAR(static_cast<double>(bytesOf(type.name).size()) / static_cast<double>(bytes.size()), 1.0,
                    0.1);
        // What Vorbis was encoded with does not stand in its files, only about what came of it.
        if (plain.uti != QLatin1String("org.videolan.ogg-audio")) {
            EXPECT_EQ(open(type.name)->fileOptions(plain).selectedTag, type.option);
        }

        // A copy does not change what the document is, another choice does.
        SaveRequest copy = requestFor("copy");
        copy.uti = request.uti;
        copy.optionTag = type.other;
        ASSERT_EQ(messageOfSaving(*document, copy), "");
        EXPECT_EQ(document->fileOptions(plain).selectedTag, type.option);
        request.optionTag = type.other;
        ASSERT_EQ(messageOfSaving(*document, request), "");
        EXPECT_EQ(document->fileOptions(plain).selectedTag, type.other);
    }
}

TEST_F(DocumentSaving, ASampleSizeChosenAfterASaveIsWhatTheNextOneWrites)
{
    makeWave("a.wav", 1000, 16);
    const auto document = open("a.wav");
    SaveRequest request = requestFor("a.wav", SaveOperation::save);
    request.optionTag = 24;
    ASSERT_EQ(messageOfSaving(*document, request), "");
    document->undoableSetSampleSize(8);
    request.optionTag = 0;
    ASSERT_EQ(messageOfSaving(*document, request), "");
    EXPECT_EQ(open("a.wav")->sampleSize(), 8);
}

TEST_F(DocumentSaving, UndoOfASampleSizePutsTheOptionOfALaterSaveAside)
{
    makeWave("a.wav", 1000, 16);
    const auto document = open("a.wav");
    document->undoableSetSampleSize(24);
    SaveRequest request = requestFor("b.wav", SaveOperation::saveAs);
    request.optionTag = 8;
    ASSERT_EQ(messageOfSaving(*document, request), "");
    const SaveRequest plain = requestFor("b.wav", SaveOperation::save);
    document->undoManager().undo();
    EXPECT_EQ(document->sampleSize(), 16);
    ASSERT_EQ(messageOfSaving(*document, plain), "");
    EXPECT_EQ(open("b.wav")->sampleSize(), 16);
    document->undoManager().redo();
    EXPECT_EQ(document->sampleSize(), 8);
    ASSERT_EQ(messageOfSaving(*document, plain), "");
    EXPECT_EQ(open("b.wav")->sampleSize(), 8);
}

TEST_F(DocumentSaving, ASelectionTakesItsTracksAndTagsButNoMarkers)
{
    makeWave("a.wav", 5000, 16);
    const auto document = open("a.wav");
    SaveRequest request = requestFor("piece.wav");
    request.selection = SoundSelection{50 / 44100.0, 1050 / 44100.0, 1, 1};
    request.metadata = AudioMetadata();
    request.metadata->setTitle(QStringLiteral("Piece"));
    EXPECT_EQ(messageOfSaving(*document, request), "");
    const auto piece = open("piece.wav");
    const FloatBuffer whole = samplesOf(*document, 1);
    EXPECT_EQ(samplesOf(*piece), kit::TrackSamples{FloatBuffer(whole.begin() + 50, whole.begin() + 1050)});
    EXPECT_TRUE(piece->audioMarkers()->empty());
    EXPECT_EQ(piece->audioMetadata().title(), QStringLiteral("Piece"));
    EXPECT_EQ(document->audioMetadata().title(), QStringLiteral("Title"));
    EXPECT_GT(document->estimatedFileSize(requestFor("a.wav")), -1.5);

    request.selection->firstTrack = 2;
    EXPECT_NE(messageOfSaving(*document, request), "");
}

TEST_F(DocumentSaving, FailureAndCancellationLeaveTargetAndDocumentAlone)
{
    makeWave("a.wav", 100000, 16);
    std::filesystem::create_directory(path("folder"));
    const QByteArray original = bytesOf("a.wav");
    const auto document = open("a.wav");
    document->setNumTracks(1);
    SaveRequest request = requestFor("a.wav", SaveOperation::saveAs);
    request.optionTag = 8;

    kit::ProgressRecorder cancelling(1);
    const MaybeError cancelled = document->writeToPath(request, cancelling);
    EXPECT_TRUE(cancelled && cancelled->isUserCancelled());
    {
        const kit::FileSizeLimit fullDisk(20000);
        EXPECT_NE(messageOfSaving(*document, request), "");
    }
    SaveRequest unknown = request;
    unknown.uti = QStringLiteral("public.piano-roll");
    const LogCapture log;
    EXPECT_EQ(messageOfSaving(*document, unknown),
              "Document was not saved: files of the type “public.piano-roll” cannot be written.");
    EXPECT_TRUE(log.hasLogged(QStringLiteral("-[SoundDocument writeToURL:...] Could not save.")));
    EXPECT_TRUE(document->lossesWhenSaving(unknown).isEmpty());
    EXPECT_EQ(document->estimatedFileSize(unknown), -1.0);
    EXPECT_NE(messageOfSaving(*document, requestFor("folder", SaveOperation::saveAs)), "");
    EXPECT_NE(messageOfSaving(*document, requestFor("none/a.wav", SaveOperation::saveAs)), "");

    EXPECT_EQ(bytesOf("a.wav"), original);
    EXPECT_EQ(numFiles(), 2U);
    EXPECT_TRUE(document->isDocumentEdited());
    EXPECT_EQ(document->sampleSize(), 16);
    EXPECT_EQ(document->filePath(), path("a.wav"));
}

TEST_F(DocumentSaving, AnnouncesTheNewFileWhileTheOldOneIsStillThere)
{
    makeWave("a.wav", 100000, 16);
    const QByteArray original = bytesOf("a.wav");
    const auto document = open("a.wav");
    std::vector<QByteArray> bytesWhenTold;
    SaveRequest request = requestFor("a.wav", SaveOperation::saveAs);
    request.optionTag = 8;
    request.willReplace = [&] { bytesWhenTold.push_back(bytesOf("a.wav")); };
    {
        const LogCapture log;
        const kit::FileSizeLimit fullDisk(20000);
        EXPECT_NE(messageOfSaving(*document, request), "");
    }
    kit::ProgressRecorder cancelling(1);
    EXPECT_TRUE(document->writeToPath(request, cancelling));
    EXPECT_TRUE(bytesWhenTold.empty());
    EXPECT_EQ(messageOfSaving(*document, request), "");
    EXPECT_EQ(bytesWhenTold, std::vector<QByteArray>{original});
    EXPECT_NE(bytesOf("a.wav"), original);
}

TEST_F(DocumentSaving, BeginsNothingForWhichTheDiskHasNoRoom)
{
    const LogCapture log;
    const auto document = std::make_shared<SoundDocument>();
    document->replaceDataAtOffset(0, 0, 0,
                                  ClipList(AudioClipPtr(std::make_shared<AudioClip>(int64_t{1} << 48))));
    for (const char* uti : {"com.microsoft.waveform-audio", "com.apple.coreaudio-format"}) {
        SaveRequest request = requestFor("huge");
        request.uti = QString::fromLatin1(uti);
        const std::string message = messageOfSaving(*document, request);
        EXPECT_NE(message.find("the disk has room for"), std::string::npos) << uti << ": " << message;
    }
    EXPECT_EQ(numFiles(), 0U);
}

TEST_F(DocumentSaving, CountsProgressToTheEndAlsoWithinALargerCount)
{
    const auto document = kit::documentOf({kit::noise(100000, 1)});
    kit::ProgressRecorder alone;
    EXPECT_FALSE(document->writeToPath(requestFor("a.wav"), alone));
    EXPECT_EQ(alone.values.front(), 32768.0 / 100000.0);
    EXPECT_EQ(alone.values.back(), 1.0);
    kit::ProgressRecorder shared;
    shared.setTargetValue(400000);
    EXPECT_FALSE(document->writeToPath(requestFor("a.wav"), shared));
    EXPECT_EQ(shared.values.back(), 0.25);
}

TEST_F(DocumentSaving, ALinearAiffCFileIsSavedAsAiffAndACompandedOneStaysOne)
{
    const auto big = [](quint32 value, int size) {
        QByteArray bytes;
        for (int shift = 8 * (size - 1); shift >= 0; shift -= 8)
            bytes += static_cast<char>(value >> shift);
        return bytes;
    };
    const auto chunk = [&big](const char* ident, const QByteArray& payload) {
        return QByteArray(ident, 4) + big(static_cast<quint32>(payload.size()), 4) + payload;
    };
    const struct {
        const char* code;
        quint32 bits;
        int bytesPerSample;
        QByteArray stored;
        const char* uti;
        QByteArray saved;
    } cases[] = {
        {"NONE", 16, 2, "abcdef", "public.aiff-audio", "abcdef"},
        {"sowt", 24, 3, "abcdef", "public.aiff-audio", "cbafed"},
        {"in24", 24, 3, "abcdef", "public.aiff-audio", "abcdef"},
        {"42n1", 24, 3, "abcdef", "public.aiff-audio", "cbafed"},
        {"raw ", 8, 1, QByteArray("\x80\xFF\x01\x00", 4), "public.aiff-audio",
         QByteArray("\0\x7F\x81\x80", 4)},
        {"FL32", 32, 4, QByteArray("\x3F\0\0\0\xBF\0\0\0", 8), "public.aiff-audio",
         QByteArray("\x40\0\0\0\xC0\0\0\0", 8)},
        {"ulaw", 16, 1, "abcdef", "public.aifc-audio", "abcdef"},
        {"alaw", 16, 1, "abcdef", "public.aifc-audio", "abcdef"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.code);
        const auto numFrames = static_cast<quint32>(c.stored.size() / c.bytesPerSample);
        const QByteArray common = big(1, 2) + big(numFrames, 4) + big(c.bits, 2) +
                                  QByteArray("\x40\x0E\xAC\x44\0\0\0\0\0\0", 10) + c.code +
                                  QByteArray(2, '\0');
        const QByteArray chunks =
            "AIFC" + chunk("COMM", common) + chunk("SSND", QByteArray(8, '\0') + c.stored);
        writeBytes("a.aifc", "FORM" + big(static_cast<quint32>(chunks.size()), 4) + chunks);
        const auto document = open("a.aifc");
        ASSERT_TRUE(document);
        EXPECT_EQ(document->fileType(), c.uti);
        SaveRequest request = requestFor("a.aifc", SaveOperation::save);
        request.uti = document->fileType();
        EXPECT_EQ(messageOfSaving(*document, request), "");
        const QByteArray saved = bytesOf("a.aifc");
        EXPECT_EQ(saved.mid(saved.indexOf("SSND") + 16, c.saved.size()), c.saved);
    }
}

} // namespace
