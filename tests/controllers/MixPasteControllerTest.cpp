#include "controllers/MixPasteController.h"

#include "controllers/ControllerKit.h"
#include "controllers/EditCommands.h"
#include "controllers/SelectionModel.h"
#include "document/AudioClipboard.h"
#include "platform/Log.h"

#include <cmath>

namespace velloria
{

namespace
{

using kit::Window;

void copyAll(const kit::TrackSamples& samples)
{
    Window source(samples);
    source.controller.selection().selectAll();
    source.controller.editing().copy();
}

} // namespace

TEST(MixPasteController, AddsAtBothLevelsAndGrowsTheDocument)
{
    copyAll({kit::ramp(100, 1), kit::ramp(100, 1)});
    Window window({FloatBuffer(150, 0.5F)});
    window.select(120, 120);
    MixPasteController mix(window.controller);
    mix.setExisting(-6);
    mix.setPasteboard(-6);
    EXPECT_FALSE(mix.performMixPaste(QStringLiteral("Mix Paste")));
    ASSERT_EQ(window.document->trackCount(), 2);
    const kit::TrackSamples mixed = kit::samplesOf(*window.document);
    ASSERT_EQ(mixed[0].size(), 220);
    ASSERT_EQ(mixed[1].size(), 220);
    const double gain = std::pow(10.0, -0.3);
    EXPECT_EQ(mixed[0][119], 0.5F);
    EXPECT_FLOAT_EQ(mixed[0][120], static_cast<float>(1.5 * gain));
    EXPECT_FLOAT_EQ(mixed[0][150], static_cast<float>(31 * gain));
    EXPECT_EQ(mixed[1][119], 0.0F);
    EXPECT_FLOAT_EQ(mixed[1][219], static_cast<float>(100 * gain));
    EXPECT_EQ(window.selectedFrames(), std::pair(int64_t{120}, int64_t{220}));
    EXPECT_EQ(window.document->undoManager().count(), 1);
    window.controller.editing().undo();
    EXPECT_EQ(kit::samplesOf(*window.document), (kit::TrackSamples{FloatBuffer(150, 0.5F)}));
}

TEST(MixPasteController, StaysWithinTheSelectionWhenAskedTo)
{
    copyAll({kit::ramp(100, 1), kit::ramp(100, 1)});
    Window window({FloatBuffer(500), FloatBuffer(500)});
    window.select(100, 130, 1, 1);
    MixPasteController mix(window.controller);
    mix.setPasteInto(true);
    EXPECT_FALSE(mix.performMixPaste({}));
    FloatBuffer expected(500);
    std::copy_n(kit::ramp(100, 1).begin(), 30, expected.begin() + 100);
    EXPECT_EQ(kit::samplesOf(*window.document), (kit::TrackSamples{FloatBuffer(500), expected}));

    // A longer selection than what was copied: the rest keeps its level and no frame is added.
    window.select(300, 450, 0, 2);
    EXPECT_FALSE(mix.performMixPaste({}));
    EXPECT_EQ(window.document->numberOfFrames(), 500);
    EXPECT_EQ(window.selectedFrames(), std::pair(int64_t{300}, int64_t{450}));
}

TEST(MixPasteController, ACancelledMixKeepsTheBlocksThatWereMixed)
{
    copyAll({FloatBuffer(5000, 0.25F)});
    for (const size_t numBlocks : {size_t{0}, size_t{2}}) {
        Window window({FloatBuffer(5000, 0.5F)});
        window.select(100, 100);
        window.host.cancelAfter = numBlocks;
        MixPasteController mix(window.controller);
        EXPECT_FALSE(mix.performMixPaste({}));
        FloatBuffer expected(5000, 0.5F);
        std::fill_n(expected.begin() + 100, 1024 * numBlocks, 0.75F);
        EXPECT_EQ(kit::samplesOf(*window.document, 0).size(), numBlocks == 0 ? 5000U : 5100U);
        const FloatBuffer mixed = window.document->sampleDataAtOffset(0, 5000, 0);
        EXPECT_EQ(mixed, expected);
        // Where nothing was done there is nothing to take back.
        EXPECT_EQ(window.document->undoManager().count(), numBlocks == 0 ? 0 : 1);
        EXPECT_EQ(window.host.partialResults,
                  numBlocks == 0 ? std::vector<PartialResult>() : std::vector{PartialResult::pasteCancelled});
    }
    Window wide({FloatBuffer(5000), FloatBuffer(5000)});
    wide.select(0, 5000);
    EXPECT_FALSE(MixPasteController(wide.controller).performMixPaste({}));
    EXPECT_EQ(wide.host.partialResults, std::vector{PartialResult::fewerTracksPasted});
}

TEST(MixPasteController, LogsWhatItCannotMix)
{
    Window window({FloatBuffer(100)});
    MixPasteController mix(window.controller);
    const LogCapture log;
    AudioClipboard::clipboard().setContents(nullptr);
    EXPECT_FALSE(mix.performMixPaste({}));
    AudioClipboard::clipboard().setContents(ClipboardClip::clipWithSampleRate(44'100));
    EXPECT_FALSE(mix.performMixPaste({}));
    EXPECT_TRUE(mix.mixedData({}, {}).empty());
    EXPECT_EQ(log.logged(),
              QStringList({QStringLiteral("-[MixPasteController performMixPaste] clip == nil"),
                           QStringLiteral("-[MixPasteController performMixPaste] tracks count < 1"),
                           QStringLiteral("-[MixPasteController mixedData...] parameter error")}));
    EXPECT_EQ(window.document->undoManager().count(), 0);
}

TEST(MixPasteController, IsUnchangedByAFullDisk)
{
    Window window({FloatBuffer(500'000)});
    MixPasteController mix(window.controller);
    copyAll({kit::noise(400'000, 1), kit::noise(400'000, 1)});
    const kit::FileSizeLimit limit(100'000);
    EXPECT_TRUE(mix.performMixPaste({}));
    EXPECT_EQ(window.document->trackCount(), 1);
    EXPECT_EQ(window.document->undoManager().count(), 0);
}

} // namespace velloria
