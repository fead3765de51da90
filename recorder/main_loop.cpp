#include "recorder/main_loop.h"

#include "hdmirx/hdmirx.h"
#include "hdmitx/hdmitx.h"
#include "platform/platform.h"
#include "recorder/daemon_settings.h"
#include "recorder/edid_passthrough.h"
#include "recorder/input_watch.h"
#include "recorder/keys.h"
#include "recorder/log.h"
#include "recorder/recording.h"
#include "recorder/recording_watch.h"
#include "recorder/self_test.h"
#include "recorder/state.h"
#include "services/key_input.h"

namespace capd {

constexpr uint64_t INPUT_POLL_US = 20'000;
constexpr uint64_t STABILITY_US = 80'000;
constexpr uint64_t OUTPUT_POLL_US = 100'000;
constexpr uint64_t OUTPUT_TICK_US = 500'000;
constexpr uint64_t KEY_POLL_US = 100'000;

constexpr uint32_t PASS_SLEEP_US = 1;

int _key_poll()
{
    if (settings.test_sequence == -1) return keyinput_get_key();
    self_test_run();
    return 0;
}

namespace {

bool gone_meanwhile; // found by serve_hdmi()

void poll_input()
{
    const int r = hdmirx_run();
    if (r != 0) CAPD_LOG_STEP(LOG_WARNING, "hdmirx_run=%d\n", r);
}

void poll_output()
{
    const int r = hdmitx_run();
    if (r != 0) CAPD_LOG_STEP(LOG_WARNING, "hdmitx_run=%d\n", r);
}

void poll_keys()
{
    const int key = _key_poll();
    if (key == KEYINPUT_NONE) return;
    _key_dispatch(key);
    _key_poll(); // a key pressed while the action ran is dropped: it was meant for the state before
}

} // namespace

LoopTimers main_loop_timers()
{
    Timer now;
    timer_start(&now);
    return {now, now, now, now, now};
}

void serve_hdmi()
{
    static Timer input_poll;
    static Timer output_poll;
    static Timer stability;
    if (timer_expired(&input_poll, INPUT_POLL_US) != 0) {
        timer_start(&input_poll); // the first time it was not running
        poll_input();
    }
    if (timer_expired(&output_poll, OUTPUT_POLL_US) != 0) {
        timer_start(&output_poll);
        poll_output();
    }
    if (timer_expired(&stability, STABILITY_US) != 0) {
        timer_start(&stability);
        gone_meanwhile |= check_input(); // ends the recording once there is one again
    }
}

void main_loop_pass(LoopTimers* timers)
{
    const RecorderState state = recorder_state();
    if (timer_expired(&timers->input_poll, INPUT_POLL_US) == 1) poll_input();
    if (timer_expired(&timers->stability, STABILITY_US) == 1 && (check_input() || gone_meanwhile)) {
        gone_meanwhile = false;
        _auto_stop();
    }
    if (timer_expired(&timers->output_poll, OUTPUT_POLL_US) == 1) {
        poll_output();
        edid_passthrough_retry();
    }
    if (timer_expired(&timers->output_tick, OUTPUT_TICK_US) == 1) restart_unblank_delay();
    if (timer_expired(&timers->key_poll, KEY_POLL_US) == 1) poll_keys();
    if (recorder_state() != state) return;
    run_state(state);
    platform::sleep_us(PASS_SLEEP_US);
}

} // namespace capd
