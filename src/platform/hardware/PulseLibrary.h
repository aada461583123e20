#pragma once

#include "platform/Error.h"

#include <pulse/pulseaudio.h>

#define VELLORIA_PULSE_FUNCTIONS(F)                                                                          \
    F(pa_channel_map_init_extend)                                                                            \
    F(pa_context_connect)                                                                                    \
    F(pa_context_disconnect)                                                                                 \
    F(pa_context_errno)                                                                                      \
    F(pa_context_get_server_info)                                                                            \
    F(pa_context_get_sink_info_list)                                                                         \
    F(pa_context_get_source_info_list)                                                                       \
    F(pa_context_get_state)                                                                                  \
    F(pa_context_new_with_proplist)                                                                          \
    F(pa_context_rttime_new)                                                                                 \
    F(pa_context_set_source_volume_by_name)                                                                  \
    F(pa_context_set_state_callback)                                                                         \
    F(pa_context_set_subscribe_callback)                                                                     \
    F(pa_context_subscribe)                                                                                  \
    F(pa_context_unref)                                                                                      \
    F(pa_cvolume_avg)                                                                                        \
    F(pa_cvolume_set)                                                                                        \
    F(pa_operation_unref)                                                                                    \
    F(pa_proplist_free)                                                                                      \
    F(pa_proplist_new)                                                                                       \
    F(pa_proplist_sets)                                                                                      \
    F(pa_rtclock_now)                                                                                        \
    F(pa_stream_begin_write)                                                                                 \
    F(pa_stream_cancel_write)                                                                                \
    F(pa_stream_connect_playback)                                                                            \
    F(pa_stream_connect_record)                                                                              \
    F(pa_stream_disconnect)                                                                                  \
    F(pa_stream_drain)                                                                                       \
    F(pa_stream_drop)                                                                                        \
    F(pa_stream_get_latency)                                                                                 \
    F(pa_stream_get_state)                                                                                   \
    F(pa_stream_new_with_proplist)                                                                           \
    F(pa_stream_peek)                                                                                        \
    F(pa_stream_readable_size)                                                                               \
    F(pa_stream_set_overflow_callback)                                                                       \
    F(pa_stream_set_read_callback)                                                                           \
    F(pa_stream_set_state_callback)                                                                          \
    F(pa_stream_set_underflow_callback)                                                                      \
    F(pa_stream_set_write_callback)                                                                          \
    F(pa_stream_unref)                                                                                       \
    F(pa_stream_write)                                                                                       \
    F(pa_strerror)                                                                                           \
    F(pa_threaded_mainloop_free)                                                                             \
    F(pa_threaded_mainloop_get_api)                                                                          \
    F(pa_threaded_mainloop_lock)                                                                             \
    F(pa_threaded_mainloop_new)                                                                              \
    F(pa_threaded_mainloop_signal)                                                                           \
    F(pa_threaded_mainloop_start)                                                                            \
    F(pa_threaded_mainloop_stop)                                                                             \
    F(pa_threaded_mainloop_unlock)                                                                           \
    F(pa_threaded_mainloop_wait)

namespace velloria
{

/// libpulse's functions, by their own names. The library is opened when the first of them is needed: most
/// runs of the program never make a sound. It stays loaded. Any thread.
struct PulseLibrary {
// A name that is being declared cannot stand in parentheses. NOLINTNEXTLINE(bugprone-macro-parentheses)
#define VELLORIA_DECLARE(function) decltype(&::function) function = nullptr;
    VELLORIA_PULSE_FUNCTIONS(VELLORIA_DECLARE)
#undef VELLORIA_DECLARE

    /// Null, with `error` filled, when the library is missing.
    static const PulseLibrary* load(MaybeError* error);
};

} // namespace velloria
