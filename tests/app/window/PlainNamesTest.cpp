#include "app/kit/AppTestKit.h"
#include "app/look/ItemNames.h"
#include "app/sheets/SaveDialog.h"
#include "app/window/MarkerListDock.h"

#include <QComboBox>
#include <QLabel>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QRegularExpression>
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

TEST(ItemNamesTest, AreShownInOneLineOfBoundedLength)
{
    const QString ellipsis(QChar(0x2026));
    const QString clef = QString::fromUcs4(U"\U0001D11E");
    const struct {
        QString name;
        QString shown;
    } cases[] = {
        {QStringLiteral("take 1.wav"), QStringLiteral("take 1.wav")},
        {QStringLiteral("two\nlines\r\n\tand a tab"), QStringLiteral("two lines and a tab")},
        {QStringLiteral("a\u2028b\u2029c"), QStringLiteral("a b c")},
        {QStringLiteral("\u202Evaw.1\u202C \u2067x\u200F"), QStringLiteral("vaw.1 x")},
        {QStringLiteral("שלום.wav"), QStringLiteral("שלום.wav")},
        {QStringLiteral("0123456789"), QStringLiteral("0123456789")},
        {QStringLiteral("0123456789abc"), QStringLiteral("0123456") + ellipsis + QStringLiteral("bc")},
        {clef.repeated(9), clef.repeated(3) + ellipsis + clef}};
    for (const auto& each : cases) {
        const qsizetype most = each.shown.contains(ellipsis) || each.name.size() == 10 ? 10 : 80;
        EXPECT_EQ(ItemNames::shown(each.name, most), each.shown) << qPrintable(each.name);
    }
    EXPECT_EQ(ItemNames::inMenu(QStringLiteral("Q&A\t(1)")), QStringLiteral("Q&&A (1)"));
    const QString message = QStringLiteral("“%1” could not be opened.").arg(QString(300, u'x'));
    QString wrapped = ItemNames::wrappable(message);
    for (const QString& word : wrapped.split(QRegularExpression(QStringLiteral("[ \u200B]"))))
        EXPECT_LE(word.size(), 60);
    EXPECT_EQ(wrapped.remove(QChar(0x200B)), message);
    EXPECT_EQ(ItemNames::wrappable(QStringLiteral("\u202Ename\nis damaged")),
              QStringLiteral("name\nis damaged"));
}

TEST_F(PlainNamesTest, NoNameGoesOverSeveralLinesOrBeyondTheScreen)
{
    const QString name = QStringLiteral("Q&A\n\u202E") + QString(200, u'x') + QStringLiteral(".wav");
    DocumentWindow* const window = open(makeSound(name.toStdString()));
    window->document().addMarker(std::make_shared<AudioMarker>(1, 100, QStringLiteral("one\ntwo")));
    const auto isFine = [](const QString& text) {
        return text.size() < 100 && !text.contains(u'\n') && !text.contains(QChar(0x202E)) &&
               text.contains(QStringLiteral("xxx.wav"));
    };
    EXPECT_TRUE(isFine(window->windowTitle())) << qPrintable(window->windowTitle());
    QStringList menuTexts;
    for (QMenu* const menu : window->findChildren<QMenu*>()) {
        Q_EMIT menu->aboutToShow();
        for (const QAction* const action : menu->actions())
            if (action->text().contains(QStringLiteral("xxx")))
                menuTexts << action->text();
    }
    EXPECT_EQ(menuTexts.size(), 2) << "among the recent files and the windows";
    for (const QString& text : menuTexts)
        EXPECT_TRUE(isFine(text) && text.startsWith(QStringLiteral("Q&&A x"))) << qPrintable(text);
    const MarkerListModel& markers = part<MarkerListDock>(*window).model();
    const QModelIndex cell = markers.index(0, MarkerListModel::nameColumn);
    EXPECT_EQ(markers.data(cell, Qt::DisplayRole), QStringLiteral("one two"));
    EXPECT_EQ(markers.data(cell, Qt::EditRole), QStringLiteral("one\ntwo"));
    const auto checkWidth = [](QMessageBox& box, const QString& picture) {
        EXPECT_LE(box.width(), 1000);
        const auto* const label = box.findChild<QLabel*>(QStringLiteral("qt_msgbox_label"));
        EXPECT_LE(label->minimumSizeHint().width(), label->width()) << "nothing is cut off";
        keepPicture(box, picture);
    };
    whenShown<QMessageBox>([&](QMessageBox& box) {
        checkWidth(box, QStringLiteral("long-name-question"));
        box.button(QMessageBox::Cancel)->click();
    });
    EXPECT_FALSE(window->prepareToClose());
    whenShown<QMessageBox>([&](QMessageBox& box) {
        checkWidth(box, QStringLiteral("long-name-error"));
        box.accept();
    });
    window->alerts().showError(QStringLiteral("“%1” is damaged.").arg(window->document().displayName()));
    keepPicture(*window, QStringLiteral("long-name-window"));
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
