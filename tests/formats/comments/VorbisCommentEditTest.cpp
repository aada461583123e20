#include "formats/comments/VorbisCommentEdit.h"

#include "formats/comments/VorbisChapters.h"

#include <gtest/gtest.h>

namespace velloria
{

namespace
{

using Entries = QList<QByteArray>;

MarkerList markerList(const std::vector<AudioMarker>& markers)
{
    std::vector<AudioMarkerPtr> list;
    for (const AudioMarker& marker : markers)
        list.push_back(AudioMarker::markerWithMarker(marker));
    return std::make_shared<const std::vector<AudioMarkerPtr>>(std::move(list));
}

} // namespace

TEST(VorbisCommentEdit, WhatNobodyChangedStaysByteForByte)
{
    const Entries entries = {"Replaygain_Track_Gain=-7 dB",
                             "artist=one",
                             "TITLE=\xFFx",
                             "ARTIST=two",
                             "no equals",
                             "YEAR=1999",
                             "DATE=2004",
                             "TRACKNUMBER=03",
                             "TRACKTOTAL=012",
                             "BPM=120.5",
                             "=x",
                             "DISCNUMBER=A1",
                             "ARTIST=two",
                             "COMPOSER=",
                             "GENRE=17",
                             "CHAPTER001=x",
                             "METADATA_BLOCK_PICTURE=AAAA",
                             "ENCODER=it"};
    EXPECT_EQ(VorbisCommentEdit::withTags(entries, VorbisCommentEdit::tagsOf(entries)), entries);
    MetadataDictionary tags = VorbisCommentEdit::tagsOf(entries);
    EXPECT_EQ(tags.value("artist"), "one; two");
    tags["album"] = "New";
    EXPECT_EQ(VorbisCommentEdit::withTags(entries, tags), entries + Entries{"ALBUM=New"});
}

TEST(VorbisCommentEdit, AChangedValueStandsWhereTheOldOneStood)
{
    const struct {
        Entries before;
        QString key;
        QString value;
        Entries after;
    } cases[] = {
        {{"a=1", "Title=Old", "b=2"}, "title", "New", {"a=1", "Title=New", "b=2"}},
        {{"a=1", "Title=Old", "b=2"}, "title", "", {"a=1", "b=2"}},
        {{"a=1", "title="}, "title", "New", {"a=1", "title=New"}},
        // All spellings that hold it, one that said something else included.
        {{"Date=1999", "x=y", "YEAR=2001"}, "year", "2004", {"Date=2004", "x=y", "YEAR=2004"}},
        {{"DATE=1999"}, "year", "", {}},
        {{"x=y"}, "year", "2004", {"x=y", "YEAR=2004", "DATE=2004"}},
        // Several values of one name stay several.
        {{"ARTIST=a", "x=y", "artist=b"}, "artist", "a; c", {"ARTIST=a", "x=y", "artist=c"}},
        {{"ARTIST=a", "x=y", "artist=b"}, "artist", "c", {"ARTIST=c", "x=y"}},
        {{"ARTIST=a", "artist=b", "x=y"}, "artist", "a; b; c", {"ARTIST=a", "artist=b", "artist=c", "x=y"}},
        {{"ARTIST=a; b"}, "artist", "a; c", {"ARTIST=a; c"}},
        // Positions, whose totals may stand apart.
        {{"TRACKNUMBER=03", "x=y", "TRACKTOTAL=12"},
         "track number",
         "4/12",
         {"TRACKNUMBER=4", "x=y", "TRACKTOTAL=12"}},
        {{"TrackNumber=3/12"}, "track number", "3/13", {"TrackNumber=3/13"}},
        {{"TRACKNUMBER=3", "TRACK NUMBER=3/12", "totaltracks=12"},
         "track number",
         "4/13",
         {"TRACKNUMBER=4", "TRACK NUMBER=4/13", "totaltracks=13"}},
        {{"TRACKNUMBER=3", "x=y"}, "track number", "3/12", {"TRACKNUMBER=3", "TRACKTOTAL=12", "x=y"}},
        {{"TRACKNUMBER=3", "TRACKTOTAL=12"}, "track number", "3", {"TRACKNUMBER=3"}},
        {{"TRACKNUMBER=3", "TRACKTOTAL=12"}, "track number", "", {}},
        {{"TRACKTOTAL=12", "x=y"},
         "track number",
         "3/12",
         {"x=y", "TRACK NUMBER=3/12", "TRACKNUMBER=3", "TRACKTOTAL=12"}},
        {{"BPM=120.5"}, "tempo", "121", {"BPM=121"}},
        {{"GENRE=17"}, "genre", "Jazz", {"GENRE=Jazz"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.before.join(' ').toStdString() + " / " + c.value.toStdString());
        MetadataDictionary tags = VorbisCommentEdit::tagsOf(c.before);
        if (c.value.isEmpty())
            tags.remove(c.key);
        else
            tags[c.key] = c.value;
        const Entries after = VorbisCommentEdit::withTags(c.before, tags);
        EXPECT_EQ(after, c.after);
        EXPECT_EQ(VorbisCommentEdit::tagsOf(after), tags);
    }
}

TEST(VorbisChapters, AreMarkersAndGoBackToTheirPlaces)
{
    constexpr double rate = 48000.0;
    const Entries before = {"TITLE=x",          "chapter001=00:00:00.0005", "CHAPTER001NAME=Begin",
                            "CHAPTER001URL=u1", "Chapter002=01:00:01.250",  "CHAPTER003=01:00:02",
                            "Chapter003Name=C", "CHAPTER004NAME=alone",     "CHAPTER005=5 s",
                            "ARTIST=y"};
    const MarkerList read = VorbisChapters::read(before, rate);
    ASSERT_TRUE(read);
    ASSERT_EQ(read->size(), 3U);
    EXPECT_EQ((*read)[0]->position(), 24);
    EXPECT_EQ((*read)[1]->position(), 3601 * 48000 + 12000);
    EXPECT_EQ((*read)[1]->name(), "");
    EXPECT_EQ((*read)[2]->name(), "C");
    EXPECT_EQ(VorbisChapters::namesNotRead(before),
              QStringList({"chapter001url", "chapter004name", "chapter005"}));
    EXPECT_EQ(VorbisChapters::edited(before, read, rate), before);
    EXPECT_EQ(VorbisChapters::read({"TITLE=x", "CHAPTER1=00:00:01.000"}, rate), nullptr);

    const int64_t second = (*read)[1]->position();
    const int64_t third = (*read)[2]->position();
    // Within the millisecond, moved, named, renamed and without a name.
    EXPECT_EQ(
        VorbisChapters::edited(
            before, markerList({{2, 40, "Begin"}, {3, second + 48, "Second"}, {4, third + 1, ""}}), rate),
        Entries({"TITLE=x", "chapter001=00:00:00.0005", "CHAPTER001NAME=Begin", "CHAPTER001URL=u1",
                 "Chapter002=01:00:01.251", "Chapter002NAME=Second", "CHAPTER003=01:00:02",
                 "CHAPTER004NAME=alone", "CHAPTER005=5 s", "ARTIST=y"}));
    // One more, and one less: numbered anew, with what else was said of each.
    EXPECT_EQ(VorbisChapters::edited(before,
                                     markerList({{0, 4800, "New"}, {2, 24, "Begin"}, {4, third, "C"}}), rate),
              Entries({"TITLE=x", "CHAPTER001=00:00:00.0005", "CHAPTER001NAME=Begin", "CHAPTER001URL=u1",
                       "CHAPTER002=00:00:00.100", "CHAPTER002NAME=New", "CHAPTER003=01:00:02",
                       "CHAPTER003NAME=C", "CHAPTER004NAME=alone", "CHAPTER005=5 s", "ARTIST=y"}));
    EXPECT_EQ(VorbisChapters::edited({"CHAPTER000=00:00:00.000", "CHAPTER000NAME=a", "x=y"}, nullptr, rate),
              Entries({"x=y"}));
}

} // namespace velloria
