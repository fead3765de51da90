#include "recorder/state.h"

#include "recorder/corrections.h"
#include "recorder/selection.h"
#include "recorder/timer.h"

#include <atomic>

namespace capd {

namespace {

constexpr uint64_t RESTART_US = 1'000'000;
constexpr uint64_t AUTO_STOP_US = 10'000'000;
constexpr uint64_t STATUS_CHECK_US = 5'000'000;
constexpr int64_t STATUS_CHECK_S = 4; // a check every five seconds: more than four must have passed

std::atomic<RecorderState> state{STATE_IDLE};
static_assert(decltype(state)::is_always_lock_free);

int64_t last_status_check; // seconds; 0: due
Timer status_timer;
Timer auto_stop_timer;
Timer restart_timer; // since the last try

} // namespace

RecorderState recorder_state()
{
    return state.load(std::memory_order_relaxed);
}

void enter_state(RecorderState next)
{
    state.store(next, std::memory_order_relaxed);
    if (next == STATE_POWER_OFF) return;
    last_status_check = 0;
    begin_status_period();
    panel_set(recording_led(), next == STATE_RECORDING ? LED_ON : LED_OFF);
    if (next == STATE_AUTO_STOPPED) timer_start(&auto_stop_timer);
    timer_reset(&restart_timer);
}

void begin_status_period()
{
    timer_start(&status_timer);
}

bool status_check_due(int64_t now)
{
    // At once there is no file to be looked at: the encoder is still on its way.
    if (recorder_corrections.pace) return timer_expired(&status_timer, STATUS_CHECK_US) == 1;
    if (now - last_status_check <= STATUS_CHECK_S) return false;
    last_status_check = now;
    return true;
}

bool restart_is_due()
{
    // A try that fails mounts and unmounts the card, and in every pass the loop does nothing else.
    if (!recorder_corrections.pace) return true;
    const int r = timer_expired(&restart_timer, RESTART_US);
    if (r == -1) timer_start(&restart_timer);
    return r != 0;
}

void show_error(RecorderError error)
{
    // The LED blinks for as long as the input is waited for; each failed try would make it stumble.
    if (recorder_corrections.panel && recorder_state() == STATE_AUTO_STOPPED) return;
    panel_set(PANEL_ERROR, static_cast<int>(error));
}

bool auto_stop_is_over()
{
    return timer_expired(&auto_stop_timer, AUTO_STOP_US) == 1;
}

} // namespace capd
