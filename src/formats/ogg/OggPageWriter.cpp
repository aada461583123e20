#include "formats/ogg/OggPageWriter.h"

namespace velloria
{

OggPageWriter::OggPageWriter(std::shared_ptr<FileHandle> handle, int serialNumber)
    : mWriter(std::move(handle))
{
    ogg_stream_init(&mStream, serialNumber);
}

OggPageWriter::~OggPageWriter()
{
    ogg_stream_clear(&mStream);
}

void OggPageWriter::add(ogg_packet& packet)
{
    ogg_stream_packetin(&mStream, &packet);
    ogg_page page;
    while (ogg_stream_pageout(&mStream, &page))
        writeOggPage(page);
}

void OggPageWriter::endPage()
{
    ogg_page page;
    while (ogg_stream_flush(&mStream, &page))
        writeOggPage(page);
}

MaybeError OggPageWriter::finish()
{
    endPage();
    return mWriter.finish();
}

void OggPageWriter::writeOggPage(const ogg_page& page)
{
    mWriter.write(std::as_bytes(std::span(page.header, static_cast<size_t>(page.header_len))));
    mWriter.write(std::as_bytes(std::span(page.body, static_cast<size_t>(page.body_len))));
}

} // namespace velloria
