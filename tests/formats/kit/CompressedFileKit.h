#pragma once

#include "formats/kit/SavingTestKit.h"
#include "platform/codec/CodecKit.h"

/// What the tests of compressed file types share: opening, decoding and saving in the folder of one test.
namespace velloria::test
{

/// Interleaved floats of clips.
inline Sound soundOfClips(const std::vector<std::shared_ptr<MutableAudioClip>>& clips, double sampleRate)
{
    Sound sound{sampleRate, std::max<size_t>(1, clips.size()), {}};
    for (size_t c = 0; c < clips.size(); ++c) {
        const FloatBuffer channel = clips[c]->sampleDataAtOffset(0, clips[c]->numFrames());
        sound.samples.resize(channel.size() * clips.size());
        for (size_t i = 0; i < channel.size(); ++i)
            sound.samples[i * clips.size() + c] = channel[i];
    }
    return sound;
}

/// A document of one clip a channel, panned as a window shows them.
inline TrackDocument documentOfSound(const Sound& sound)
{
    std::vector<ClipList> tracks;
    for (size_t c = 0; c < sound.numChannels; ++c)
        tracks.emplace_back(floatClip(sound.channel(c)));
    TrackDocument document(tracks, sound.sampleRate);
    for (size_t c = 0; c < sound.numChannels && sound.numChannels > 1; ++c)
        (*document.audioTracks())[c]->setPan(c % 2 == 0 ? -1.0 : 1.0);
    return document;
}

class CompressedFileTest : public CodecTest
{
protected:
    std::shared_ptr<AudioFile> open(const std::string& name) const
    {
        MaybeError error;
        auto file = AudioFileRegistry::audioFileWithPath(path(name), &error);
        EXPECT_TRUE(file) << name << ": " << (error ? error->message.toStdString() : "");
        return file;
    }
    static Sound decoded(AudioFile& file)
    {
        SilentProgress progress;
        MaybeError error;
        const auto clips = file.convertedAudioClips(progress, &error);
        EXPECT_FALSE(clips.empty()) << (error ? error->message.toStdString() : "");
        return soundOfClips(clips, file.sampleRate());
    }
    void save(const std::string& name, const Sound& sound, AudioFile& writer,
              const SoundSelection* selection = nullptr) const
    {
        writer.setFileHandle(newFile(name));
        writer.setFilePath(path(name));
        writer.validateAndCorrectParameters();
        SilentProgress progress;
        MaybeError error;
        EXPECT_TRUE(writer.saveDocument(documentOfSound(sound), selection, progress, &error))
            << (error ? error->message.toStdString() : "");
    }
    /// What ffprobe says of a file.
    QJsonObject probed(const QString& name) const
    {
        return QJsonDocument::fromJson(run("ffprobe", {"-v", "error", "-show_format", "-show_streams",
                                                       "-show_chapters", "-of", "json", name}))
            .object();
    }
};

/// Every tag that has a property, as text no two of which are equal.
inline AudioMetadata metadataWithEverything()
{
    MetadataDictionary dictionary;
    for (const QString& key : AudioMetadata::dictionaryKeys())
        dictionary.insert(key, QStringLiteral("%1 – Ünï 音楽 שלום").arg(key));
    dictionary.insert("track number", "3/12");
    dictionary.insert("disc number", "1/2");
    dictionary.insert("tempo", "127");
    dictionary.insert("advisory", "1");
    for (const char* const flag : {"compilation", "gapless", "podcast"})
        dictionary.insert(flag, "1");
    dictionary.insert("encoding application", "Velloria");
    QList<AttachedPicture> pictures;
    for (const QByteArray& head : {QByteArray("\x89PNG\r\n\x1a\n"), QByteArray("\xFF\xD8\xFF\xE0")})
        pictures.append(*AttachedPicture::withPictureData(head + noiseBytes(3000, 1)));
    dictionary.insert(MetadataKey::attachedPictures, QVariant::fromValue(pictures));
    AudioMetadata metadata;
    metadata.setValuesWithDictionary(dictionary);
    return metadata;
}

} // namespace velloria::test
