#include "recorder/input_watch.h"

#include "hdmirx/hdmirx.h"
#include "hdmirx/hdmirx_picture.h"
#include "hdmitx/hdmitx.h"
#include "recorder/corrections.h"
#include "recorder/timer.h"

namespace capd {

namespace {

constexpr uint64_t BLANK_DELAY_US = 1; // due at the first look after the start, one check later
constexpr uint64_t UNBLANK_DELAY_US = 300'000;
constexpr int NO_RESULT = 0xFFFF; // of the check, so that the first one counts as a change

bool stable;
int last_result = NO_RESULT;
Timer blank_timer;
Timer unblank_timer;

/** What the encoder is configured for. */
struct Format {
    int32_t width, height, interlaced, rate;

    bool operator==(const Format&) const = default;
};
Format format;      // of the last two stable checks
Format last_format; // of the last one

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

/** Look at a stable input. @return whether its format has become another one since it was last sure */
bool has_changed_format()
{
    hdmirx_info info{};
    hdmirx_get_info(0, &info, 0);
    const Format seen = {info.active_width, info.active_height, info.interlaced, info.frame_rate};
    const bool sure = seen == last_format;
    last_format = seen;
    if (!sure || seen == format) return false;
    const bool first = format == Format{};
    format = seen;
    return !first;
}

/** @return whether it has just been found to be gone for good */
bool input_stays_away()
{
    if (timer_expired(&blank_timer, BLANK_DELAY_US) != 1) return false;
    hdmitx_blank();
    timer_reset(&blank_timer);
    format = {}; // whatever comes next is recorded as what it is
    return true;
}

} // namespace

bool input_is_stable()
{
    return stable;
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
        follow_input();
        gone = has_changed_format();
    }
    return gone;
}

void restart_unblank_delay()
{
    timer_start(&unblank_timer);
}

} // namespace capd
