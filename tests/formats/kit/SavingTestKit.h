#pragma once

#include "formats/kit/FileTestKit.h"
#include "formats/tags/Id3TestTags.h"

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

    /// A document of a file that has to be decoded; the test fails when that does.
    static TrackDocument decoded(AudioFile& file)
    {
        SilentProgress progress;
        MaybeError error;
        std::vector<ClipList> tracks;
        for (const auto& clip : file.convertedAudioClips(progress, &error))
            tracks.emplace_back(clip);
        EXPECT_FALSE(error) << error->message.toStdString();
        return TrackDocument(tracks, file.sampleRate());
    }

    /// All frames of a document, interleaved.
    static FloatBuffer framesOf(const TrackDocument& document)
    {
        return document.interleavedDataAtOffset(0, document.numberOfFrames(), 0, document.trackCount());
    }

    /// The frames of a file of the test, decoded by us and interleaved.
    FloatBuffer decodedFrames(const std::string& name) const
    {
        const auto file = opened(name);
        return file ? framesOf(file->requiresConversion() ? decoded(*file) : documentOf(file))
                    : FloatBuffer();
    }

    /// The same, decoded by FFmpeg.
    FloatBuffer framesByFfmpeg(const std::string& name) const
    {
        const QByteArray floats = run("ffmpeg", {"-v", "error", "-i", argument(name), "-f", "f32le", "-"});
        FloatBuffer samples(static_cast<size_t>(floats.size()) / sizeof(float));
        std::memcpy(samples.data(), floats.data(), samples.size() * sizeof(float));
        return samples;
    }

    /// A different noise in each track.
    static TrackDocument noiseDocument(size_t numFrames, size_t numChannels, double sampleRate = 44100.0)
    {
        std::vector<ClipList> tracks;
        for (size_t c = 0; c < numChannels; ++c)
            tracks.emplace_back(floatClip(noise(numFrames, static_cast<unsigned>(c) + 1)));
        return TrackDocument(tracks, sampleRate);
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
