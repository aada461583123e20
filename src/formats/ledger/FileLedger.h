#pragma once

#include <QString>
#include <QStringList>
#include <cstdint>
#include <vector>

namespace velloria
{

/// Bytes offset .. offset + length - 1 of a file.
struct ByteRange {
    int64_t offset = 0;
    int64_t length = 0;
    int64_t end() const { return offset + length; }
    bool operator==(const ByteRange&) const = default;
};

/// What becomes of an item of an opened file when the document is saved as the type that it was opened as.
enum class Keeping {
    structure, ///< Headers, sizes, tables, padding: made anew by every writer.
    inModel,   ///< The document holds it: sound, markers, tags, pictures. What a type cannot hold of these is
               ///< told from the model.
    asBytes,   ///< Carried over byte for byte by a writer that says so (AudioFile::willWrite).
    withSound, ///< Stands among the packets of the sound and goes with them: kept where they are copied, gone
               ///< where the sound is encoded anew (AudioFile::keptSound).
    withTag, ///< Stands in a tag and goes with it: kept where the tag is edited, gone where it is made anew.
    notKept  ///< Nobody writes it.
};

/// How a person is told of an item.
enum class ItemKind {
    part,   ///< a chunk, box, block or stretch of bytes
    tag,    ///< a tag that is known by its key or frame name
    stream, ///< another stream than the sound: a picture track, a second sound track
    value   ///< something that stays, but altered; `name` tells how: “120.5 BPM” becomes “121”
};

struct FileItem {
    ItemKind kind = ItemKind::part;
    Keeping keeping = Keeping::notKept;
    /// For a person: "cue points (cue )", "APEv2 tag". May be empty for structure and what is in the model.
    QString name;
    /// Where it lies. Of length 0 for what has no bytes of its own (a property, a value inside another item).
    ByteRange bytes;
};

/// The account of everything that a reader met in a file. Each reader declares every item; what nobody
/// declared counts as not kept, so that nothing can be lost by being forgotten. A save asks the writer which
/// items it will write, and the difference is told before. Items may nest or overlap (a tag and its frames);
/// their union must cover the file.
class FileLedger
{
public:
    void add(FileItem item);
    void addStructure(ByteRange bytes) { add({ItemKind::part, Keeping::structure, {}, bytes}); }
    void addInModel(ByteRange bytes) { add({ItemKind::part, Keeping::inModel, {}, bytes}); }
    void addNotKept(ItemKind kind, const QString& name, ByteRange bytes = {})
    {
        add({kind, Keeping::notKept, name, bytes});
    }
    void addWithSound(const QString& name, ByteRange bytes = {})
    {
        add({ItemKind::part, Keeping::withSound, name, bytes});
    }
    /// The items of a part that was read on its own, whose first byte lies at `offset` of this file.
    void addNested(const FileLedger& part, int64_t offset);

    /// Those with a name or a fate of their own. Structure and what is in the model are counted by their
    /// bytes only, unless they have a name.
    const std::vector<FileItem>& items() const { return mItems; }

    /// The names of a kind that are not kept where the sound is encoded anew, each once with its number
    /// ("PRIV (3 times)"), not more than a person would read.
    QStringList namesNotKept(ItemKind kind) const;
    /// The same for any choice of items.
    template <typename Predicate> QStringList namesOf(ItemKind kind, Predicate isWanted) const
    {
        std::vector<QString> names;
        for (const FileItem& item : mItems) {
            if (item.kind == kind && isWanted(item))
                names.push_back(item.name);
        }
        return counted(names);
    }

    /// The stretches of a file of that length that no item covers, in order.
    std::vector<ByteRange> undeclared(int64_t fileLength) const;
    /// Adds what is undeclared as parts that are not kept.
    void declareRest(int64_t fileLength);

private:
    static QStringList counted(const std::vector<QString>& names);
    void cover(ByteRange bytes);

    std::vector<FileItem> mItems;
    /// In order, apart from one another, not touching.
    std::vector<ByteRange> mCovered;
};

} // namespace velloria
