#pragma once

#include "document/DocumentKit.h"
#include "platform/codec/CodecKit.h"

#include <gmock/gmock.h>

namespace velloria::kit
{

/// Documents of files that other programs encoded, which are saved with other tags. What a save keeps is told
/// by others, too: ffmpeg gives the packets of a file as they are.
class KeptSoundTest : public test::CodecTest
{
protected:
    static constexpr size_t numFrames = 50001;

    /// source.wav: a wandering tone with noise, 16 bits.
    void makeSource(size_t numChannels = 2, double sampleRate = 44100.0, size_t frames = numFrames) const
    {
        test::Sound sound{sampleRate, numChannels, {}};
        const FloatBuffer rough = noise(frames * numChannels, 5);
        for (size_t i = 0; i < rough.size(); ++i)
            sound.samples.push_back(0.1F * rough[i] + 0.5F * std::sin(static_cast<float>(i) * 0.01F));
        writeSource("source64.wav", sound);
        ffmpeg("-i source64.wav -c:a pcm_s16le -bitexact source.wav");
    }

    std::shared_ptr<SoundDocument> open(const std::string& name) const
    {
        SilentProgress progress;
        MaybeError error;
        auto document = SoundDocument::readFromPath(path(name), QString(), progress, &error);
        EXPECT_TRUE(document) << name << ": " << (error ? error->message.toStdString() : "");
        return document;
    }

    /// Of a save over the own file, or under another name.
    SaveRequest requestFor(const SoundDocument& document, const std::string& name = {}) const
    {
        SaveRequest request;
        request.path = name.empty() ? document.filePath() : path(name);
        request.uti = document.fileType();
        request.operation = name.empty() ? SaveOperation::save : SaveOperation::saveAs;
        return request;
    }

    static std::vector<std::string> losses(const SoundDocument& document, const SaveRequest& request)
    {
        std::vector<std::string> texts;
        for (const QString& loss : document.lossesWhenSaving(request))
            texts.push_back(loss.toStdString());
        return texts;
    }

    /// Fails the test when the save does.
    static void save(SoundDocument& document, const SaveRequest& request)
    {
        SilentProgress progress;
        const MaybeError error = document.writeToPath(request, progress);
        EXPECT_FALSE(error) << (error ? error->message.toStdString() : "");
    }

    static void setTitle(SoundDocument& document, const QString& title)
    {
        AudioMetadata metadata = document.audioMetadata();
        metadata.setTitle(title);
        document.undoableSetAudioMetadata(metadata);
    }

    /// The sum of all packets as they stand in the file.
    std::string packetsOf(const std::string& name) const
    {
        return run("ffmpeg", {"-v", "quiet", "-i", QString::fromStdString(name), "-map", "0:a:0", "-c",
                              "copy", "-f", "md5", "-"})
            .toStdString();
    }

    static TrackSamples samplesOf(const SoundDocument& document)
    {
        TrackSamples samples;
        for (int32_t track = 0; track < document.trackCount(); ++track)
            samples.push_back(document.sampleDataAtOffset(0, document.numberOfFrames(), track));
        return samples;
    }
};

} // namespace velloria::kit
