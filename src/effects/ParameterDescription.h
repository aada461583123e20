#pragma once

#include <QString>
#include <QStringList>
#include <QVariant>
#include <limits>
#include <optional>

namespace velloria
{

/// One parameter of an effect: what its dialog shows, where its value is kept, and how a script names it.
struct ParameterDescription {
    enum class Kind { number, toggle, choice };

    Kind kind = Kind::number;
    QString name;       ///< as the dialog shows it
    QString summary;    ///< one sentence for help texts
    QString unit;       ///< "dB", "%", "" ...
    double minimum = 0; ///< of the slider; typed values may go beyond only within the hard limits below
    double maximum = 1;
    double defaultValue = 0;       ///< of the dialog
    double scriptDefaultValue = 0; ///< of a scripting command that leaves the key out
    int decimals = 1;
    QStringList choices;                                      ///< for Kind::choice: the value is the index
    QString settingsKey;                                      ///< "filter.amplifyVolume.gain"
    QString scriptKey;                                        ///< "Gain"
    double hardMinimum = -std::numeric_limits<double>::max(); ///< what no typed or scripted value passes
    double hardMaximum = std::numeric_limits<double>::max();

    /// The nearest value that the parameter can have; nothing for what is no number. Toggles become 0 or 1,
    /// choices whole numbers.
    std::optional<double> allowedValue(double value) const;
    /// A setting or a scripting argument as a value: a number, or the text of a choice.
    std::optional<double> valueOfVariant(const QVariant& variant) const;
};

} // namespace velloria
