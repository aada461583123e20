#pragma once

#include "formats/tags/MetadataDictionary.h"
#include "platform/FourCharCode.h"

#include <QByteArray>
#include <vector>

namespace velloria
{

/// The texts of a WAVE file's "LIST" chunk of the type "INFO": entries (ListEntry) whose value is a text
/// (ByteText).
class InfoList
{
public:
    InfoList() = default;
    /// By the payload of the chunk, its type included. Empty for another list.
    explicit InfoList(const QByteArray& payload);

    bool isEmpty() const { return mEntries.empty(); }

    /// The texts under the keys of the metadata, where it has room for them.
    MetadataDictionary dictionary() const;
    /// The key that an entry stands for; empty for none.
    static QString keyOf(FourCharCode ident);

    /// Changes the entries whose value is another `now` than it was `before`, all of a key, and leaves all
    /// else as it is. `addsNew` appends a key that has no entry yet.
    void setTags(const MetadataDictionary& before, const MetadataDictionary& now, bool addsNew);

    /// As a payload.
    QByteArray payload() const;

private:
    struct Entry {
        FourCharCode ident = 0;
        /// With header and pad byte, as it stands in the file.
        QByteArray bytes;
        QByteArray text;
    };

    Entry entryOf(FourCharCode ident, const QString& text, const QByteArray& before) const;

    std::vector<Entry> mEntries;
    /// Behind the last whole entry.
    QByteArray mRest;
    bool mIsWindows1252 = false;
};

} // namespace velloria
