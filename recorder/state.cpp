#include "recorder/state.h"

#include "recorder/panel.h"
#include "recorder/selection.h"
#include "recorder/timer.h"

#include <atomic>

namespace capd {

namespace {

constexpr uint64_t AUTO_STOP_US = 10'000'000;
constexpr int64_t STATUS_CHECK_S = 4; // a check every five seconds: more than four must have passed

std::atomic<RecorderState> state{STATE_IDLE};
static_assert(decltype(state)::is_always_lock_free);

int64_t last_status_check; // seconds; 0: due
Timer auto_stop_timer;

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
    panel_set(recording_led(), next == STATE_RECORDING ? LED_ON : LED_OFF);
    if (next == STATE_AUTO_STOPPED) timer_start(&auto_stop_timer);
}

bool status_check_due(int64_t now)
{
    if (now - last_status_check <= STATUS_CHECK_S) return false;
    last_status_check = now;
    return true;
}

bool auto_stop_is_over()
{
    return timer_expired(&auto_stop_timer, AUTO_STOP_US) == 1;
}

} // namespace capd
