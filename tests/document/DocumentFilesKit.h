#pragma once

#include "document/DocumentKit.h"

#include <QTemporaryDir>
#include <fstream>
#include <gtest/gtest.h>

namespace velloria::kit
{

inline const QString kWave = QStringLiteral("com.microsoft.waveform-audio");

/// Documents that are saved to, and opened from, a folder of their own.
class DocumentFiles : public testing::Test
{
protected:
    std::filesystem::path path(const std::string& name) const
    {
        return std::filesystem::path(mFolder.path().toStdString()) / name;
    }

    QByteArray bytesOf(const std::string& name) const
    {
        const auto handle = FileHandle::openForReading(path(name));
        return handle ? handle->readAt(0, handle->length()) : QByteArray();
    }

    void writeBytes(const std::string& name, const QByteArray& bytes) const
    {
        std::ofstream(path(name), std::ios::binary).write(bytes.data(), bytes.size());
    }

    SaveRequest requestFor(const std::string& name, SaveOperation operation = SaveOperation::saveTo) const
    {
        SaveRequest request;
        request.path = path(name);
        request.uti = kWave;
        request.operation = operation;
        return request;
    }

    std::string messageOfSaving(SoundDocument& document, const SaveRequest& request) const
    {
        SilentProgress progress;
        const MaybeError error = document.writeToPath(request, progress);
        return error ? error->message.toStdString() : std::string();
    }

    std::shared_ptr<SoundDocument> open(const std::string& name, std::string* message = nullptr) const
    {
        SilentProgress progress;
        MaybeError error;
        auto document = SoundDocument::readFromPath(path(name), QString(), progress, &error);
        EXPECT_NE(document == nullptr, !error);
        if (message)
            *message = error ? error->message.toStdString() : std::string();
        return document;
    }

    /// A WAVE file of noise with two tracks, two markers and a title.
    void makeWave(const std::string& name, size_t numFrames, int bits) const
    {
        const auto document = documentOf({noise(numFrames, 1), noise(numFrames, 2)});
        document->addMarker(markerAt(10, QStringLiteral("ten")));
        document->addMarker(markerAt(100, QStringLiteral("hundred")));
        AudioMetadata metadata;
        metadata.setTitle(QStringLiteral("Title"));
        document->undoableSetAudioMetadata(metadata);
        SaveRequest request = requestFor(name);
        request.optionTag = bits;
        EXPECT_EQ(messageOfSaving(*document, request), "");
    }

    size_t numFiles() const
    {
        const std::filesystem::directory_iterator files(path(""));
        return static_cast<size_t>(std::distance(begin(files), end(files)));
    }

private:
    QTemporaryDir mFolder;
};

} // namespace velloria::kit
