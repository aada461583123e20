#include "app/effects/ResponseChart.h"

#include "app/effects/EffectDialog.h"
#include "app/effects/ParameterRow.h"
#include "app/effects/ResponseEditor.h"
#include "app/effects/ValueField.h"
#include "app/kit/AppTestKit.h"
#include "app/look/Theme.h"
#include "document/DocumentKit.h"
#include "effects/EffectRegistry.h"
#include "effects/filters/Eq3Band.h"

#include <QComboBox>
#include <QLabel>
#include <QWheelEvent>

namespace velloria::test
{

/// The dialog of an equaliser over a sound at a rate.
struct OpenEqualizer {
    explicit OpenEqualizer(const char* scriptName, double rate = 44100.0)
    {
        const EffectEntry* const entry =
            EffectRegistry::effectWithScriptName(QString::fromLatin1(scriptName));
        filter = entry->make(entry->menuTitle);
        const auto document = kit::documentOf({kit::noise(1000, 1)});
        document->undoableSetSampleRate(rate);
        filter->setSource(std::make_shared<DocumentSource>(document));
        dialog = std::make_unique<EffectDialog>(filter, entry->summary, nullptr);
        dialog->show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(dialog.get()));
    }
    ~OpenEqualizer() { dialog->reject(); }

    ResponseEditor& editor() { return *dialog->findChild<ResponseEditor*>(); }
    ResponseChart& chart() { return editor().chart(); }
    QPoint placeOf(double frequency, double decibels)
    {
        return chart().placeOf({frequency, decibels}).toPoint();
    }
    void drag(QPoint from, QPoint to)
    {
        QTest::mousePress(&chart(), Qt::LeftButton, {}, from);
        QTest::mouseMove(&chart(), to);
        QTest::mouseRelease(&chart(), Qt::LeftButton, {}, to);
    }
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = {})
    {
        QTest::keyClick(&chart(), key, modifiers);
    }

    std::shared_ptr<Filter> filter;
    std::unique_ptr<EffectDialog> dialog;
};

/// In both appearances, if a person asked for pictures.
void keepPictures(QWidget& widget, const QString& name)
{
    const QPalette before = QApplication::palette();
    for (const bool isDark : {false, true}) {
        QApplication::setPalette(isDark ? ThemePalettes::dark() : ThemePalettes::light());
        QCoreApplication::processEvents();
        keepPicture(widget, name + (isDark ? QStringLiteral("-dark") : QStringLiteral("-light")));
    }
    QApplication::setPalette(before);
}

TEST(ResponseChartTest, BandsAreDraggedAsFarAsTheyCanMove)
{
    OpenEqualizer ten("equalize 10");
    ten.drag(ten.placeOf(1000.0, 0.0), ten.placeOf(3000.0, 9.0));
    EXPECT_NEAR(ten.filter->parameterValue(5), 9.0, 0.2);
    EXPECT_EQ(ten.dialog->rows()[5]->value(), ten.filter->parameterValue(5)) << "the row follows";
    ten.drag(ten.placeOf(125.0, 0.0), ten.placeOf(125.0, -6.0));
    ten.drag(ten.placeOf(8000.0, 0.0), ten.placeOf(8000.0, 4.0));
    ten.drag(ten.placeOf(4000.0, 12.0), ten.placeOf(4000.0, 0.0));
    EXPECT_EQ(ten.filter->parameterValue(7), 0.0) << "no handle was there";
    keepPictures(*ten.dialog, QStringLiteral("equalizer-10"));
    QTest::mouseDClick(&ten.chart(), Qt::LeftButton, {}, ten.placeOf(1000.0, ten.filter->parameterValue(5)));
    EXPECT_EQ(ten.filter->parameterValue(5), 0.0);

    OpenEqualizer three("equalize 3");
    three.drag(three.placeOf(1000.0, 0.0), three.placeOf(2000.0, -6.0));
    EXPECT_NEAR(three.filter->parameterValue(Eq3Band::midFrequency), 2000.0, 30.0);
    EXPECT_NEAR(three.filter->parameterValue(Eq3Band::midGain), -6.0, 0.2);
    three.drag(three.placeOf(200.0, 0.0), three.placeOf(120.0, 8.0));
    keepPictures(*three.dialog, QStringLiteral("equalizer-3"));
    three.filter->setParameterValue(Eq3Band::lowGain, -30.0);
    EXPECT_GT(three.placeOf(200.0, -30.0).y(), three.placeOf(200.0, 0.0).y());
    EXPECT_LT(three.placeOf(200.0, -30.0).y(), three.chart().height()) << "the axis has grown";
}

TEST(ResponseChartTest, KeysAndTheWheelDoWhatTheMouseDoes)
{
    OpenEqualizer three("equalize 3");
    three.press(Qt::Key_PageDown);
    three.press(Qt::Key_Up);
    three.press(Qt::Key_Up, Qt::ShiftModifier);
    EXPECT_NEAR(three.filter->parameterValue(Eq3Band::midGain), 0.6, 1e-9);
    three.press(Qt::Key_Right);
    EXPECT_NEAR(three.filter->parameterValue(Eq3Band::midFrequency), 1060.0, 1e-6);
    three.press(Qt::Key_Plus);
    EXPECT_NEAR(three.filter->parameterValue(Eq3Band::midQ), 0.77, 1e-9);
    const QPointF place = three.chart().placeOf({1060.0, 0.6});
    QWheelEvent wheel(place, three.chart().mapToGlobal(place), {}, {0, -120}, Qt::NoButton, Qt::NoModifier,
                      Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(&three.chart(), &wheel);
    EXPECT_NEAR(three.filter->parameterValue(Eq3Band::midQ), 0.7, 1e-9);
    EXPECT_TRUE(three.chart().accessibleName().contains(QLatin1String("2 of 3")));
    three.press(Qt::Key_Home);
    EXPECT_EQ(three.filter->parameterValue(Eq3Band::midGain), 0.0);

    OpenEqualizer pass("high pass");
    auto* const slope = qobject_cast<QComboBox*>(pass.dialog->rows()[1]->editor());
    EXPECT_TRUE(slope->itemText(1).startsWith(QLatin1String("24")) && slope->itemText(1).contains(u'/'));
    pass.press(Qt::Key_Right);
    EXPECT_NEAR(pass.filter->parameterValue(0), 84.8, 1e-6);
    pass.press(Qt::Key_Plus);
    EXPECT_EQ(pass.filter->parameterValue(1), 1.0);
    pass.press(Qt::Key_Up);
    EXPECT_NEAR(pass.chart().handles().front().gainDB, -3.01, 0.01) << "it has no gain to move";
    keepPictures(*pass.dialog, QStringLiteral("high-pass"));
}

TEST(ResponseChartTest, PointsOfAFreeCurveComeMoveAndGo)
{
    OpenEqualizer free("equalize");
    const auto points = [&free]() -> const std::vector<double>& { return free.filter->parameters().list(0); };
    free.drag(free.placeOf(1000.0, 10.0), free.placeOf(1200.0, 6.0));
    ASSERT_EQ(points().size(), 14U);
    EXPECT_NEAR(points()[6], 1200.0, 20.0);
    EXPECT_NEAR(points()[7], 6.0, 0.2);
    free.drag(free.placeOf(125.0, 0.0), free.placeOf(19000.0, -8.0));
    EXPECT_NEAR(points()[2], 500.0 / 1.01, 1.0) << "not beyond its neighbour";
    free.drag(free.placeOf(points()[2], points()[3]), free.placeOf(100.0, -8.0));
    keepPictures(*free.dialog, QStringLiteral("equalizer-free"));
    free.editor().frequencyField()->setValue(110.0);
    free.editor().gainField()->setValue(-20.0);
    EXPECT_EQ(points()[2], 110.0);
    EXPECT_EQ(points()[3], -20.0);
    free.press(Qt::Key_Insert);
    EXPECT_EQ(points().size(), 16U);
    EXPECT_EQ(free.chart().chosen(), 2);
    for (int i = 0; i < 20; ++i)
        free.press(Qt::Key_Delete);
    EXPECT_EQ(points().size(), 2U) << "one stays";
}

TEST(ResponseChartTest, WhatTheSampleRateHasNoRoomForIsGrey)
{
    OpenEqualizer ten("equalize 10", 22050.0);
    EXPECT_TRUE(ten.dialog->rows()[8]->editor()->isEnabled());
    EXPECT_FALSE(ten.dialog->rows()[9]->editor()->isEnabled());
    EXPECT_FALSE(ten.chart().handles()[9].isOn);
    keepPictures(*ten.dialog, QStringLiteral("equalizer-10-at-22050"));
    // Of what it would do nothing for, it is said why.
    OpenEqualizer pass("high pass", 22050.0);
    const auto isSaid = [&pass] {
        for (const QLabel* const label : pass.dialog->findChildren<QLabel*>())
            if (label->isVisible() && label->text().contains(QStringLiteral("10,000 Hz lies above")))
                return true;
        return false;
    };
    EXPECT_FALSE(isSaid());
    pass.filter->setParameterValue(0, 10'000.0);
    EXPECT_TRUE(isSaid());
    EXPECT_FALSE(pass.dialog->rows()[1]->editor()->isEnabled());
    EXPECT_TRUE(pass.dialog->rows()[0]->editor()->isEnabled());
    keepPictures(*pass.dialog, QStringLiteral("high-pass-beyond"));
    pass.filter->setParameterValue(0, 9'000.0);
    EXPECT_FALSE(isSaid());
}

} // namespace velloria::test
