#pragma once

#include "formats/comments/VorbisComments.h"
#include "formats/flac/FlacMetadataEdit.h"
#include "formats/flac/FlacStreamDecoder.h"
#include "formats/ledger/FileLedger.h"

#include <optional>

namespace velloria
{

/// How a run of FLAC frames is stored.
struct FlacFormat {
    uint32_t sampleRate = 0;
    uint32_t numChannels = 0;
    uint32_t bitsPerSample = 0;

    bool operator==(const FlacFormat&) const = default;
};

/// What the metadata of a FLAC file say.
struct FlacDescription {
    FlacStreamDecoder::Container container;
    FlacFormat format;
    /// 0 when the program that wrote the file did not know.
    int64_t numFrames = 0;
    /// Of the samples; empty when there is none.
    QByteArray md5;
    VorbisComments comments;
    /// The metadata behind the description of the sound; nothing where they cannot be told apart.
    std::optional<FlacMetadataEdit::Blocks> blocks;
    /// Of everything in the file but the tags' contents.
    FileLedger ledger;
    /// False when some of the metadata could not be read.
    bool isComplete = false;

    /// The container, when the file begins like FLAC (tags may stand before it, and the metadata may be
    /// missing) or FLAC in Ogg.
    static std::optional<FlacStreamDecoder::Container> containerOf(const FileHandle& handle);

    /// Reads the metadata; nothing, with `why` filled ("its ... is missing"), when they do not describe
    /// sound.
    static std::optional<FlacDescription> read(const std::shared_ptr<const FileHandle>& handle,
                                               FlacStreamDecoder::Container container, QString* why);
};

} // namespace velloria
