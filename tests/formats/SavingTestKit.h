#pragma once

#include "formats/FileTestKit.h"
#include "formats/Id3TestTags.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

/// What the tests of big-endian file types share: saving to a file of the test, reading it back, and chunks.
namespace velloria::test
{

class SavingTest : public FileTest
{
protected:
    /// Saves a document; the test fails when that does.
    void save(AudioFile& file, const std::string& name, const FrameSource& document,
              const SoundSelection* selection = nullptr) const
    {
        file.setFileHandle(newFile(name));
        file.setFilePath(path(name));
        SilentProgress progress;
        MaybeError error;
        EXPECT_TRUE(file.saveDocument(document, selection, progress, &error)) << error->message.toStdString();
    }

    /// Opens a file of the test; the test fails when it cannot be opened.
    std::shared_ptr<AudioFile> opened(const std::string& name) const
    {
        MaybeError error;
        const auto file = AudioFileRegistry::audioFileWithPath(path(name), &error);
        EXPECT_TRUE(file) << name << ": " << (error ? error->message.toStdString() : "");
        return file;
    }

    /// A document that reads a file in place.
    static TrackDocument documentOf(const std::shared_ptr<AudioFile>& file)
    {
        std::vector<ClipList> tracks;
        for (const AudioClipPtr& clip : AudioFile::pcmAudioClips(file))
            tracks.emplace_back(clip);
        return TrackDocument(tracks, file->sampleRate());
    }

    static TrackDocument silence(int64_t numFrames, size_t numChannels = 1)
    {
        return TrackDocument(
            std::vector(numChannels, ClipList(AudioClipPtr(std::make_shared<AudioClip>(numFrames)))));
    }

    QJsonObject probed(const std::string& name) const
    {
        return QJsonDocument::fromJson(run("ffprobe", {"-v", "error", "-show_format", "-show_streams", "-of",
                                                       "json", argument(name)}))
            .object();
    }
};

inline QByteArray bigEndian16(int64_t value)
{
    return QByteArray(1, static_cast<char>(value >> 8)) + static_cast<char>(value);
}

/// An IFF chunk with its pad byte.
inline QByteArray iffChunk(const char* ident, const QByteArray& payload)
{
    return QByteArray(ident, 4) + bigEndian32(static_cast<quint32>(payload.size())) + payload +
           QByteArray(payload.size() % 2, '\0');
}

/// 44100 as an 80-bit extended float.
inline const QByteArray extended44100 = bytes("\x40\x0E\xAC\x44\0\0\0\0\0\0");

struct AiffFields {
    int numChannels = 2;
    int64_t numFrames = 0;
    int bits = 16;
    QByteArray sampleRate = extended44100;
};

inline QByteArray commonPayload(const AiffFields& fields)
{
    return bigEndian16(fields.numChannels) + bigEndian32(static_cast<quint32>(fields.numFrames)) +
           bigEndian16(fields.bits) + fields.sampleRate;
}

/// The sound's chunk without a pad byte.
inline QByteArray soundChunk(const QByteArray& samples)
{
    return "SSND" + bigEndian32(static_cast<quint32>(samples.size() + 8)) + QByteArray(8, '\0') + samples;
}

inline QByteArray form(const char* type, const QByteArray& chunks)
{
    return "FORM" + bigEndian32(static_cast<quint32>(chunks.size() + 4)) + QByteArray(type, 4) + chunks;
}

/// An AIFF file; a frame count of 0 means as many as the samples are.
inline QByteArray aiff(AiffFields fields, const QByteArray& samples, const QByteArray& between = {},
                       const QByteArray& trailing = {})
{
    if (fields.numFrames == 0)
        fields.numFrames = samples.size() / std::max(1, fields.numChannels * ((fields.bits + 7) / 8));
    return form("AIFF", iffChunk("COMM", commonPayload(fields)) + between + soundChunk(samples) + trailing);
}

/// Every sample of `size` bytes turned around.
inline QByteArray reversedSamples(QByteArray samples, int size)
{
    for (qsizetype i = 0; i + size <= samples.size(); i += size)
        std::reverse(samples.begin() + i, samples.begin() + i + size);
    return samples;
}

} // namespace velloria::test
