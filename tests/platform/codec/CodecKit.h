#pragma once

#include "platform/codec/StreamDecoder.h"

#include <QFile>
#include <QTemporaryDir>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <numbers>
#include <random>

namespace velloria::test
{

/// Interleaved floats with their shape.
struct Sound {
    double sampleRate = 44100.0;
    size_t numChannels = 1;
    std::vector<float> samples;

    int64_t numFrames() const { return static_cast<int64_t>(samples.size() / numChannels); }
    std::vector<float> channel(size_t index) const
    {
        std::vector<float> mono;
        for (size_t i = index; i < samples.size(); i += numChannels)
            mono.push_back(samples[i]);
        return mono;
    }
};

/// A folder of one test with what programs put there.
class CodecTest : public testing::Test
{
protected:
    std::filesystem::path path(const std::string& name) const
    {
        return std::filesystem::path(mFolder.path().toStdString()) / name;
    }

    /// Runs a program in the folder; fails the test when it fails. Gives its standard output. (QProcess
    /// shares the memory of this process with the one it starts, which confuses ThreadSanitizer.)
    QByteArray run(const QString& program, const QStringList& arguments) const
    {
        QString command = QStringLiteral("cd '%1' && '%2'").arg(mFolder.path(), program);
        for (const QString& argument : arguments)
            command += QStringLiteral(" '%1'").arg(argument);
        FILE* const pipe = ::popen(command.toLocal8Bit().constData(), "r");
        if (!pipe)
            return {};
        QByteArray output;
        char buffer[65536];
        while (const size_t count = std::fread(buffer, 1, sizeof buffer, pipe))
            output.append(buffer, static_cast<qsizetype>(count));
        EXPECT_EQ(::pclose(pipe), 0) << command.toStdString();
        return output;
    }
    /// ffmpeg with a line of arguments.
    void ffmpeg(const QString& line) const
    {
        run("ffmpeg", QStringList{"-v", "error", "-y"} + line.split(' ', Qt::SkipEmptyParts));
    }
    std::vector<float> floatsFromFfmpeg(const QString& name) const
    {
        return floatsOf(run("ffmpeg", {"-v", "error", "-i", name, "-f", "f32le", "-"}));
    }
    static std::vector<float> floatsOf(const QByteArray& bytes)
    {
        std::vector<float> floats(static_cast<size_t>(bytes.size()) / sizeof(float));
        std::memcpy(floats.data(), bytes.constData(), floats.size() * sizeof(float));
        return floats;
    }

    /// Stores a sound where ffmpeg finds it: a WAVE file of 64-bit floats.
    void writeSource(const std::string& name, const Sound& sound) const
    {
        const std::string raw = name + ".raw";
        QFile file(QString::fromStdString(path(raw).string()));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(reinterpret_cast<const char*>(sound.samples.data()),
                   static_cast<qint64>(sound.samples.size() * sizeof(float)));
        file.close();
        ffmpeg(QStringLiteral("-f f32le -ar %1 -ac %2 -i %3 -c:a pcm_f64le %4")
                   .arg(sound.sampleRate)
                   .arg(sound.numChannels)
                   .arg(QString::fromStdString(raw), QString::fromStdString(name)));
    }
    void writeBytes(const std::string& name, const QByteArray& bytes) const
    {
        QFile file(QString::fromStdString(path(name).string()));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    }
    QByteArray readBytes(const std::string& name) const
    {
        QFile file(QString::fromStdString(path(name).string()));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    std::shared_ptr<FileHandle> newFile(const std::string& name) const
    {
        return FileHandle::adopt(::open(path(name).c_str(), O_RDWR | O_CREAT | O_TRUNC, 0600), path(name));
    }

private:
    QTemporaryDir mFolder;
};

/// Everything that a reader's packets decode to, `numFramesPerCall` at a time.
inline Sound decodeAll(PacketReader& reader, int64_t numFramesPerCall = 4000)
{
    Sound sound;
    sound.sampleRate = reader.streamDescription().sampleRate();
    sound.numChannels = reader.streamDescription().channelsPerFrame();
    MaybeError error;
    const auto decoder = StreamDecoder::open(reader, &error);
    EXPECT_TRUE(decoder) << (error ? error->message.toStdString() : "");
    std::vector<std::vector<float>> planar(sound.numChannels,
                                           std::vector<float>(static_cast<size_t>(numFramesPerCall)));
    std::vector<float*> channels;
    for (auto& channel : planar)
        channels.push_back(channel.data());
    while (const auto count = static_cast<size_t>(decoder->decode(numFramesPerCall, channels))) {
        for (size_t i = 0; i < count; ++i) {
            for (const auto& channel : planar)
                sound.samples.push_back(channel[i]);
        }
    }
    return sound;
}

/// Noise with a different seed in each channel, shaped so that lossy codecs keep it: partials that come and
/// go.
inline Sound testSound(int64_t numFrames, size_t numChannels, double sampleRate = 44100.0)
{
    Sound sound{sampleRate, numChannels, std::vector<float>(static_cast<size_t>(numFrames) * numChannels)};
    for (size_t c = 0; c < numChannels; ++c) {
        std::mt19937 random(static_cast<unsigned>(17 + c));
        std::uniform_real_distribution<double> uniform(0.0, 1.0);
        for (int partial = 0; partial < 12; ++partial) {
            const double step = 2.0 * std::numbers::pi * (150.0 + 3500.0 * uniform(random)) / sampleRate;
            const double beat = 2.0 * std::numbers::pi * (0.5 + 9.0 * uniform(random)) / sampleRate;
            for (int64_t i = 0; i < numFrames; ++i) {
                const auto time = static_cast<double>(i);
                sound.samples[static_cast<size_t>(i) * numChannels + c] +=
                    static_cast<float>(0.04 * std::sin(step * time) * (1.0 + std::sin(beat * time)));
            }
        }
    }
    return sound;
}

/// By how many frames `late` is behind `early`, by their correlation within +-maxLag.
inline int64_t lagOf(const std::vector<float>& late, const std::vector<float>& early, int64_t maxLag = 3000)
{
    const auto length = static_cast<int64_t>(std::min(late.size(), early.size()));
    int64_t best = 0;
    double most = -1e300;
    for (int64_t lag = -maxLag; lag <= maxLag; ++lag) {
        double sum = 0.0;
        for (int64_t i = std::max<int64_t>(0, -lag); i < length - std::max<int64_t>(0, lag); i += 3)
            sum += static_cast<double>(early[static_cast<size_t>(i)]) * late[static_cast<size_t>(i + lag)];
        if (sum > most) {
            most = sum;
            best = lag;
        }
    }
    return best;
}

inline double rmsOf(const std::vector<float>& samples)
{
    double sum = 0.0;
    for (const float sample : samples)
        sum += static_cast<double>(sample) * sample;
    return std::sqrt(sum / static_cast<double>(samples.size()));
}

/// Level of what differs, relative to the level of `wanted`, in dB.
inline double differenceDB(const std::vector<float>& got, const std::vector<float>& wanted)
{
    std::vector<float> difference(std::min(got.size(), wanted.size()));
    for (size_t i = 0; i < difference.size(); ++i)
        difference[i] = got[i] - wanted[i];
    return 20.0 * std::log10(rmsOf(difference) / rmsOf(wanted));
}

} // namespace velloria::test
