#include "formats/tags/Id3Frames.h"

#include <algorithm>
#include <array>

namespace velloria
{

namespace
{

using Kind = Id3FrameKind;

// Two version 2.3 IDs may share a key: TTSG, which some programs use in this way, and TDAT are read but
// never written. TDRC is where version 2.4 keeps the year, and TCMP where most players look for compilations.
constexpr auto frames = std::to_array<Id3Frame>({
    {u"artist", Kind::text, "TP1", "TPE1"},
    {u"album", Kind::text, "TAL", "TALB"},
    {u"tempo", Kind::text, "TBP", "TBPM"},
    {u"key signature", Kind::text, "TKE", "TKEY"},
    {u"time signature", Kind::text, "TSG", ""},
    {u"track number", Kind::text, "TRK", "TRCK"},
    {u"year", Kind::text, "TYE", "TYER"},
    {u"year", Kind::text, "", "TTSG"},
    {u"year", Kind::text, "", "TDRC"},
    {u"composer", Kind::text, "TCM", "TCOM"},
    {u"lyricist", Kind::text, "TXT", "TEXT"},
    {u"genre", Kind::text, "TCO", "TCON"},
    {u"title", Kind::text, "TT2", "TIT2"},
    {u"recorded date", Kind::text, "TRD", "TRDA"},
    {u"recorded date", Kind::text, "", "TDAT"},
    {u"copyright", Kind::text, "TCR", "TCOP"},
    {u"source encoder", Kind::text, "TEN", "TENC"},
    {u"encoding application", Kind::text, "TSS", "TSSE"},
    {u"grouping", Kind::text, "TT1", "TIT1"},
    {u"album artist", Kind::text, "TP2", "TPE2"},
    {u"director", Kind::text, "TP3", "TPE3"},
    {u"remixer", Kind::text, "TP4", "TPE4"},
    {u"publisher", Kind::text, "TPB", "TPUB"},
    {u"language", Kind::text, "TLA", "TLAN"},
    {u"disc number", Kind::text, "TPA", "TPOS"},
    {u"compilation", Kind::text, "TCP", "TCMP"},
    {u"format", Kind::text, "TMT", "TMED"},
    {u"original filename", Kind::text, "TOF", "TOFN"},
    {u"original album", Kind::text, "TOT", "TOAL"},
    {u"original artist", Kind::text, "TOA", "TOPE"},
    {u"original lyricist", Kind::text, "TOL", "TOLY"},
    {u"original release year", Kind::text, "TOR", "TORY"},
    {u"category", Kind::text, "TCT", "TCAT"},
    {u"description", Kind::text, "TT3", "TIT3"},
    {u"long description", Kind::text, "TDS", "TDES"},
    {u"keywords", Kind::text, "TKW", "TKWD"},
    {u"egid", Kind::text, "TID", "TGID"},
    {u"podcast url", Kind::url, "WFD", "WFED"},
    {u"podcast", Kind::podcastFlag, "PCS", "PCST"},
    {u"purchase date", Kind::text, "TPD", "TPRD"},
    {u"gapless", Kind::text, "TGP", ""},
    {u"advisory", Kind::text, "TAD", ""},
    {u"official audio file webpage", Kind::url, "WAF", ""},
    {u"official artist webpage", Kind::url, "WAR", ""},
    {u"official audio source webpage", Kind::url, "WAS", ""},
    {u"commercial information webpage", Kind::url, "WCM", ""},
    {u"copyright information webpage", Kind::url, "WCP", ""},
    {u"publishers official webpage", Kind::url, "WPB", ""},
    {u"comments", Kind::comment, "COM", "COMM"},
    {u"lyrics", Kind::comment, "ULT", "USLT"},
    {u"attached pictures", Kind::pictures, "PIC", "APIC"},
    {u"file length", Kind::text, "", "TLEN"},
    {u"file type", Kind::text, "", "TFLT"},
    {u"file owner", Kind::text, "", "TOWN"},
    {u"file size", Kind::text, "", "TSIZ"},
    {u"internet radio station name", Kind::text, "", "TRSN"},
    {u"internet radio station owner", Kind::text, "", "TRSO"},
    {u"published date", Kind::text, "", "TDRL"},
    {u"isrc", Kind::text, "TRC", "TSRC"},
});

} // namespace

std::span<const Id3Frame> id3Frames()
{
    return frames;
}

const Id3Frame* id3FrameForKey(const QString& key, int version)
{
    const bool isYearOfVersion4 = version == 4 && key == QStringLiteral("year");
    const auto* const found = std::find_if(frames.begin(), frames.end(), [&](const Id3Frame& frame) {
        if (isYearOfVersion4)
            return frame.version34ID == "TDRC";
        return frame.keyString() == key && !(version == 2 ? frame.version2ID : frame.version34ID).empty();
    });
    return found == frames.end() ? nullptr : found;
}

const Id3Frame* id3FrameWithID(QByteArrayView id)
{
    const std::string_view wanted(id.data(), static_cast<size_t>(id.size()));
    const auto* const found = std::find_if(frames.begin(), frames.end(), [&](const Id3Frame& frame) {
        return wanted == (wanted.size() == 3 ? frame.version2ID : frame.version34ID);
    });
    return found == frames.end() || wanted.empty() ? nullptr : found;
}

} // namespace velloria
