#include "app/analysis/SpectrumChart.h"
#include "app/analysis/SpectrumWindow.h"
#include "app/analysis/StatisticsSheet.h"
#include "app/kit/AppTestKit.h"
#include "app/menus/AnalysisActions.h"
#include "app/menus/DocumentMenus.h"
#include "controllers/SelectionModel.h"

#include <QComboBox>
#include <QPushButton>
#include <numbers>

namespace velloria::test
{

namespace
{

class AnalysisTest : public AppTest
{
protected:
    void TearDown() override
    {
        for (const char* key : {"spectrum.size", "spectrum.window", "spectrum.axis"})
            UserDefaults::standard().removeValue(QString::fromLatin1(key));
    }

    /// Left 1 kHz at half of full scale, right noise at a tenth with a tone at 5 kHz; three seconds.
    DocumentWindow& openTones()
    {
        const auto sound = [](int channel, int64_t frame) {
            const double phase = 2.0 * std::numbers::pi * static_cast<double>(frame) / 44100.0;
            const double noise =
                std::fmod(std::fabs(std::sin(static_cast<double>(frame) * 12.9898) * 43758.5453), 1.0) - 0.5;
            return channel == 0 ? 0.5 * std::sin(1000.0 * phase)
                                : 0.1 * noise + 0.05 * std::sin(5000.0 * phase);
        };
        return *open(makeFile("tones.wav", waveBytes(3 * 44100, 2, 44100, sound)));
    }
};

SpectrumWindow* spectrumOf(DocumentWindow& window)
{
    return window.findChild<SpectrumWindow*>();
}

double frequencyOf(const QString& readout)
{
    return QLocale().toDouble(readout.section(u' ', 0, 0));
}

TEST_F(AnalysisTest, StatisticsOfTheSelectionAreShownAndCopied)
{
    DocumentWindow& window = openTones();
    window.controller().selection().setSelection({0.5, 1.5, 0, 1});
    QString text;
    QString part;
    whenShown<StatisticsSheet>([&](StatisticsSheet& sheet) {
        text = sheet.text();
        keepPicture(sheet, QStringLiteral("statistics"));
        sheet.reject();
    });
    window.menus().analysis().statisticsAction()->trigger();
    const QStringList lines = text.split(u'\n');
    EXPECT_TRUE(lines.contains(QStringLiteral("Peak\t−6.02\tdBFS"))) << text.toStdString();
    EXPECT_TRUE(lines.contains(QStringLiteral("RMS level\t−9.03\tdBFS")));
    EXPECT_TRUE(lines.contains(QStringLiteral("Clipped samples\t0")));
}

TEST_F(AnalysisTest, TheSpectrumReadsOutPeaksByMouseAndKeysAndIsSaved)
{
    DocumentWindow& window = openTones();
    window.menus().analysis().spectrumAction()->trigger();
    SpectrumWindow* const spectrum = spectrumOf(window);
    ASSERT_TRUE(spectrum);
    EXPECT_TRUE(QTest::qWaitForWindowExposed(spectrum));
    SpectrumChart& chart = spectrum->chart();
    const QPointF place(chart.xOfFrequency(1000.0) + 3, 100);
    QMouseEvent move(QEvent::MouseMove, place, chart.mapToGlobal(place), Qt::NoButton, Qt::NoButton,
                     Qt::NoModifier);
    QApplication::sendEvent(&chart, &move);
    EXPECT_NEAR(frequencyOf(chart.readout()), 1000.0, 0.3);
    EXPECT_TRUE(chart.readout().contains(QStringLiteral("B5 +21"))) << chart.readout().toStdString();
    EXPECT_NEAR(QLocale().toDouble(chart.readout().section(u' ', -2, -2)), -6.0, 0.15);
    keepPicture(*spectrum, QStringLiteral("spectrum"));
    chart.setFocus();
    chart.setReadoutFrequency(4990.0);
    QTest::keyClick(&chart, Qt::Key_Left, Qt::ShiftModifier);
    EXPECT_NEAR(frequencyOf(chart.readout()), 5000.0, 0.3);

    const QString textPath = mFolder.filePath(QStringLiteral("spectrum.txt"));
    EXPECT_TRUE(spectrum->writeText(textPath));
    QFile file(textPath);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_TRUE(file.readLine().startsWith("Hz\tdB 1\tdB 2"));
    const QString picturePath = mFolder.filePath(QStringLiteral("spectrum.png"));
    EXPECT_TRUE(spectrum->writePicture(picturePath));
    EXPECT_EQ(QImage(picturePath).size(), chart.size());
}

TEST_F(AnalysisTest, TheSpectrumFollowsItsChoicesAndTheSelection)
{
    DocumentWindow& window = openTones();
    window.controller().selection().setSelection({1.0, 1.0 + 1.0 / 44100.0, 1, 1});
    window.menus().analysis().spectrumAction()->trigger();
    SpectrumWindow* const spectrum = spectrumOf(window);
    ASSERT_TRUE(spectrum);
    const QList<QComboBox*> choices = spectrum->findChildren<QComboBox*>();
    ASSERT_EQ(choices.size(), 3);
    choices[2]->setCurrentIndex(1);
    Q_EMIT choices[2]->activated(1);
    EXPECT_FALSE(spectrum->chart().isLogarithmic());
    EXPECT_NEAR(spectrum->chart().frequencyAtX(spectrum->chart().xOfFrequency(7000.0)), 7000.0, 1e-6);
    choices[0]->setCurrentIndex(choices[0]->count() - 1);
    Q_EMIT choices[0]->activated(choices[0]->count() - 1);
    window.controller().selection().selectAll();
    for (QPushButton* const button : spectrum->findChildren<QPushButton*>())
        if (button->text().contains(QStringLiteral("Selection")))
            button->click();
    spectrum->chart().setReadoutFrequency(1000.0);
    EXPECT_NEAR(frequencyOf(spectrum->chart().readout()), 1000.0, 0.1);
    keepPicture(*spectrum, QStringLiteral("spectrum-linear"));
}

} // namespace

} // namespace velloria::test
