#pragma once

#include <QString>
#include <QStringList>
#include <QVariant>
#include <limits>
#include <optional>
#include <vector>

namespace velloria
{

/// What a script key does to another parameter than its own: a value that is given chooses "manual", one that
/// is left out "automatic".
struct ScriptSwitch {
    size_t parameter = 0;
    double whenGiven = 0;
    double whenLeftOut = 0;
    /// An argument up to here counts as left out.
    double leftOutUpTo = -std::numeric_limits<double>::infinity();
};

/// When a parameter has an effect: while another one has this value.
struct ParameterCondition {
    size_t parameter = 0;
    double value = 0;
};

/// One parameter of an effect or generator: what its dialog shows, where its value is kept, and how a script
/// names it.
struct ParameterDescription {
    /// A list is a run of numbers, the points of an envelope say; the others are one number each.
    enum class Kind { number, toggle, choice, list };

    Kind kind = Kind::number;
    QString name;           ///< as the dialog shows it
    QString summary;        ///< one sentence for help texts
    QString unit;           ///< "dB", "%", "" ... of what is shown
    double shownFactor = 1; ///< from the value to what is shown: 100 for a fraction in percent
    double minimum = 0;     ///< of the slider; typed values may go beyond only within the hard limits below
    double maximum = 1;
    double defaultValue = 0;       ///< of the dialog
    double scriptDefaultValue = 0; ///< of a scripting command that leaves the key out
    int decimals = 1;              ///< of what is shown
    QStringList choices;           ///< for Kind::choice: the value is the index
    /// Brings what scripts may also call a choice to its name in the list, and leaves everything else; null
    /// where choices have one name.
    QString (*listedName)(const QString& text) = nullptr;
    std::vector<double> defaultList;
    size_t fewestInList = 0;                                  ///< shorter settings and presets are not taken
    QString settingsKey;                                      ///< "filter.amplifyVolume.gain"
    QString settingsReadKey;                                  ///< where it is read, if elsewhere than written
    bool isOnOnlyWhenOne = false;                             ///< of a toggle: settings of 2 or -1 are off
    QString scriptKey;                                        ///< "Gain"; empty: scripts cannot set it
    double scriptFactor = 1;                                  ///< from the value to the argument
    QString scriptUnit;                                       ///< of the argument, if not `unit`
    std::optional<ScriptSwitch> scriptSwitch;                 ///< the key left out has no default then
    std::optional<ParameterCondition> usedWhen;               ///< empty: always
    double hardMinimum = -std::numeric_limits<double>::max(); ///< what no typed or scripted value passes
    double hardMaximum = std::numeric_limits<double>::max();

    bool isList() const { return kind == Kind::list; }
    /// Where a setting is read.
    const QString& readKey() const { return settingsReadKey.isEmpty() ? settingsKey : settingsReadKey; }

    /// The nearest value that the parameter can have; nothing for what is no number. Toggles become 0 or 1,
    /// choices whole numbers.
    std::optional<double> allowedValue(double value) const;
    /// A value as settings and presets keep it, where some toggles are on only when it is 1.
    std::optional<double> valueOfStored(double stored) const;
    /// A setting or a scripting argument as a value: a number, or the text of a choice.
    std::optional<double> valueOfVariant(const QVariant& variant) const;
    /// The numbers of a list; nothing where there is none, or one is no finite number.
    std::optional<std::vector<double>> listOfVariant(const QVariant& variant) const;
};

} // namespace velloria
