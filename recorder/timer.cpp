#include "recorder/timer.h"

#include "services/period_clock.h"

namespace capd {

namespace {

void set_to(Timer* timer, const platform::WallTime& now)
{
    timer->seconds = static_cast<int32_t>(now.seconds);
    timer->microseconds = now.microseconds;
}

} // namespace

void timer_reset(Timer* timer)
{
    *timer = {};
}

void timer_start(Timer* timer)
{
    set_to(timer, period_time());
}

int timer_expired(Timer* timer, uint64_t interval_us)
{
    if (timer->seconds == 0) return -1;
    const platform::WallTime now = period_time();
    // The difference modulo 2^32 is right on both sides of 2038, when the 32-bit seconds turn negative.
    const int64_t seconds =
        static_cast<int32_t>(static_cast<uint32_t>(now.seconds) - static_cast<uint32_t>(timer->seconds));
    const int64_t elapsed_us = seconds * 1'000'000 + (now.microseconds - timer->microseconds);
    if (static_cast<uint64_t>(elapsed_us) < interval_us) return 0;
    set_to(timer, now);
    return 1;
}

} // namespace capd
