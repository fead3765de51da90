/**
 * @file
 * Interval timer that is polled, never waited for. A timer that is polled on is periodic; one that is reset after it
 * fired is a one-shot. Each belongs to one thread. No call blocks or makes a system call.
 */
#pragma once

#include <cstdint>

namespace capd {

/** Time of the last start by the clock of periods; both fields 0: not started. The seconds are kept modulo 2^32. */
struct Timer {
    int32_t seconds = 0;
    int32_t microseconds = 0;
};

/** Stop the timer. */
void timer_reset(Timer* timer);

/** Start the timer at the current time, whatever it was doing. */
void timer_start(Timer* timer);

/**
 * Look whether the interval has passed since the start. A clock that went backwards makes a started timer due at
 * once: waiting until the clock has caught up could take hours.
 * @retval -1 not started; the clock is not read
 * @retval 0  not yet
 * @retval 1  passed; the timer is started again at the current time
 */
int timer_expired(Timer* timer, uint64_t interval_us);

} // namespace capd
