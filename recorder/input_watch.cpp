#include "recorder/input_watch.h"

#include "hdmirx/hdmirx.h"
#include "hdmitx/hdmitx.h"
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
    return gone;
}

void restart_unblank_delay()
{
    timer_start(&unblank_timer);
}

} // namespace capd
