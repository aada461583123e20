#include "document/DocumentKit.h"
#include "effects/GeneratorRegistry.h"
#include "effects/generators/NoteGenerator.h"

#include <cmath>
#include <numbers>

using namespace velloria;

namespace
{

std::unique_ptr<Generator> generatorNamed(const char* scriptName, const QVariantMap& arguments)
{
    const GeneratorEntry* const entry =
        GeneratorRegistry::generatorWithScriptName(QString::fromLatin1(scriptName));
    std::unique_ptr<Generator> generator = entry->make(entry->menuTitle);
    generator->parameters().setArguments(arguments);
    return generator;
}

FloatBuffer samplesOf(Generator& generator, double rate, int64_t numFrames)
{
    MaybeError error;
    const auto clip = generator.makeClip(rate, numFrames, nullptr, &error);
    EXPECT_FALSE(error);
    return clip ? clip->sampleDataAtOffset(0, numFrames) : FloatBuffer();
}

TEST(Generators, FollowTheirFormulas)
{
    constexpr double turn = 2.0 * std::numbers::pi;
    const auto part = [](double x) { return x - std::floor(x); };
    for (const double rate : {22050.0, 44100.0, 192000.0}) {
        for (const auto& [hertz, decibels] :
             {std::pair{440.0, 0.0}, {rate / 4, -6.0}, {0.01, -200.0}, {3e5, 0.0}}) {
            const double factor = std::pow(10.0, decibels / 20.0);
            for (int shape = 0; shape < 3; ++shape) {
                const auto tone = generatorNamed("insert tone", {{QStringLiteral("Frequency"), hertz},
                                                                 {QStringLiteral("Amplitude"), decibels},
                                                                 {QStringLiteral("WaveShape"), shape}});
                const FloatBuffer out = samplesOf(*tone, rate, 5000);
                ASSERT_EQ(out.size(), 5000U);
                for (size_t n = 0; n < out.size(); ++n) {
                    const double t = static_cast<double>(n) * hertz / rate;
                    const double values[] = {std::sin(turn * t), part(t) <= 0.5 ? 1.0 : -1.0,
                                             2.0 * std::abs(2.0 * part(t - 0.25) - 1.0) - 1.0};
                    ASSERT_NEAR(out[n], values[shape] * factor, 1e-6) << shape << " " << n;
                }
            }
        }
        const auto fm = generatorNamed(
            "insert fm", {{QStringLiteral("Carrier"), 1000}, {QStringLiteral("Deviation"), 50}});
        const FloatBuffer out = samplesOf(*fm, rate, 5000);
        for (size_t n = 0; n < out.size(); ++n) {
            const double t = static_cast<double>(n) / rate;
            const double m = std::sin(turn * 5.0 * t);
            ASSERT_NEAR(out[n], std::sin(turn * (1000.0 * t - m * 50.0 / (turn * 5.0))), 1e-6);
        }
    }
}

TEST(Generators, NoiseIsTriangularAndTheSameEachTime)
{
    const auto noise = generatorNamed("insert noise", {{QStringLiteral("Amplitude"), -6.0}});
    const FloatBuffer out = samplesOf(*noise, 44100.0, 400000);
    double sum = 0.0;
    double squares = 0.0;
    double fourths = 0.0;
    for (const float sample : out) {
        const double value = sample / std::pow(10.0, -0.3);
        ASSERT_LE(std::abs(value), 1.0 + 1e-6);
        sum += value;
        squares += value * value;
        fourths += value * value * value * value;
    }
    const auto count = static_cast<double>(out.size());
    EXPECT_NEAR(sum / count, 0.0, 0.003);
    EXPECT_NEAR(squares / count, 1.0 / 6.0, 0.002) << "of two uniform values";
    EXPECT_NEAR(fourths / count, 1.0 / 15.0, 0.002);
    EXPECT_EQ(samplesOf(*noise, 44100.0, 400000), out);
}

TEST(Notes, AreTunedInEqualStepsAndBeginAndEndSoftly)
{
    const std::pair<const char*, double> notes[] = {{"A4", 440.0},       {"a5", 880.0},
                                                    {"C4", 261.6255653}, {"F#3", 184.9972114},
                                                    {"C-1", 8.1757989},  {"G9", 12543.8539514}};
    for (const auto& [name, hertz] : notes) {
        for (const double tuning : {440.0, 415.0}) {
            const auto note =
                generatorNamed("insert note", {{QStringLiteral("Note"), QString::fromLatin1(name)},
                                               {QStringLiteral("Tuning"), tuning},
                                               {QStringLiteral("Duration"), 0.5}});
            constexpr double rate = 48000.0;
            const FloatBuffer out = samplesOf(*note, rate, 24000);
            ASSERT_EQ(out.size(), 24000U);
            constexpr double ramp = 0.005 * rate;
            for (size_t n = 0; n < out.size(); ++n) {
                const auto frame = static_cast<double>(n);
                const double level = std::min({1.0, frame / ramp, (23999.0 - frame) / ramp});
                const double value = std::sin(2.0 * std::numbers::pi * hertz * tuning / 440.0 * frame / rate);
                ASSERT_NEAR(out[n], value * level, 2e-4) << name << " " << n;
            }
        }
    }
}

TEST(Notes, MayBeSpelledWithFlatsAndTheSignsOfMusic)
{
    const std::pair<const char*, const char*> spellings[] = {{"Bb3", "A#3"},
                                                             {"bb3", "A#3"},
                                                             {"b3", "B3"},
                                                             {"Db-1", "C#-1"},
                                                             {"Cb4", "B3"},
                                                             {"B#3", "C4"},
                                                             {"E#2", "F2"},
                                                             {"G9", "G9"},
                                                             {"E♭5", "D#5"},
                                                             {"f♯3", "F#3"},
                                                             // None of these is a note of the list.
                                                             {"H4", "H4"},
                                                             {"A", "A"},
                                                             {"Abb3", "Abb3"},
                                                             {"Cb-1", "Cb-1"},
                                                             {"60", "60"},
                                                             {"", ""}};
    for (const auto& [given, name] : spellings)
        EXPECT_EQ(NoteGenerator::listedName(QString::fromUtf8(given)), QString::fromUtf8(name)) << given;
    const auto note = generatorNamed("insert note", {{QStringLiteral("Note"), QStringLiteral("Bb3")}});
    EXPECT_EQ(note->parameters().value(NoteGenerator::kNote), 58);
}

TEST(Generators, ACancelledOneMakesNoClip)
{
    class Cancelled : public Progress
    {
    public:
        void setProgressValue(double value) override { last = value; }
        bool isCancelled() const override { return last > 0.5; }
        double last = 0;
    } progress;
    MaybeError error;
    EXPECT_EQ(generatorNamed("insert tone", {})->makeClip(44100.0, 4096, &progress, &error), nullptr);
    ASSERT_TRUE(error);
    EXPECT_TRUE(error->isUserCancelled());
    EXPECT_EQ(progress.last, 0.75);
}

} // namespace
