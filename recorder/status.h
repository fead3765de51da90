/**
 * @file
 * The two records that the daemon's own logic shares: the settings, changed by options, start-up and keys, and the
 * recorder's status. One instance of each for the life of the process. They belong to the main thread; the LED thread
 * reads the recorder's state and nothing else.
 */
#pragma once

#include "recorder/panel.h"
#include "recorder/timer.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

namespace capd {

/**
 * Recorder states.
 *
 *     Idle --record, started--> Recording --stop, card full, encoder dead, roll-over failed--> Idle
 *     Recording --input or card gone--> AutoStopped --input back, started--> Recording
 *     AutoStopped --stop, ten seconds--> Idle
 *     Idle, Recording, AutoStopped --power--> PowerOff --power--> Idle
 */
enum RecorderState : int32_t {
    STATE_IDLE = 0,
    STATE_RECORDING = 1,
    STATE_AUTO_STOPPED = 2, ///< waits for the input to come back
    STATE_POWER_OFF = 3,    ///< standby: LEDs dark and not refreshed
};

/** What went wrong, as the error LED shows it. */
enum class RecorderError : uint8_t {
    NoCard,          ///< none in the slot, or it cannot be mounted
    NoInput,         ///< not stable, or its information cannot be read
    BadFormat,       ///< the encoder cannot take it
    CardNotWritable, ///< read-only, or no file name could be made on it
};

/** What options, nvram and keys choose. Sizes in KiB. */
struct DaemonSettings {
    uint32_t storage_hard_limit = 131'072; ///< free space below which no recording starts or goes on
    int32_t config_no = 255;               ///< 0 low.cfg, anything else high.cfg; 255 until one is loaded
    int32_t hdmirx_port = 255;             ///< input port in use; 255 until one is selected
    int32_t rec_led = PANEL_RECORD_0;      ///< LED that shows recording, that of the port in use
    uint32_t min_file_size = 100;          ///< a smaller file is removed when its recording was stopped automatically
    int32_t test_sequence = -1;            ///< self-test sequence, -1 none
    uint32_t max_file_size = 4'161'536;    ///< a larger file is closed: just under the 4 GiB that vfat can hold
    uint32_t max_file_duration = 7200;     ///< seconds, likewise
    int32_t edid_write_disabled = 0;       ///< 1: the input's EDID ROM is left alone

    /** Mode of the error LED by RecorderError. */
    static constexpr std::array<int, 4> ERROR_MODE = {LED_FLASH_1, LED_FLASH_2, LED_FLASH_3, LED_FLASH_5};
};

/** What the recorder is doing. */
struct RecorderStatus {
    std::atomic<int32_t> state{STATE_IDLE}; ///< use recorder_state() and set_recorder_state()
    std::array<char, 128> output_filename{};
    uint32_t sddisk_available_kb = 0; ///< as last measured, less the files closed since; 0 unknown
    int64_t last_status_check = 0;    ///< seconds; 0 makes a recording's next pass check
    Timer auto_stop_timer;            ///< since the automatic stop
    uint8_t input_stable = 0;         ///< 1 stable
    int32_t test_step = 0;
    uint64_t test_delay_us = 0;
    Timer test_timer{1, 0};         ///< long due, so that the first step runs at once
    int64_t last_storage_event = 0; ///< seconds; last look at the card slot
    int32_t card_removed = 0;       ///< 1 from the look that missed the card to the one that finds it
    Timer blank_timer;
    Timer unblank_timer;
    int32_t last_stable_result = 0xFFFF; ///< no result of the check, so that the first one counts as a change
};
static_assert(std::atomic<int32_t>::is_always_lock_free);

/** Size limit handed over with output_filename, whose writer keeps one character of it spare. */
constexpr int OUTPUT_FILENAME_LIMIT = 127;

// NOLINTBEGIN(bugprone-dynamic-static-initializers): that they are not is what constinit says
extern constinit DaemonSettings settings;
extern constinit RecorderStatus status;
// NOLINTEND(bugprone-dynamic-static-initializers)

/** Read the recorder's state. Any thread. */
inline int32_t recorder_state()
{
    return status.state.load(std::memory_order_relaxed);
}

/** Change the recorder's state. Main thread. */
inline void set_recorder_state(RecorderState state)
{
    status.state.store(state, std::memory_order_relaxed);
}

/** Show an error on the error LED. */
inline void show_error(RecorderError error)
{
    panel_set(PANEL_ERROR, DaemonSettings::ERROR_MODE[static_cast<size_t>(error)]);
}

} // namespace capd
