#pragma once

#include "platform/codec/MpegAudioHead.h"

#include <QByteArray>
#include <vector>

namespace velloria
{

/// The parts of a Layer III packet (ISO 11172-3 and 13818-3, 2.4.1.7 and 2.4.3.1): a head, a checksum where
/// there is one, the side information, and a share of the main data of this and later packets.
namespace Mp3Packet
{

/// How many bytes of main data stand in front of the packet's own share, from its head and the two bytes
/// behind head and checksum.
int64_t reservoirOf(const MpegAudioHead& head, const uint8_t* packet);

/// Which halves of its windows a packet shares with its neighbours. Only halves of one length overlap so that
/// the transform's aliasing cancels; around a transient they are short.
struct Windows {
    bool beginLong = true;
    bool endLong = true;
};
/// From the head and the side information, which stands behind checksum and head.
Windows windowsOf(const MpegAudioHead& head, const uint8_t* packet);

/// A packet that stands for itself: its side information with the reservoir left at 0, and its main data,
/// without what fills them up. `packet` is one that needs no reservoir.
struct Contents {
    MpegAudioHead head;
    QByteArray sideInfo;
    QByteArray mainData;
    Windows windows;
};
Contents contentsOf(const QByteArray& packet);
/// Nothing but silence, in a packet of the smallest standard bit rate.
Contents silence(const MpegAudioHead& like);

/// The packet with all that its head tells of the stream (checksum, copyright, mode, ...) as in another one,
/// and with the checksum made right. Bit rate, padding and the kind of joint stereo stay. A packet has a
/// checksum before where that other one has.
QByteArray withHeadLike(QByteArray packet, const MpegAudioHead& like);

/// Lays packets out behind one another so that the first of them needs nothing of what is in front, and
/// `reservoir` stands at the end of their main data, for the packet that follows. They get the smallest bit
/// rates in which this fits, but none below its own. Empty where it does not fit.
std::vector<QByteArray> layOut(const std::vector<Contents>& contents, const MpegAudioHead& like,
                               const QByteArray& reservoir);

/// The highest standard bit rate, up to an index, at which so many packets without a reservoir leave room for
/// one of the longest kind.
uint32_t bitRateIndexWithRoom(const MpegAudioHead& like, uint32_t highestIndex, int64_t numPackets);

} // namespace Mp3Packet

} // namespace velloria
