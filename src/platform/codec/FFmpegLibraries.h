#pragma once

#include "platform/Error.h"

#include <memory>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/channel_layout.h>
#include <libavutil/log.h>
#include <libavutil/mem.h>
}

#define VELLORIA_AVFORMAT_FUNCTIONS(F)                                                                       \
    F(av_find_input_format)                                                                                  \
    F(av_interleaved_write_frame)                                                                            \
    F(av_probe_input_format3)                                                                                \
    F(av_read_frame)                                                                                         \
    F(av_write_trailer)                                                                                      \
    F(avformat_alloc_context)                                                                                \
    F(avformat_alloc_output_context2)                                                                        \
    F(avformat_close_input)                                                                                  \
    F(avformat_find_stream_info)                                                                             \
    F(avformat_free_context)                                                                                 \
    F(avformat_index_get_entries_count)                                                                      \
    F(avformat_index_get_entry)                                                                              \
    F(avformat_new_stream)                                                                                   \
    F(avformat_open_input)                                                                                   \
    F(avformat_seek_file)                                                                                    \
    F(avformat_write_header)                                                                                 \
    F(avio_alloc_context)                                                                                    \
    F(avio_context_free)

#define VELLORIA_AVCODEC_FUNCTIONS(F)                                                                        \
    F(av_packet_alloc)                                                                                       \
    F(av_packet_clone)                                                                                       \
    F(av_packet_free)                                                                                        \
    F(av_packet_get_side_data)                                                                               \
    F(av_packet_rescale_ts)                                                                                  \
    F(av_packet_unref)                                                                                       \
    F(avcodec_alloc_context3)                                                                                \
    F(avcodec_find_decoder)                                                                                  \
    F(avcodec_find_decoder_by_name)                                                                          \
    F(avcodec_find_encoder)                                                                                  \
    F(avcodec_free_context)                                                                                  \
    F(avcodec_open2)                                                                                         \
    F(avcodec_parameters_from_context)                                                                       \
    F(avcodec_parameters_to_context)                                                                         \
    F(avcodec_receive_frame)                                                                                 \
    F(avcodec_receive_packet)                                                                                \
    F(avcodec_send_frame)                                                                                    \
    F(avcodec_send_packet)

#define VELLORIA_AVUTIL_FUNCTIONS(F)                                                                         \
    F(av_channel_layout_default)                                                                             \
    F(av_dict_free)                                                                                          \
    F(av_dict_get)                                                                                           \
    F(av_dict_set)                                                                                           \
    F(av_frame_alloc)                                                                                        \
    F(av_frame_free)                                                                                         \
    F(av_frame_get_buffer)                                                                                   \
    F(av_frame_unref)                                                                                        \
    F(av_free)                                                                                               \
    F(av_log_set_level)                                                                                      \
    F(av_malloc)                                                                                             \
    F(av_max_alloc)

namespace velloria
{

/// FFmpeg's functions, by their own names. The libraries are opened when the first of them is needed, because
/// loading them (with some hundred others) takes about 30 ms, which every start of the program would pay
/// otherwise. They stay loaded. Any thread.
///
/// Loading also silences FFmpeg's own messages and limits any one allocation of it, so that a damaged file
/// cannot ask for gigabytes.
struct FFmpegLibraries {
// A name that is being declared cannot stand in parentheses. NOLINTNEXTLINE(bugprone-macro-parentheses)
#define VELLORIA_DECLARE(function) decltype(&::function) function = nullptr;
    VELLORIA_AVFORMAT_FUNCTIONS(VELLORIA_DECLARE)
    VELLORIA_AVCODEC_FUNCTIONS(VELLORIA_DECLARE)
    VELLORIA_AVUTIL_FUNCTIONS(VELLORIA_DECLARE)
#undef VELLORIA_DECLARE

    /// Null, with `error` filled, when the libraries of the version that this was compiled for are missing.
    static const FFmpegLibraries* load(MaybeError* error);
    /// For code that can only be reached after load() succeeded.
    static const FFmpegLibraries& loaded();
};

/// FFmpeg's objects, freed by its own functions.
struct FFmpegDeleter {
    void operator()(AVPacket* packet) const { FFmpegLibraries::loaded().av_packet_free(&packet); }
    void operator()(AVFrame* frame) const { FFmpegLibraries::loaded().av_frame_free(&frame); }
    void operator()(AVCodecContext* codec) const { FFmpegLibraries::loaded().avcodec_free_context(&codec); }
};
using AvPacketPtr = std::unique_ptr<AVPacket, FFmpegDeleter>;
using AvFramePtr = std::unique_ptr<AVFrame, FFmpegDeleter>;
using AvCodecContextPtr = std::unique_ptr<AVCodecContext, FFmpegDeleter>;

} // namespace velloria
