#pragma once

#include <rubberband/rubberband-c.h>

#define VELLORIA_RUBBERBAND_FUNCTIONS(F)                                                                     \
    F(rubberband_available)                                                                                  \
    F(rubberband_delete)                                                                                     \
    F(rubberband_get_preferred_start_pad)                                                                    \
    F(rubberband_get_samples_required)                                                                       \
    F(rubberband_get_start_delay)                                                                            \
    F(rubberband_new)                                                                                        \
    F(rubberband_process)                                                                                    \
    F(rubberband_retrieve)                                                                                   \
    F(rubberband_set_default_debug_level)                                                                    \
    F(rubberband_set_formant_option)                                                                         \
    F(rubberband_set_max_process_size)                                                                       \
    F(rubberband_set_pitch_scale)                                                                            \
    F(rubberband_set_time_ratio)                                                                             \
    F(rubberband_study)

namespace velloria
{

/// The functions of Rubber Band, which is opened at first use.
class RubberBandLibrary
{
public:
    /// Null, with a log line, when the library is missing.
    static const RubberBandLibrary* get();

// A name that is being declared cannot stand in parentheses. NOLINTNEXTLINE(bugprone-macro-parentheses)
#define VELLORIA_DECLARE(function) decltype(&::function) function = nullptr;
    VELLORIA_RUBBERBAND_FUNCTIONS(VELLORIA_DECLARE)
#undef VELLORIA_DECLARE

private:
    bool open();
};

} // namespace velloria
