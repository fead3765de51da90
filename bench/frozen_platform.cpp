// A seam for counting what one idle pass costs: the clock is really read but always tells the same moment, so that
// nothing ever becomes due, and there is no hardware.
#include "platform/platform.h"

#include <cerrno>
#include <ctime>
#include <sys/time.h>
#include <unistd.h>

namespace capd::platform {

int device_open(const char* /*path*/)
{
    return -1;
}

int device_request(int /*fd*/, uint32_t /*request*/, void* /*record*/)
{
    return -1;
}

int device_request_value(int /*fd*/, uint32_t /*request*/, int /*value*/)
{
    return -1;
}

void device_close(int /*fd*/) {}

int run_shell(const char* /*line*/)
{
    return -1;
}

bool read_shell_line(const char* /*line*/, char* buffer, size_t /*size*/)
{
    buffer[0] = '\0';
    return false;
}

const char* map_path(const char* path, char* /*buffer*/)
{
    return path;
}

WallTime wall_time()
{
    static timeval first{};
    timeval now{};
    gettimeofday(&now, nullptr);
    if (first.tv_sec == 0) first = now;
    return {first.tv_sec, static_cast<int32_t>(first.tv_usec)};
}

WallTime monotonic_time()
{
    return wall_time();
}

int64_t wall_seconds()
{
    static const time_t first = time(nullptr);
    time(nullptr);
    return first;
}

void sleep_us(uint32_t microseconds)
{
    usleep(microseconds);
}

int start_thread(void* (* /*body*/)(void*))
{
    return ENOSYS;
}

int open_queue(int32_t /*key*/)
{
    return -1;
}

} // namespace capd::platform
