#include "app/effects/PresetList.h"

#include "app/desktop/FileManager.h"
#include "app/desktop/FileUrls.h"
#include "app/progress/WindowAlerts.h"
#include "effects/presets/Preset.h"
#include "platform/FileHandle.h"

#include <QCoreApplication>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QListWidget>
#include <QMessageBox>
#include <QPushButton>
#include <QShortcut>
#include <QSignalBlocker>
#include <QUrl>
#include <QVBoxLayout>

namespace velloria
{

namespace
{

constexpr QSize kSize(440, 320);
constexpr int kFileRole = Qt::UserRole;

bool asks(const QString& question, const QString& text, const QString& yes, const QString& no,
          QWidget* parent)
{
    QMessageBox box(QMessageBox::Warning, QString(), question, QMessageBox::NoButton, parent, Qt::Sheet);
    box.setWindowModality(parent ? Qt::WindowModal : Qt::ApplicationModal);
    box.setInformativeText(text);
    const QPushButton* const goOn = box.addButton(yes, QMessageBox::AcceptRole);
    box.setDefaultButton(box.addButton(no, QMessageBox::RejectRole));
    box.exec();
    return box.clickedButton() == goOn;
}

QString presetFilter()
{
    //% "Presets (%1)"
    return qtTrId("preset-filter").arg(QStringLiteral("*.velloriapreset *.VELLORIAPRESET"));
}

} // namespace

PresetList::PresetList(Preset& preset, QWidget* parent)
    : QDialog(parent, Qt::Sheet)
    , mPreset(preset)
    , mList(new QListWidget(this))
{
    setWindowModality(Qt::WindowModal);
    //% "Presets"
    setWindowTitle(qtTrId("preset-list-title"));
    mList->setAccessibleName(qtTrId("preset-list-title"));
    mList->setEditTriggers(QAbstractItemView::DoubleClicked | QAbstractItemView::EditKeyPressed);
    mList->setAlternatingRowColors(true);
    connect(mList, &QListWidget::itemSelectionChanged, this, &PresetList::showSelection);
    connect(mList, &QListWidget::itemChanged, this, [this](QListWidgetItem* item) { rename(*item); });
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(18, 16, 18, 14);
    layout->setSpacing(12);
    auto* const row = new QHBoxLayout;
    row->setSpacing(12);
    row->addWidget(mList, 1);
    layout->addLayout(row, 1);
    addButtons();
    auto* const buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);
    const auto* const removal =
        new QShortcut(QKeySequence::Delete, mList, nullptr, nullptr, Qt::WidgetShortcut);
    connect(removal, &QShortcut::activated, this, &PresetList::remove);
    showFiles(mPreset.presetFile());
    resize(kSize);
}

void PresetList::addButtons()
{
    auto* const column = new QVBoxLayout;
    const auto add = [&](const QString& text, auto pressed) {
        auto* const button = new QPushButton(text, this);
        button->setAutoDefault(false);
        connect(button, &QPushButton::clicked, this, pressed);
        column->addWidget(button);
        return button;
    };
    //% "&Rename"
    mForOne.push_back(add(qtTrId("preset-rename"), [this] { mList->editItem(mList->currentItem()); }));
    //% "&Delete…"
    mForOne.push_back(add(qtTrId("preset-list-delete"), [this] { remove(); }));
    //% "&Show File"
    mForOne.push_back(add(qtTrId("preset-reveal"), [this] { showInFolder(); }));
    column->addSpacing(10);
    //% "&Import…"
    add(qtTrId("preset-import"), [this] { chooseImport(); });
    //% "&Export…"
    mForOne.push_back(add(qtTrId("preset-export"), [this] { chooseExport(); }));
    column->addStretch(1);
    layout()->itemAt(0)->layout()->addItem(column);
}

void PresetList::showFiles(const std::filesystem::path& selected)
{
    mPreset.updatePresetButton();
    const QSignalBlocker blocker(mList);
    mList->clear();
    for (const PresetMenuItem& entry : mPreset.items()) {
        if (entry.kind != PresetMenuItem::Kind::preset)
            continue;
        auto* const item = new QListWidgetItem(PresetManager::nameOfPreset(entry.file), mList);
        item->setFlags(item->flags() | Qt::ItemIsEditable);
        item->setData(kFileRole, QFile::decodeName(entry.file.c_str()));
        if (entry.file == selected)
            mList->setCurrentItem(item);
    }
    showSelection();
}

void PresetList::showSelection()
{
    for (QPushButton* const button : mForOne)
        button->setEnabled(!selectedFile().empty());
}

std::filesystem::path PresetList::selectedFile() const
{
    const QList<QListWidgetItem*> selected = mList->selectedItems();
    return selected.isEmpty() ? std::filesystem::path()
                              : pathFromQString(selected.first()->data(kFileRole).toString());
}

void PresetList::rename(QListWidgetItem& item)
{
    const std::filesystem::path file = pathFromQString(item.data(kFileRole).toString());
    const QString name = item.text().trimmed();
    const bool isChanged = !name.isEmpty() && name != PresetManager::nameOfPreset(file);
    const MaybeError error = isChanged ? mPreset.renamePreset(file, name) : std::nullopt;
    const std::filesystem::path renamed = mPreset.fileForName(name);
    if (isChanged && !error) {
        const QSignalBlocker blocker(mList);
        item.setData(kFileRole, QFile::decodeName(renamed.c_str()));
    }
    // Not now: the list is still at its edit.
    QMetaObject::invokeMethod(
        this,
        [this, error, selected = isChanged && !error ? renamed : file] {
            showFiles(selected);
            if (error)
                WindowAlerts(this).showError(error->message);
        },
        Qt::QueuedConnection);
}

void PresetList::remove()
{
    const std::filesystem::path file = selectedFile();
    if (file.empty() || !confirmsDeleting(PresetManager::nameOfPreset(file), this))
        return;
    const MaybeError error = mPreset.removePreset(file);
    showFiles({});
    if (error)
        WindowAlerts(this).showError(error->message);
}

bool PresetList::confirmsDeleting(const QString& name, QWidget* parent)
{
    //: %1 is the name of a preset
    //% "Delete the preset “%1”?"
    return asks(qtTrId("DELETE_PRESET_TITLE").arg(name),
                //% "Its file is removed, which cannot be undone."
                qtTrId("DELETE_PRESET_TEXT"),
                //% "Delete"
                qtTrId("DELETE_PRESET_OK"),
                //% "Cancel"
                qtTrId("DELETE_PRESET_CANCEL"), parent);
}

bool PresetList::confirmsReplacing(const QString& name, QWidget* parent)
{
    //% "Replace existing preset?"
    const QString question = qtTrId("preset-replace-title");
    //: %1 is the name of a preset
    //% "The preset “%1” already exists."
    const QString text = qtTrId("preset-replace-text").arg(name);
    //% "Replace"
    return asks(question, text, qtTrId("preset-replace-ok"), qtTrId("cancel"), parent);
}

void PresetList::showInFolder()
{
    FileManager::show(selectedFile(), this);
}

void PresetList::chooseImport()
{
    //% "Import Presets"
    const QList<QUrl> urls = QFileDialog::getOpenFileUrls(
        this, qtTrId("preset-import-title"), {}, presetFilter(), nullptr, {}, {QStringLiteral("file")});
    import(FileUrls::localPaths(urls));
}

void PresetList::import(const std::vector<std::filesystem::path>& files)
{
    QStringList problems;
    std::filesystem::path last;
    for (const std::filesystem::path& file : files) {
        const QString name = PresetManager::nameOfPreset(file);
        if (mPreset.hasPresetNamed(name) && !confirmsReplacing(name, this))
            continue;
        if (const MaybeError error = mPreset.importPreset(file))
            problems.append(QStringLiteral("%1: %2").arg(displayName(file), error->message));
        else
            last = mPreset.fileForName(name);
    }
    showFiles(last);
    if (!problems.isEmpty())
        WindowAlerts(this).showError(problems.join(u'\n'));
}

void PresetList::chooseExport()
{
    //% "Export Preset"
    const QString chosen = QFileDialog::getSaveFileName(this, qtTrId("preset-export-title"),
                                                        displayName(selectedFile()), presetFilter());
    if (!chosen.isEmpty())
        exportTo(pathFromQString(chosen));
}

void PresetList::exportTo(const std::filesystem::path& target)
{
    std::filesystem::path file = target;
    if (!PresetManager::isPresetFile(file))
        file += ".velloriapreset";
    if (const MaybeError error = mPreset.exportPreset(selectedFile(), file))
        WindowAlerts(this).showError(error->message);
}

} // namespace velloria
