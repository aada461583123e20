#include "controllers/ConversionCommands.h"
#include "controllers/ControllerKit.h"
#include "controllers/EditCommands.h"
#include "controllers/MarkerCommands.h"
#include "controllers/SelectionModel.h"
#include "document/AudioClipboard.h"

#include <cmath>
#include <functional>

namespace velloria
{

namespace
{

using kit::Window;
using Positions = std::vector<int64_t>;

/// Bins of a tenth of a second that are loud, the others silent.
FloatBuffer bins(const std::vector<bool>& isLoud)
{
    FloatBuffer samples(isLoud.size() * 5120);
    for (size_t i = 0; i < samples.size(); ++i)
        samples[i] = isLoud[i / 5120] ? -0.25F : 0.01F;
    return samples;
}

std::vector<bool> passages(size_t numQuiet)
{
    std::vector<bool> list(5, true);
    list.insert(list.end(), numQuiet, false);
    list.insert(list.end(), 5, true);
    return list;
}

} // namespace

TEST(ConversionCommands, InsertsSilenceAtTheSelectionsStart)
{
    Window window({kit::ramp(100, 1), kit::ramp(100, 1)});
    kit::setMarkers(*window.document, {10, 50, 90});
    window.select(50, 60);
    EXPECT_FALSE(window.controller.editing().insertSilence(441.0 / 44100, QStringLiteral("Insert Silence")));
    EXPECT_EQ(window.document->numberOfFrames(), 541);
    EXPECT_EQ(window.markers(), (Positions{10, 491, 531}));
    EXPECT_EQ(window.selectedFrames(), std::pair(int64_t{50}, int64_t{491}));
    window.select(0, 0, 1, 1);
    EXPECT_FALSE(window.controller.editing().insertSilence(1.0, {}));
    EXPECT_EQ(window.markers(), (Positions{10, 491, 531})) << "the first track is not among those changed";
    for (const double wrong : {-1.0, std::nan(""), 1e300, static_cast<double>(INFINITY)})
        EXPECT_TRUE(window.controller.editing().insertSilence(wrong, {})) << wrong;
}

TEST(ConversionCommands, SelectionFollowsTheSoundToAnotherRate)
{
    Window window({kit::noise(44'100, 1)});
    window.select(11'025, 22'050);
    EXPECT_FALSE(window.controller.conversions().resample(22'050, std::nullopt, QStringLiteral("Resample")));
    EXPECT_EQ(window.selectedFrames(), std::pair(int64_t{5513}, int64_t{11'025}));
    EXPECT_FALSE(window.controller.conversions().setProperties(44'100, 24, QStringLiteral("Properties")));
    EXPECT_EQ(window.selectedFrames(), std::pair(int64_t{5513}, int64_t{11'025}));
    EXPECT_EQ(window.document->sampleSize(), 24);
    EXPECT_EQ(window.document->undoManager().count(), 2);
    window.controller.editing().undo();
    EXPECT_EQ(window.document->sampleSize(), 16);
    EXPECT_EQ(window.document->sampleRate(), 22'050);
    for (const double rate : {0.0, -1.0, 99.0, 1e7, std::nan("")}) {
        EXPECT_TRUE(window.controller.conversions().resample(rate, std::nullopt, {}));
        EXPECT_TRUE(window.controller.conversions().setProperties(rate, 16, {}));
    }
    EXPECT_TRUE(window.controller.conversions().resample(8000, 0.0, {}));
    EXPECT_TRUE(window.controller.conversions().resample(8000, 1e300, {}));
}

TEST(ConversionCommands, TellWhatIsCutShortAfterTheStep)
{
    struct Case {
        std::function<MaybeError(ConversionCommands&)> convert;
        size_t cancelAfter;
        std::vector<PartialResult> told;
    };
    const auto mixdown = [](ConversionCommands& commands) { return commands.mixdown(1, {}); };
    const auto resample = [](ConversionCommands& commands) {
        return commands.resample(22'050, std::nullopt, {});
    };
    const Case cases[] = {{mixdown, SIZE_MAX, {}},
                          {mixdown, 2, {PartialResult::mixdownCancelled}},
                          {resample, SIZE_MAX, {}},
                          {resample, 1, {PartialResult::resamplingCancelled}}};
    for (const Case& each : cases) {
        Window window({kit::noise(200'000, 1), kit::noise(200'000, 2)});
        window.host.cancelAfter = each.cancelAfter;
        EXPECT_FALSE(each.convert(window.controller.conversions()));
        EXPECT_EQ(window.host.partialResults, each.told);
        EXPECT_EQ(window.document->undoManager().count(), 1);
        window.controller.editing().undo();
        EXPECT_EQ(kit::samplesOf(*window.document),
                  (kit::TrackSamples{kit::noise(200'000, 1), kit::noise(200'000, 2)}));
    }
    // What fails leaves nothing to tell of.
    Window window({kit::noise(200'000, 1), kit::noise(200'000, 2)});
    window.host.cancelAfter = 1;
    const kit::FileSizeLimit limit(1000);
    EXPECT_TRUE(mixdown(window.controller.conversions()));
    EXPECT_TRUE(window.host.partialResults.empty());
}

TEST(ConversionCommands, AddsAndRemovesTracks)
{
    Window window({kit::ramp(10, 1), kit::ramp(10, 101), kit::ramp(10, 201)});
    window.select(0, 10, 1, 1);
    window.controller.conversions().removeSelectedTracks({});
    EXPECT_EQ(kit::samplesOf(*window.document), (kit::TrackSamples{kit::ramp(10, 1), kit::ramp(10, 201)}));
    window.controller.selection().selectAll();
    window.controller.conversions().removeSelectedTracks({});
    EXPECT_EQ(window.document->trackCount(), 1);
    window.controller.conversions().addTrack({});
    EXPECT_EQ(window.document->trackCount(), 2);
    EXPECT_EQ(kit::pansOf(*window.document), (std::vector<double>{-1.0, 1.0}));
    window.document->undoManager().setIndex(0);
    EXPECT_EQ(window.document->trackCount(), 3);
}

TEST(ConversionCommands, PutsMarkersBeforeLoudPassages)
{
    struct Case {
        size_t numQuiet;
        Positions markers;
    };
    for (const Case& each : {Case{19, {0, 22 * 5120}}, Case{18, {0}}}) {
        Window window({FloatBuffer(), bins(passages(each.numQuiet))});
        window.document->undoableSetSampleRate(51'200);
        window.document->undoManager().clear();
        EXPECT_FALSE(window.controller.markers().insertMarkersInGaps(QStringLiteral("Gaps")));
        EXPECT_EQ(window.markers(), each.markers);
        EXPECT_EQ(window.document->audioMarkers()->back()->name(),
                  QStringLiteral("0%1").arg(each.markers.size()));
        EXPECT_EQ(window.document->undoManager().count(), 1);
    }
}

TEST(ConversionCommands, PutsMarkersAtGridLines)
{
    Window window({FloatBuffer(44'100)});
    EXPECT_FALSE(window.controller.markers().insertMarkersAtGridlines(-0.1, 0.2, {}));
    EXPECT_EQ(window.markers(), (Positions{4410, 13'230, 22'050, 30'870, 39'690}));
    EXPECT_EQ((*window.document->audioMarkers())[3]->name(), QStringLiteral("001-4"));
    EXPECT_EQ((*window.document->audioMarkers())[4]->name(), QStringLiteral("002-1"));
    for (const double spacing : {0.0, -1.0, std::nan(""), 1e-9})
        EXPECT_TRUE(window.controller.markers().insertMarkersAtGridlines(0, spacing, {})) << spacing;
    const double frame = 1.0 / window.document->sampleRate();
    EXPECT_TRUE(window.controller.markers().insertMarkersAtGridlines(0, frame * 0.99, {}));
    EXPECT_EQ(window.document->undoManager().count(), 1);
}

TEST(ConversionCommands, MarkersThatAScriptKeepsDoublingEndWithAnError)
{
    Window window({FloatBuffer(100)});
    kit::setMarkers(*window.document, {1, 2, 3, 4});
    MaybeError error;
    for (int i = 0; i < 40 && !error; ++i) {
        window.controller.selection().selectAll();
        window.controller.editing().copy();
        window.select(window.document->numberOfFrames(), window.document->numberOfFrames());
        window.controller.editing().paste({}, &error);
    }
    ASSERT_TRUE(error);
    EXPECT_TRUE(error->message.contains(QStringLiteral("1000000")));
    EXPECT_EQ(window.markers().size(), 524'288);
    window.document->undoManager().setIndex(1);
    EXPECT_EQ(window.markers(), (Positions{1, 2, 3, 4}));
}

} // namespace velloria
