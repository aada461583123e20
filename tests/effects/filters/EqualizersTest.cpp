#include "effects/ReferenceKit.h"
#include "effects/filters/CascadeFilter.h"
#include "effects/filters/Eq10Band.h"
#include "effects/filters/Eq3Band.h"
#include "effects/filters/ResponseKit.h"

using namespace velloria;

namespace
{

struct Case {
    const char* name;
    QVariantMap arguments;
    std::function<double(double at)> decibels;
};

QVariantMap tenGains(const std::vector<double>& gains)
{
    QVariantMap arguments;
    for (size_t band = 0; band < gains.size(); ++band)
        arguments.insert(QStringLiteral("Gain%1").arg(std::lround(31.25 * std::pow(2.0, band))), gains[band]);
    return arguments;
}

double tenBands(double at, const std::vector<double>& gains)
{
    double sum = 0.0;
    for (size_t band = 0; band < gains.size(); ++band)
        sum += kit::analogBell(at, 31.25 * std::pow(2.0, band), gains[band], std::numbers::sqrt2);
    return sum;
}

const std::vector<double> kSmile = {9, 6, 3, 0, -3, -6, -3, 0, 3, 9};
const std::vector<double> kSteps = {18, -18, 18, -18, 18, -18, 18, -18, 18, -18};

std::vector<Case> cases()
{
    std::vector<Case> list;
    for (const std::vector<double>& gains : {kSmile, kSteps})
        list.push_back({"equalize 10", tenGains(gains), [gains](double at) { return tenBands(at, gains); }});
    list.push_back({"equalize 3",
                    {{QStringLiteral("LowGain"), -12.0},
                     {QStringLiteral("MidGain"), 6.0},
                     {QStringLiteral("MidFrequency"), 3000.0},
                     {QStringLiteral("MidQ"), 4.0},
                     {QStringLiteral("HighGain"), 9.0},
                     {QStringLiteral("HighFrequency"), 9000.0}},
                    [](double at) {
                        return kit::analogLowShelf(at, 200.0, -12.0) + kit::analogBell(at, 3000.0, 6.0, 4.0) +
                               kit::analogHighShelf(at, 9000.0, 9.0);
                    }});
    for (const int slope : {12, 24, 36, 48}) {
        for (const double corner : {50.0, 9000.0}) {
            const QVariantMap arguments = {{QStringLiteral("Frequency"), corner},
                                           {QStringLiteral("Slope"), QString::number(slope)}};
            list.push_back({"low pass", arguments, [corner, slope](double at) {
                                return kit::butterworthLowPass(at, corner, slope / 6);
                            }});
            list.push_back({"high pass", arguments, [corner, slope](double at) {
                                return kit::butterworthLowPass(corner, at, slope / 6);
                            }});
        }
    }
    return list;
}

TEST(Equalizers, HaveTheResponseOfTheirAnalogModels)
{
    for (const double rate : {44100.0, 48000.0, 192000.0}) {
        for (const Case& c : cases()) {
            const auto filter = kit::effectNamed(QString::fromLatin1(c.name));
            filter->setParameters(c.arguments);
            const FloatBuffer response = kit::impulseResponse(*filter, rate);
            const auto& plotted = dynamic_cast<const FrequencyResponse&>(*filter);
            for (const double at : kit::probes(rate)) {
                EXPECT_NEAR(plotted.responseAt(at), c.decibels(at), 1e-9);
                if (c.decibels(at) > -90.0) {
                    EXPECT_NEAR(kit::levelAt(response, at, rate), c.decibels(at), 0.1)
                        << c.name << " at " << at << " Hz of " << rate;
                }
            }
        }
    }
}

/// Direct form I in long doubles, section by section: what the coefficients mean, computed otherwise.
FloatBuffer filteredSlowly(const FloatBuffer& in, const BiquadFilter& filter)
{
    std::vector<long double> samples(in.begin(), in.end());
    for (long double& sample : samples)
        sample *= filter.gain;
    for (const Biquad& section : filter.sections) {
        const std::vector<long double> x = samples;
        for (size_t i = 0; i < x.size(); ++i) {
            if (i >= 1)
                samples[i] += section.b1 * x[i - 1] - section.a1 * samples[i - 1];
            if (i >= 2)
                samples[i] += section.b2 * x[i - 2] - section.a2 * samples[i - 2];
        }
    }
    return {samples.begin(), samples.end()};
}

TEST(Equalizers, FilterEachTrackByItselfHoweverTheBlocksFall)
{
    const auto tenth = [](const kit::TrackSamples& in, double rate) {
        std::vector<AnalogSection> sections;
        for (size_t band = 0; band < kSmile.size(); ++band)
            if (kSmile[band] != 0.0)
                sections.push_back(
                    AnalogSection::peak(Eq10Band::frequencyOfBand(band), kSmile[band], std::numbers::sqrt2));
        const BiquadFilter filter = MatchedDesign::design(sections, rate);
        kit::TrackSamples out;
        for (const FloatBuffer& track : in)
            out.push_back(filteredSlowly(track, filter));
        return out;
    };
    kit::expectLike(QStringLiteral("equalize 10"), tenGains(kSmile), tenth, 2e-6);
    const auto steep = [](const kit::TrackSamples& in, double rate) {
        const BiquadFilter filter =
            MatchedDesign::design(AnalogFilters::butterworth(AnalogSection::highPass, 100.0, 8), rate);
        kit::TrackSamples out;
        for (const FloatBuffer& track : in)
            out.push_back(filteredSlowly(track, filter));
        return out;
    };
    kit::expectLike(QStringLiteral("high pass"),
                    {{QStringLiteral("Frequency"), 100.0}, {QStringLiteral("Slope"), QStringLiteral("48")}},
                    steep, 2e-6);
}

TEST(Equalizers, WithNothingToDoLeaveEachBit)
{
    const auto document = kit::documentOf(kit::differentTracks(20000));
    const kit::TrackSamples before = kit::samplesOf(*document);
    const Case silent[] = {
        {"equalize 10", {}, {}},
        {"equalize 3", {}, {}},
        {"equalize", {}, {}},
        {"equalize", {{QStringLiteral("DataPoints"), QVariantList{100.0, 0.0}}}, {}},
        // Beyond what the rate has room for.
        {"low pass", {{QStringLiteral("Frequency"), 20000.0}}, {}},
        {"high pass", {{QStringLiteral("Frequency"), 20000.0}}, {}},
    };
    for (const Case& c : silent) {
        const auto filter = kit::effectNamed(QString::fromLatin1(c.name));
        filter->setParameters(c.arguments);
        EXPECT_FALSE(kit::applyTo(document, *filter, kit::everythingOf(*document)));
        EXPECT_EQ(kit::samplesOf(*document), before) << c.name;
    }
}

TEST(Equalizers, BandsBeyondTheRateAreOff)
{
    const auto filter = kit::effectNamed(QStringLiteral("equalize 10"));
    const auto& response = dynamic_cast<const FrequencyResponse&>(*filter);
    filter->setParameterValue(9, 12.0);
    EXPECT_TRUE(response.hasEffect(9)) << "without a sound there is no limit";
    EXPECT_NEAR(response.responseAt(16000.0), 12.0, 1e-9);
    const auto document = kit::documentOf({kit::noise(3000, 1)});
    document->undoableSetSampleRate(22050.0);
    filter->setSource(std::make_shared<DocumentSource>(document));
    EXPECT_FALSE(response.hasEffect(9));
    EXPECT_TRUE(response.hasEffect(8));
    EXPECT_EQ(response.responseAt(9000.0), 0.0);
    EXPECT_EQ(response.highestFrequency(), 11025.0);
    // A corner that was moved beyond can be moved back.
    const auto pass = kit::effectNamed(QStringLiteral("low pass"));
    pass->setSource(std::make_shared<DocumentSource>(document));
    EXPECT_FALSE(dynamic_cast<const FrequencyResponse&>(*pass).responseBands().front().isOn);
    EXPECT_TRUE(dynamic_cast<const FrequencyResponse&>(*pass).hasEffect(0));
}

TEST(Equalizers, SayWhichBandsLieBeyondTheRate)
{
    using Kind = EffectRemark::Kind;
    const QString frequency = QStringLiteral("Frequency");
    const QString high = QStringLiteral("HighFrequency");
    const QString highGain = QStringLiteral("HighGain");
    struct BeyondCase {
        const char* name;
        QVariantMap arguments;
        double rate;
        std::optional<Kind> kind;
        double at;
    };
    const BeyondCase beyondCases[] = {
        {"high pass", {{frequency, 19846.0}}, 44100.0, Kind::beyondRate, 19846.0},
        {"high pass", {{frequency, 19845.0}}, 44100.0, std::nullopt, 0.0},
        {"low pass", {{frequency, 5000.0}}, 8000.0, Kind::beyondRate, 5000.0},
        {"equalize 3", {{highGain, 3.0}, {high, 12000.0}}, 22050.0, Kind::beyondRate, 12000.0},
        {"equalize 3",
         {{QStringLiteral("LowGain"), 3.0}, {highGain, 3.0}, {high, 12000.0}},
         22050.0,
         Kind::bandsBeyondRate,
         12000.0},
        {"equalize 3", {{QStringLiteral("LowGain"), 3.0}, {high, 12000.0}}, 22050.0, std::nullopt, 0.0},
        {"equalize 10", tenGains({3, 0, 0, 0, 0, 0, 0, 3, 3, 3}), 8000.0, Kind::bandsBeyondRate, 4000.0},
        {"equalize 10", tenGains(kSmile), 44100.0, std::nullopt, 0.0},
    };
    for (const BeyondCase& c : beyondCases) {
        SCOPED_TRACE(c.name);
        const auto document = kit::documentOf({kit::noise(3000, 1)});
        document->undoableSetSampleRate(c.rate);
        const TrackList before = document->audioTracks();
        const auto filter = kit::effectNamed(QString::fromLatin1(c.name));
        filter->setParameters(c.arguments);
        EXPECT_FALSE(kit::applyTo(document, *filter, kit::everythingOf(*document)));
        EXPECT_EQ(document->audioTracks() == before, c.kind == Kind::beyondRate);
        const std::optional<EffectRemark> remark = filter->remark();
        ASSERT_EQ(remark ? std::optional(remark->kind) : std::nullopt, c.kind);
        if (remark) {
            EXPECT_EQ(remark->arguments, (QVariantList{c.at, c.rate, 0.45 * c.rate}));
        }
    }
}

TEST(Equalizers, ASelectionSoundsAsIfAllBeforeHadBeenFilteredToo)
{
    const FloatBuffer sound = kit::noise(60000, 4);
    for (const char* const name : {"equalize 10", "equalize"}) {
        const auto filter = kit::effectNamed(QString::fromLatin1(name));
        QVariantMap arguments = tenGains(kSmile);
        if (name == std::string("equalize"))
            arguments = {{QStringLiteral("DataPoints"), QVariantList{100.0, 9.0, 300.0, -9.0, 5000.0, 6.0}}};
        filter->setParameters(arguments);
        const auto whole = kit::documentOf({sound});
        EXPECT_FALSE(kit::applyTo(whole, *filter, kit::everythingOf(*whole)));
        const auto part = kit::documentOf({sound});
        EXPECT_FALSE(kit::applyTo(part, *filter, kit::framesOf(*part, 25000, 40000)));
        const FloatBuffer all = kit::samplesOf(*whole, 0);
        const FloatBuffer some = kit::samplesOf(*part, 0);
        for (size_t i = 0; i < sound.size(); ++i) {
            const bool isSelected = i >= 25000 && i < 40000;
            ASSERT_NEAR(some[i], isSelected ? all[i] : sound[i], isSelected ? 1e-3 : 0.0) << name << " " << i;
        }
    }
}

/// The largest second difference, which a click or a step in a slope makes large.
double roughness(const FloatBuffer& samples)
{
    double most = 0.0;
    for (size_t i = 2; i < samples.size(); ++i)
        most =
            std::max(most, std::abs(static_cast<double>(samples[i]) - 2.0 * samples[i - 1] + samples[i - 2]));
    return most;
}

TEST(Equalizers, DoNotClickWhileAControlMoves)
{
    constexpr size_t numFrames = 60000;
    FloatBuffer sine(numFrames);
    for (size_t i = 0; i < numFrames; ++i)
        sine[i] = static_cast<float>(0.1 * std::sin(0.01 * static_cast<double>(i)));
    const auto document = kit::documentOf({sine, sine, sine});
    const std::pair<const char*, std::function<void(Filter&, double)>> moved[] = {
        {"equalize 10", [](Filter& f, double x) { f.setParameterValue(1, 18.0 * x); }},
        {"equalize 3", [](Filter& f, double x) { f.setParameterValue(Eq3Band::lowGain, 18.0 * x); }},
        {"low pass", [](Filter& f, double x) { f.setParameterValue(0, 60.0 * std::pow(200.0, x)); }},
        {"high pass", [](Filter& f, double x) { f.setParameterValue(0, 20.0 + 300.0 * x); }},
        {"equalize",
         [](Filter& f, double x) {
             f.parameters().setList(0, {70.0, 18.0 * x, 1000.0, 0.0});
         }},
    };
    for (const auto& [name, move] : moved) {
        const auto filter = kit::effectNamed(QString::fromLatin1(name));
        filter->setParameters({});
        move(*filter, 0.0);
        filter->setSource(std::make_shared<DocumentSource>(document));
        filter->begin();
        FloatBuffer heard;
        SampleBlock block;
        for (int i = 0; filter->requestDataWithNumFrames(500, block); ++i) {
            heard.insert(heard.end(), block[2].begin(), block[2].end());
            // Up and down, in steps as a mouse makes them.
            move(*filter, 0.5 - 0.5 * std::cos(i * 0.2));
        }
        filter->processingFinished();
        // A sine of 8 times the level is the most that may come; its own second difference is 0.01^2 of it.
        EXPECT_LT(roughness(heard), 3.0 * 0.1 * 8.0 * 1e-4) << name;
        EXPECT_GT(*std::max_element(heard.begin(), heard.end()), 0.05F) << name;
    }
}

TEST(Equalizers, KeepTheirPresets)
{
    const std::tuple<const char*, const char*, const char*, int> expected[] = {
        {"equalize 10", "Graphic EQ - 10 Band", "65713130000000c8", 80},
        {"equalize 3", "Graphic EQ -  3 Band", "65713033000000c8", 56},
        {"equalize", "Graphic Equalizer", "67724551000000c8", 96},
    };
    for (const auto& [name, folder, head, numBytes] : expected) {
        const auto filter = kit::effectNamed(QString::fromLatin1(name));
        EXPECT_EQ(filter->presetFolderName(), QString::fromLatin1(folder));
        EXPECT_EQ(filter->presetData().left(8).toHex(), QByteArray(head));
        EXPECT_EQ(filter->presetData().size(), 8 + numBytes);
    }
    const auto ten = kit::effectNamed(QStringLiteral("equalize 10"));
    ten->setParameterValue(3, -4.5);
    const QByteArray record = ten->presetData();
    ten->parameters().reset();
    EXPECT_FALSE(ten->loadPresetData(record));
    EXPECT_EQ(ten->parameterValue(3), -4.5);
    EXPECT_TRUE(kit::effectNamed(QStringLiteral("equalize 3"))->loadPresetData(record));
}

} // namespace
