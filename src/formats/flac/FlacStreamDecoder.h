#pragma once

#include "platform/FileHandle.h"

#include <FLAC/stream_decoder.h>
#include <memory>

namespace velloria
{

/// libFLAC's decoder over an open file: FLAC, also behind tags, or FLAC in Ogg. Several may read one
/// handle at once. One thread at a time; what the library finds is told to the client from within the calls.
class FlacStreamDecoder
{
public:
    /// Whoever takes what is decoded.
    class Client
    {
    public:
        virtual ~Client() = default;
        /// channels[c] has frame.header.blocksize samples. False ends decoding.
        virtual bool didDecode(const FLAC__Frame& frame, const FLAC__int32* const channels[]) = 0;
        virtual void didReadMetadata(const FLAC__StreamMetadata&) {}
        virtual void didFail(FLAC__StreamDecoderErrorStatus status) = 0;
    };

    struct Container {
        bool isOgg = false;
        /// Of the stream in an Ogg file.
        long serialNumber = 0;
        /// Neither a name nor metadata stand in front of the first frame.
        bool isBare = false;
        /// Where the stream begins. The library knows of one ID3v2 tag in front of it, not of several.
        int64_t start = 0;
        /// Where an Ogg file goes on with other streams, which the library would take for damage; 0 when it
        /// does not.
        int64_t end = 0;
    };

    /// Whether the client is told of the metadata.
    enum class Metadata { told, skipped };

    /// Null, logged, when the library cannot be started. The client must outlive the decoder.
    static std::unique_ptr<FlacStreamDecoder> open(std::shared_ptr<const FileHandle> handle,
                                                   Container container, Metadata metadata, Client& client);

    /// True when all metadata were read and the first frame comes next.
    bool readMetadata();
    /// Goes on by one frame or a piece of metadata; false at the end, or when the client ended it.
    bool decodeNext();
    /// Goes to a frame number: the first block that comes then begins with it. False when it is not found.
    bool seek(int64_t frame);
    /// Bytes of the file that were read so far.
    int64_t position() const { return mPosition; }
    /// Where the frame that was decoded last ends; 0 before the first one, and in Ogg.
    int64_t endOfFrame() const { return mEndOfFrame; }

private:
    struct Callbacks;
    struct Deleter {
        void operator()(FLAC__StreamDecoder* decoder) const { FLAC__stream_decoder_delete(decoder); }
    };

    FlacStreamDecoder(std::shared_ptr<const FileHandle> handle, Container container, Client& client);
    FLAC__StreamDecoderInitStatus start(Container container, Metadata metadata);
    void noteGap();
    void noteEnd();

    std::shared_ptr<const FileHandle> mHandle;
    bool mIsOgg;
    int mNumFramesInStep = 0;
    Client& mClient;
    /// In the file, as all that is told; the library counts from the start.
    int64_t mStart = 0;
    int64_t mPosition = 0;
    int64_t mEndOfFrame = 0;
    int64_t mEnd = 0;
    /// Last, so that the library is gone before anything that it may call.
    std::unique_ptr<FLAC__StreamDecoder, Deleter> mDecoder;
};

} // namespace velloria
