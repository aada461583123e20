#pragma once

#include <QDialog>
#include <filesystem>
#include <vector>

class QListWidget;
class QListWidgetItem;
class QPushButton;

namespace velloria
{

class Preset;

/// A person's presets of one effect, to be renamed, deleted, shown in their folder, and exchanged with
/// others.
class PresetList : public QDialog
{
    Q_OBJECT

public:
    PresetList(Preset& preset, QWidget* parent);

    QListWidget& list() { return *mList; }
    /// One or several files from elsewhere; asks before it replaces one.
    void import(const std::vector<std::filesystem::path>& files);
    void exportTo(const std::filesystem::path& target);

    /// Questions on the window `parent`, which may be null.
    static bool confirmsDeleting(const QString& name, QWidget* parent);
    static bool confirmsReplacing(const QString& name, QWidget* parent);

private:
    void addButtons();
    void showFiles(const std::filesystem::path& selected);
    void showSelection();
    std::filesystem::path selectedFile() const;
    void rename(QListWidgetItem& item);
    void remove();
    void showInFolder();
    void chooseImport();
    void chooseExport();

    Preset& mPreset;
    QListWidget* mList;
    std::vector<QPushButton*> mForOne; ///< buttons that need a selected preset
};

} // namespace velloria
