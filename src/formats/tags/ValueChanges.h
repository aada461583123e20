#pragma once

#include "formats/ledger/FileLedger.h"
#include "formats/tags/AudioMetadata.h"

namespace velloria
{

/// How a person is told that the text of a tag stays, but not as it is in the opened file.
namespace ValueChanges
{

/// On one line and short enough to be read: “The text”.
QString quoted(const QString& text);

/// What the ledger says of a value that becomes another: key “before” becomes “after”.
QString change(const QString& key, const QString& before, const QString& after);

/// The texts that a person has changed since they were read, as they are now; empty for what was taken out.
QMap<QString, QString> changedTexts(const AudioMetadata& read, const AudioMetadata& now);

/// Whether an item of a ledger says change() of a value that a person has replaced since it was read: it
/// tells nothing any more then.
bool isReplaced(const FileItem& item, const AudioMetadata& read, const AudioMetadata& now);

/// What of the values of a dictionary comes out otherwise in another one, or not at all. A number, flag or
/// position that is only zeros says nothing, so nothing is lost with it. Pictures are left aside.
struct Differences {
    QStringList altered; ///< as change() says it
    QStringList missing; ///< key “value”
};
Differences differences(const MetadataDictionary& values, const MetadataDictionary& kept);

/// Accounts for the values of a dictionary that `metadata`, which has just taken it in, gives back otherwise
/// ("120.5" as a tempo) or not at all ("A1" as a track number).
void declare(const MetadataDictionary& values, const AudioMetadata& metadata, FileLedger& ledger,
             Keeping keeping = Keeping::notKept);

} // namespace ValueChanges

} // namespace velloria
