#include "app/effects/PresetButton.h"

#include "app/effects/EffectDialog.h"
#include "app/effects/ParameterRow.h"
#include "app/effects/PresetList.h"
#include "app/kit/AppTestKit.h"
#include "app/sheets/FormSheet.h"
#include "effects/EffectRegistry.h"

#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QMessageBox>

namespace velloria::test
{

/// The dialog of the delay.
class PresetButtonTest : public AppTest
{
protected:
    PresetButtonTest()
    {
        const EffectEntry* const entry = EffectRegistry::effectWithScriptName(QStringLiteral("add delay"));
        filter = entry->make(entry->menuTitle);
        openDialog();
    }
    ~PresetButtonTest() override
    {
        std::filesystem::remove_all(PresetManager::defaultManager().defaultPresetsPath());
        for (const ParameterDescription& parameter : filter->parameters().descriptions())
            UserDefaults::standard().removeValue(parameter.settingsKey);
        UserDefaults::standard().removeValue(QStringLiteral("filter.delayEcho.preset"));
    }
    void openDialog()
    {
        dialog = std::make_unique<EffectDialog>(filter, QStringLiteral("An echo."), nullptr);
        dialog->show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(dialog.get()));
    }
    PresetButton& button() { return *dialog->presets(); }
    /// The menu's item of this title, also in its sub-menus.
    QAction* item(const QString& title)
    {
        QMenu& menu = *button().menu();
        Q_EMIT menu.aboutToShow();
        const QList<QMenu*> menus = menu.findChildren<QMenu*>() << &menu;
        for (const QMenu* const list : menus)
            for (QAction* const action : list->actions())
                if (action->text() == title)
                    return action;
        return nullptr;
    }
    void choose(const char* title)
    {
        QAction* const action = item(QString::fromUtf8(title));
        ASSERT_TRUE(action) << title;
        action->trigger();
    }
    void saveAs(const QString& name)
    {
        whenShown<FormSheet>([name](FormSheet& sheet) {
            sheet.findChild<QLineEdit*>()->setText(name);
            keepPicture(sheet, QStringLiteral("preset-name"));
            sheet.accept();
        });
        choose("Make Preset…");
    }
    void setDelay(double seconds) { dialog->rows()[2]->setValue(seconds); }

    std::shared_ptr<Filter> filter;
    std::unique_ptr<EffectDialog> dialog;
};

TEST_F(PresetButtonTest, PresetsAreMadeChosenAndLeftByTheNextChange)
{
    EXPECT_EQ(button().text(), QStringLiteral("None"));
    EXPECT_FALSE(item(QStringLiteral("Delete Preset…")));
    setDelay(0.5);
    saveAs(QStringLiteral("Rock & Roll"));
    EXPECT_EQ(button().text(), QStringLiteral("Rock && Roll"));
    keepPicture(*dialog, QStringLiteral("preset-dialog"));
    setDelay(2.0);
    EXPECT_EQ(button().text(), QStringLiteral("None"));
    choose("Rock && Roll");
    EXPECT_EQ(filter->parameterValue(2), 0.5);
    EXPECT_EQ(dialog->rows()[2]->value(), 0.5);
    EXPECT_TRUE(item(QStringLiteral("Rock && Roll"))->isChecked());
    keepPicture(*button().menu(), QStringLiteral("preset-menu"));
    dialog->accept();
    openDialog();
    EXPECT_EQ(button().text(), QStringLiteral("Rock && Roll")) << "chosen again";

    whenShown<QMessageBox>([](QMessageBox& box) {
        keepPicture(box, QStringLiteral("preset-delete"));
        box.buttons().constFirst()->click();
    });
    choose("Delete Preset…");
    EXPECT_EQ(button().text(), QStringLiteral("None"));
    EXPECT_FALSE(item(QStringLiteral("Rock && Roll")));
}

TEST_F(PresetButtonTest, FactoryPresetsStandBehindAndAreNoFiles)
{
    choose("Slapback");
    EXPECT_EQ(button().text(), QStringLiteral("Slapback"));
    EXPECT_EQ(filter->parameterValue(2), 0.11);
    EXPECT_FALSE(item(QStringLiteral("Delete Preset…")));
    EXPECT_FALSE(std::filesystem::exists(PresetManager::defaultManager().defaultPresetsPath()));
    choose("None");
    EXPECT_EQ(button().text(), QStringLiteral("None"));
    EXPECT_EQ(filter->parameterValue(2), 0.11);
}

TEST_F(PresetButtonTest, SaysWhyAPresetCannotBeSavedAndKeepsTheName)
{
    makeFile("blocked", "x");
    const std::filesystem::path presets = PresetManager::defaultManager().defaultPresetsPath();
    std::filesystem::create_directories(presets);
    std::filesystem::copy_file(path("blocked"), presets / "Delay");
    QString message;
    whenShown<FormSheet>([&](FormSheet& sheet) {
        sheet.findChild<QLineEdit*>()->setText(QStringLiteral("Mine"));
        sheet.accept();
    });
    whenShown<QMessageBox>([&](QMessageBox& box) {
        message = box.text();
        whenShown<FormSheet>([](FormSheet& sheet) {
            EXPECT_EQ(sheet.findChild<QLineEdit*>()->text(), QStringLiteral("Mine"));
            sheet.reject();
        });
        box.accept();
    });
    choose("Make Preset…");
    EXPECT_TRUE(message.contains(QStringLiteral("Delay"))) << message.toStdString();
    EXPECT_EQ(button().text(), QStringLiteral("None"));
}

TEST_F(PresetButtonTest, TheListRenamesExportsAndImports)
{
    saveAs(QStringLiteral("One"));
    PresetList list(button().preset(), dialog.get());
    list.show();
    keepPicture(list, QStringLiteral("preset-list"));
    ASSERT_EQ(list.list().count(), 1);
    list.list().item(0)->setText(QStringLiteral("Two"));
    EXPECT_TRUE(waitUntil([&] { return button().text() == QStringLiteral("Two"); }));
    EXPECT_TRUE(waitUntil([&] { return list.list().count() == 1 && list.list().currentItem(); }));
    list.exportTo(path("Three"));
    list.import({path("Three.velloriapreset")});
    EXPECT_EQ(list.list().count(), 2);
    EXPECT_EQ(button().text(), QStringLiteral("Two")) << "what is selected stays";
}

TEST_F(PresetButtonTest, APresetThatIsOpenedIsInstalled)
{
    setDelay(0.75);
    const std::filesystem::path file = makeFile("Mine.velloriapreset", filter->presetData());
    QString message;
    whenShown<QMessageBox>([&](QMessageBox& box) {
        message = box.text();
        keepPicture(box, QStringLiteral("preset-installed"));
        box.buttons().constFirst()->click();
    });
    editor.openFiles({file});
    EXPECT_TRUE(waitUntil([&] { return !message.isEmpty(); }));
    EXPECT_EQ(message, QStringLiteral("“Mine” was added to the presets of “Delay”."));
    EXPECT_TRUE(item(QStringLiteral("Mine")));
    message.clear();
    whenShown<QMessageBox>([&](QMessageBox& box) {
        message = box.text();
        box.accept();
    });
    editor.openFiles({makeFile("Bad.velloriapreset", "chor, or nothing")});
    EXPECT_TRUE(waitUntil([&] { return !message.isEmpty(); }));
    EXPECT_TRUE(message.contains(QStringLiteral("Bad.velloriapreset")));
    editor.quit();
}

} // namespace velloria::test
