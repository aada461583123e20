#include "formats/tags/Id3Chapters.h"

#include "formats/tagediting/Id3Save.h"
#include "formats/tags/Id3ChapterFrames.h"
#include "formats/tags/Id3TestTags.h"

#include <gtest/gtest.h>

namespace velloria
{
namespace
{

using test::bigEndian32;
using test::bytes;
using test::tag;

constexpr double rate = 48000.0;

QByteArray frame(int version, const char* id, const QByteArray& payload)
{
    return version == 3 ? test::version3Frame(id, payload) : test::version4Frame(id, payload);
}

QByteArray chapter(int version, const char* id, quint32 start, quint32 end, const QByteArray& frames,
                   quint32 offset = 0xFFFFFFFF)
{
    return frame(version, "CHAP",
                 id + bytes("\0") + bigEndian32(start) + bigEndian32(end) + bigEndian32(offset) +
                     bigEndian32(offset) + frames);
}

QByteArray title(int version, const QByteArray& text)
{
    return frame(version, "TIT2", '\0' + text);
}

QByteArray list(int version, const QList<QByteArray>& children, const QByteArray& rest = {})
{
    return frame(version, "CTOC",
                 bytes("toc\0\3") + static_cast<char>(children.size()) + children.join('\0') + '\0' + rest);
}

AudioMarkerPtr marker(int64_t position, const QString& name)
{
    return std::make_shared<AudioMarker>(0, position, name);
}

QByteArray edited(const QByteArray& tag, std::vector<AudioMarkerPtr> markers, int64_t numFrames = 480000)
{
    Id3SoundChange sound;
    sound.chapters =
        Id3Chapters::Target{std::make_shared<const std::vector<AudioMarkerPtr>>(std::move(markers)), rate,
                            numFrames, 480000, false};
    return Id3Save(tag, {}, {}, sound).tag();
}

std::vector<std::pair<int64_t, QString>> read(const QByteArray& tag)
{
    std::vector<std::pair<int64_t, QString>> found;
    if (const MarkerList markers = Id3Chapters::markers(tag, rate)) {
        for (const AudioMarkerPtr& each : *markers)
            found.emplace_back(each->position(), each->name());
    }
    return found;
}

TEST(Id3ChaptersTest, ChaptersAreMarkersInTheOrderOfTheirTimes)
{
    using Found = std::vector<std::pair<int64_t, QString>>;
    for (const int version : {3, 4}) {
        const auto v = static_cast<char>(version);
        const QByteArray two =
            chapter(version, "b", 5000, 10000, title(version, "Second")) +
            chapter(version, "a", 1, 5000, frame(version, "APIC", "x") + title(version, "First"));
        EXPECT_EQ(read(tag(v, two)), (Found{{48, "First"}, {240000, "Second"}}));
        EXPECT_EQ(read(tag(v, chapter(version, "a", 7, 8, {}))), (Found{{336, ""}}));
        EXPECT_EQ(read(tag(v, frame(version, "CHAP",
                                    bytes("a\0"
                                          "123456789012345")))),
                  Found());
        EXPECT_EQ(read(tag(v, chapter(version, "a", 7, 8, "TIT2" + bytes("\0\0\0\x63\0\0xx")))), Found());
    }
    EXPECT_EQ(Id3Chapters::markers(tag(2, ""), rate), nullptr);
    for (const uint32_t time : {0U, 1U, 999U, 3600001U, 0xFFFFFFF0U})
        for (const double sampleRate : {8000.0, 44100.0, 192000.0})
            EXPECT_EQ(Id3Chapters::timeOf(Id3Chapters::positionOf(time, sampleRate), sampleRate), time);
}

TEST(Id3ChaptersTest, MarkersThatMoveTakeTheirChaptersAlong)
{
    for (const int version : {3, 4}) {
        SCOPED_TRACE(version);
        const auto v = static_cast<char>(version);
        const QByteArray picture = frame(version, "APIC", "x");
        const QByteArray first = chapter(version, "a", 0, 4000, title(version, "One") + picture, 99);
        const QByteArray third = chapter(version, "c", 8000, 9000, title(version, "Three"));
        const QByteArray second = chapter(version, "b", 4000, 8000, title(version, "Two"), 500);
        const QByteArray other = frame(version, "XYZW", "x");
        const auto whole = [&](const QByteArray& frames) {
            return "ID3" + QByteArray(1, v) + bytes("\0\0") + test::synchSafe(2000) + frames +
                   QByteArray(2000 - frames.size(), '\0');
        };
        const QByteArray name = title(version, "All");
        const QByteArray before =
            whole(first + third + other + second + list(version, {"a", "b", "c"}, name));
        const auto markers = [] {
            return std::vector{marker(0, "One"), marker(192000, "Two"), marker(384000, "Three")};
        };
        EXPECT_EQ(edited(before, markers()), before);

        // Another place: the chapter before it ends there, the others stay byte for byte.
        auto moved = markers();
        moved[1] = marker(240000, "Two");
        EXPECT_EQ(edited(before, moved),
                  whole(chapter(version, "a", 0, 5000, title(version, "One") + picture) + third + other +
                        chapter(version, "b", 5000, 8000, title(version, "Two")) +
                        list(version, {"a", "b", "c"}, name)));
        // Another name.
        auto renamed = markers();
        renamed[0] = marker(0, "Eins");
        EXPECT_EQ(edited(before, renamed),
                  whole(chapter(version, "a", 0, 4000, title(version, "Eins") + picture) + third + other +
                        second + list(version, {"a", "b", "c"}, name)));
        // Both at once: its number tells which it is.
        auto both = markers();
        both[0] = std::make_shared<AudioMarker>(1, 48000, QStringLiteral("Eins"));
        EXPECT_EQ(edited(before, both),
                  whole(chapter(version, "a", 1000, 4000, title(version, "Eins") + picture) + third + other +
                        second + list(version, {"a", "b", "c"}, name)));
        // One less, and one more, in front of which another chapter ends.
        EXPECT_EQ(edited(before, {markers()[0], markers()[2]}),
                  whole(chapter(version, "a", 0, 8000, title(version, "One") + picture) + third + other +
                        list(version, {"a", "c"}, name)));
        auto more = markers();
        more.push_back(marker(48000, "New"));
        EXPECT_EQ(edited(before, more),
                  whole(chapter(version, "a", 0, 1000, title(version, "One") + picture) + third + other +
                        second + list(version, {"a", "chp1", "b", "c"}, name) +
                        chapter(version, "chp1", 1000, 4000, title(version, "New"))));
        // All of them; other frames stay.
        EXPECT_EQ(edited(before, {}), whole(other));
    }
}

TEST(Id3ChaptersTest, ATagWithoutChaptersGetsThemWithAList)
{
    const QByteArray name = test::version3Frame("TIT2", bytes("\0T"));
    const QByteArray whole = tag(3, name);
    EXPECT_EQ(edited(whole, {}), whole);
    const QByteArray found = edited(whole, {marker(48000, "Two"), marker(0, "One")});
    const QByteArray frames = list(3, {"chp1", "chp2"}) + chapter(3, "chp1", 0, 1000, title(3, "One"));
    EXPECT_TRUE(found.sliced(10 + name.size()).startsWith(frames.first(10))) << "a list comes first";
    const MarkerList again = Id3Chapters::markers(found, 48000.0);
    ASSERT_TRUE(again && again->size() == 2);
    EXPECT_EQ(again->back()->name(), "Two");
    EXPECT_EQ(again->back()->position(), 48000);
    // The count of a list has one byte.
    std::vector<AudioMarkerPtr> many;
    for (int i = 0; i < 300; ++i)
        many.push_back(marker(48 * i, "x"));
    const QByteArray large = edited(whole, many);
    EXPECT_FALSE(large.contains("CTOC"));
    EXPECT_EQ(Id3Chapters::markers(large, 48000.0)->size(), 300U);
    EXPECT_FALSE(Id3Chapters::canHold(tag(2, QByteArray("TT2\0\0\2\0x", 8))));
}

TEST(Id3ChaptersTest, SaysWhatNoMarkerHolds)
{
    const auto holdsMore = [](const QByteArray& frame) {
        return Id3Chapters::holdsMore(frame.first(4), frame.sliced(10));
    };
    EXPECT_EQ(holdsMore(chapter(3, "a", 0, 1, title(3, "x"))), false);
    EXPECT_EQ(holdsMore(chapter(4, "a", 0, 1, title(4, QByteArray(200, 'x')))), false);
    EXPECT_EQ(holdsMore(chapter(3, "a", 0, 1, title(3, "x") + frame(3, "APIC", "x"))), true);
    EXPECT_EQ(holdsMore(list(3, {"a", "b"})), false);
    EXPECT_EQ(holdsMore(list(3, {"a"}, title(3, "All"))), true);
    EXPECT_EQ(holdsMore(frame(3, "CTOC", bytes("a\0\3\2b\0"))), std::nullopt);
}

} // namespace
} // namespace velloria
