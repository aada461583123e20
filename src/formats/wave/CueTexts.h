#pragma once

#include "formats/ledger/FileLedger.h"
#include "formats/wave/ListEntries.h"

#include <QString>
#include <map>
#include <set>
#include <vector>

namespace velloria
{

/// The lists of the type "adtl": names ("labl"), remarks ("note") and regions ("ltxt") of cue points, each
/// entry beginning with the 32-bit number of its point. A region tells its length in frames, four characters
/// for its purpose, country, language, dialect and code page (16 bits each), and may have a text. Of several
/// names for one number the first counts. Entries that nobody changed stay as they are, those of numbers that
/// no point has and those of other kinds always.
class CueTexts
{
public:
    /// A "ltxt" that has a length.
    struct Region {
        size_t entry = 0;
        uint32_t ident = 0;
        uint32_t numFrames = 0;
    };

    /// The payload of a list, its type included, which begins there in the file.
    void addList(const QByteArray& payload, int64_t fileOffset);

    /// Where the lists begin in the file.
    std::vector<int64_t> listOffsets() const;
    /// The name, or the text of the first "ltxt" that has one; empty for none.
    QString nameOf(uint32_t ident) const;
    std::vector<Region> regions() const;
    /// All numbers that entries begin with.
    std::set<uint32_t> idents() const;

    /// Changes what nameOf() gives; where there is nothing the name becomes a new entry.
    void setName(uint32_t ident, const QString& name);
    void setLength(const Region& region, int64_t numFrames);
    /// Removes all entries of a number.
    void remove(uint32_t ident);

    /// The payload of the list that was read from there; empty where nothing is left of it.
    QByteArray payload(int64_t fileOffset) const;
    /// That of the list for new entries of a file without one; empty where there are none.
    QByteArray newPayload() const;
    /// Places in the file of the entries that are gone, beside names and regions, which were markers.
    const std::set<int64_t>& offsetsGone() const { return mGone; }

    /// Declares the lists of the file: names of these numbers are in the model.
    void declare(const std::set<uint32_t>& identsNamed, FileLedger& ledger) const;

private:
    struct Entry {
        ListEntry stored;
        /// In the file; -1 for a new one.
        int64_t offset = -1;
        size_t list = 0;
        uint32_t ident = 0;
        /// False for an entry of another kind.
        bool hasIdent = false;
        bool isGone = false;
    };
    struct List {
        int64_t offset = 0;
        int64_t length = 0;
        QByteArray rest;
    };

    static bool isOfPoint(const ListEntry& entry);
    static QByteArray textOf(const Entry& entry);
    /// Null for none.
    const Entry* namingEntry(uint32_t ident) const;
    void add(Entry entry);
    void setText(Entry& entry, const QString& name);
    QByteArray payloadOfList(size_t list) const;

    std::vector<List> mLists;
    std::vector<Entry> mEntries;
    std::map<uint32_t, std::vector<size_t>> mEntriesOf;
    std::set<int64_t> mGone;
    bool mIsWindows1252 = false;
};

} // namespace velloria
