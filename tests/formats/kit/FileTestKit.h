#pragma once

#include "document/clips/FrameSource.h"
#include "document/clips/MutableAudioClip.h"
#include "formats/AudioFileRegistry.h"
#include "platform/Log.h"

#include <QProcess>
#include <QTemporaryDir>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <random>

/// What the tests of file types share: files of given bytes, documents of given clips, a progress face that
/// writes down what it is told, and other programs as judges.
namespace velloria::test
{

/// A folder for one test, with files in it.
class FileTest : public testing::Test
{
protected:
    std::filesystem::path path(const std::string& name) const
    {
        return std::filesystem::path(mFolder.path().toStdString()) / name;
    }

    std::filesystem::path makeFile(const std::string& name, const QByteArray& bytes) const
    {
        newFile(name)->writeAt(0, bytes);
        return path(name);
    }

    /// An empty file that can be written and read.
    std::shared_ptr<FileHandle> newFile(const std::string& name) const
    {
        const int descriptor = ::open(path(name).c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
        EXPECT_GE(descriptor, 0);
        return FileHandle::adopt(descriptor, path(name));
    }

    QByteArray bytesOf(const std::string& name) const
    {
        const auto handle = FileHandle::openForReading(path(name));
        return handle ? handle->readAt(0, handle->length()) : QByteArray();
    }

    /// What a program that must succeed prints to standard output.
    static QByteArray run(const QString& program, const QStringList& arguments)
    {
        QProcess process;
        process.start(program, arguments);
        const bool hasEnded = process.waitForFinished();
        EXPECT_TRUE(hasEnded && process.exitCode() == 0)
            << program.toStdString() << ": " << process.readAllStandardError().toStdString();
        return process.readAllStandardOutput();
    }

    std::shared_ptr<AudioFile> openBytes(const QByteArray& bytes, MaybeError* error = nullptr) const
    {
        return AudioFileRegistry::audioFileWithPath(makeFile("in.wav", bytes), error);
    }

    QString argument(const std::string& name) const { return QString::fromStdString(path(name).native()); }

private:
    QTemporaryDir mFolder;
};

/// A document of given tracks.
class TrackDocument : public FrameSource
{
public:
    explicit TrackDocument(const std::vector<ClipList>& tracks, double sampleRate = 44100.0)
        : mSampleRate(sampleRate)
    {
        std::vector<AudioTrackPtr> list;
        for (const ClipList& clips : tracks)
            list.push_back(std::make_shared<AudioTrack>(clips));
        mTracks = std::make_shared<const std::vector<AudioTrackPtr>>(std::move(list));
    }

    int64_t numberOfFrames() const override
    {
        int64_t numFrames = 0;
        for (const AudioTrackPtr& track : *mTracks)
            numFrames = std::max(numFrames, track->length());
        return numFrames;
    }
    double sampleRate() const override { return mSampleRate; }
    TrackList audioTracks() const override { return mTracks; }

private:
    double mSampleRate;
    TrackList mTracks;
};

class RecordingProgress : public Progress
{
public:
    explicit RecordingProgress(int64_t cancelAtMark = std::numeric_limits<int64_t>::max())
        : mCancelAtMark(cancelAtMark)
    {
    }
    void setProgressValue(double value) override { values.push_back(value); }
    bool isCancelled() const override { return markValue() >= mCancelAtMark; }

    std::vector<double> values;

private:
    int64_t mCancelAtMark;
};

inline AudioClipPtr floatClip(const FloatBuffer& samples)
{
    auto clip = MutableAudioClip::clipWithSampleRate(44100.0);
    EXPECT_FALSE(clip->appendData(samples));
    clip->finalizeCache();
    return clip;
}

inline QByteArray noiseBytes(int64_t numBytes, unsigned seed)
{
    std::mt19937 generator(seed);
    QByteArray bytes(numBytes, Qt::Uninitialized);
    for (char& byte : bytes)
        byte = static_cast<char>(generator());
    return bytes;
}

inline FloatBuffer noise(size_t numFrames, unsigned seed)
{
    std::mt19937 generator(seed);
    std::uniform_real_distribution<float> amplitude(-0.9F, 0.9F);
    FloatBuffer samples(numFrames);
    for (float& sample : samples)
        sample = amplitude(generator);
    return samples;
}

inline MarkerList markerList(const std::vector<std::pair<int64_t, QString>>& positions)
{
    std::vector<AudioMarkerPtr> markers;
    for (const auto& [position, name] : positions)
        markers.push_back(std::make_shared<AudioMarker>(0, position, name));
    return std::make_shared<const std::vector<AudioMarkerPtr>>(std::move(markers));
}

inline std::vector<std::pair<int64_t, QString>> markersOf(const AudioFile& file)
{
    std::vector<std::pair<int64_t, QString>> markers;
    if (file.markers()) {
        for (const AudioMarkerPtr& marker : *file.markers())
            markers.emplace_back(marker->position(), marker->name());
    }
    return markers;
}

/// All sound, in host order and signed.
inline QByteArray signedSamples(const AudioFile& file)
{
    QByteArray bytes(file.numberOfFrames() * file.frameSize(), Qt::Uninitialized);
    const auto span = std::as_writable_bytes(std::span(bytes.data(), static_cast<size_t>(bytes.size())));
    bytes.truncate(file.readAudioDataAtOffset(file.soundDataOffset(), span));
    return bytes;
}

inline QByteArray littleEndian16(int64_t value)
{
    return QByteArray(1, static_cast<char>(value)) + static_cast<char>(value >> 8);
}

inline QByteArray littleEndian32(int64_t value)
{
    return littleEndian16(value) + littleEndian16(value >> 16);
}

/// A RIFF chunk with its pad byte.
inline QByteArray chunk(const char* ident, const QByteArray& payload)
{
    return QByteArray(ident, 4) + littleEndian32(payload.size()) + payload +
           QByteArray(payload.size() % 2, '\0');
}

struct WaveFields {
    int formatTag = 1;
    int numChannels = 2;
    int64_t sampleRate = 44100;
    int bits = 16;
    int blockAlign = -1;
};

inline QByteArray formatPayload(const WaveFields& fields)
{
    const int blockAlign = fields.blockAlign >= 0 ? fields.blockAlign : fields.numChannels * fields.bits / 8;
    return littleEndian16(fields.formatTag) + littleEndian16(fields.numChannels) +
           littleEndian32(fields.sampleRate) + littleEndian32(fields.sampleRate * blockAlign) +
           littleEndian16(blockAlign) + littleEndian16(fields.bits);
}

inline QByteArray riff(const QByteArray& chunks)
{
    return "RIFF" + littleEndian32(chunks.size() + 4) + "WAVE" + chunks;
}

inline QByteArray wave(const WaveFields& fields, const QByteArray& samples, const QByteArray& trailing = {})
{
    return riff(chunk("fmt ", formatPayload(fields)) + chunk("data", samples) + trailing);
}

} // namespace velloria::test
