#include "scripting/CommandDictionary.h"

#include "controllers/ControllerKit.h"
#include "controllers/SelectionModel.h"

namespace velloria
{

namespace
{

/// The error's words, or nothing.
QString run(kit::Window& window, const char* text)
{
    QString problem;
    const auto command = CommandDictionary::parse(QString::fromLatin1(text), &problem);
    if (!command)
        return QStringLiteral("parse: ") + problem;
    const MaybeError error = CommandDictionary::run(*command, window.controller);
    return error ? error->message : QString();
}

const CommandParameter* keyOf(const char* command, const char* key)
{
    const CommandDescription* const found = CommandDictionary::commandWithName(QString::fromLatin1(command));
    for (const CommandParameter& parameter : found->parameters)
        if (parameter.key == QLatin1String(key))
            return &parameter;
    return nullptr;
}

} // namespace

TEST(EffectCommands, TellTheirKeysInTheUnitsOfScripts)
{
    const CommandParameter* const offset = keyOf("dc offset", "By");
    ASSERT_NE(offset, nullptr);
    EXPECT_EQ(offset->unit, QStringLiteral("%"));
    EXPECT_EQ(offset->maximum.toDouble(), 100.0);
    EXPECT_FALSE(offset->defaultValue.isValid()) << "left out, the offset is removed";
    for (const char* const command : {"fade", "fade special"}) {
        ASSERT_NE(keyOf(command, "DataPoints"), nullptr);
        EXPECT_EQ(keyOf(command, "DataPoints")->type, CommandParameter::Type::numberList);
    }
    EXPECT_EQ(keyOf("add delay", "Feedback")->defaultValue.toInt(), 0);
    EXPECT_EQ(keyOf("flange", "Speed")->defaultValue.toDouble(), 2.0);
    EXPECT_FALSE(keyOf("insert tone", "Duration")->defaultValue.isValid());
}

TEST(EffectCommands, RunEffectsWithOneKeyForTwoParameters)
{
    kit::Window window({FloatBuffer(1000, 0.25F)});
    EXPECT_EQ(run(window, "dc offset By=25"), QString());
    EXPECT_EQ(kit::samplesOf(*window.document, 0), FloatBuffer(1000, 0.5F));
    EXPECT_EQ(run(window, "fade DataPoints=0,0,0.5,2,1,0"), QString());
    EXPECT_EQ(kit::samplesOf(*window.document, 0)[500], 1.0F);
    EXPECT_TRUE(run(window, "dc offset By=101").startsWith(QStringLiteral("parse: ")));
    EXPECT_TRUE(run(window, "fade DataPoints=0,nan").startsWith(QStringLiteral("parse: ")));
    EXPECT_EQ(run(window, "equalize DataPoints=100,48,2000,-48"), QString());
    for (const char* const wrong :
         {"equalize DataPoints=100,1e300", "equalize DataPoints=1e300,3", "equalize DataPoints=100,48.1",
          "equalize DataPoints=0,3", "equalize DataPoints=100,3,200", "fade DataPoints=0,1e300,1,1",
          "fade DataPoints=0,1", "fade special DataPoints=0,1,1"})
        EXPECT_TRUE(run(window, wrong).startsWith(QStringLiteral("parse: "))) << wrong;
}

TEST(GeneratorCommands, InsertAtTheSelectionAndReplaceNothing)
{
    kit::Window window({kit::ramp(1000, 1), kit::ramp(1000, 5)});
    run(window, "select StartFrame=100 EndFrame=300");
    EXPECT_EQ(run(window, "insert tone Frequency=11025 Amplitude=-6"), QString());
    EXPECT_EQ(window.document->numberOfFrames(), 1200);
    EXPECT_EQ(window.selectedFrames(), (std::pair<int64_t, int64_t>(100, 300)));
    const auto peak = static_cast<float>(std::pow(10.0, -0.3));
    for (const int32_t track : {0, 1}) {
        const FloatBuffer samples = kit::samplesOf(*window.document, track);
        for (const auto& [frame, value] :
             {std::pair<size_t, float>{100, 0.0F}, {101, peak}, {103, -peak}, {299, -peak}})
            EXPECT_NEAR(samples[frame], value, 1e-6);
        EXPECT_EQ(samples[300], kit::ramp(1000, track == 0 ? 1 : 5)[100]);
    }
    EXPECT_EQ(window.document->undoManager().count(), 1);
    window.document->undoManager().undo();
    EXPECT_EQ(window.document->numberOfFrames(), 1000);

    for (const char* const wrong : {"insert tone Duration=-1", "insert fm Carrier=0",
                                    "insert noise Amplitude=nan", "insert tone WaveShape=3"})
        EXPECT_TRUE(run(window, wrong).startsWith(QStringLiteral("parse: "))) << wrong;
    EXPECT_EQ(run(window, "insert noise Duration=0"), QString());
    EXPECT_EQ(window.document->numberOfFrames(), 1000);
}

/// Batches give the same bytes each time, but no noise stands twice in a document.
TEST(GeneratorCommands, InsertNewNoiseAtEachPlaceAndTheSameInEachRun)
{
    const auto noises = [] {
        kit::Window window({kit::ramp(1000, 1), kit::ramp(1000, 5)});
        for (const char* const command :
             {"select StartFrame=0 EndFrame=500 FirstTrack=0 NumTracks=1", "insert noise", "insert noise",
              "select StartFrame=0 EndFrame=500 FirstTrack=1 NumTracks=1", "insert noise"})
            EXPECT_EQ(run(window, command), QString()) << command;
        const FloatBuffer left = kit::samplesOf(*window.document, 0);
        const FloatBuffer right = kit::samplesOf(*window.document, 1);
        return std::vector<FloatBuffer>{{left.begin(), left.begin() + 500},
                                        {left.begin() + 500, left.begin() + 1000},
                                        {right.begin(), right.begin() + 500}};
    };
    const std::vector<FloatBuffer> first = noises();
    EXPECT_NE(first[0], first[1]);
    EXPECT_NE(first[0], first[2]);
    EXPECT_NE(first[1], first[2]);
    EXPECT_EQ(first, noises());
}

TEST(GeneratorCommands, MakeATrackInADocumentWithoutAny)
{
    kit::Window window({});
    EXPECT_EQ(run(window, "insert fm Duration=0.5"), QString());
    EXPECT_EQ(window.document->trackCount(), 1);
    EXPECT_EQ(window.document->numberOfFrames(), 22050);
}

} // namespace velloria
