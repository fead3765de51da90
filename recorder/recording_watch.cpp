#include "recorder/recording_watch.h"

#include "recorder/card.h"
#include "recorder/card_slot.h"
#include "recorder/daemon_settings.h"
#include "recorder/input_watch.h"
#include "recorder/log.h"
#include "recorder/panel.h"
#include "recorder/recording.h"
#include "recorder/state.h"
#include "services/encoder.h"
#include "services/period_clock.h"
#include "services/storage.h"

#include <cstdio>
#include <cstring>

namespace capd {

namespace {

/** What the status check of a recording finds. */
enum class Outcome : uint8_t {
    GoesOn,
    NoFile, ///< its size cannot be read
    MaxDuration,
    MaxSize,
    HardLimit,
};

/** Compare what the recording has taken with the limits, and show the free space that is left. */
Outcome compare_with_limits(uint32_t file_kb, uint32_t seconds)
{
    const uint32_t free_kb = _sddisk_free_kb(file_kb);
    _storage_led_bar_update(free_kb);
    if (free_space_is_known() && free_kb < settings.storage_hard_limit) {
        CAPD_LOG_STEP(LOG_NOTICE, "Storage hard limit reached\n");
        return Outcome::HardLimit;
    }
    if (file_kb > settings.max_file_size) {
        CAPD_LOG_STEP(LOG_NOTICE, "Max file size reached\n");
        return Outcome::MaxSize;
    }
    if (seconds > settings.max_file_duration) {
        CAPD_LOG_STEP(LOG_NOTICE, "Max time for recording reached\n");
        return Outcome::MaxDuration;
    }
    return Outcome::GoesOn;
}

void print_status_line(uint32_t file_kb, uint32_t seconds)
{
    const char* path = output_filename();
    const char* slash = strrchr(path, '/');
    printf("\n%s | %.2dm%.2ds | %luMB | ", slash != nullptr ? slash + 1 : path, static_cast<int>(seconds / 60),
           static_cast<int>(seconds % 60), static_cast<unsigned long>(file_kb >> 10));
    if (free_space_is_known())
        printf("%luMB ", static_cast<unsigned long>(_sddisk_free_kb(file_kb) >> 10));
    else
        printf("?MB ");
    fflush(stdout); // the line has no line feed at its end
}

/** Examine the recording's file. */
Outcome _filesize_storage_check()
{
    const LogOperation operation(__func__);
    const auto seconds = static_cast<uint32_t>(av_rec_elapsed_ms() / 1000);
    unsigned long size = 0;
    uint32_t file_kb = 0;
    auto outcome = Outcome::NoFile;
    const int r = storage_get_file_size(output_filename(), &size);
    if (r == 0) {
        file_kb = static_cast<uint32_t>(size >> 10);
        outcome = compare_with_limits(file_kb, seconds);
    } else {
        CAPD_LOG_STEP(LOG_INFO, "storage_get_file_size failed: %d\n", r);
    }
    print_status_line(file_kb, seconds);
    return outcome;
}

void state_idle_run()
{
    const int r = _check_storage_event();
    if (r != 0) CAPD_LOG(LOG_WARNING, "state_*_run=%d\n", r);
}

void state_recording_run()
{
    const int64_t now = period_seconds();
    _check_storage_event();
    if (!status_check_due(now)) return;
    switch (_filesize_storage_check()) {
    case Outcome::MaxSize:
    case Outcome::MaxDuration: _av_rec_stop_start(); break;
    case Outcome::HardLimit: _av_rec_stop(); break;
    case Outcome::GoesOn:
    case Outcome::NoFile:
        if (av_rec_isok() == 0) break;
        CAPD_LOG(LOG_WARNING, "av_rec_isok failed, stopping recording\n");
        _av_rec_stop();
    }
}

void state_auto_stopped_run()
{
    int r = _check_storage_event();
    if (auto_stop_is_over()) {
        _auto_stop_cancel();
    } else if (input_is_stable() && restart_is_due()) {
        CAPD_LOG(LOG_INFO, "Got stable input again, starting recording\n");
        r = _av_rec_start(1);
        if (r == 0) panel_set(PANEL_ERROR, LED_OFF);
    }
    if (r != 0) CAPD_LOG(LOG_WARNING, "state_*_run=%d\n", r);
}

} // namespace

void run_state(RecorderState state)
{
    switch (state) {
    case STATE_IDLE: state_idle_run(); break;
    case STATE_RECORDING: state_recording_run(); break;
    case STATE_AUTO_STOPPED: state_auto_stopped_run(); break;
    case STATE_POWER_OFF: break; // the card is not watched in standby
    }
}

} // namespace capd
