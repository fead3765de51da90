// idle_pass loop|bare N: run N idle passes of the main loop, or of the least a loop with six clocks and a sleep can do.
// The difference between two runs with different N, divided by the passes between them, is the cost of one pass.
#include "recorder/main_loop.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <sys/time.h>
#include <unistd.h>

namespace {

void bare_passes(long passes)
{
    timeval now{};
    for (long i = 0; i < passes; ++i) {
        for (int clock = 0; clock < 5; ++clock) gettimeofday(&now, nullptr);
        time(nullptr);
        usleep(1);
    }
}

void loop_passes(long passes)
{
    capd::LoopTimers timers = capd::main_loop_timers();
    for (long i = 0; i < passes; ++i) capd::main_loop_pass(&timers);
}

} // namespace

int main(int argc, char* argv[])
{
    const long passes = argc == 3 ? std::strtol(argv[2], nullptr, 10) : 0;
    if (passes <= 0) {
        std::fprintf(stderr, "usage: idle_pass loop|bare N\n");
        return 2;
    }
    if (std::strcmp(argv[1], "bare") == 0)
        bare_passes(passes);
    else
        loop_passes(passes);
    return 0;
}
