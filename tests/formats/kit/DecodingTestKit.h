#pragma once

#include "formats/kit/SavingTestKit.h"

#include <cmath>
#include <csignal>
#include <cstring>
#include <sys/resource.h>

/// What the tests of types that are decoded share.
namespace velloria::test
{

/// The system's limit for the size of a file, for as long as this lives: a disk that is full.
class FullDisk
{
public:
    explicit FullDisk(rlim_t numBytes)
    {
        std::signal(SIGXFSZ, SIG_IGN);
        ::getrlimit(RLIMIT_FSIZE, &mBefore);
        const rlimit limit = {numBytes, mBefore.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FullDisk() { ::setrlimit(RLIMIT_FSIZE, &mBefore); }
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;

private:
    rlimit mBefore = {};
};

/// Says that it is cancelled once progress was told so many times.
class ImpatientProgress : public Progress
{
public:
    explicit ImpatientProgress(int patience)
        : mPatience(patience)
    {
    }
    void setProgressValue(double value) override
    {
        EXPECT_TRUE(value >= 0.0 && value <= 1.0) << value;
        --mPatience;
    }
    bool isCancelled() const override { return mPatience <= 0; }

private:
    int mPatience;
};

class DecodingTest : public SavingTest
{
protected:
    using Channels = std::vector<FloatBuffer>;

    /// The clips of a file that is decoded; the test fails when that does.
    static std::vector<std::shared_ptr<MutableAudioClip>> clipsOf(AudioFile& file)
    {
        SilentProgress progress;
        MaybeError error;
        auto clips = file.convertedAudioClips(progress, &error);
        EXPECT_FALSE(error) << (error ? error->message.toStdString() : "");
        return clips;
    }

    static Channels channelsOf(AudioFile& file)
    {
        Channels channels;
        for (const auto& clip : clipsOf(file)) {
            EXPECT_EQ(clip->numFrames(), file.numberOfFrames());
            channels.push_back(clip->sampleDataAtOffset(0, clip->numFrames()));
        }
        return channels;
    }

    /// All channels of a file of the test.
    Channels decoded(const std::string& name) const
    {
        const auto file = opened(name);
        return file ? channelsOf(*file) : Channels();
    }

    /// Where the pages of an Ogg file begin, unless its sound holds their name by chance.
    static std::vector<qsizetype> pageOffsets(const QByteArray& bytes)
    {
        std::vector<qsizetype> offsets;
        for (qsizetype at = bytes.indexOf("OggS"); at >= 0; at = bytes.indexOf("OggS", at + 4))
            offsets.push_back(at);
        return offsets;
    }

    /// Interleaved floats as another program (or we) would print them.
    static Channels channelsOfFloats(const QByteArray& interleaved, size_t numChannels)
    {
        const size_t numFrames = static_cast<size_t>(interleaved.size()) / 4 / numChannels;
        Channels channels(numChannels, FloatBuffer(numFrames));
        for (size_t i = 0; i < numFrames * numChannels; ++i)
            std::memcpy(&channels[i % numChannels][i / numChannels], interleaved.data() + 4 * i, 4);
        return channels;
    }

    /// Root mean square over the frames that both have: not every program cuts the end exactly.
    static double difference(const FloatBuffer& left, const FloatBuffer& right)
    {
        double sum = 0.0;
        for (size_t i = 0; i < std::min(left.size(), right.size()); ++i)
            sum += std::pow(static_cast<double>(left[i]) - static_cast<double>(right[i]), 2);
        return std::sqrt(sum / static_cast<double>(std::max<size_t>(1, std::min(left.size(), right.size()))));
    }

    static TrackDocument documentOfChannels(const Channels& channels, double sampleRate = 44100.0)
    {
        std::vector<ClipList> tracks;
        for (const FloatBuffer& samples : channels)
            tracks.emplace_back(floatClip(samples));
        return TrackDocument(tracks, sampleRate);
    }

    /// Every tag that can be a Vorbis comment, and the lines in which other programs list them.
    struct CommentTable {
        AudioMetadata metadata;
        QByteArray lines;
    };
    static CommentTable everyComment()
    {
        const QMap<QString, QString> special = {{"tempo", "118"},        {"advisory", "118"},
                                                {"compilation", "1"},    {"gapless", "1"},
                                                {"podcast", "1"},        {"track number", "3/12"},
                                                {"disc number", "3/12"}, {"lyrics", QString(300000, u'é')}};
        const std::pair<const char*, const char*> spellings[] = {
            {"album artist", "ALBUMARTIST=%\n"},
            {"comments", "COMMENT=%\n"},
            {"year", "DATE=%\n"},
            {"tempo", "BPM=%\n"},
            {"track number", "TRACKNUMBER=3\nTRACKTOTAL=12\n"},
            {"disc number", "DISCNUMBER=3\nDISCTOTAL=12\n"}};
        MetadataDictionary tags;
        CommentTable table;
        for (const QString& key : AudioMetadata::dictionaryKeys()) {
            if (key == MetadataKey::attachedPictures)
                continue;
            const QString value = special.value(key, QStringLiteral("Ḿy “%1” = 値; ½").arg(key));
            tags.insert(key, value);
            table.lines += key.toUpper().toUtf8() + "=" + value.toUtf8() + "\n";
            // As other programs spell it.
            for (const auto& [ours, line] : spellings) {
                if (key == QLatin1String(ours))
                    table.lines += QByteArray(line).replace("%", value.toUtf8());
            }
        }
        table.metadata.setValuesWithDictionary(tags);
        return table;
    }

    /// Opens a file of the test on a disk that is full after so many bytes, and saves to another there.
    template <typename File> void expectErrorsOnAFullDisk(const std::string& name, rlim_t numBytes) const
    {
        const TrackDocument document = documentOfChannels(noiseChannels(2, 1000000));
        File in(44100.0, 16, 2);
        save(in, name, document);
        const auto whole = opened(name);
        File out(44100.0, 16, 2);
        out.setFileHandle(newFile("full-" + name));
        const FullDisk disk(numBytes);
        SilentProgress progress;
        MaybeError error;
        EXPECT_TRUE(whole->convertedAudioClips(progress, &error).empty());
        EXPECT_TRUE(error && !error->message.isEmpty());
        error.reset();
        EXPECT_FALSE(out.saveDocument(document, nullptr, progress, &error));
        EXPECT_TRUE(error && !error->message.isEmpty());
    }

    /// Opens a file of the test until somebody cancels.
    void expectCancelledOpening(const std::string& name, int patience) const
    {
        ImpatientProgress progress(patience);
        MaybeError error;
        EXPECT_TRUE(opened(name)->convertedAudioClips(progress, &error).empty());
        EXPECT_TRUE(error && error->isUserCancelled());
    }

    /// Saves 2 channels to "half" until so many frames are done and somebody cancels.
    template <typename File> void expectCancelledSave(const TrackDocument& document, int64_t numFrames) const
    {
        RecordingProgress progress(numFrames);
        progress.setTargetValue(document.numberOfFrames());
        File half(44100.0, 16, 2);
        half.setFileHandle(newFile("half"));
        MaybeError error;
        EXPECT_FALSE(half.saveDocument(document, nullptr, progress, &error));
        EXPECT_TRUE(error && error->isUserCancelled());
    }

    static Channels noiseChannels(size_t numChannels, size_t numFrames)
    {
        Channels channels;
        for (size_t c = 0; c < numChannels; ++c)
            channels.push_back(noise(numFrames, static_cast<unsigned>(c + 1)));
        return channels;
    }
};

} // namespace velloria::test
