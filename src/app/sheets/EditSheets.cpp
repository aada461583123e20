#include "app/sheets/EditSheets.h"

#include "app/preferences/Settings.h"
#include "app/progress/WindowAlerts.h"
#include "app/sheets/FormSheet.h"
#include "app/sheets/TimeField.h"
#include "controllers/ConversionCommands.h"
#include "controllers/EditCommands.h"
#include "controllers/MixPasteController.h"
#include "controllers/SelectionModel.h"
#include "controllers/SoundController.h"
#include "platform/UserDefaults.h"

#include <QComboBox>
#include <QCoreApplication>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QLabel>
#include <QLocale>
#include <QRadioButton>
#include <cmath>

namespace velloria
{

namespace
{

/// The sheets of generators offer and keep the same one.
const QString kDurationKey = QStringLiteral("insert.duration");
constexpr double kLowestLevelDB = -96;
constexpr double kHighestLevelDB = 24;

void report(QWidget& window, const MaybeError& error)
{
    WindowAlerts alerts(&window);
    reportError(alerts, error);
}

QDoubleSpinBox* addLevel(FormSheet& sheet, const QString& label)
{
    auto* const field = new QDoubleSpinBox(&sheet);
    field->setRange(kLowestLevelDB, kHighestLevelDB);
    field->setDecimals(1);
    //% " dB"
    field->setSuffix(qtTrId("suffix-decibels"));
    field->setMinimumWidth(110);
    sheet.form().addRow(label, field);
    return field;
}

/// A pop-up of usual rates into which any other may be typed.
QComboBox* addRate(FormSheet& sheet, double present)
{
    auto* const field = new QComboBox(&sheet);
    field->setEditable(true);
    field->setInsertPolicy(QComboBox::NoInsert);
    for (const int rate : {8000, 11025, 16000, 22050, 32000, 44100, 48000, 88200, 96000, 176400, 192000})
        field->addItem(QLocale().toString(rate));
    field->setCurrentText(QLocale().toString(present, 'f', QLocale::FloatingPointShortest));
    //% "Sample rate (Hz):"
    sheet.form().addRow(qtTrId("sheet-rate"), field);
    QObject::connect(field, &QComboBox::editTextChanged, &sheet, [&sheet] { sheet.check(); });
    return field;
}

std::optional<double> rateOf(const QComboBox& field)
{
    bool isNumber = false;
    const double rate = QLocale().toDouble(field.currentText().trimmed(), &isNumber);
    return isNumber && rate >= 100 && rate <= 1e6 ? std::optional(rate) : std::nullopt;
}

TimeField* addTime(FormSheet& sheet, const QString& label, double sampleRate, double seconds)
{
    auto* const field = new TimeField(sampleRate, seconds, &sheet);
    sheet.form().addRow(label, field);
    QObject::connect(field, &QLineEdit::textChanged, &sheet, [&sheet] { sheet.check(); });
    return field;
}

} // namespace

void EditSheets::insertSilence(SoundController& controller, QWidget& window)
{
    const double selected = controller.selection().normalizedSelection().duration();
    const double kept = UserDefaults::standard().doubleValue(kDurationKey);
    //% "Insert Silence"
    const QString title = qtTrId("sheet-silence");
    //% "Insert"
    FormSheet sheet(title, qtTrId("sheet-insert"), &window);
    //% "Length:"
    const TimeField* const length = addTime(sheet, qtTrId("sheet-length"), controller.document().sampleRate(),
                                            selected > 0 ? selected
                                            : kept > 0   ? kept
                                                         : 1.0);
    //% "At the start of the selection, on its tracks. What follows moves back."
    sheet.addNote(qtTrId("sheet-silence-note"));
    sheet.setCondition([length] { return length->time().value_or(0) > 0; });
    if (!sheet.ask())
        return;
    // The selection's length, left as it was, is none to be offered elsewhere.
    if (*length->time() != selected)
        UserDefaults::standard().setValue(kDurationKey, *length->time());
    report(window, controller.editing().insertSilence(*length->time(), title));
}

void EditSheets::mixPaste(SoundController& controller, QWidget& window)
{
    //% "Mix Paste"
    const QString title = qtTrId("sheet-mix");
    //% "Mix"
    FormSheet sheet(title, qtTrId("sheet-mix-ok"), &window);
    //% "Existing sound:"
    const QDoubleSpinBox* const existing = addLevel(sheet, qtTrId("sheet-mix-existing"));
    //% "Pasted sound:"
    const QDoubleSpinBox* const pasted = addLevel(sheet, qtTrId("sheet-mix-pasted"));
    //% "From the selection’s start on, all that was copied"
    auto* const all = new QRadioButton(qtTrId("sheet-mix-all"), &sheet);
    //% "Into the selection only"
    auto* const into = new QRadioButton(qtTrId("sheet-mix-into"), &sheet);
    all->setChecked(true);
    into->setEnabled(!controller.selection().isEmpty());
    //% "Paste:"
    sheet.form().addRow(qtTrId("sheet-mix-where"), all);
    sheet.form().addRow(QString(), into);
    if (!sheet.ask())
        return;
    MixPasteController mix(controller);
    mix.setExisting(existing->value());
    mix.setPasteboard(pasted->value());
    mix.setPasteInto(into->isChecked());
    report(window, mix.performMixPaste(title));
}

void EditSheets::resample(SoundController& controller, QWidget& window)
{
    const SoundDocument& document = controller.document();
    //% "Change Sample Rate"
    const QString title = qtTrId("sheet-resample");
    //% "Convert"
    FormSheet sheet(title, qtTrId("sheet-convert"), &window);
    const QComboBox* const rate = addRate(sheet, document.sampleRate());
    const TimeField* const duration =
        //% "Duration:"
        addTime(sheet, qtTrId("sheet-duration"), document.sampleRate(), document.totalTime());
    //% "The sound is converted. Another duration changes its pitch."
    sheet.addNote(qtTrId("sheet-resample-note"));
    sheet.setCondition([=] { return rateOf(*rate) && duration->time().value_or(0) > 0; });
    if (!sheet.ask())
        return;
    const double seconds = *duration->time();
    const auto asked = seconds == document.totalTime() ? std::nullopt : std::optional(seconds);
    report(window, controller.conversions().resample(*rateOf(*rate), asked, title));
}

void EditSheets::documentProperties(SoundController& controller, QWidget& window)
{
    const SoundDocument& document = controller.document();
    //% "Document Properties"
    const QString title = qtTrId("sheet-properties");
    //% "Apply"
    FormSheet sheet(title, qtTrId("sheet-apply"), &window);
    const QComboBox* const rate = addRate(sheet, document.sampleRate());
    auto* const bits = new QComboBox(&sheet);
    for (const int size : {8, 16, 24, 32})
        bits->addItem(qtTrId("preferences-bits").arg(size), size);
    if (bits->findData(static_cast<int>(document.sampleSize())) < 0)
        bits->addItem(qtTrId("preferences-bits").arg(document.sampleSize()),
                      static_cast<int>(document.sampleSize()));
    bits->setCurrentIndex(bits->findData(static_cast<int>(document.sampleSize())));
    sheet.form().addRow(qtTrId("preferences-size"), bits);
    //% "Another rate plays the same samples faster or slower; no sample changes. The sample size is what the "
    //% "next save writes."
    sheet.addNote(qtTrId("sheet-properties-note"));
    sheet.setCondition([rate] { return rateOf(*rate).has_value(); });
    if (sheet.ask())
        report(window,
               controller.conversions().setProperties(*rateOf(*rate), bits->currentData().toInt(), title));
}

void EditSheets::gridSettings(QWidget& window)
{
    const SnapSettings present = Settings::snapSettings();
    //% "Grid"
    FormSheet sheet(qtTrId("sheet-grid"), qtTrId("sheet-apply"), &window);
    const auto addValue = [&sheet](const QString& label, double value, int64_t units, bool hasTempo) {
        auto* const field = new QDoubleSpinBox(&sheet);
        field->setRange(hasTempo ? 0 : -1e9, 1e9);
        field->setDecimals(4);
        field->setValue(value);
        auto* const unit = new QComboBox(&sheet);
        //% "Seconds"
        unit->addItem(qtTrId("grid-seconds"), static_cast<int>(SnapSettings::kSeconds));
        //% "Samples"
        unit->addItem(qtTrId("grid-samples"), static_cast<int>(SnapSettings::kSamples));
        if (hasTempo)
            //% "Beats per minute"
            unit->addItem(qtTrId("grid-tempo"), static_cast<int>(SnapSettings::kBeatsPerMinute));
        unit->setCurrentIndex(std::max(0, unit->findData(static_cast<int>(units))));
        auto* const row = new QHBoxLayout;
        row->setSpacing(8);
        // The units of both rows stand below each other, however long their lists are.
        field->setFixedWidth(130);
        row->addWidget(field);
        row->addWidget(unit, 1);
        sheet.form().addRow(label, row);
        QObject::connect(field, &QDoubleSpinBox::valueChanged, &sheet, [&sheet] { sheet.check(); });
        return std::pair(field, unit);
    };
    const auto [spacing, spacingUnits] =
        //% "Spacing:"
        addValue(qtTrId("grid-spacing"), present.gridSpacingValue, present.gridSpacingUnits, true);
    const auto [offset, offsetUnits] =
        //% "Offset:"
        addValue(qtTrId("grid-offset"), present.gridOffsetValue, present.gridOffsetUnits, false);
    sheet.setCondition([field = spacing] { return field->value() > 0; });
    if (!sheet.ask())
        return;
    UserDefaults& defaults = UserDefaults::standard();
    defaults.setValue(Settings::gridSpacingValue, spacing->value());
    defaults.setValue(Settings::gridSpacingUnits, spacingUnits->currentData());
    defaults.setValue(Settings::gridOffsetValue, offset->value());
    Settings::change(Settings::gridOffsetUnits, offsetUnits->currentData());
}

} // namespace velloria
