#include "app/preferences/PreferencesDialog.h"

#include "app/look/RulerUnitNames.h"
#include "app/look/Theme.h"
#include "app/preferences/Settings.h"
#include "app/preferences/SoundPreferences.h"
#include "platform/UserDefaults.h"

#include <QCheckBox>
#include <QComboBox>
#include <QCoreApplication>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QLocale>
#include <QTabWidget>
#include <QVBoxLayout>

namespace velloria
{

PreferencesDialog::PreferencesDialog(QWidget* parent)
    : QDialog(parent)
{
    //% "Preferences"
    setWindowTitle(qtTrId("preferences-title"));
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(14, 14, 14, 14);
    layout->setSpacing(14);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    auto* const pages = new QTabWidget(this);
    //% "General"
    pages->addTab(new QWidget(pages), qtTrId("preferences-general"));
    auto* const form = new QFormLayout(pages->widget(0));
    form->setContentsMargins(22, 14, 22, 18);
    form->setLabelAlignment(Qt::AlignRight);
    form->setHorizontalSpacing(14);
    form->setVerticalSpacing(9);
    addNewDocuments(*form);
    addView(*form);
    addSnapping(*form);
    addSaving(*form);
    //% "Sound"
    pages->addTab(new SoundPreferences(pages), qtTrId("preferences-sound"));
    layout->addWidget(pages);
    auto* const buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);
}

void PreferencesDialog::addHeading(QFormLayout& form, const QString& text)
{
    auto* const label = new QLabel(text, this);
    QFont bold = label->font();
    bold.setBold(true);
    label->setFont(bold);
    label->setContentsMargins(0, form.rowCount() > 0 ? 10 : 0, 0, 0);
    form.addRow(label);
}

QComboBox* PreferencesDialog::addPopUp(QFormLayout& form, const QString& label, const QString& key,
                                       const std::vector<std::pair<QString, QVariant>>& items)
{
    auto* const popUp = new QComboBox(this);
    for (const auto& [text, value] : items)
        popUp->addItem(text, value);
    const QVariant present = UserDefaults::standard().value(key);
    for (int i = 0; i < popUp->count(); ++i) {
        if (popUp->itemData(i).toDouble() == present.toDouble())
            popUp->setCurrentIndex(i);
    }
    connect(popUp, &QComboBox::activated, this,
            [popUp, key](int index) { Settings::change(key, popUp->itemData(index)); });
    form.addRow(label, popUp);
    return popUp;
}

void PreferencesDialog::addCheckBox(QFormLayout& form, const QString& label, const QString& text,
                                    const QString& key)
{
    auto* const box = new QCheckBox(text, this);
    box->setChecked(UserDefaults::standard().boolValue(key));
    connect(box, &QCheckBox::toggled, this, [key](bool isOn) { Settings::change(key, isOn ? 1 : 0); });
    form.addRow(label, box);
}

void PreferencesDialog::addNewDocuments(QFormLayout& form)
{
    //% "New documents"
    addHeading(form, qtTrId("preferences-new"));
    std::vector<std::pair<QString, QVariant>> rates;
    for (const int rate : {8000, 11025, 16000, 22050, 32000, 44100, 48000, 88200, 96000, 176400, 192000})
        //% "%1 Hz"
        rates.emplace_back(qtTrId("preferences-hertz").arg(QLocale().toString(rate)), double(rate));
    //% "Sample rate:"
    addPopUp(form, qtTrId("preferences-rate"), Settings::sampleRate, rates);
    std::vector<std::pair<QString, QVariant>> sizes;
    for (const int size : {8, 16, 24, 32})
        //% "%1 bit"
        sizes.emplace_back(qtTrId("preferences-bits").arg(size), size);
    //% "Sample size:"
    addPopUp(form, qtTrId("preferences-size"), Settings::sampleSize, sizes);
}

void PreferencesDialog::addView(QFormLayout& form)
{
    //% "View"
    addHeading(form, qtTrId("preferences-view"));
    //% "Appearance:"
    addPopUp(form, qtTrId("preferences-appearance"), Settings::appearance,
             //% "As the desktop"
             {{qtTrId("appearance-system"), static_cast<int>(Appearance::system)},
              //% "Light"
              {qtTrId("appearance-light"), static_cast<int>(Appearance::light)},
              //% "Dark"
              {qtTrId("appearance-dark"), static_cast<int>(Appearance::dark)}});
    std::vector<std::pair<QString, QVariant>> units;
    for (const int64_t code : RulerUnitNames::codes())
        units.emplace_back(RulerUnitNames::name(code), static_cast<int>(code));
    //% "Ruler units:"
    addPopUp(form, qtTrId("preferences-units"), Settings::rulerUnits, units);
    //% "Level scale:"
    addPopUp(form, qtTrId("preferences-scale"), Settings::levelScaleInDecibels,
             {{qtTrId("view-scale-decibels"), 1}, {qtTrId("view-scale-linear"), 0}});
    //% "Whole document"
    std::vector<std::pair<QString, QVariant>> zooms = {{qtTrId("preferences-zoom-fit"), 0}};
    //% "1 sample per pixel"
    zooms.emplace_back(qtTrId("preferences-zoom-one"), 1);
    for (const int zoom : {8, 64, 512, 4096})
        //: %1 is a number, more than one
        //% "%1 samples per pixel"
        zooms.emplace_back(qtTrId("preferences-zoom").arg(QLocale().toString(zoom)), zoom);
    //% "Default zoom:"
    addPopUp(form, qtTrId("preferences-default-zoom"), Settings::defaultZoom, zooms);
}

void PreferencesDialog::addSnapping(QFormLayout& form)
{
    //% "Selecting"
    addHeading(form, qtTrId("preferences-selecting"));
    //% "Snap to:"
    addCheckBox(form, qtTrId("preferences-snap"), qtTrId("view-snap-markers"), Settings::snapsToMarkers);
    addCheckBox(form, QString(), qtTrId("view-snap-zero"), Settings::snapsToZeroCrossings);
}

void PreferencesDialog::addSaving(QFormLayout& form)
{
    //% "Saving"
    addHeading(form, qtTrId("preferences-saving"));
    //: In front of the box "Copy what was not edited"
    //% "Compressed sound:"
    addCheckBox(form, qtTrId("preferences-compressed"),
                //: Where a file of compressed sound is edited and saved, sound that no edit touched is not
                //: encoded once more
                //% "Copy what was not edited"
                qtTrId("preferences-copy-packets"), Settings::copiesPackets);
}

} // namespace velloria
