#include "app/effects/EnvelopeChart.h"

#include "app/effects/EffectDialog.h"
#include "app/effects/EnvelopeEditor.h"
#include "app/effects/ValueField.h"
#include "app/kit/AppTestKit.h"
#include "effects/EffectRegistry.h"

#include <QSignalSpy>

namespace velloria::test
{

class EnvelopeChartTest : public testing::Test
{
protected:
    EnvelopeChartTest()
    {
        const EffectEntry* const entry = EffectRegistry::effectWithScriptName(QStringLiteral("fade special"));
        filter = entry->make(entry->menuTitle);
        dialog = std::make_unique<EffectDialog>(filter, entry->summary, nullptr);
        dialog->show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(dialog.get()));
    }

    ~EnvelopeChartTest() override
    {
        UserDefaults::standard().removeValue(filter->parameters()[0].settingsKey);
    }

    EnvelopeEditor& editor() { return *dialog->findChild<EnvelopeEditor*>(); }
    EnvelopeChart& chart() { return editor().chart(); }
    const std::vector<double>& taken() { return filter->parameters().list(0); }
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = {})
    {
        QTest::keyClick(&chart(), key, modifiers);
    }
    QPoint placeOf(double x, double y) { return chart().placeOf({x, y}).toPoint(); }

    std::shared_ptr<Filter> filter;
    std::unique_ptr<EffectDialog> dialog;
};

TEST_F(EnvelopeChartTest, PointsAreAddedDraggedBetweenTheirNeighboursAndRemoved)
{
    QTest::mousePress(&chart(), Qt::LeftButton, {}, placeOf(0.5, 0.5));
    ASSERT_EQ(taken().size(), 6U);
    EXPECT_NEAR(taken()[2], 0.5, 0.005);
    EXPECT_NEAR(taken()[3], 0.5, 0.01);
    QTest::mouseMove(&chart(), placeOf(0.25, 1.5));
    EXPECT_NEAR(taken()[2], 0.25, 0.005);
    EXPECT_NEAR(taken()[3], 1.5, 0.02);
    QTest::mouseMove(&chart(), placeOf(1.0, 1.5) + QPoint(500, -500));
    EXPECT_EQ(taken()[2], 1.0) << "not beyond the next one";
    EXPECT_EQ(taken()[3], 2.0);
    QTest::mouseMove(&chart(), placeOf(0.4, 0.3));
    QTest::mouseRelease(&chart(), Qt::LeftButton, {}, placeOf(0.4, 0.3));
    QTest::mouseMove(&chart(), placeOf(0.9, 0.9));
    EXPECT_NEAR(taken()[2], 0.4, 0.005) << "let go";
    keepPicture(*dialog, QStringLiteral("envelope"));
    press(Qt::Key_Delete);
    EXPECT_EQ(taken(), (std::vector<double>{0, 1, 1, 1}));
    press(Qt::Key_Delete);
    EXPECT_EQ(taken().size(), 4U) << "two stay";
}

TEST_F(EnvelopeChartTest, KeysAndFieldsDoWhatTheMouseDoes)
{
    press(Qt::Key_PageUp);
    press(Qt::Key_Insert);
    EXPECT_EQ(taken(), (std::vector<double>{0, 1, 0.5, 1, 1, 1}));
    press(Qt::Key_Down);
    press(Qt::Key_Right, Qt::ShiftModifier);
    EXPECT_NEAR(taken()[2], 0.501, 1e-9);
    EXPECT_NEAR(taken()[3], 0.99, 1e-9);
    press(Qt::Key_PageDown);
    press(Qt::Key_Right);
    EXPECT_EQ(taken()[4], 1.0) << "not beyond the selection";
    editor().gainField().selectAll();
    QTest::keyClicks(&editor().gainField(), QStringLiteral("350"));
    EXPECT_EQ(taken()[5], 3.5);
    EXPECT_EQ(editor().gainField().value(), 350.0);
    press(Qt::Key_PageUp);
    EXPECT_NEAR(editor().gainField().value(), 99.0, 1e-6);
    editor().positionField().setValue(12.5);
    EXPECT_NEAR(taken()[2], 0.125, 1e-9);
}

TEST_F(EnvelopeChartTest, ShowsWhatTheEffectTakesFromElsewhereWithoutTellingOfIt)
{
    QSignalSpy spy(&editor(), &EnvelopeEditor::edited);
    filter->parameters().setList(0, {0, 0, 0.3, 1, 0.7, 1, 1, 0});
    EXPECT_EQ(chart().points().size(), 4U);
    EXPECT_EQ(spy.count(), 0);
    press(Qt::Key_Up);
    EXPECT_EQ(spy.count(), 1);
    dialog->reject();
    EXPECT_EQ(taken(), (std::vector<double>{0, 1, 1, 1})) << "as before the dialog";
}

} // namespace velloria::test
