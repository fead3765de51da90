#include "recorder/timer.h"

#include "tests/support/bench.h"

namespace capd {

using namespace std::chrono_literals;

constexpr int64_t IN_2026 = 1'767'225'600;
constexpr int64_t LAST_32_BIT_SECOND = INT32_MAX;

// Catches: an interval that is off by one microsecond or one carry, a timer that stops or never stops when the seconds
// leave the signed 32 bits in 2038, and one that waits for a clock that was set back.
TEST(Timer, IsDueWhenTheIntervalHasPassedWhateverTheClockDoes)
{
    static constexpr struct {
        const char* what;
        int64_t started;                  // seconds of the wall clock
        std::chrono::microseconds passes; // virtual time until the look
        int64_t clock_set_by;             // seconds that somebody sets the clock forward, before the look
        int expected;
    } rows[] = {
        {"one microsecond short", IN_2026, 79'999us, 0, 0},
        {"to the microsecond", IN_2026, 80'000us, 0, 1},
        {"over a full second", IN_2026, 1'080'000us, 0, 1},
        {"clock set back a second", IN_2026, 10us, -1, 1},
        {"clock set back twenty years", IN_2026, 10us, -630'000'000, 1},
        {"clock set from 1970 to today", 10, 10us, IN_2026, 1},
        {"short, from the last second of 32 bits on", LAST_32_BIT_SECOND, 50'000us, 0, 0},
        {"long, from the last second of 32 bits on", LAST_32_BIT_SECOND, 1'000'000us, 0, 1},
        {"short, past 2038", LAST_32_BIT_SECOND + 1000, 50'000us, 0, 0},
        {"clock set back from past 2038", LAST_32_BIT_SECOND + 10, 10us, -20, 1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        // The clock's setting counts from power-on; put the wanted second at this moment.
        const int64_t power_on = row.started - bench::now() / 1s;
        bench::run_for(1s - bench::now() % 1s);
        emu::inprocess_set_wall_clock(power_on - 1);
        Timer timer;
        timer_start(&timer);
        bench::run_for(row.passes);
        emu::inprocess_set_wall_clock(power_on - 1 + row.clock_set_by);
        EXPECT_EQ(timer_expired(&timer, 80'000), row.expected);
        EXPECT_EQ(timer_expired(&timer, 80'000), 0) << "a timer that fired starts again";
    }
}

// Catches: a one-shot that fires again after its reset, and a restart that drifts from the time it fired.
TEST(Timer, StopsWhenResetAndRestartsWhenItFires)
{
    Timer timer;
    EXPECT_EQ(timer_expired(&timer, 0), -1);
    timer_start(&timer);
    bench::run_for(130ms);
    EXPECT_EQ(timer_expired(&timer, 100'000), 1);
    bench::run_for(99'999us);
    EXPECT_EQ(timer_expired(&timer, 100'000), 0);
    bench::run_for(1us);
    EXPECT_EQ(timer_expired(&timer, 100'000), 1);
    timer_reset(&timer);
    bench::run_for(10s);
    EXPECT_EQ(timer_expired(&timer, 1), -1);
}

} // namespace capd
