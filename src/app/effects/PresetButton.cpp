#include "app/effects/PresetButton.h"

#include "app/effects/PresetList.h"
#include "app/look/EffectWords.h"
#include "app/progress/WindowAlerts.h"
#include "app/sheets/FormSheet.h"
#include "platform/Log.h"

#include <QCoreApplication>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>

namespace velloria
{

namespace
{

constexpr int kNameWidth = 260;
constexpr int kButtonWidth = 150;

/// A preset's name in a menu or on a button, where an ampersand would mark a mnemonic. Those of the program
/// have one in each language.
QString shownName(const std::filesystem::path& file)
{
    const QString name = PresetManager::nameOfPreset(file);
    QString shown = PresetManager::isFactoryPreset(file) ? EffectWords::word(name) : name;
    return shown.replace(u'&', QLatin1String("&&"));
}

} // namespace

PresetButton::PresetButton(Filter& filter, Preset::Changer change, QWidget* parent)
    : QPushButton(parent)
    , mMenu(new QMenu(this))
    , mPreset(filter, *this, std::move(change))
{
    setAutoDefault(false);
    setMinimumWidth(kButtonWidth);
    setMenu(mMenu);
    //: What the pop-up is for, to a screen reader
    //% "Preset"
    setAccessibleName(qtTrId("preset-accessible"));
    connect(mMenu, &QMenu::aboutToShow, this, [this] {
        mPreset.updatePresetButton();
        fillMenu();
    });
    mPreset.loadPresetFromDefaults();
}

void PresetButton::userDidChangeParameters()
{
    // Not each time: it looks into the folder.
    if (!mPreset.presetFile().empty())
        mPreset.selectNoPreset();
}

void PresetButton::presetMenuDidChange()
{
    const std::filesystem::path& file = mPreset.presetFile();
    //: No preset
    //% "None"
    setText(file.empty() ? qtTrId("preset-none") : shownName(file));
}

void PresetButton::fillMenu()
{
    qDeleteAll(mMenu->findChildren<QMenu*>(QString(), Qt::FindDirectChildrenOnly));
    mMenu->clear();
    const std::vector<PresetMenuItem>& items = mPreset.items();
    for (size_t i = 0; i < items.size(); ++i)
        addItem(items[i], i);
    mMenu->addSeparator();
    addFactoryPresets();
    //% "Manage Presets…"
    connect(mMenu->addAction(qtTrId("preset-manage")), &QAction::triggered, this, &PresetButton::manage);
}

void PresetButton::addItem(const PresetMenuItem& item, size_t index)
{
    using Kind = PresetMenuItem::Kind;
    if (item.kind == Kind::separator) {
        mMenu->addSeparator();
        return;
    }
    QString title;
    if (item.kind == Kind::make)
        //% "Make Preset…"
        title = qtTrId("preset-make");
    else if (item.kind == Kind::remove)
        //% "Delete Preset…"
        title = qtTrId("preset-delete");
    else
        title = item.kind == Kind::none ? qtTrId("preset-none") : shownName(item.file);
    QAction* const action = mMenu->addAction(title);
    if (item.kind == Kind::none || item.kind == Kind::preset) {
        action->setCheckable(true);
        const bool isNoneInvalid = item.kind == Kind::none && !mPreset.presetFile().empty();
        action->setChecked(index == mPreset.selectedItem() && !isNoneInvalid);
    }
    connect(action, &QAction::triggered, this, [this, index] { mPreset.handlePresetButton(index); });
}

void PresetButton::addFactoryPresets()
{
    const std::vector<std::filesystem::path> files = mPreset.factoryPresets();
    if (files.empty())
        return;
    //: The presets that come with the program
    //% "Factory Presets"
    QMenu* const menu = mMenu->addMenu(qtTrId("preset-factory"));
    for (const std::filesystem::path& file : files) {
        QAction* const action = menu->addAction(shownName(file));
        action->setCheckable(true);
        action->setChecked(file == mPreset.presetFile());
        connect(action, &QAction::triggered, this, [this, file] {
            if (const MaybeError error = mPreset.loadPreset(file))
                presetFailed(*error);
        });
    }
}

void PresetButton::savePresetAs()
{
    //% "Make Preset"
    const QString title = qtTrId("preset-make-title");
    //% "Save"
    FormSheet sheet(title, qtTrId("preset-save"), window());
    auto* const name = new QLineEdit(&sheet);
    name->setMinimumWidth(kNameWidth);
    if (mPreset.isUserPresetSelected())
        name->setText(PresetManager::nameOfPreset(mPreset.presetFile()));
    name->selectAll();
    //% "&Name:"
    sheet.form().addRow(qtTrId("preset-name"), name);
    auto* const note = new QLabel(&sheet);
    note->setForegroundRole(QPalette::PlaceholderText);
    sheet.form().addRow(QString(), note);
    // A preset of that name is replaced without a further question, so it is said here.
    const auto update = [this, name, note, &sheet] {
        const QString typed = name->text().trimmed();
        //% "Replaces the preset of that name."
        note->setText(!typed.isEmpty() && mPreset.hasPresetNamed(typed) ? qtTrId("preset-replaces")
                                                                        : QString(u' '));
        sheet.check();
    };
    connect(name, &QLineEdit::textChanged, &sheet, update);
    sheet.setCondition([name] { return !name->text().trimmed().isEmpty(); });
    update();
    name->setFocus();
    while (sheet.ask()) {
        const MaybeError error = mPreset.okSavePreset(name->text().trimmed());
        if (!error)
            break;
        WindowAlerts(window()).showError(error->message);
    }
    logLine(QStringLiteral("Preset: Ending sheet and ordering it out."));
    mPreset.updatePresetButton();
}

void PresetButton::askConfirmDeletePreset()
{
    if (PresetList::confirmsDeleting(PresetManager::nameOfPreset(mPreset.presetFile()), window()))
        mPreset.deletePreset();
}

void PresetButton::presetFailed(const Error& error)
{
    WindowAlerts(window()).showError(error.message);
}

void PresetButton::manage()
{
    PresetList list(mPreset, window());
    list.exec();
    mPreset.updatePresetButton();
}

} // namespace velloria
