#include "document/DocumentKit.h"

#include <QTemporaryDir>
#include <chrono>
#include <fstream>
#include <thread>

using namespace velloria;

namespace
{

namespace fs = std::filesystem;

const QString kWave = QStringLiteral("com.microsoft.waveform-audio");
constexpr size_t kNumFrames = 200'000;

/// Does something to a file once the operation is on its way.
class Meddler : public SilentProgress
{
public:
    explicit Meddler(std::function<void()> meddle)
        : mMeddle(std::move(meddle))
    {
    }
    void setProgressValue(double value) override
    {
        if (mMeddle && value > 0.0)
            std::exchange(mMeddle, nullptr)();
    }
    bool hasMeddled() const { return !mMeddle; }

private:
    std::function<void()> mMeddle;
};

void truncate(const fs::path& file)
{
    fs::resize_file(file, fs::file_size(file) / 3);
}

void scribble(const fs::path& file)
{
    const auto time = fs::last_write_time(file);
    std::fstream stream(file, std::ios::in | std::ios::out | std::ios::binary);
    stream.seekp(static_cast<std::streamoff>(fs::file_size(file)) - 1000);
    stream << std::string(1000, '\x55') << std::flush;
    fs::last_write_time(file, time);
}

using Meddling = void (*)(const fs::path&);

/// Files that change while the sound in them is written, or computed with.
class MovingGround : public testing::Test
{
protected:
    fs::path path(const std::string& name) const { return fs::path(mFolder.path().toStdString()) / name; }

    std::string contentsOf(const std::string& name) const
    {
        std::ifstream stream(path(name), std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(stream), {});
    }

    static SaveRequest requestFor(const fs::path& target, const QString& uti)
    {
        SaveRequest request;
        request.path = target;
        request.uti = uti;
        request.operation = SaveOperation::saveTo;
        return request;
    }

    /// A 16-bit WAVE file of noise, opened.
    std::shared_ptr<SoundDocument> openNoise() const
    {
        const auto noise = kit::documentOf({kit::noise(kNumFrames, 1), kit::noise(kNumFrames, 2)});
        SilentProgress progress;
        EXPECT_FALSE(noise->writeToPath(requestFor(path("a.wav"), kWave), progress));
        MaybeError error;
        auto document = SoundDocument::readFromPath(path("a.wav"), QString(), progress, &error);
        EXPECT_TRUE(document);
        // The clock of file times has moved on by then.
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        return document;
    }

private:
    QTemporaryDir mFolder;
};

} // namespace

TEST_F(MovingGround, ASaveFailsAndLeavesItsTargetAlone)
{
    struct Case {
        const char* uti;
        const char* target;
        int option;
    };
    // Runs copied as bytes, dithered, as integers to an encoder, as floats to one, as text; onto the file
    // itself.
    const Case cases[] = {{"com.microsoft.waveform-audio", "out", 16},
                          {"com.microsoft.waveform-audio", "out", 24},
                          {"org.videolan.flac", "out", 0},
                          {"org.videolan.ogg-audio", "out", 0},
                          {"public.mpeg-4-audio.apple-lossless", "out", 0},
                          {"public.plain-text", "out", 0},
                          {"com.microsoft.waveform-audio", "a.wav", 24}};
    for (const Case& save : cases)
        for (const Meddling meddling : {Meddling(truncate), Meddling(scribble)}) {
            SCOPED_TRACE(std::string(save.uti) +
                         (meddling == Meddling(truncate) ? " truncated" : " scribbled"));
            const auto document = openNoise();
            std::ofstream(path("out")) << "precious";
            Meddler meddler([&] { meddling(path("a.wav")); });
            SaveRequest request = requestFor(path(save.target), QString::fromLatin1(save.uti));
            request.optionTag = save.option;
            const MaybeError error = document->writeToPath(request, meddler);
            ASSERT_TRUE(meddler.hasMeddled());
            ASSERT_TRUE(error);
            EXPECT_TRUE(error->code == Error::Code::sourceChanged ||
                        error->code == Error::Code::targetChanged);
            EXPECT_TRUE(error->message.contains(QStringLiteral("a.wav"))) << error->message.toStdString();
            EXPECT_EQ(contentsOf("out"), "precious");
            EXPECT_EQ(std::distance(fs::directory_iterator(path("")), fs::directory_iterator()), 2);
        }
}

TEST_F(MovingGround, WhatIsLeftCanStillBeSavedAsACopy)
{
    const auto document = openNoise();
    truncate(path("a.wav"));
    SaveRequest request = requestFor(path("copy.wav"), kWave);
    SilentProgress progress;
    EXPECT_TRUE(document->refusalToSave(request));
    EXPECT_TRUE(document->writeToPath(request, progress));
    EXPECT_FALSE(fs::exists(path("copy.wav")));

    request.takesWhatIsLeft = true;
    ASSERT_FALSE(document->writeToPath(request, progress));
    EXPECT_EQ(document->saveWarnings().size(), 1);
    const auto copy = SoundDocument::readFromPath(path("copy.wav"), QString(), progress, nullptr);
    ASSERT_TRUE(copy);
    EXPECT_EQ(copy->numberOfFrames(), static_cast<int64_t>(kNumFrames));
    EXPECT_NE(copy->sampleDataAtOffset(60'000, 1, 0), FloatBuffer{0.0F});
    EXPECT_EQ(copy->sampleDataAtOffset(70'000, 1, 0), FloatBuffer{0.0F});
}

TEST_F(MovingGround, OnlyWhatASaveReadsMatters)
{
    const auto document = openNoise();
    truncate(path("a.wav"));
    // Two seconds of new sound stand for the first two of the file.
    const AudioClipPtr clip = kit::clipOf(kit::noise(88'200, 3));
    for (const int32_t track : {0, 1})
        document->replaceDataAndMarkersAtOffset(0, 88'200, track, clip);
    SilentProgress progress;
    SaveRequest request = requestFor(path("piece.wav"), kWave);
    request.selection = SoundSelection{0.5, 2.0, 0, 2};
    EXPECT_FALSE(document->writeToPath(request, progress));
    request.selection = SoundSelection{0.5, 2.1, 0, 2};
    EXPECT_TRUE(document->writeToPath(request, progress));
}

TEST_F(MovingGround, NoConversionTakesSilenceForSound)
{
    using Conversion = std::function<MaybeError(SoundDocument&, Progress&)>;
    const std::pair<const char*, Conversion> conversions[] = {
        {"mono",
         [](SoundDocument& document, Progress& progress) { return document.mixdownToMono(progress); }},
        {"stereo",
         [](SoundDocument& document, Progress& progress) { return document.mixdownToStereo(progress); }},
        {"resample",
         [](SoundDocument& document, Progress& progress) {
             return document.resampleTo(48000.0, document.totalTime(), progress);
         }},
        {"resample while saving", [this](SoundDocument& document, Progress& progress) {
             SilentProgress silent;
             EXPECT_FALSE(document.resampleTo(48000.0, document.totalTime(), silent, 0));
             return document.writeToPath(requestFor(path("out.wav"), kWave), progress);
         }}};
    for (const auto& [name, convert] : conversions)
        for (const Meddling meddling : {Meddling(truncate), Meddling(scribble)}) {
            SCOPED_TRACE(name);
            const auto document = openNoise();
            Meddler meddler([&] { meddling(path("a.wav")); });
            const MaybeError error = convert(*document, meddler);
            ASSERT_TRUE(meddler.hasMeddled());
            ASSERT_TRUE(error);
            EXPECT_EQ(error->code, Error::Code::sourceChanged);
            EXPECT_FALSE(fs::exists(path("out.wav")));
        }
}

TEST_F(MovingGround, ASaveOverTheOwnFileDoesNotLoseWhatOthersDidToIt)
{
    const auto document = openNoise();
    SilentProgress progress;
    SaveRequest request = requestFor(path("a.wav"), kWave);
    request.operation = SaveOperation::save;
    // Twice: its own writing is no change by others, although the tracks read the file that it replaced.
    ASSERT_FALSE(document->writeToPath(request, progress));
    ASSERT_FALSE(document->writeToPath(request, progress));

    std::ofstream(path("theirs")) << "theirs";
    fs::rename(path("theirs"), path("a.wav"));
    for (const SaveOperation operation : {SaveOperation::save, SaveOperation::saveTo}) {
        request.operation = operation;
        const MaybeError error = document->writeToPath(request, progress);
        ASSERT_TRUE(error);
        EXPECT_EQ(error->code, Error::Code::targetChanged);
        EXPECT_EQ(contentsOf("a.wav"), "theirs");
    }
    // Chosen anew in a dialog, the name is meant.
    request.operation = SaveOperation::saveAs;
    EXPECT_EQ(document->lossesWhenSaving(request).filter(QStringLiteral("was replaced since")).size(), 1);
    EXPECT_FALSE(document->writeToPath(request, progress));
    EXPECT_EQ(document->lossesWhenSaving(request), QStringList());
    fs::remove(path("a.wav"));
    request.operation = SaveOperation::save;
    EXPECT_FALSE(document->writeToPath(request, progress));
}
