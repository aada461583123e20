#pragma once

#include <QString>
#include <QStringList>
#include <QVariantList>

namespace velloria
{

/// What an effect has to say about a sound for which it does less than was asked, and why.
struct EffectRemark {
    /// Everything that can be said, for the catalogues.
    enum class Kind { silent, tooQuiet, noLoudness, beyondRate, bandsBeyondRate, soundMissing };

    Kind kind = Kind::silent;
    /// For the places (%1, ...) of the text: numbers, or texts that have no translation.
    QVariantList arguments;

    /// English, with its places; a text of the catalogues.
    static QString text(Kind kind);
    static QStringList texts();

    QString inEnglish() const;
    /// Whether nothing at all is done: the document stays as it is, without a step.
    bool leavesSound() const { return kind != Kind::bandsBeyondRate; }
};

} // namespace velloria
