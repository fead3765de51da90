/**
 * @file
 * The main loop: polls the drivers, the input's stability and the keys, each on its own timer, and does the current
 * state's own work. Main thread only. An idle pass reads the clock six times and makes one system call, its sleep.
 */
#pragma once

#include "recorder/timer.h"

namespace capd {

/** Serve input and output, each at its time, while something else keeps the loop waiting. */
void serve_hdmi();

/** The loop's periodic timers. */
struct LoopTimers {
    Timer input_poll;
    Timer stability;
    Timer output_poll;
    Timer output_tick;
    Timer key_poll;
};

/** Start the five timers, all at the same moment. */
LoopTimers main_loop_timers();

/** Run one pass, its sleep of 1 us included. */
void main_loop_pass(LoopTimers* timers);

/** Take the next key, or run the self-test's next step when one is due. @return a KeyCode; 0 during a self-test */
int _key_poll();

} // namespace capd
