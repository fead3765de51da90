/**
 * @file
 * The recorder's state and the times that only make sense with it. Main thread; the LED thread reads the state and
 * nothing else.
 *
 *     Idle --record, started--> Recording --stop, card full, encoder dead, roll-over failed--> Idle
 *     Recording --input or card gone--> AutoStopped --input back, started--> Recording
 *     AutoStopped --stop, ten seconds--> Idle
 *     Idle, Recording, AutoStopped --power--> PowerOff --power--> Idle
 */
#pragma once

#include "recorder/panel.h"

#include <cstddef>
#include <cstdint>

namespace capd {

enum RecorderState : int32_t {
    STATE_IDLE = 0,
    STATE_RECORDING = 1,
    STATE_AUTO_STOPPED = 2, ///< waits for the input to come back
    STATE_POWER_OFF = 3,    ///< standby: LEDs dark and not refreshed
};
constexpr size_t RECORDER_STATES = 4;

/** Read the state. Any thread. */
RecorderState recorder_state();

/**
 * Enter a state: the only place that changes it. All but standby, whose LEDs stay dark, show on the recording LED
 * whether it is STATE_RECORDING, and make a status check due at once; STATE_AUTO_STOPPED starts the wait for the input.
 */
void enter_state(RecorderState next);

/**
 * Whether the recording's status is to be looked at, every five seconds; if so the next five begin.
 * @param now seconds of the clock of periods
 */
bool status_check_due(int64_t now);

/** A file was begun: the next look at the status comes a whole period later, with the corrected pace. */
void begin_status_period();

/** Whether a restart is to be tried in STATE_AUTO_STOPPED: in every pass, or once a second with the corrected pace. */
bool restart_is_due();

/** Show an error on the error LED. */
void show_error(RecorderError error);

/** Whether ten seconds have passed in STATE_AUTO_STOPPED; true once. */
bool auto_stop_is_over();

} // namespace capd
