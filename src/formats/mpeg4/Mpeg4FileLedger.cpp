#include "formats/mpeg4/Mpeg4FileLedger.h"

#include <QLocale>
#include <algorithm>
#include <array>

namespace velloria
{

namespace
{

struct KnownName {
    FourCharCode type;
    const char* name;
};

constexpr std::array knownNames = {
    KnownName{fourCharCode("\251xyz"), "place of recording"},
    KnownName{fourCharCode("loci"), "place of recording"},
    KnownName{fourCharCode("Xtra"), "tags of Windows"},
    KnownName{fourCharCode("ID32"), "ID3v2 tag"},
    KnownName{fourCharCode("XMP_"), "XMP"},
    KnownName{fourCharCode("emsg"), "event message"},
    KnownName{fourCharCode("name"), "track name"},
    KnownName{fourCharCode("meta"), "metadata"},
};

// Laid out anew, or of no content.
constexpr std::array outerStructure = {fourCharCode("ftyp"), fourCharCode("styp"), fourCharCode("moof"),
                                       fourCharCode("sidx"), fourCharCode("ssix"), fourCharCode("mfra"),
                                       fourCharCode("pdin"), fourCharCode("prft")};
constexpr std::array movieStructure = {fourCharCode("mvhd"), fourCharCode("mvex"), fourCharCode("iods")};
constexpr std::array trackStructure = {fourCharCode("tkhd"), fourCharCode("edts"), fourCharCode("tref"),
                                       fourCharCode("mdia"), fourCharCode("load"), fourCharCode("tapt")};
constexpr std::array freeSpace = {fourCharCode("free"), fourCharCode("skip"), fourCharCode("wide")};

/// With these TagLib fills the room that it leaves for tags.
bool holdsOnlyOnes(const FileHandle& file, ByteRange bytes)
{
    constexpr int64_t longestFiller = 65536;
    const QByteArray filler = file.readAt(bytes.offset, std::min(bytes.length, longestFiller));
    return bytes.length <= longestFiller && filler.count('\1') == bytes.length;
}

template <typename List> bool contains(const List& list, FourCharCode type)
{
    return std::find(list.begin(), list.end(), type) != list.end();
}

QString textOf(FourCharCode type)
{
    const std::array bytes = {static_cast<char>(type >> 24), static_cast<char>(type >> 16),
                              static_cast<char>(type >> 8), static_cast<char>(type)};
    QString text = QString::fromLatin1(bytes.data(), bytes.size());
    for (QChar& letter : text)
        letter = letter.isPrint() ? letter : QChar(u'?');
    return text.trimmed();
}

QString nameOf(FourCharCode type, const Mpeg4Box& payload)
{
    static const QByteArray xmp = QByteArray::fromHex("be7acfcb97a942e89c71999491e3afac");
    if (type == fourCharCode("uuid"))
        return payload.copy(0, 16) == xmp ? QStringLiteral("XMP (uuid)")
                                          : QStringLiteral("private box (uuid)");
    const auto found = std::find_if(knownNames.begin(), knownNames.end(),
                                    [type](const KnownName& each) { return each.type == type; });
    const QString name = found == knownNames.end() ? QStringLiteral("box") : QString::fromLatin1(found->name);
    return QStringLiteral("%1 (%2)").arg(name, textOf(type));
}

QString languageOf(const Mpeg4Box& track)
{
    const Mpeg4Box header = track.descendant({fourCharCode("mdia"), fourCharCode("mdhd")});
    const uint64_t packed = header.number(header.version() == 1 ? 32 : 20, 2);
    QString code;
    for (const int shift : {10, 5, 0})
        code += QChar(static_cast<char16_t>(0x60 + (packed >> shift & 31)));
    const QLocale::Language language = QLocale::codeToLanguage(code);
    return language <= QLocale::C ? QString() : QLocale::languageToString(language);
}

QString kindOf(FourCharCode handler)
{
    switch (handler) {
    case fourCharCode("vide"):
        return QStringLiteral("video track");
    case fourCharCode("soun"):
        return QStringLiteral("further sound track");
    case fourCharCode("sbtl"):
    case fourCharCode("subt"):
    case fourCharCode("clcp"):
        return QStringLiteral("subtitle track");
    case fourCharCode("text"):
        return QStringLiteral("text track");
    case fourCharCode("tmcd"):
        return QStringLiteral("timecode track");
    case fourCharCode("meta"):
        return QStringLiteral("metadata track");
    default:
        return QStringLiteral("track");
    }
}

/// "video track (avc1, 640 × 360)", "further sound track (mp4a, German)".
QString nameOf(const Mpeg4Track& track)
{
    const Mpeg4Box description = track.box.descendant(
        {fourCharCode("mdia"), fourCharCode("minf"), fourCharCode("stbl"), fourCharCode("stsd")});
    QStringList details;
    if (description.size() >= 16)
        details += textOf(description.number32(12));
    if (track.handler == fourCharCode("vide") && description.number(40, 2) > 0)
        details += QStringLiteral("%1 × %2").arg(description.number(40, 2)).arg(description.number(42, 2));
    if (const QString language = languageOf(track.box); !language.isEmpty())
        details += language;
    if (details.isEmpty())
        return kindOf(track.handler);
    return QStringLiteral("%1 (%2)").arg(kindOf(track.handler), details.join(QStringLiteral(", ")));
}

/// Walks over the boxes of a file and declares them.
class Declarer
{
public:
    Declarer(const FileHandle& file, const Mpeg4Layout& layout, const Mpeg4Model& model)
        : mFile(file)
        , mLayout(layout)
        , mModel(model)
        , mReadItems(Mpeg4Tags::itemsOfMeta(Mpeg4Tags::metaOf(layout.movie())))
    {
    }

    Mpeg4Account run();

private:
    /// Boxes in the 'moov' box, with where they begin in the file.
    struct Part {
        Mpeg4Box box;
        int64_t offset = 0;
    };

    static ByteRange rangeOf(const Part& parent, const Mpeg4Box::Child& child)
    {
        return {parent.offset + static_cast<int64_t>(child.at), static_cast<int64_t>(child.size)};
    }
    static Part partOf(const Part& parent, const Mpeg4Box::Child& child)
    {
        return {parent.box.payloadOf(child),
                parent.offset + static_cast<int64_t>(child.at + child.headerSize)};
    }
    void addCarried(ItemKind kind, const QString& name, ByteRange bytes)
    {
        mLedger.add({kind, Keeping::asBytes, name, bytes});
    }
    void addBound(const Mpeg4BoundItem& item, ItemKind kind, const QString& name, ByteRange bytes)
    {
        addCarried(kind, name, bytes);
        mBoundItems[bytes.offset] = item;
    }
    /// Gives each child to `declare`; declares what stands around them.
    template <typename Declare> void forEachChild(const Part& parent, const Declare& declare);

    void declareFree(FourCharCode type, ByteRange bytes);
    void declareOuterBox(const Mpeg4Layout::OuterBox& box);
    void declareMovie(const Part& movie);
    void declareTrack(const Mpeg4Track& track);
    void declareEdits(const Mpeg4Box& edits);
    void declareUserData(const Part& data);
    void declareMeta(const Part& meta);
    void declareItems(const Part& items, const Mpeg4Box& keys);
    void declareItem(const Mpeg4Tags::Item& entry, const Part& item, ByteRange bytes);
    void declareReadItem(const Mpeg4Tags::Item& entry, const Part& item, const QString& name,
                         ByteRange bytes);
    void declareSamples();
    void declareBetween(ByteRange gap);

    const FileHandle& mFile;
    const Mpeg4Layout& mLayout;
    const Mpeg4Model& mModel;
    /// The list that the metadata was read from.
    const Mpeg4Box mReadItems;
    FileLedger mLedger;
    std::map<int64_t, Mpeg4BoundItem> mBoundItems;
};

template <typename Declare> void Declarer::forEachChild(const Part& parent, const Declare& declare)
{
    size_t end = 0;
    for (const Mpeg4Box::Child& child : parent.box.allChildren()) {
        mLedger.addStructure({rangeOf(parent, child).offset, static_cast<int64_t>(child.headerSize)});
        declare(child);
        end = child.end();
    }
    // QuickTime ends user data with four zeros.
    const auto rest = static_cast<int64_t>(parent.box.size() - end);
    const ByteRange bytes{parent.offset + static_cast<int64_t>(end), rest};
    const QByteArray tail = parent.box.copy(end, parent.box.size() - end);
    if (tail.count('\0') == tail.size())
        mLedger.addStructure(bytes);
    else
        addCarried(ItemKind::part, QStringLiteral("%1 damaged bytes at %2").arg(rest).arg(bytes.offset),
                   bytes);
}

Mpeg4Account Declarer::run()
{
    for (const Mpeg4Layout::OuterBox& box : mLayout.boxes)
        declareOuterBox(box);
    if (mLayout.endOfBoxes < mLayout.fileLength) {
        const int64_t rest = mLayout.fileLength - mLayout.endOfBoxes;
        addCarried(ItemKind::part, QStringLiteral("%1 bytes behind the last box").arg(rest),
                   {mLayout.endOfBoxes, rest});
    }
    declareSamples();
    return {std::move(mLedger), std::move(mBoundItems)};
}

/// Some programs keep something of their own where everybody else sees free space.
void Declarer::declareFree(FourCharCode type, ByteRange bytes)
{
    const ByteRange payload = {bytes.offset + mpeg4BoxHeaderBytes, bytes.length - mpeg4BoxHeaderBytes};
    if (mFile.holdsOnlyZeros(payload.offset, payload.length) || holdsOnlyOnes(mFile, payload))
        return mLedger.addStructure(bytes);
    addCarried(ItemKind::part, QStringLiteral("contents of free space (%1)").arg(textOf(type)), bytes);
}

void Declarer::declareOuterBox(const Mpeg4Layout::OuterBox& box)
{
    mLedger.addStructure({box.bytes.offset, box.headerSize});
    if (box.type == fourCharCode("mdat"))
        return;
    if (box.type == fourCharCode("moov") && box.payload().offset == mLayout.movieOffset)
        return declareMovie({mLayout.movie(), mLayout.movieOffset});
    if (contains(freeSpace, box.type))
        return declareFree(box.type, box.bytes);
    if (contains(outerStructure, box.type))
        return mLedger.addStructure(box.bytes);
    const QByteArray head =
        mFile.readAt(box.payload().offset, std::min<int64_t>(box.payload().length, 65536));
    const Mpeg4Box payload(head);
    // Says where its items lie in the file, which changes.
    const bool hasPlaces = box.type == fourCharCode("meta") &&
                           !Mpeg4Tags::boxesOfMeta(payload).descendant({fourCharCode("iloc")}).isEmpty();
    const bool isKept = !hasPlaces && box.type != fourCharCode("moov");
    mLedger.add(
        {ItemKind::part, isKept ? Keeping::asBytes : Keeping::notKept, nameOf(box.type, payload), box.bytes});
}

void Declarer::declareMovie(const Part& movie)
{
    forEachChild(movie, [&](const Mpeg4Box::Child& child) {
        const ByteRange bytes = rangeOf(movie, child);
        const auto track = std::find_if(mLayout.tracks.begin(), mLayout.tracks.end(),
                                        [&](const Mpeg4Track& each) { return each.bytes == bytes; });
        if (track != mLayout.tracks.end())
            declareTrack(*track);
        else if (child.type == fourCharCode("udta"))
            declareUserData(partOf(movie, child));
        else if (child.type == fourCharCode("meta"))
            declareMeta(partOf(movie, child));
        else if (contains(freeSpace, child.type))
            declareFree(child.type, bytes);
        else if (contains(movieStructure, child.type))
            mLedger.addStructure(bytes);
        else
            addCarried(ItemKind::part, nameOf(child.type, movie.box.payloadOf(child)), bytes);
    });
}

void Declarer::declareTrack(const Mpeg4Track& track)
{
    if (track.id == mModel.chapterTrackID)
        return mLedger.addInModel(track.bytes);
    if (track.id != mModel.soundTrackID)
        return addCarried(ItemKind::stream, nameOf(track), track.bytes);
    const auto headerSize = track.bytes.length - static_cast<int64_t>(track.box.size());
    const Part part{track.box, track.bytes.offset + headerSize};
    forEachChild(part, [&](const Mpeg4Box::Child& child) {
        if (child.type == fourCharCode("udta"))
            return declareUserData(partOf(part, child));
        if (child.type == fourCharCode("meta"))
            return declareMeta(partOf(part, child));
        if (contains(freeSpace, child.type))
            return declareFree(child.type, rangeOf(part, child));
        if (contains(trackStructure, child.type))
            return mLedger.addStructure(rangeOf(part, child));
        addCarried(ItemKind::part, nameOf(child.type, part.box.payloadOf(child)), rangeOf(part, child));
    });
    declareEdits(track.box.descendant({fourCharCode("edts"), fourCharCode("elst")}));
}

/// Of the sound; one that leaves out the encoder's delay is no news.
void Declarer::declareEdits(const Mpeg4Box& edits)
{
    const size_t width = edits.version() == 1 ? 8 : 4;
    const size_t numEdits = Mpeg4SampleTable::numEntries(edits, 4, 2 * width + 4);
    const bool isLate = numEdits > 0 && edits.number(8 + width, width) >> (8 * width - 1) != 0;
    if (numEdits > (isLate ? 2U : 1U))
        addCarried(ItemKind::part, QStringLiteral("edit list of the sound (%1 edits)").arg(numEdits), {});
    else if (isLate)
        addCarried(ItemKind::part, QStringLiteral("late start of the sound"), {});
}

void Declarer::declareUserData(const Part& data)
{
    forEachChild(data, [&](const Mpeg4Box::Child& child) {
        const ByteRange bytes = rangeOf(data, child);
        const bool isText = child.type >> 24 == 0xA9;
        if (child.type == fourCharCode("meta"))
            declareMeta(partOf(data, child));
        else if (child.type == fourCharCode("chpl"))
            mLedger.addInModel(bytes);
        else if (contains(freeSpace, child.type))
            declareFree(child.type, bytes);
        else if (isText)
            addCarried(ItemKind::tag, textOf(child.type), bytes);
        else
            addCarried(ItemKind::part, nameOf(child.type, data.box.payloadOf(child)), bytes);
    });
}

void Declarer::declareMeta(const Part& meta)
{
    const Mpeg4Box boxes = Mpeg4Tags::boxesOfMeta(meta.box);
    const FourCharCode handler = boxes.descendant({fourCharCode("hdlr")}).number32(8);
    const int64_t whole = meta.offset;
    if (handler != fourCharCode("mdir") && handler != fourCharCode("mdta"))
        return addCarried(ItemKind::part, QStringLiteral("metadata (%1)").arg(textOf(handler)),
                          {whole, static_cast<int64_t>(meta.box.size())});
    const auto versionBytes = static_cast<int64_t>(meta.box.size() - boxes.size());
    mLedger.addStructure({whole, versionBytes});
    const Part part{boxes, whole + versionBytes};
    const Mpeg4Box keys =
        handler == fourCharCode("mdta") ? boxes.descendant({fourCharCode("keys")}) : Mpeg4Box(QByteArray());
    forEachChild(part, [&](const Mpeg4Box::Child& child) {
        const bool isStructure = child.type == fourCharCode("hdlr") || child.type == fourCharCode("keys");
        if (child.type == fourCharCode("ilst"))
            declareItems(partOf(part, child), keys);
        else if (contains(freeSpace, child.type))
            declareFree(child.type, rangeOf(part, child));
        else if (isStructure)
            mLedger.addStructure(rangeOf(part, child));
        else
            addCarried(ItemKind::part, nameOf(child.type, boxes.payloadOf(child)), rangeOf(part, child));
    });
}

/// `keys` names the items of QuickTime's form of the list, which have numbers for types.
void Declarer::declareItems(const Part& items, const Mpeg4Box& keys)
{
    constexpr size_t countBytes = 8;
    std::vector<QString> names;
    if (keys.size() > countBytes) {
        const Mpeg4Box list(keys.bytes().subspan(countBytes));
        for (const Mpeg4Box::Child& key : list.allChildren())
            names.push_back(QString::fromUtf8(list.wholeOf(key).sliced(8)));
    }
    std::vector<Mpeg4Tags::Item> entries = Mpeg4Tags::itemsOfList(items.box);
    if (!Mpeg4Tags::isSame(items.box, mReadItems)) {
        for (Mpeg4Tags::Item& entry : entries)
            entry.key.clear();
    }
    size_t index = 0;
    forEachChild(items, [&](const Mpeg4Box::Child& child) {
        const ByteRange bytes = rangeOf(items, child);
        if (keys.isEmpty())
            return declareItem(entries[index++], partOf(items, child), bytes);
        const bool hasName = child.type >= 1 && child.type <= names.size();
        addCarried(ItemKind::tag, hasName ? names[child.type - 1] : QString::number(child.type), bytes);
    });
}

void Declarer::declareItem(const Mpeg4Tags::Item& entry, const Part& item, ByteRange bytes)
{
    const FourCharCode type = entry.child.type;
    // What players note for themselves about the very sound: gaps, loudness.
    const bool isFreeForm = type == fourCharCode("----");
    const QString name = isFreeForm ? Mpeg4Tags::freeFormName(item.box) : textOf(type);
    if ((isFreeForm && name.startsWith(QStringLiteral("iTun"))) || type == fourCharCode("free"))
        return mLedger.addStructure(bytes);
    if (entry.key.isEmpty())
        return addCarried(ItemKind::tag, name, bytes);
    if (!entry.isRead)
        return addBound({entry.key, Mpeg4BoundItem::Bond::value}, ItemKind::tag,
                        QStringLiteral("%1 that is not read").arg(name), bytes);
    declareReadItem(entry, item, name, bytes);
}

/// One that is in the model, apart from what the metadata has no room for.
void Declarer::declareReadItem(const Mpeg4Tags::Item& entry, const Part& item, const QString& name,
                               ByteRange bytes)
{
    using Bond = Mpeg4BoundItem::Bond;
    mLedger.addInModel(bytes);
    for (const Mpeg4Tags::AlteredValue& value : mModel.alteredValues) {
        if (value.key == entry.key)
            addBound({entry.key, value.isHidden ? Bond::value : Bond::wording}, ItemKind::value,
                     value.description, bytes);
    }
    const bool isFreeForm = entry.child.type == fourCharCode("----");
    for (const Mpeg4Box::Child& child : item.box.allChildren()) {
        const bool isNaming =
            isFreeForm && (child.type == fourCharCode("mean") || child.type == fourCharCode("name"));
        if (child.type != fourCharCode("data") && child.type != fourCharCode("free") && !isNaming)
            addBound({entry.key, Bond::key}, ItemKind::part,
                     QStringLiteral("box (%1) of %2").arg(textOf(child.type), name), rangeOf(item, child));
    }
}

/// The samples of all tracks, and what stands between them.
void Declarer::declareSamples()
{
    std::vector<ByteRange> used;
    for (const Mpeg4Track& track : mLayout.tracks) {
        for (const Mpeg4Run& run : track.runs) {
            if (run.bytes.length > 0 && run.bytes.offset >= 0 && !track.isExternal)
                used.push_back(run.bytes);
        }
    }
    std::sort(used.begin(), used.end(),
              [](const ByteRange& a, const ByteRange& b) { return a.offset < b.offset; });
    auto next = used.begin();
    int64_t end = 0;
    for (const ByteRange& media : mLayout.payloads(fourCharCode("mdat"))) {
        int64_t at = std::max(media.offset, end);
        for (; next != used.end() && next->offset < media.end(); ++next) {
            if (next->offset > at)
                declareBetween({at, next->offset - at});
            at = std::max(at, std::min(next->end(), media.end()));
            end = std::max(end, next->end());
        }
        if (at < media.end())
            declareBetween({at, media.end() - at});
        mLedger.addStructure(media);
    }
}

/// Padding of a few zeros is none that anybody misses.
void Declarer::declareBetween(ByteRange gap)
{
    constexpr int64_t longestPadding = 65536;
    if (gap.length <= longestPadding) {
        const QByteArray bytes = mFile.readAt(gap.offset, gap.length);
        if (bytes.count('\0') == bytes.size())
            return mLedger.addStructure(gap);
    }
    addCarried(ItemKind::part, QStringLiteral("%1 bytes that belong to no track").arg(gap.length), gap);
}

} // namespace

Mpeg4Account mpeg4Account(const FileHandle& file, const Mpeg4Layout& layout, const Mpeg4Model& model)
{
    return Declarer(file, layout, model).run();
}

} // namespace velloria
