#include "app/kit/AppTestKit.h"
#include "app/sheets/SaveDialog.h"

#include <QComboBox>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QStandardItemModel>
#include <QToolTip>

namespace velloria::test
{

class PlainNamesTest : public AppTest
{
protected:
    /// Every label that is shown with the name would show it as it is.
    static int numLabelsWith(const QString& name)
    {
        int count = 0;
        for (QWidget* const widget : QApplication::allWidgets()) {
            const auto* const label = qobject_cast<QLabel*>(widget);
            if (!label || !label->text().contains(name))
                continue;
            ++count;
            EXPECT_EQ(label->textFormat(), Qt::PlainText) << qPrintable(label->text());
        }
        return count;
    }
};

TEST_F(PlainNamesTest, ANameThatLooksLikeMarkupIsShownAsItIs)
{
    const QString name = QStringLiteral("<s>a&amp;b<img src=x>");
    DocumentWindow* const window = open(makeSound((name + QStringLiteral(".wav")).toStdString()));
    window->document().addMarker(std::make_shared<AudioMarker>(1, 100, QStringLiteral("<s>one")));
    int numShown = 0;
    whenShown<QMessageBox>([&](QMessageBox& box) {
        numShown = numLabelsWith(name);
        keepPicture(box, QStringLiteral("plain-name"));
        box.button(QMessageBox::Cancel)->click();
    });
    EXPECT_FALSE(window->prepareToClose());
    EXPECT_EQ(numShown, 1) << "in the question";
    whenShown<QMessageBox>([&](QMessageBox& box) {
        numShown = numLabelsWith(name);
        box.accept();
    });
    window->alerts().confirmLoss(name, {name, name});
    EXPECT_EQ(numShown, 2) << "the question and what is lost";
    QToolTip::showText(QPoint(10, 10), name);
    EXPECT_EQ(numLabelsWith(name), 1);
    QToolTip::hideText();
    window->closeWithoutAsking();
}

TEST_F(PlainNamesTest, HeadingsOfAFormatsOptionsCannotBeChosen)
{
    DocumentWindow* const window = open(makeSound());
    SaveDialog dialog(window->document(), {}, window);
    const QList<QComboBox*> combos = dialog.findChildren<QComboBox*>();
    const auto types = std::find_if(combos.begin(), combos.end(), [](const QComboBox* combo) {
        return combo->findText(QStringLiteral("Ogg Vorbis"), Qt::MatchContains) >= 0;
    });
    ASSERT_NE(types, combos.end());
    (*types)->setCurrentIndex((*types)->findText(QStringLiteral("Ogg Vorbis"), Qt::MatchContains));
    const auto options = std::find_if(combos.begin(), combos.end(), [](const QComboBox* combo) {
        return combo->findText(QStringLiteral("Average Bit Rate:")) >= 0;
    });
    ASSERT_NE(options, combos.end());
    const auto& entries = dynamic_cast<const QStandardItemModel&>(*(*options)->model());
    for (int row = 0; row < entries.rowCount(); ++row)
        EXPECT_EQ(entries.item(row)->isEnabled(), !entries.item(row)->text().endsWith(u':'));
    EXPECT_TRUE(entries.item((*options)->currentIndex())->isEnabled());
    window->closeWithoutAsking();
}

} // namespace velloria::test
