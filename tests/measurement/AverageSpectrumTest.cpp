#include "measurement/AverageSpectrum.h"
#include "measurement/MeasurementKit.h"
#include "measurement/NoteName.h"

#include <complex>

using namespace velloria;

namespace
{

using Window = SpectrumSettings::Window;

AverageSpectrum spectrumOf(const std::vector<FloatBuffer>& samples, const SpectrumSettings& settings,
                           double rate = 44100.0)
{
    const std::vector<AudioTrackPtr> tracks = kit::tracksOf(samples);
    SilentProgress progress;
    MaybeError error;
    auto spectrum = AverageSpectrum::ofTracks(tracks, rate, 0, static_cast<int64_t>(samples[0].size()),
                                              settings, progress, &error);
    EXPECT_TRUE(spectrum);
    return *spectrum;
}

/// The level at one bin, from the definition.
double slowLevel(const FloatBuffer& samples, const SpectrumSettings& settings, size_t bin)
{
    const size_t length = std::min(samples.size(), settings.size);
    const std::vector<float> weights = windowWeights(settings.window, length);
    double power = 0.0;
    int numPieces = 0;
    for (size_t start = 0;; start += length / 2) {
        start = std::min(start, samples.size() - length);
        std::complex<double> sum = 0.0;
        for (size_t i = 0; i < length; ++i)
            sum += static_cast<double>(samples[start + i] * weights[i]) *
                   std::polar(1.0, -2.0 * std::numbers::pi * static_cast<double>(bin * i % settings.size) /
                                       static_cast<double>(settings.size));
        power += std::norm(sum) * (bin == 0 || bin == settings.size / 2 ? 1.0 : 4.0);
        ++numPieces;
        if (start + length >= samples.size())
            break;
    }
    return 10.0 * std::log10(power / numPieces);
}

TEST(AverageSpectrum, IsTheMeanPowerOfAllPieces)
{
    const FloatBuffer samples = kit::noise(5000, 1, 0.5F);
    for (const Window window :
         {Window::hann, Window::hamming, Window::blackmanHarris, Window::flatTop, Window::rectangular}) {
        for (const size_t size : {size_t{256}, size_t{1024}, size_t{8192}}) {
            const SpectrumSettings settings{size, window};
            const AverageSpectrum spectrum = spectrumOf({samples}, settings);
            ASSERT_EQ(spectrum.numBins(), size / 2 + 1);
            for (const size_t bin : {size_t{0}, size_t{1}, size_t{77}, size / 2 - 1, size / 2})
                EXPECT_NEAR(static_cast<double>(spectrum.levelsDB(0)[bin]), slowLevel(samples, settings, bin),
                            0.02)
                    << size << " " << bin;
        }
    }
}

TEST(AverageSpectrum, FindsSinesAndTheirLevels)
{
    for (const double rate : {8000.0, 44100.0, 192000.0}) {
        const double frequency = rate * 0.0731;
        const AverageSpectrum spectrum =
            spectrumOf({kit::sine(frequency, 0.1, 3.0, rate), kit::sine(rate / 8.0, 0.001, 3.0, rate)},
                       {16384, Window::blackmanHarris}, rate);
        const AverageSpectrum::Peak all = spectrum.highestBetween(0, rate);
        EXPECT_NEAR(all.frequency, frequency, spectrum.binWidth() * 0.02);
        EXPECT_NEAR(all.levelDB, -20.0, 0.05);
        const AverageSpectrum::Peak second = spectrum.highestBetween(rate * 0.12, rate * 0.13);
        EXPECT_NEAR(second.frequency, rate / 8.0, spectrum.binWidth() * 0.02);
        EXPECT_NEAR(second.levelDB, -60.0, 0.05);
    }
    const AverageSpectrum flat = spectrumOf({kit::sine(1000.3, 1.0, 3.0, 44100.0)}, {4096, Window::flatTop});
    EXPECT_NEAR(static_cast<double>(*std::max_element(flat.levelsDB(0).begin(), flat.levelsDB(0).end())), 0.0,
                0.02);
}

TEST(AverageSpectrum, TakesWhatIsShortSilentOrBroken)
{
    const AverageSpectrum one = spectrumOf({FloatBuffer(1, 0.5F)}, {});
    EXPECT_NEAR(one.levelsDB(0)[0], -6.02F, 0.01F);
    const AverageSpectrum silence = spectrumOf({FloatBuffer(20000, 0.0F)}, {});
    EXPECT_EQ(silence.levelsDB(0)[100], AverageSpectrum::lowestLevelDB);
    const AverageSpectrum broken =
        spectrumOf({FloatBuffer(20000, std::numeric_limits<float>::quiet_NaN())}, {});
    EXPECT_EQ(broken.levelsDB(0)[100], AverageSpectrum::lowestLevelDB);
    EXPECT_EQ(one.highestBetween(7000.0, 7000.1).levelDB,
              static_cast<double>(AverageSpectrum::lowestLevelDB));

    const QStringList lines =
        spectrumOf({FloatBuffer(1, 1.0F), FloatBuffer(1, 0.5F)}, {256, Window::hann}).text().split(u'\n');
    EXPECT_EQ(lines[0], QStringLiteral("Hz\tdB 1\tdB 2"));
    EXPECT_EQ(lines[1], QStringLiteral("0.000\t0.00\t-6.02"));
    EXPECT_EQ(lines[129].section(u'\t', 0, 0), QStringLiteral("22050.000"));

    kit::CancellingProgress cancelling;
    MaybeError error;
    EXPECT_FALSE(AverageSpectrum::ofTracks(kit::tracksOf({FloatBuffer(9, 0.0F)}), 44100.0, 0, 9, {},
                                           cancelling, &error));
    EXPECT_TRUE(error && error->isUserCancelled());
}

TEST(NoteName, NamesTheNearestNote)
{
    const std::pair<double, QString> cases[] = {
        {440.0, QStringLiteral("A4")},
        {261.6256, QStringLiteral("C4")},
        {445.0, QStringLiteral("A4 +20")},
        {27.5, QStringLiteral("A0")},
        {554.0, QStringLiteral("C♯5 −1")},
        {16.3516, QStringLiteral("C0")},
        {3.0, QString()},
        {std::nan(""), QString()},
    };
    for (const auto& [frequency, name] : cases)
        EXPECT_EQ(noteName(frequency), name) << frequency;
}

} // namespace
