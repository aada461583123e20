#pragma once

#include <lame/lame.h>

#define VELLORIA_LAME_FUNCTIONS(F)                                                                           \
    F(get_lame_short_version)                                                                                \
    F(lame_close)                                                                                            \
    F(lame_encode_buffer_float)                                                                              \
    F(lame_encode_flush)                                                                                     \
    F(lame_get_brate)                                                                                        \
    F(lame_get_encoder_delay)                                                                                \
    F(lame_get_frameNum)                                                                                     \
    F(lame_get_framesize)                                                                                    \
    F(lame_get_lowpassfreq)                                                                                  \
    F(lame_get_mode)                                                                                         \
    F(lame_get_out_samplerate)                                                                               \
    F(lame_get_scale)                                                                                        \
    F(lame_init)                                                                                             \
    F(lame_init_params)                                                                                      \
    F(lame_set_bWriteVbrTag)                                                                                 \
    F(lame_set_brate)                                                                                        \
    F(lame_set_debugf)                                                                                       \
    F(lame_set_disable_reservoir)                                                                            \
    F(lame_set_error_protection)                                                                             \
    F(lame_set_errorf)                                                                                       \
    F(lame_set_in_samplerate)                                                                                \
    F(lame_set_mode)                                                                                         \
    F(lame_set_no_short_blocks)                                                                              \
    F(lame_set_msgf)                                                                                         \
    F(lame_set_num_channels)                                                                                 \
    F(lame_set_out_samplerate)                                                                               \
    F(lame_set_write_id3tag_automatic)

namespace velloria
{

/// The functions of libmp3lame, by their own names. The library is looked for when an MP3 file is saved for
/// the first time; not everybody has it, and nothing else needs it. It stays loaded. Any thread.
struct LameLibrary {
// A name that is being declared cannot stand in parentheses. NOLINTNEXTLINE(bugprone-macro-parentheses)
#define VELLORIA_DECLARE(function) decltype(&::function) function = nullptr;
    VELLORIA_LAME_FUNCTIONS(VELLORIA_DECLARE)
#undef VELLORIA_DECLARE

    /// Null when it is not installed or lacks a function.
    static const LameLibrary* load();
};

} // namespace velloria
