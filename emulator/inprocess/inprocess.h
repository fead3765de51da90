/**
 * @file
 * The emulated box in the process of the daemon that uses it, on a virtual clock.
 *
 * Time moves only when a thread sleeps. The threads that use the box (the bench that holds the test, the daemon's main
 * thread, its LED thread) take turns: one runs until it sleeps, then the one that is to wake up first goes on, so a
 * run is the same every time. A thread that the daemon starts runs at once until its first sleep. All of them are
 * contexts of the thread that made the box; no other thread may use it.
 */
#pragma once

#include "emulator/box.h"

#include <functional>

namespace emu {

/**
 * The box of this process, made on the first call. Its root is a fresh folder under $TMPDIR or /tmp, removed when the
 * process exits.
 */
Box& inprocess_box();

/** Start a thread that takes its turns on the box; its body begins when the calling thread sleeps next. */
void inprocess_start(std::function<void()> body);

/** Let time pass for the calling thread, and the others run meanwhile. */
void inprocess_sleep(Micros duration);

/** Set how long a sleep of 1 us takes, as the machine's timer tick makes it. Starts as 100 us. */
void inprocess_set_loop_step(Micros step);

/** Set the wall clock at power-on, in seconds since 1970. Starts as 2026-01-01 00:00:00 UTC. */
void inprocess_set_wall_clock(int64_t seconds);

} // namespace emu
