#pragma once

#include <array>

namespace velloria::test
{

/// What a tag is called in each kind of file, and by the programs that read it there; null where it has no
/// name or the program does not know it. Vorbis comments have our key in capitals
/// and the world's beside it, which some programs call the same.
struct TagNames {
    const char* key;
    /// The frame of version 2.2, which we write, and that of the later versions, which we read.
    const char* id3Version2;
    const char* id3;
    const char* id3Exiftool;
    const char* id3Mediainfo;
    const char* mpeg4;
    const char* mpeg4Exiftool;
    const char* mpeg4Mediainfo;
    const char* vorbisExiftool;
    const char* vorbisMediainfo;
};

constexpr auto tagNames = std::to_array<TagNames>({
    {"title", "TT2", "TIT2", "Title", "Track", "©nam", "Title", "Track", "Title", "Title"},
    {"artist", "TP1", "TPE1", "Artist", "Performer", "©ART", "Artist", "Performer", "Artist", "Performer"},
    {"album artist", "TP2", "TPE2", "Band", "Album_Performer", "aART", "AlbumArtist", "Album_Performer",
     "AlbumArtist", "Album_Performer"},
    {"album", "TAL", "TALB", "Album", "Album", "©alb", "Album", "Album", "Album", "Album"},
    {"grouping", "TT1", "TIT1", "Grouping", "Grouping", "©grp", "Grouping", "Grouping", "Grouping",
     "GROUPING"},
    {"composer", "TCM", "TCOM", "Composer", "Composer", "©wrt", "Composer", "Composer", "Composer",
     "Composer"},
    {"comments", "COM", "COMM::eng", "Comment", "Comment", "©cmt", "Comment", "Comment", "Comments",
     "Comment"},
    {"year", "TYE", "TYER", "Year", "Recorded_Date", "©day", "ContentCreateDate", "Recorded_Date", "Year",
     "Recorded_Date"},
    {"genre", "TCO", "TCON", "Genre", "Genre", "©gen", "Genre", "Genre", "Genre", "Genre"},
    {"track number", "TRK", "TRCK", "Track", "Track_Position", "trkn", "TrackNumber", "Track_Position",
     nullptr, "TRACK_NUMBER"},
    {"disc number", "TPA", "TPOS", "PartOfSet", "Part_Position", "disk", "DiskNumber", "Part_Position",
     "DiscNumber", "DISC_NUMBER"},
    {"tempo", "TBP", "TBPM", "BeatsPerMinute", "BPM", "tmpo", "BeatsPerMinute", "BPM", "Tempo", "TEMPO"},
    {"advisory", "TAD", nullptr, nullptr, nullptr, "rtng", "Rating", "Rating", "Advisory", "ADVISORY"},
    {"compilation", "TCP", "TCMP", "Compilation", nullptr, "cpil", "Compilation", "Compilation",
     "Compilation", "COMPILATION"},
    {"gapless", "TGP", nullptr, nullptr, nullptr, "pgap", "PlayGap", nullptr, "Gapless", "GAPLESS"},
    {"podcast", "PCS", "PCST", nullptr, nullptr, "pcst", "Podcast", "Podcast", "Podcast", "PODCAST"},
    {"copyright", "TCR", "TCOP", "Copyright", "Copyright", "cprt", "Copyright", "Copyright", "Copyright",
     "Copyright"},
    {"director", "TP3", "TPE3", "Conductor", "Conductor", "©dir", "Director", "Director", "Director",
     "DIRECTOR"},
    {"format", "TMT", "TMED", "Media", "Media_type", "©fmt", "UserData_fmt", nullptr, "Format_", "FORMAT"},
    {"encoding application", "TSS", "TSSE", "EncoderSettings", nullptr, "©too", "Encoder",
     "Encoded_Application", "EncodingApplication", "ENCODING_APPLICATION"},
    {"purchase date", "TPD", "TPRD", nullptr, nullptr, "purd", "PurchaseDate", "PurchaseDate", "PurchaseDate",
     "PURCHASE_DATE"},
    {"category", "TCT", nullptr, nullptr, nullptr, "catg", "Category", "Category", "Category", "CATEGORY"},
    {"egid", "TID", "TGID", nullptr, nullptr, "egid", "EpisodeGlobalUniqueID", nullptr, "Egid", "EGID"},
    {"description", "TT3", "TIT3", "Subtitle", "Track_More", "desc", "Description", "Description",
     "Description", "Description"},
    {"long description", "TDS", "TDES", nullptr, nullptr, "ldes", "LongDescription", "LongDescription",
     "LongDescription", "LONG_DESCRIPTION"},
    {"keywords", "TKW", nullptr, nullptr, nullptr, "keyw", "Keyword", "Keyword", "Keywords", "KEYWORDS"},
    {"podcast url", "WFD", "WFED", nullptr, nullptr, "purl", "PodcastURL", nullptr, "PodcastUrl",
     "PODCAST_URL"},
    {"lyrics", "ULT", "USLT::eng", "Lyrics", "Lyrics", "©lyr", "Lyrics", "Lyrics", "Lyrics", "Lyrics"},
    {"isrc", "TRC", "TSRC", "ISRC", "ISRC", "----:com.apple.iTunes:ISRC", "ISRC", "ISRC", "ISRCNumber",
     "ISRC"},
});

} // namespace velloria::test
