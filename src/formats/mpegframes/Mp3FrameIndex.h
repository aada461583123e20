#pragma once

#include "formats/ledger/FileLedger.h"
#include "formats/mpegframes/Mp3Packet.h"
#include "platform/FileHandle.h"
#include "platform/codec/MpegAudioHead.h"

#include <QByteArray>
#include <memory>
#include <vector>

namespace velloria
{

/// Where each packet of an MP3 file's sound lies, and where its main data does: that begin up to 511 bytes in
/// front of the packet's own share of them, in what the packets before it left (the bit reservoir). Exists
/// only for files that can be cut at packets: Layer III of one rate and channel count throughout, with a bit
/// rate in every head, without a foreign byte among the packets. Immutable.
class Mp3FrameIndex
{
public:
    /// `packets` is where they lie in the file, the one with the encoder's notes included. Null where they
    /// are not as described above.
    static std::shared_ptr<const Mp3FrameIndex> ofFile(const FileHandle& handle, ByteRange packets);

    int64_t numPackets() const { return static_cast<int64_t>(mReservoirs.size()); }
    int64_t framesPerPacket() const { return mHead.framesPerPacket(); }
    /// Frames that decode in front of the sound, and all that decode of it, as readers believe the notes.
    int64_t primingFrames() const { return mPrimingFrames; }
    int64_t numFrames() const { return mNumFrames; }

    /// Where a packet begins in the file; numPackets() gives the end of the last one.
    int64_t offsetOf(int64_t packet) const { return mOffsets[static_cast<size_t>(packet)]; }
    int64_t bytesOf(int64_t packet) const { return offsetOf(packet + 1) - offsetOf(packet); }
    /// Bytes of main data in front of a packet's own share that it needs.
    int64_t reservoirOf(int64_t packet) const { return mReservoirs[static_cast<size_t>(packet)]; }
    /// Whether the packets before it have so many. The first ones of a file that was cut out of another
    /// one may not.
    bool hasReservoir(int64_t packet) const { return packet >= mNumPacketsWithoutReservoir; }
    Mp3Packet::Windows windowsOf(int64_t packet) const { return mWindows[static_cast<size_t>(packet)]; }
    /// What a packet needs of those before it; empty when the file cannot be read any more.
    QByteArray readReservoir(const FileHandle& handle, int64_t packet) const;

    /// What the heads have in common; the mode is joint stereo where one packet is.
    const MpegAudioHead& head() const { return mHead; }
    /// The standard bit rate of most use for new packets: that of all packets, or the one above their
    /// average, as an index.
    uint32_t bitRateIndex() const;
    /// The packet with the encoder's notes in front of the sound; empty where there is none.
    const QByteArray& infoPacket() const { return mInfoPacket; }

private:
    class Reader;

    void readNotes();
    void countReservoirs();

    MpegAudioHead mHead;
    QByteArray mInfoPacket;
    int64_t mPrimingFrames = 0;
    int64_t mNumFrames = 0;
    int64_t mNumPacketsWithoutReservoir = 0;
    /// One more than there are packets.
    std::vector<int64_t> mOffsets;
    std::vector<uint16_t> mReservoirs;
    std::vector<Mp3Packet::Windows> mWindows;
};

} // namespace velloria
