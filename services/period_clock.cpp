#include "services/period_clock.h"

#include "services/corrections.h"

namespace capd {

platform::WallTime period_time()
{
    // The wall clock can be set: back, and nothing is looked at until it has caught up; forward, and files are closed.
    if (!service_corrections.pace) return platform::wall_time();
    platform::WallTime now = platform::monotonic_time();
    ++now.seconds; // 0 would say of a timer that it does not run
    return now;
}

int64_t period_seconds()
{
    return service_corrections.pace ? period_time().seconds : platform::wall_seconds();
}

} // namespace capd
