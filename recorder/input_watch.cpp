#include "recorder/input_watch.h"

#include "hdmirx/hdmirx.h"
#include "hdmirx/hdmirx_picture.h"
#include "hdmitx/hdmitx.h"
#include "recorder/corrections.h"
#include "recorder/state.h"
#include "recorder/timer.h"

#include <cstdlib>

namespace capd {

namespace {

constexpr uint64_t BLANK_DELAY_US = 1; // due at the first look after the start, one check later
constexpr uint64_t UNBLANK_DELAY_US = 300'000;
constexpr int NO_RESULT = 0xFFFF; // of the check, so that the first one counts as a change

bool stable;
int last_result = NO_RESULT;
Timer blank_timer;
Timer unblank_timer;

/** What of an input the encoder is configured for. */
struct Format {
    int32_t width, height, interlaced, rate;

    /** The rate is counted coarsely: one count more or less can make 24 Hz of 25. */
    bool is_like(const Format& other) const
    {
        return width == other.width && height == other.height && interlaced == other.interlaced &&
               std::abs(rate - other.rate) <= RATE_TOLERANCE;
    }
    static constexpr int RATE_TOLERANCE = 2;
};
Format recorded;    // what the encoder is configured for
Format last_format; // of the last stable check

Format format_of(const hdmirx_info& info)
{
    return {info.active_width, info.active_height, info.interlaced, info.frame_rate};
}

void input_came()
{
    stable = true;
    timer_reset(&blank_timer);
    timer_start(&unblank_timer);
}

void input_stays()
{
    if (timer_expired(&unblank_timer, UNBLANK_DELAY_US) != 1) return;
    hdmitx_unblank();
    timer_reset(&unblank_timer);
}

void input_went()
{
    stable = false;
    timer_reset(&unblank_timer);
    timer_start(&blank_timer);
}

void follow_input()
{
    hdmirx_picture picture{};
    if (!hdmirx_get_picture(picture)) return;
    hdmitx_follow({picture.pixel_clock_hz, picture.vic, picture.repetition, picture.wide, picture.itu709});
}

/** Look at a stable input. @return whether it is another one than is recorded, two checks in a row */
bool has_changed_format()
{
    hdmirx_info info{};
    if (hdmirx_get_info(0, &info, 0) != 0) return false;
    const Format seen = format_of(info);
    const bool sure = seen.is_like(last_format);
    last_format = seen;
    if (!sure || seen.is_like(recorded)) return false;
    recorded = seen;
    hdmirx_take_picture();
    return true;
}

/** @return whether it has just been found to be gone for good */
bool input_stays_away()
{
    if (timer_expired(&blank_timer, BLANK_DELAY_US) != 1) return false;
    hdmitx_blank();
    timer_reset(&blank_timer);
    return true;
}

} // namespace

bool input_is_stable()
{
    return stable;
}

void watch_format(const hdmirx_info& info)
{
    recorded = format_of(info);
}

bool check_input()
{
    const int result = hdmirx_is_stable(0);
    const bool same = result == last_result;
    bool gone = false;
    if (result == 0) {
        if (same)
            input_stays();
        else
            input_came();
    } else if (same) {
        gone = input_stays_away();
    } else {
        input_went();
    }
    last_result = result;
    // A source may change its format between two checks; the encoder would go on with the old one.
    if (recorder_corrections.formats && result == 0) {
        gone = recorder_state() == STATE_RECORDING && has_changed_format();
        follow_input();
    }
    return gone;
}

void restart_unblank_delay()
{
    timer_start(&unblank_timer);
}

} // namespace capd
