#pragma once

#include "formats/streams/BufferedWriter.h"

#include <ogg/ogg.h>

namespace velloria
{

/// Puts the packets of one stream into pages and these into a file, from its start on. One thread at a time.
class OggPageWriter
{
public:
    explicit OggPageWriter(std::shared_ptr<FileHandle> handle, int serialNumber);
    ~OggPageWriter();
    OggPageWriter(const OggPageWriter&) = delete;
    OggPageWriter& operator=(const OggPageWriter&) = delete;

    /// Adds a packet; full pages are written.
    void add(ogg_packet& packet);
    /// Ends the page under way, so that the next packet begins one.
    void endPage();
    /// Writes what is left.
    MaybeError finish();
    const MaybeError& error() const { return mWriter.error(); }

private:
    void writeOggPage(const ogg_page& page);

    BufferedWriter mWriter;
    ogg_stream_state mStream = {};
};

} // namespace velloria
