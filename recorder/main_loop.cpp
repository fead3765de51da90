#include "recorder/main_loop.h"

#include "hdmirx/hdmirx.h"
#include "hdmitx/hdmitx.h"
#include "platform/platform.h"
#include "recorder/card.h"
#include "recorder/card_slot.h"
#include "recorder/keys.h"
#include "recorder/log.h"
#include "recorder/recording.h"
#include "recorder/self_test.h"
#include "recorder/status.h"
#include "services/encoder.h"
#include "services/key_input.h"
#include "services/storage.h"

#include <cstdio>
#include <cstring>

namespace capd {

constexpr uint64_t INPUT_POLL_US = 20'000;
constexpr uint64_t STABILITY_US = 80'000;
constexpr uint64_t OUTPUT_POLL_US = 100'000;
constexpr uint64_t OUTPUT_TICK_US = 500'000;
constexpr uint64_t KEY_POLL_US = 100'000;

constexpr uint64_t BLANK_DELAY_US = 1; // due at the first look after the start, one check later
constexpr uint64_t UNBLANK_DELAY_US = 300'000;
constexpr uint64_t AUTO_STOP_US = 10'000'000;
constexpr int64_t STATUS_CHECK_S = 4; // a check every five seconds: more than four must have passed
constexpr uint32_t PASS_SLEEP_US = 1;

/** Outcomes of the recording status check; anything else but 0 is the result of the file-size query. */
enum StatusOutcome : int {
    OUTCOME_NONE = 0,
    OUTCOME_MAX_DURATION = 253,
    OUTCOME_MAX_SIZE = 254,
    OUTCOME_HARD_LIMIT = 255,
};

int _key_poll()
{
    if (settings.test_sequence == -1) return keyinput_get_key();
    self_test_run();
    return 0;
}

static void input_came()
{
    status.input_stable = 1;
    timer_reset(&status.blank_timer);
    timer_start(&status.unblank_timer);
}

static void input_stays()
{
    if (timer_expired(&status.unblank_timer, UNBLANK_DELAY_US) != 1) return;
    hdmitx_unblank();
    timer_reset(&status.unblank_timer);
}

static void input_went()
{
    status.input_stable = 0;
    timer_reset(&status.unblank_timer);
    timer_start(&status.blank_timer);
}

static void input_stays_away()
{
    if (timer_expired(&status.blank_timer, BLANK_DELAY_US) != 1) return;
    hdmitx_blank();
    timer_reset(&status.blank_timer);
    _auto_stop();
}

/** Blank the output and stop a recording when two checks in a row find the input gone; unblank once it is back. */
static void check_stability()
{
    const int r = hdmirx_is_stable(0);
    if (r == 0) {
        if (status.last_stable_result != 0)
            input_came();
        else
            input_stays();
    } else {
        if (r != status.last_stable_result)
            input_went();
        else
            input_stays_away();
    }
    status.last_stable_result = r;
}

/** Compare what the recording has taken with the limits, and show the free space that is left. */
static int compare_with_limits(const char* function, uint32_t file_kb, uint32_t seconds)
{
    const uint32_t free_kb = status.sddisk_available_kb - file_kb;
    _storage_led_bar_update(free_kb);
    if (free_kb < settings.storage_hard_limit) {
        CAPD_LOG_AS(function, LOG_NOTICE, "Storage hard limit reached\n");
        return OUTCOME_HARD_LIMIT;
    }
    if (file_kb > settings.max_file_size) {
        CAPD_LOG_AS(function, LOG_NOTICE, "Max file size reached\n");
        return OUTCOME_MAX_SIZE;
    }
    if (seconds > settings.max_file_duration) {
        CAPD_LOG_AS(function, LOG_NOTICE, "Max time for recording reached\n");
        return OUTCOME_MAX_DURATION;
    }
    return OUTCOME_NONE;
}

static void print_status_line(uint32_t file_kb, uint32_t seconds)
{
    const char* path = status.output_filename.data();
    const char* slash = strrchr(path, '/');
    const uint32_t free_kb = status.sddisk_available_kb - file_kb;
    printf("\n%s | %.2dm%.2ds | %luMB | %luMB ", slash != nullptr ? slash + 1 : path, static_cast<int>(seconds / 60),
           static_cast<int>(seconds % 60), static_cast<unsigned long>(file_kb >> 10),
           static_cast<unsigned long>(free_kb >> 10));
    fflush(stdout); // the line has no line feed at its end
}

/** Examine the recording's file. @return a StatusOutcome, or the result of the file-size query */
static int _filesize_storage_check()
{
    const auto seconds = static_cast<uint32_t>(av_rec_elapsed_ms() / 1000);
    unsigned long size = 0;
    uint32_t file_kb = 0;
    int outcome = storage_get_file_size(status.output_filename.data(), &size);
    if (outcome == 0) {
        file_kb = static_cast<uint32_t>(size >> 10);
        outcome = compare_with_limits(__func__, file_kb, seconds);
    } else {
        CAPD_LOG(LOG_INFO, "storage_get_file_size failed: %d\n", outcome);
    }
    print_status_line(file_kb, seconds);
    return outcome;
}

static void state_idle_run()
{
    const int r = _check_storage_event();
    if (r != 0) CAPD_LOG(LOG_WARNING, "state_*_run=%d\n", r);
}

static void state_recording_run()
{
    const int64_t now = platform::wall_seconds();
    _check_storage_event();
    if (now - status.last_status_check <= STATUS_CHECK_S) return;
    status.last_status_check = now;
    switch (_filesize_storage_check()) {
    case OUTCOME_MAX_SIZE:
    case OUTCOME_MAX_DURATION: _av_rec_stop_start(); break;
    case OUTCOME_HARD_LIMIT: _av_rec_stop(); break;
    default:
        if (av_rec_isok() != 0) {
            CAPD_LOG(LOG_WARNING, "av_rec_isok failed, stopping recording\n");
            _av_rec_stop();
        }
    }
}

static void state_auto_stopped_run()
{
    int r = _check_storage_event();
    if (timer_expired(&status.auto_stop_timer, AUTO_STOP_US) == 1) {
        panel_set(PANEL_ERROR, LED_OFF);
        set_recorder_state(STATE_IDLE);
    } else if (status.input_stable == 1) {
        CAPD_LOG(LOG_INFO, "Got stable input again, starting recording\n");
        r = _av_rec_start(1);
        if (r == 0) {
            panel_set(PANEL_ERROR, LED_OFF);
            set_recorder_state(STATE_RECORDING);
        }
    }
    if (r != 0) CAPD_LOG(LOG_WARNING, "state_*_run=%d\n", r);
}

static void run_state(int32_t state)
{
    switch (state) {
    case STATE_IDLE: state_idle_run(); break;
    case STATE_RECORDING: state_recording_run(); break;
    case STATE_AUTO_STOPPED: state_auto_stopped_run(); break;
    case STATE_POWER_OFF: break; // the card is not watched in standby
    default: break;
    }
}

static void poll_input()
{
    const int r = hdmirx_run();
    if (r != 0) CAPD_LOG_AS("main", LOG_WARNING, "hdmirx_run=%d\n", r);
}

static void poll_output()
{
    const int r = hdmitx_run();
    if (r != 0) CAPD_LOG_AS("main", LOG_WARNING, "hdmitx_run=%d\n", r);
}

static void poll_keys()
{
    const int key = _key_poll();
    if (key == KEYINPUT_NONE) return;
    _key_dispatch(key);
    _key_poll(); // a key pressed while the action ran is dropped: it was meant for the state before
}

LoopTimers main_loop_timers()
{
    Timer now;
    timer_start(&now);
    return {now, now, now, now, now};
}

void main_loop_pass(LoopTimers* timers)
{
    const int32_t state = recorder_state();
    if (timer_expired(&timers->input_poll, INPUT_POLL_US) == 1) poll_input();
    if (timer_expired(&timers->stability, STABILITY_US) == 1) check_stability();
    if (timer_expired(&timers->output_poll, OUTPUT_POLL_US) == 1) poll_output();
    if (timer_expired(&timers->output_tick, OUTPUT_TICK_US) == 1) timer_start(&status.unblank_timer);
    if (timer_expired(&timers->key_poll, KEY_POLL_US) == 1) poll_keys();
    if (recorder_state() != state) return;
    run_state(state);
    platform::sleep_us(PASS_SLEEP_US);
}

} // namespace capd
