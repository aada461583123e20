#pragma once

#include "platform/FileHandle.h"
#include "platform/FourCharCode.h"

#include <QByteArray>
#include <functional>
#include <initializer_list>
#include <optional>
#include <span>
#include <vector>

namespace velloria
{

/// The payload of one box of an MPEG-4 file, in memory that somebody else holds. Numbers are big-endian and
/// are read by position; positions outside the box read as 0, so damaged boxes need no care.
class Mpeg4Box
{
public:
    explicit Mpeg4Box(std::span<const uint8_t> bytes)
        : mBytes(bytes)
    {
    }
    explicit Mpeg4Box(const QByteArray& bytes)
        : mBytes(reinterpret_cast<const uint8_t*>(bytes.constData()), static_cast<size_t>(bytes.size()))
    {
    }

    uint64_t number(size_t at, size_t numBytes) const;
    uint32_t number32(size_t at) const { return static_cast<uint32_t>(number(at, 4)); }
    size_t size() const { return mBytes.size(); }
    bool isEmpty() const { return mBytes.empty(); }
    uint8_t version() const { return mBytes.empty() ? 0 : mBytes[0]; }
    std::span<const uint8_t> bytes() const { return mBytes; }
    /// As many of the bytes as there are.
    QByteArray copy(size_t at, size_t numBytes) const;

    /// A child box by its place in this one.
    struct Child {
        FourCharCode type = 0;
        size_t at = 0;
        size_t headerSize = 0;
        size_t size = 0;

        size_t end() const { return at + size; }
    };
    /// All children in order, up to the first damage.
    std::vector<Child> allChildren() const;
    Mpeg4Box payloadOf(const Child& child) const
    {
        return Mpeg4Box(mBytes.subspan(child.at + child.headerSize, child.size - child.headerSize));
    }
    QByteArray wholeOf(const Child& child) const { return copy(child.at, child.size); }

    /// All children of a type, in order.
    std::vector<Mpeg4Box> children(FourCharCode type) const;
    /// The first descendant along a path of types; an empty box when there is none.
    Mpeg4Box descendant(std::initializer_list<FourCharCode> path) const;
    /// All children with their headers, but those of a type.
    QByteArray childrenWithout(FourCharCode type) const;

private:
    template <typename Taker> void forEachChild(const Taker& take) const;

    std::span<const uint8_t> mBytes;
};

/// Where a box stands in a file.
struct Mpeg4BoxPlace {
    int64_t offset = 0;
    int64_t headerSize = 0;
    int64_t size = 0;

    int64_t end() const { return offset + size; }
};

/// The first box of a type outside all others; nothing when there is none before the first damage.
std::optional<Mpeg4BoxPlace> findMpeg4Box(const FileHandle& file, FourCharCode type);

/// The payload of the file's 'moov' box; empty when it has none, or one that is too large to make sense.
QByteArray readMpeg4Movie(const FileHandle& file);

/// The identifier and the clock of a track, by its box.
uint32_t mpeg4TrackID(const Mpeg4Box& track);
/// Of an 'mvhd' or 'mdhd' box.
uint32_t mpeg4Timescale(const Mpeg4Box& header);

constexpr qsizetype mpeg4BoxHeaderBytes = 8;
/// What stands in front of a payload of so many bytes.
QByteArray mpeg4BoxHeader(FourCharCode type, size_t numPayloadBytes);
/// A box around its payload.
QByteArray mpeg4Box(FourCharCode type, const QByteArray& payload);

/// The payload of a box with some of its children made anew: `change` gives what stands for a child (with its
/// header; nothing leaves it as it is, an empty array leaves it out). What is no child, as the four zeros at
/// the end of QuickTime's user data, stays.
using Mpeg4ChildChange =
    std::function<std::optional<QByteArray>(const Mpeg4Box::Child& child, const Mpeg4Box& payload)>;
QByteArray mpeg4PayloadWith(const Mpeg4Box& parent, const Mpeg4ChildChange& change);

} // namespace velloria
