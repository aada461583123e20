#pragma once

#include <QString>
#include <QStringList>

namespace velloria
{

/// What the keys of the metadata dictionary are called in Vorbis comments. Names are in lower case.
namespace VorbisCommentNames
{

/// How other programs spell one of our keys.
struct Spelling {
    QString key;
    QString name;
    /// Where a position's total stands by itself: the name that is written, and another that is read.
    QStringList totals = {};
};

/// Null for a key that is spelled alike everywhere.
const Spelling* spellingOf(const QString& key);

/// The key that a name in a file stands for; empty for none.
QString keyOf(const QString& name);

/// True for the name of a total.
bool isTotal(const QString& name);

/// True for what only names the program that made the file. ENCODED-BY is not among them: it names a person.
bool tellsOfTheFileItself(const QString& name);

} // namespace VorbisCommentNames

} // namespace velloria
