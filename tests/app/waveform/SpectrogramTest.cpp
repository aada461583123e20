#include "app/kit/AppTestKit.h"
#include "app/preferences/Settings.h"
#include "app/waveform/SpectrogramRaster.h"
#include "controllers/EditCommands.h"
#include "controllers/SelectionModel.h"

#include <numbers>

namespace velloria::test
{

namespace
{

class SpectrogramTest : public AppTest
{
protected:
    SpectrogramTest() { Settings::change(Settings::showsSpectrogram, 1); }
    ~SpectrogramTest() override { UserDefaults::standard().removeValue(Settings::showsSpectrogram); }

    /// A sweep on the left, a steady tone of 400 Hz on the right that begins at half time.
    DocumentWindow& openSweep()
    {
        constexpr int64_t numFrames = 4 * 44100;
        return *open(makeFile("sweep.wav", waveBytes(numFrames, 2, 44100, [](int channel, int64_t frame) {
                                  const double time = static_cast<double>(frame) / 44100.0;
                                  const double phase =
                                      channel == 0 ? 200.0 * time + 1200.0 * time * time : 400.0 * time;
                                  const bool isOn = channel == 0 || time >= 2.0;
                                  return isOn ? 0.5 * std::sin(2.0 * std::numbers::pi * phase) : 0.0;
                              })));
    }

    static QImage pictureOf(DocumentWindow& window)
    {
        WaveformWidget& view = window.view().waveform();
        view.grab();
        EXPECT_TRUE(waitUntil([&] { return view.spectrogram().isComplete(); }));
        return view.grab().toImage();
    }

    /// How far up its lane a track's brightest (in a light window: darkest) pixel lies at a time, from 0
    /// to 1.
    static double heightOfPeak(DocumentWindow& window, const QImage& image, int32_t track, double time)
    {
        const WaveformWidget& view = window.view().waveform();
        const LaneLayout layout = view.layoutOfLanes();
        const int x = static_cast<int>(window.view().context().geometry().xAtTime(time));
        const bool isDark = window.view().context().theme().isDark;
        int best = -1;
        int mostContrast = 60;
        for (int y = static_cast<int>(layout.laneTop(track)); y < static_cast<int>(layout.laneBottom(track));
             ++y) {
            const int lightness = image.pixelColor(x, y).lightness();
            const int contrast = isDark ? lightness : 255 - lightness;
            if (contrast > mostContrast) {
                mostContrast = contrast;
                best = y;
            }
        }
        return best < 0 ? -1.0 : (layout.laneBottom(track) - best) / layout.laneHeight();
    }
};

TEST_F(SpectrogramTest, FrequenciesStandWhereTheScaleSaysAndFollowEdits)
{
    DocumentWindow& window = openSweep();
    QImage image = pictureOf(window);
    const FrequencyAxis axis = window.view().context().frequencyAxis();
    EXPECT_NEAR(heightOfPeak(window, image, 0, 1.0), axis.shareOf(200.0 + 2400.0), 0.04);
    EXPECT_NEAR(heightOfPeak(window, image, 0, 3.0), axis.shareOf(200.0 + 7200.0), 0.04);
    EXPECT_LT(heightOfPeak(window, image, 1, 1.0), 0.0);
    EXPECT_NEAR(heightOfPeak(window, image, 1, 3.0), axis.shareOf(400.0), 0.04);
    window.controller().selection().setSelection({1.2, 2.4, 0, 2});
    keepPicture(window, QStringLiteral("spectrogram"));

    window.controller().selection().setSelection({0.0, 2.0, 0, 2});
    window.controller().editing().deleteSelection(QStringLiteral("Delete"));
    window.view().context().geometry().fitInWindow();
    image = pictureOf(window);
    EXPECT_NEAR(heightOfPeak(window, image, 0, 1.0), axis.shareOf(200.0 + 7200.0), 0.04);
    EXPECT_NEAR(heightOfPeak(window, image, 1, 0.5), axis.shareOf(400.0), 0.04);
}

} // namespace

} // namespace velloria::test
