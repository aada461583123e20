#include "controllers/ControllerKit.h"
#include "controllers/DisplayController.h"
#include "controllers/EditCommands.h"
#include "controllers/EffectController.h"
#include "controllers/SelectionModel.h"
#include "controllers/TransportController.h"
#include "effects/EffectRegistry.h"
#include "effects/gain/AmplifyVolume.h"
#include "formats/kit/FileTestKit.h"

#include <QCoreApplication>

namespace velloria
{

namespace
{

using kit::Window;

SoundSelection normalized(Window& window, const SoundSelection& selection)
{
    window.controller.selection().setSelection(selection);
    return window.controller.selection().normalizedSelection();
}

std::unique_ptr<AmplifyVolume> amplifier(double gainDB)
{
    auto filter = std::make_unique<AmplifyVolume>(QStringLiteral("Amplify..."));
    filter->setParameterValue(0, gainDB);
    return filter;
}

class SoundControllerFileTest : public test::FileTest
{
protected:
    std::shared_ptr<SoundDocument> openNoise(int64_t numFrames)
    {
        SilentProgress progress;
        const auto file =
            makeFile("noise.wav", test::wave({1, 2, 44100, 16}, test::noiseBytes(4 * numFrames, 1)));
        return SoundDocument::readFromPath(file, QString(), progress, nullptr);
    }
};

} // namespace

TEST(SoundControllerTest, NormalizesAnySelection)
{
    Window window({FloatBuffer(44'100), FloatBuffer(44'100), FloatBuffer(44'100)});
    const std::pair<SoundSelection, SoundSelection> cases[] = {
        {{0.5, 0.25, 1, 1}, {0.25, 0.5, 1, 1}},  {{-1.0, 5.0, 0, 3}, {0.0, 1.0, 0, 3}},
        {{0.0, 1.0, 2, 5}, {0.0, 1.0, 2, 1}},    {{0.0, 1.0, 7, 1}, {0.0, 1.0, 2, 1}},
        {{0.0, 1.0, -1, 0}, {0.0, 1.0, 0, 3}},   {{NAN, 0.5, 0, 1}, {0.0, 0.5, 0, 1}},
        {{0.5, 0.75, 1, -2}, {0.5, 0.75, 1, 0}},
    };
    for (const auto& [given, expected] : cases)
        EXPECT_EQ(normalized(window, given), expected) << given.startTime << " " << given.firstTrack;
    Window empty({FloatBuffer()});
    EXPECT_EQ(normalized(empty, {1.0, 2.0, 0, 1}), (SoundSelection{0.0, 0.0, 0, 1}));
    EXPECT_TRUE(empty.controller.selection().isEmpty());
}

TEST(SoundControllerTest, SelectsAndTellsTheWindowOfChangesOnly)
{
    Window window({FloatBuffer(44'100), FloatBuffer(22'050)});
    window.host.calls.clear();
    window.controller.selection().selectAll();
    window.controller.selection().selectAll();
    EXPECT_EQ(window.controller.selection().value(), (SoundSelection{0.0, 1.0, 0, 2}));
    window.controller.selection().selectNone();
    EXPECT_EQ(window.controller.selection().value(), (SoundSelection{0.0, 0.0, 0, 2}));
    EXPECT_EQ(window.controller.selection().selectionOrAll(), (SoundSelection{0.0, 1.0, 0, 2}));
    window.controller.transport().setCueTime(7.0);
    window.controller.transport().setCueTime(1.0);
    EXPECT_EQ(window.controller.transport().cueTime(), 1.0);
    EXPECT_EQ(window.host.calls,
              (QStringList{QStringLiteral("selection"), QStringLiteral("selection"), QStringLiteral("cue")}));
}

TEST(SoundControllerTest, KeepsASelectionOfAllTracksWhenTheirNumberChanges)
{
    Window window({FloatBuffer(100), FloatBuffer(100)});
    window.select(10, 20);
    window.document->setNumTracks(4);
    EXPECT_EQ(window.controller.selection().value().numTracks, 4);
    window.select(10, 20, 2, 1);
    window.document->setNumTracks(2);
    EXPECT_EQ(window.controller.selection().normalizedSelection().firstTrack, 1);
    window.controller.editing().undo();
    EXPECT_EQ(window.controller.selection().value().firstTrack, 2);
}

TEST(SoundControllerTest, AppliesAnEffectToEverythingWhenTheSelectionIsEmpty)
{
    Window window({FloatBuffer(1000, 0.5F), FloatBuffer(1000, 0.25F)});
    window.select(300, 300);
    const std::shared_ptr<Filter> filter = amplifier(6.0205999);
    window.controller.effects().setUpFilter(*filter);
    EXPECT_FALSE(window.controller.effects().applyFilter(filter));
    EXPECT_NEAR(kit::samplesOf(*window.document, 0)[0], 1.0, 1e-6);
    EXPECT_EQ(window.selectedFrames(), std::pair(int64_t{0}, int64_t{1000}));
    EXPECT_EQ(window.document->undoManager().undoText(), QStringLiteral("Amplify"));
    EXPECT_EQ(window.document->undoManager().count(), 1);
    EXPECT_TRUE(window.host.calls.contains(QStringLiteral("progress Amplify")));
}

TEST(SoundControllerTest, AppliesTheLastFilterAgainToAnotherDocument)
{
    Window first({FloatBuffer(1000, 0.5F)});
    const std::shared_ptr<Filter> filter = amplifier(-6.0205999);
    first.controller.effects().setUpFilter(*filter);
    first.controller.effects().applyFilter(filter);
    ASSERT_EQ(EffectController::lastFilter(), filter);
    {
        Window second({FloatBuffer(1000, 0.5F)});
        second.select(100, 200);
        EXPECT_FALSE(second.controller.effects().applyLastFilter());
        const FloatBuffer samples = kit::samplesOf(*second.document, 0);
        EXPECT_FLOAT_EQ(samples[99], 0.5F);
        EXPECT_NEAR(samples[100], 0.25, 1e-6);
        EXPECT_NEAR(samples[199], 0.25, 1e-6);
        EXPECT_FLOAT_EQ(samples[200], 0.5F);
    }
    EXPECT_EQ(filter->delegate(), nullptr) << "a window that closed is called back no more";
    EXPECT_FALSE(filter->source()) << "and its document is let go";
    const std::shared_ptr<Filter> next = amplifier(0.0);
    first.controller.effects().setUpFilter(*filter);
    first.controller.effects().setUpFilter(*next);
    first.controller.effects().applyFilter(next);
    EXPECT_EQ(filter->delegate(), nullptr);
}

TEST(SoundControllerTest, ACancelledEffectIsAsIfItHadNeverBeenChosen)
{
    Window window({kit::noise(100'000, 1)});
    window.select(300, 300);
    const std::shared_ptr<Filter> kept = amplifier(1.0);
    window.controller.effects().setUpFilter(*kept);
    window.controller.effects().applyFilter(kept);
    window.select(300, 300);
    const std::shared_ptr<Filter> filter = amplifier(2.0);
    window.controller.effects().setUpFilter(*filter);
    EXPECT_EQ(window.selectedFrames(), std::pair(int64_t{0}, int64_t{100'000}));
    // In its dialog,
    window.controller.effects().filterWasCancelled();
    EXPECT_EQ(window.selectedFrames(), std::pair(int64_t{300}, int64_t{300}));
    // or while it runs.
    window.controller.effects().setUpFilter(*filter);
    window.host.cancelAfter = 3;
    EXPECT_FALSE(window.controller.effects().applyFilter(filter));
    EXPECT_EQ(window.selectedFrames(), std::pair(int64_t{300}, int64_t{300}));
    EXPECT_EQ(EffectController::lastFilter(), kept);
    // What was selected before stays selected.
    window.select(100, 200);
    window.controller.effects().setUpFilter(*filter);
    window.controller.effects().filterWasCancelled();
    EXPECT_EQ(window.selectedFrames(), std::pair(int64_t{100}, int64_t{200}));
}

TEST(SoundControllerTest, LeavesTheDocumentWhenAnEffectIsCancelledOrFails)
{
    Window window({kit::noise(100'000, 1)});
    window.select(100, 50'000);
    const std::shared_ptr<Filter> filter = amplifier(-6.0);
    window.host.cancelAfter = 3;
    window.controller.effects().setUpFilter(*filter);
    EXPECT_FALSE(window.controller.effects().applyFilter(filter));
    EXPECT_TRUE(filter->wasCancelled());
    window.host.cancelAfter = SIZE_MAX;
    {
        const kit::FileSizeLimit fullDisk(4096);
        EXPECT_TRUE(window.controller.effects().applyFilter(filter));
    }
    EXPECT_EQ(kit::samplesOf(*window.document, 0), kit::noise(100'000, 1));
    EXPECT_EQ(window.selectedFrames(), std::pair(int64_t{100}, int64_t{50'000}));
    EXPECT_EQ(window.document->undoManager().count(), 0);
}

TEST(SoundControllerTest, TellsWhatAnEffectRemarksAndMakesNoStepWithoutAChange)
{
    FloatBuffer samples(1000);
    samples[900] = 0.5F;
    Window window({samples});
    const QString normalize = QStringLiteral("normalize");
    const std::shared_ptr<Filter> filter = EffectRegistry::effectWithScriptName(normalize)->make(normalize);
    window.select(0, 500);
    window.controller.effects().setUpFilter(*filter);
    EXPECT_FALSE(window.controller.effects().applyFilter(filter));
    EXPECT_EQ(window.host.remarks,
              QStringList(QStringLiteral("normalize: The selection is silent; it stays as it is.")));
    EXPECT_EQ(window.document->undoManager().count(), 0);
    EXPECT_EQ(window.selectedFrames(), std::pair(int64_t{0}, int64_t{500}));
    // Done anew where there is sound, it has nothing to say.
    window.select(300, 300);
    EXPECT_FALSE(window.controller.effects().applyLastFilter());
    EXPECT_EQ(window.host.remarks.size(), 1);
    EXPECT_EQ(kit::samplesOf(*window.document, 0)[900], 1.0F);
    EXPECT_EQ(window.document->undoManager().count(), 1);
    // What was selected only for it is so no more when it comes to nothing.
    Window silent({FloatBuffer(1000)});
    silent.select(300, 300);
    EXPECT_FALSE(silent.controller.effects().applyLastFilter());
    EXPECT_EQ(silent.host.remarks.size(), 1);
    EXPECT_EQ(silent.selectedFrames(), std::pair(int64_t{300}, int64_t{300}));
}

TEST(SoundControllerTest, AnswersColumnsOnlyInsideTheDocument)
{
    Window window({FloatBuffer(44'100, 0.5F)});
    const auto numColumns = [&window](double start, double end, int32_t track) {
        return window.controller.display().minMaxDataFrom(start, end, 0.05, track).size() / 2;
    };
    EXPECT_EQ(numColumns(0.0, 1.0, 0), 20U);
    EXPECT_EQ(numColumns(0.5, 7.0, 0), 10U);
    for (const auto& [start, end] : {std::pair(-1.0, 0.0), {0.5, 0.5}, {0.7, 0.6}, {1.0, 2.0}, {NAN, 1.0}})
        EXPECT_EQ(numColumns(start, end, 0), 0U) << start << " " << end;
    EXPECT_EQ(numColumns(0.0, 1.0, 1), 0U);
    EXPECT_EQ(numColumns(0.0, 1.0, -1), 0U);
}

TEST(SoundControllerTest, ShowsTheSamplesThemselvesInACloseUp)
{
    FloatBuffer samples(44'100);
    samples[1000] = 1.0F;
    Window window({samples});
    const auto columns = [&window] {
        return window.controller.display().minMaxDataFrom(0.0, 0.05, 10.0 / 44'100.0, 0);
    };
    const auto numLoud = [](const FloatBuffer& pairs) {
        return std::count_if(pairs.begin(), pairs.end(), [](float value) { return value > 0.5F; });
    };
    EXPECT_GT(numLoud(columns()), 40) << "until they were read, the summary's 512 frames stand for them";
    while (window.host.drawn.empty())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    EXPECT_EQ(numLoud(columns()), 1);
    window.select(0, 500);
    window.controller.editing().deleteSelection({});
    columns();
    while (window.host.drawn.size() < 2)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    const FloatBuffer edited = columns();
    EXPECT_EQ(numLoud(edited), 1);
    EXPECT_EQ(edited[2 * 50 + 1], 1.0F);
}

TEST_F(SoundControllerFileTest, FillsTheSummaryOfAnOpenedFile)
{
    constexpr int64_t numFrames = 400'000;
    const std::shared_ptr<SoundDocument> document = openNoise(numFrames);
    ASSERT_TRUE(document);
    kit::HostRecorder host;
    SoundController controller(document, host);
    EXPECT_EQ(controller.display().minMaxDataFrom(0.0, 0.1, 0.1, 0), (FloatBuffer{1.0F, -1.0F}));
    controller.display().startWaveformRender();
    int64_t numDrawn = 0;
    while (numDrawn < numFrames) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        numDrawn = host.drawn.empty() ? 0 : host.drawn.back().first + host.drawn.back().second;
    }
    EXPECT_EQ(controller.display().waveformRenderProgress(), 1.0);
    const FloatBuffer columns = controller.display().minMaxDataFrom(0.0, 9.0, 0.1, 1);
    for (size_t i = 0; i < columns.size(); i += 2)
        EXPECT_LT(columns[i], columns[i + 1]) << i;
    host.drawn.clear();
    controller.display().startWaveformRender();
    QCoreApplication::processEvents();
    EXPECT_TRUE(host.drawn.empty()) << "it has its summary already";
}

TEST_F(SoundControllerFileTest, PastedSoundGetsItsPictureThoughTheWindowThatReadsItsFileIsClosed)
{
    constexpr int64_t numFrames = 3'000'000;
    constexpr int64_t cut = 100'000;
    constexpr int64_t pastedAt = 22'050;
    Window target({FloatBuffer(44'100), FloatBuffer(44'100)});
    std::shared_ptr<SoundDocument> source = openNoise(numFrames);
    {
        kit::HostRecorder host;
        SoundController controller(source, host);
        controller.selection().setSelection({cut / 44100.0, numFrames / 44100.0, 0, 2});
        controller.editing().copy();
        target.select(pastedAt, pastedAt);
        ASSERT_TRUE(target.controller.editing().paste({}, nullptr));
        target.host.drawn.clear();
        controller.display().startWaveformRender();
    }
    source.reset();
    const DisplayController& display = target.controller.display();
    EXPECT_LT(display.waveformRenderProgress(), 1.0);
    while (display.waveformRenderProgress() < 1.0)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    const double start = pastedAt / 44100.0;
    const FloatBuffer columns =
        display.minMaxDataFrom(start, start + (numFrames - cut) / 44100.0, 4410 / 44100.0, 1);
    ASSERT_EQ(columns.size(), 2U * ((numFrames - cut) / 4410 + 1));
    for (size_t i = 0; i < columns.size(); i += 2)
        EXPECT_LT(columns[i], -0.9F) << i;
    int64_t end = 0;
    for (const auto& [offset, length] : target.host.drawn) {
        EXPECT_GE(offset, pastedAt);
        end = std::max(end, offset + length);
    }
    EXPECT_EQ(end, pastedAt + numFrames - cut) << "the window is told where its own sound lies";
}

TEST_F(SoundControllerFileTest, AsksBeforeASaveLosesSomething)
{
    const std::shared_ptr<SoundDocument> document = openNoise(1000);
    kit::HostRecorder host;
    SoundController controller(document, host);
    const QByteArray original = bytesOf("noise.wav");
    SaveRequest request;
    request.path = document->filePath();
    request.uti = document->fileType();
    request.optionTag = 8;
    host.answer = false;
    const MaybeError refused = controller.save(request);
    ASSERT_TRUE(refused);
    EXPECT_TRUE(refused->isUserCancelled());
    EXPECT_EQ(host.losses.size(), 1);
    EXPECT_EQ(bytesOf("noise.wav"), original);
    host.answer = true;
    EXPECT_FALSE(controller.save(request));
    EXPECT_LT(bytesOf("noise.wav").size(), original.size());
}

} // namespace velloria
