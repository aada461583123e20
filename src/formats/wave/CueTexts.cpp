#include "formats/wave/CueTexts.h"

#include "formats/chunks/RiffChunkList.h"
#include "formats/streams/ByteText.h"
#include "formats/wave/WaveChunkNames.h"

#include <QtEndian>
#include <algorithm>
#include <array>

namespace velloria
{

namespace
{

const QByteArray listType = QByteArrayLiteral("adtl");
constexpr FourCharCode nameIdent = fourCharCode("labl");
constexpr FourCharCode regionIdent = fourCharCode("ltxt");

constexpr size_t mostEntries = 400'000;
constexpr qsizetype identLength = 4;
constexpr qsizetype lengthOffset = 4;
constexpr qsizetype regionHeaderLength = 20;

QByteArray number(uint32_t value)
{
    QByteArray bytes(identLength, Qt::Uninitialized);
    qToLittleEndian<quint32>(value, bytes.data());
    return bytes;
}

qsizetype textOffset(FourCharCode ident)
{
    return ident == regionIdent ? regionHeaderLength : identLength;
}

} // namespace

bool CueTexts::isOfPoint(const ListEntry& entry)
{
    constexpr std::array idents = {nameIdent, regionIdent, fourCharCode("note"), fourCharCode("file")};
    return std::ranges::find(idents, entry.ident) != idents.end() &&
           entry.value().size() >= (entry.ident == regionIdent ? regionHeaderLength : identLength);
}

void CueTexts::addList(const QByteArray& payload, int64_t fileOffset)
{
    ListEntries list = ListEntries::ofPayload(payload, mostEntries);
    for (ListEntry& entry : list.entries) {
        const bool hasIdent = isOfPoint(entry);
        const uint32_t ident =
            hasIdent ? qFromLittleEndian<quint32>(entry.bytes.constData() + RiffChunk::headerLength) : 0;
        const int64_t offset = fileOffset + entry.offset;
        add({std::move(entry), offset, mLists.size(), ident, hasIdent});
    }
    mLists.push_back({fileOffset, payload.size(), std::move(list.rest)});
}

void CueTexts::add(Entry entry)
{
    if (entry.hasIdent) {
        mEntriesOf[entry.ident].push_back(mEntries.size());
        mIsWindows1252 = mIsWindows1252 || !ByteText::isUtf8(textOf(entry));
    }
    mEntries.push_back(std::move(entry));
}

QByteArray CueTexts::textOf(const Entry& entry)
{
    return ByteText::bytesOfText(entry.stored.value().mid(textOffset(entry.stored.ident)));
}

std::vector<int64_t> CueTexts::listOffsets() const
{
    std::vector<int64_t> offsets;
    for (const List& list : mLists)
        offsets.push_back(list.offset);
    return offsets;
}

const CueTexts::Entry* CueTexts::namingEntry(uint32_t ident) const
{
    const auto found = mEntriesOf.find(ident);
    if (found == mEntriesOf.end())
        return nullptr;
    const Entry* regionText = nullptr;
    for (const size_t i : found->second) {
        const Entry& entry = mEntries[i];
        if (entry.stored.ident == nameIdent)
            return &entry;
        if (!regionText && entry.stored.ident == regionIdent && !textOf(entry).isEmpty())
            regionText = &entry;
    }
    return regionText;
}

QString CueTexts::nameOf(uint32_t ident) const
{
    const Entry* const entry = namingEntry(ident);
    return entry ? ByteText::stringOf(textOf(*entry)) : QString();
}

std::vector<CueTexts::Region> CueTexts::regions() const
{
    std::vector<Region> regions;
    for (size_t i = 0; i < mEntries.size(); ++i) {
        const Entry& entry = mEntries[i];
        if (!entry.hasIdent || entry.stored.ident != regionIdent)
            continue;
        const auto numFrames = qFromLittleEndian<quint32>(entry.stored.bytes.constData() +
                                                          RiffChunk::headerLength + lengthOffset);
        if (numFrames > 0)
            regions.push_back({i, entry.ident, numFrames});
    }
    return regions;
}

std::set<uint32_t> CueTexts::idents() const
{
    std::set<uint32_t> idents;
    for (const auto& [ident, entries] : mEntriesOf)
        idents.insert(ident);
    return idents;
}

/// Ended by a zero byte where the text before was, and a new one.
void CueTexts::setText(Entry& entry, const QString& name)
{
    const QByteArray before = entry.stored.value();
    const qsizetype start = textOffset(entry.stored.ident);
    const bool endsWithZero = before.size() <= start || before.endsWith('\0');
    const QByteArray value = before.first(start) + ByteText::textOf(name, mIsWindows1252) +
                             (endsWithZero ? QByteArray(1, '\0') : QByteArray());
    entry.stored.bytes = ListEntry::ofValue(entry.stored.ident, value).bytes;
}

void CueTexts::setName(uint32_t ident, const QString& name)
{
    const QString before = nameOf(ident);
    if (name == before)
        return;
    bool hasName = false;
    // Every entry that says the same is the same name.
    for (const size_t i : mEntriesOf[ident]) {
        Entry& entry = mEntries[i];
        const bool isName =
            entry.stored.ident == nameIdent || (entry.stored.ident == regionIdent && !before.isEmpty());
        if (!isName || ByteText::stringOf(textOf(entry)) != before)
            continue;
        setText(entry, name);
        hasName = true;
    }
    if (hasName)
        return;
    const QByteArray value = number(ident) + ByteText::textOf(name, mIsWindows1252) + '\0';
    add({ListEntry::ofValue(nameIdent, value), -1, 0, ident, true});
}

void CueTexts::setLength(const Region& region, int64_t numFrames)
{
    const auto stored = static_cast<quint32>(std::clamp<int64_t>(numFrames, 0, 0xFFFFFFFF));
    qToLittleEndian<quint32>(stored, mEntries[region.entry].stored.bytes.data() + RiffChunk::headerLength +
                                         lengthOffset);
}

void CueTexts::remove(uint32_t ident)
{
    const auto found = mEntriesOf.find(ident);
    if (found == mEntriesOf.end())
        return;
    for (const size_t i : found->second) {
        mEntries[i].isGone = true;
        const FourCharCode kind = mEntries[i].stored.ident;
        if (mEntries[i].offset >= 0 && kind != nameIdent && kind != regionIdent)
            mGone.insert(mEntries[i].offset);
    }
    mEntriesOf.erase(found);
}

QByteArray CueTexts::payloadOfList(size_t list) const
{
    QByteArray payload = listType;
    bool isEmptied = false;
    for (const Entry& entry : mEntries) {
        if (entry.list != list)
            continue;
        isEmptied = isEmptied || entry.isGone;
        if (!entry.isGone)
            payload += entry.stored.bytes;
    }
    payload += list < mLists.size() ? mLists[list].rest : QByteArray();
    isEmptied = (isEmptied || list >= mLists.size()) && payload.size() == listType.size();
    return isEmptied ? QByteArray() : payload;
}

QByteArray CueTexts::payload(int64_t fileOffset) const
{
    const auto found = std::ranges::find(mLists, fileOffset, &List::offset);
    return found == mLists.end() ? QByteArray() : payloadOfList(static_cast<size_t>(found - mLists.begin()));
}

QByteArray CueTexts::newPayload() const
{
    return mLists.empty() ? payloadOfList(0) : QByteArray();
}

void CueTexts::declare(const std::set<uint32_t>& identsNamed, FileLedger& ledger) const
{
    for (const List& list : mLists) {
        ledger.addStructure({list.offset, identLength});
        if (!list.rest.isEmpty())
            ledger.add({ItemKind::part,
                        Keeping::asBytes,
                        QStringLiteral("more texts (adtl)"),
                        {list.offset + list.length - list.rest.size(), list.rest.size()}});
    }
    for (const Entry& entry : mEntries) {
        const ByteRange bytes = {entry.offset, entry.stored.bytes.size()};
        const Entry* const name = identsNamed.contains(entry.ident) ? namingEntry(entry.ident) : nullptr;
        const bool isName =
            entry.hasIdent && name && entry.stored.ident == nameIdent && textOf(entry) == textOf(*name);
        if (isName)
            ledger.addInModel(bytes);
        else
            ledger.add({ItemKind::part, Keeping::asBytes, nameOfWaveChunk(entry.stored.ident), bytes});
    }
}

} // namespace velloria
