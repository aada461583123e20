#include "app/effects/EffectDialog.h"

#include "app/effects/EffectMeters.h"
#include "app/effects/GainReductionView.h"
#include "app/effects/ParameterRow.h"
#include "app/effects/PreviewControls.h"
#include "app/kit/AppTestKit.h"
#include "app/kit/TabOrder.h"
#include "app/look/EffectWords.h"
#include "app/look/Theme.h"
#include "app/menus/DocumentMenus.h"
#include "app/menus/EffectActions.h"
#include "app/preferences/Settings.h"
#include "app/transport/StereoMeter.h"
#include "app/transport/VLLevelMeterView.h"
#include "controllers/TransportController.h"
#include "effects/EffectRegistry.h"
#include "platform/Log.h"
#include "platform/hardware/SimulatedStreams.h"

#include <QAccessible>
#include <QCheckBox>
#include <QDialogButtonBox>
#include <QDoubleSpinBox>
#include <QPushButton>
#include <QSlider>

namespace velloria::test
{

class EffectDialogTest : public testing::Test
{
protected:
    EffectDialogTest()
    {
        const EffectEntry* const entry = EffectRegistry::effectWithScriptName(QStringLiteral("amplify"));
        filter = entry->make(entry->menuTitle);
        dialog = std::make_unique<EffectDialog>(filter, entry->summary, nullptr);
        dialog->show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(dialog.get()));
    }

    ~EffectDialogTest() override
    {
        UserDefaults::standard().removeValue(filter->parameters()[0].settingsKey);
    }

    QDoubleSpinBox& field() { return *qobject_cast<QDoubleSpinBox*>(dialog->rows()[0]->editor()); }
    QSlider& slider() { return *dialog->findChild<QSlider*>(); }
    void type(const QString& text)
    {
        field().selectAll();
        QTest::keyClicks(&field(), text);
    }

    std::shared_ptr<Filter> filter;
    std::unique_ptr<EffectDialog> dialog;
};

TEST_F(EffectDialogTest, TypedValuesMoveTheSliderAndEnterAppliesThem)
{
    const int before = slider().value();
    type(QStringLiteral("-6.5"));
    EXPECT_LT(slider().value(), before);
    keepPicture(*dialog, QStringLiteral("effect-dialog"));
    QTest::keyClick(&field(), Qt::Key_Return);
    EXPECT_FALSE(dialog->isVisible());
    EXPECT_EQ(filter->parameterValue(0), -6.5);
    EXPECT_EQ(UserDefaults::standard().doubleValue(filter->parameters()[0].settingsKey), -6.5);
}

TEST_F(EffectDialogTest, TheSliderChangesTheField)
{
    slider().setValue(slider().maximum());
    EXPECT_EQ(field().value(), filter->parameters()[0].maximum);
    QTest::keyClick(&slider(), Qt::Key_Home);
    EXPECT_EQ(field().value(), filter->parameters()[0].minimum);
}

TEST_F(EffectDialogTest, TypedValuesMayGoBeyondTheSliderButNotBeyondTheHardLimits)
{
    const ParameterDescription& gain = filter->parameters()[0];
    field().setValue(gain.maximum + 20);
    EXPECT_EQ(field().value(), gain.maximum + 20);
    EXPECT_EQ(slider().value(), slider().maximum());
    field().setValue(gain.hardMaximum + 1000);
    EXPECT_EQ(field().value(), gain.hardMaximum);
}

TEST_F(EffectDialogTest, CancelAndEscapeChangeNothing)
{
    const double before = filter->parameterValue(0);
    type(QStringLiteral("12"));
    QTest::keyClick(&field(), Qt::Key_Escape);
    EXPECT_FALSE(dialog->isVisible());
    EXPECT_EQ(filter->parameterValue(0), before);
    EXPECT_FALSE(UserDefaults::standard().isSet(filter->parameters()[0].settingsKey));
}

TEST_F(EffectDialogTest, DefaultsComeBack)
{
    type(QStringLiteral("12"));
    auto* const buttons = dialog->findChild<QDialogButtonBox*>();
    buttons->button(QDialogButtonBox::RestoreDefaults)->click();
    EXPECT_EQ(field().value(), filter->parameters()[0].defaultValue);
}

TEST_F(EffectDialogTest, RowsFollowTheEffectAndNoDigitIsLost)
{
    // As a preset gives it: more digits than the field shows.
    filter->setParameterValue(0, 14.0 + 2.0 / 3.0);
    EXPECT_EQ(dialog->rows()[0]->value(), 14.0 + 2.0 / 3.0);
    EXPECT_GT(slider().value(), 0);
    field().setFocus();
    QTest::keyClick(&field(), Qt::Key_Tab);
    EXPECT_EQ(filter->parameterValue(0), 14.0 + 2.0 / 3.0) << "a field that is only visited changes nothing";
    field().setFocus();
    type(QStringLiteral("0.125"));
    EXPECT_EQ(filter->parameterValue(0), 0.125);
    EXPECT_EQ(field().text().left(5), QStringLiteral("0.125"));
    QTest::keyClick(&field(), Qt::Key_Return);
    EXPECT_EQ(UserDefaults::standard().doubleValue(filter->parameters()[0].settingsKey), 0.125);
}

TEST(EffectDialogRows, AreGreyWhileAnotherMakesThemMeaningless)
{
    const EffectEntry* const entry = EffectRegistry::effectWithScriptName(QStringLiteral("dc offset"));
    const std::shared_ptr<Filter> offset = entry->make(entry->menuTitle);
    EffectDialog window(offset, entry->summary, nullptr);
    auto* const remove = qobject_cast<QCheckBox*>(window.rows()[0]->editor());
    auto* const by = qobject_cast<QDoubleSpinBox*>(window.rows()[1]->editor());
    EXPECT_FALSE(by->isEnabled());
    remove->click();
    EXPECT_TRUE(by->isEnabled());
    by->setValue(12.5);
    EXPECT_EQ(offset->parameterValue(1), 0.125) << "shown in percent, kept as a fraction";
    window.reject();
    EXPECT_EQ(offset->parameterValue(0), 1.0);
    EXPECT_EQ(offset->parameterValue(1), 0.0);
}

TEST(EffectDialogs, AllFitASmallScreenLightAndDarkAndNameTheirControls)
{
    const QPalette before = QApplication::palette();
    for (const bool isDark : {false, true}) {
        QApplication::setPalette(isDark ? ThemePalettes::dark() : ThemePalettes::light());
        for (const EffectEntry& entry : EffectRegistry::effects()) {
            SCOPED_TRACE(entry.scriptName.toStdString());
            const std::shared_ptr<Filter> filter = entry.make(EffectWords::title(entry.menuTitle));
            if (!filter->hasOptionsDialog())
                continue;
            const auto document = std::make_shared<SoundDocument>();
            filter->setSource(std::make_shared<DocumentSource>(document, SoundSelection{}));
            EffectDialog dialog(filter, entry.summary, nullptr);
            dialog.show();
            ASSERT_TRUE(QTest::qWaitForWindowExposed(&dialog));
            EXPECT_LE(dialog.width(), 1024);
            EXPECT_LE(dialog.height(), 720);
            expectReadingOrder(dialog);
            for (QWidget* const control : dialog.findChildren<QWidget*>()) {
                const bool isControl = control->inherits("QSlider") || control->inherits("QDoubleSpinBox") ||
                                       control->inherits("QComboBox");
                const QAccessibleInterface* const spoken = QAccessible::queryAccessibleInterface(control);
                EXPECT_FALSE(isControl && control->isVisible() && spoken->text(QAccessible::Name).isEmpty());
            }
            keepPicture(dialog, QStringLiteral("dialog-%1-%2")
                                    .arg(QString(entry.scriptName).replace(u' ', u'-'),
                                         isDark ? QStringLiteral("dark") : QStringLiteral("light")));
            dialog.reject();
        }
    }
    QApplication::setPalette(before);
}

TEST(ParameterRowTest, PositionsAndValuesAreInverseOnLinearAndLogarithmicSliders)
{
    ParameterDescription gain;
    gain.minimum = -60;
    gain.maximum = 40;
    ParameterDescription frequency;
    frequency.minimum = 20;
    frequency.maximum = 20000;
    frequency.decimals = 0;
    for (const ParameterDescription& parameter : {gain, frequency}) {
        EXPECT_EQ(ParameterRow::positionOfValue(parameter, parameter.minimum), 0);
        EXPECT_EQ(ParameterRow::positionOfValue(parameter, parameter.maximum), 1);
        for (const double position : {0.1, 0.35, 0.5, 0.9}) {
            const double value = ParameterRow::valueOfPosition(parameter, position);
            EXPECT_NEAR(ParameterRow::positionOfValue(parameter, value), position, 0.01);
        }
    }
    // The middle of a range of three decades is in the middle one.
    EXPECT_NEAR(ParameterRow::valueOfPosition(frequency, 0.5), 632, 1);
    EXPECT_NEAR(ParameterRow::valueOfPosition(gain, 0.5), -10, 0.1);
}

/// An effect over two seconds of sound, on simulated hardware.
class EffectPreviewTest : public AppTest
{
protected:
    EffectPreviewTest()
    {
        AudioHardware::setCurrent(hardware);
        window = open(makeSound("sound.wav", 88200));
        window->menus().effects().actionNamed(QStringLiteral("amplify"))->trigger();
        dialog = window->findChild<EffectDialog*>();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(dialog));
    }
    ~EffectPreviewTest() override
    {
        if (EffectDialog* const open = window->findChild<EffectDialog*>())
            open->reject();
        window->closeWithoutAsking();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        AudioHardware::setCurrent(nullptr);
        UserDefaults::standard().removeValue(Settings::previewLoops);
    }
    float loudest()
    {
        float peak = 0.0F;
        if (hardware->output())
            for (const float sample : hardware->output()->pull(1024))
                peak = std::max(peak, std::abs(sample));
        return peak;
    }

    LogCapture log;
    std::shared_ptr<SimulatedHardware> hardware = std::make_shared<SimulatedHardware>();
    DocumentWindow* window = nullptr;
    EffectDialog* dialog = nullptr;
};

TEST_F(EffectPreviewTest, IsHeardAsItIsChangedAndFallsSilentWithTheDialog)
{
    auto& field = *qobject_cast<QDoubleSpinBox*>(dialog->rows()[0]->editor());
    field.setValue(-6);
    QTest::keyClick(dialog, Qt::Key_Space, Qt::ControlModifier);
    ASSERT_TRUE(dialog->preview()->isPlaying());
    keepPicture(*dialog, QStringLiteral("effect-preview"));
    EXPECT_NEAR(loudest(), 0.9 * 0.501, 0.02);
    field.setValue(-20);
    EXPECT_TRUE(waitUntil([this] { return std::abs(loudest() - 0.09F) < 0.01F; }));
    QTest::mouseClick(&dialog->preview()->previewButton(), Qt::LeftButton);
    EXPECT_TRUE(waitUntil([this] { return hardware->output() == nullptr; }));
    EXPECT_FALSE(dialog->preview()->previewButton().isChecked());

    QTest::mouseClick(&dialog->preview()->previewButton(), Qt::LeftButton);
    ASSERT_TRUE(dialog->preview()->isPlaying());
    dialog->reject();
    EXPECT_EQ(hardware->output(), nullptr);
    EXPECT_FALSE(window->document().isDocumentEdited());
}

TEST_F(EffectPreviewTest, StopsWhatTheWindowPlaysAndKeepsTheLoopSwitch)
{
    window->controller().transport().playFromTime(0);
    dialog->preview()->loopBox().setChecked(true);
    QTest::mouseClick(&dialog->preview()->previewButton(), Qt::LeftButton);
    EXPECT_FALSE(window->controller().transport().isPlaying());
    dialog->accept();
    EXPECT_TRUE(waitUntil([this] { return hardware->output() == nullptr; }));
    EXPECT_EQ(UserDefaults::standard().integerValue(Settings::previewLoops), 1);
    EXPECT_TRUE(waitUntil([this] { return window->document().isDocumentEdited(); }));
}

TEST_F(EffectPreviewTest, ShowsWhatACompressorDoesWhileItIsHeard)
{
    dialog->reject();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    window->menus().effects().actionNamed(QStringLiteral("compress"))->trigger();
    dialog = window->findChild<EffectDialog*>();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(dialog));
    // 14 dB less at 0.9 of full scale, 1 dB below it.
    qobject_cast<QDoubleSpinBox*>(dialog->rows()[0]->editor())->setValue(-15.0);
    qobject_cast<QDoubleSpinBox*>(dialog->rows()[1]->editor())->setValue(1000.0);
    qobject_cast<QDoubleSpinBox*>(dialog->rows()[5]->editor())->setValue(0.0);
    EXPECT_FALSE(qobject_cast<QCheckBox*>(dialog->rows()[4]->editor())->isChecked()) << "a gain of one's own";
    auto& meters = *dialog->findChild<EffectMeters*>();
    QTest::mouseClick(&dialog->preview()->previewButton(), Qt::LeftButton);
    ASSERT_TRUE(dialog->preview()->isPlaying());
    EXPECT_TRUE(waitUntil([&] {
        loudest();
        return std::abs(meters.gainReduction().reduction() - 14.1) < 0.3 &&
               std::abs(meters.input().left().levelValue() + 0.9) < 0.3 &&
               std::abs(meters.output().left().levelValue() + 15.0) < 0.3;
    }));
    keepPicture(*dialog, QStringLiteral("effect-meters"));
    const QPalette light = QApplication::palette();
    QApplication::setPalette(ThemePalettes::dark());
    QTest::qWait(50);
    keepPicture(*dialog, QStringLiteral("effect-meters-dark"));
    QApplication::setPalette(light);
    dialog->preview()->stop();
    EXPECT_TRUE(waitUntil([&] { return !dialog->preview()->isPlaying(); }));
    EXPECT_TRUE(waitUntil([&] { return meters.gainReduction().reduction() == 0.0; }));
}

TEST_F(EffectPreviewTest, SaysInTheDialogWhyItCannotBeHeard)
{
    hardware->setOpenError(Error{Error::Code::failed, QStringLiteral("No sound server can be reached.")});
    QTest::mouseClick(&dialog->preview()->previewButton(), Qt::LeftButton);
    EXPECT_EQ(dialog->preview()->message(), QStringLiteral("No sound server can be reached."));
    EXPECT_FALSE(dialog->preview()->previewButton().isChecked());
}

} // namespace velloria::test
