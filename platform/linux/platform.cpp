#include "platform/platform.h"

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <pthread.h>
#include <sys/ioctl.h>
#include <sys/msg.h>
#include <sys/time.h>
#include <unistd.h>

namespace capd::platform {

int device_open(const char* path)
{
    return open(path, O_RDWR | O_CLOEXEC);
}

int device_request(int fd, uint32_t request, void* record)
{
    return ioctl(fd, request, record);
}

int device_request_value(int fd, uint32_t request, int value)
{
    return ioctl(fd, request, value);
}

void device_close(int fd)
{
    close(fd);
}

int run_shell(const char* line)
{
    return system(line);
}

bool read_shell_line(const char* line, char* buffer, size_t size)
{
    buffer[0] = '\0';
    FILE* pipe = popen(line, "re");
    if (pipe == nullptr) return false;
    const bool got = fgets(buffer, static_cast<int>(size), pipe) != nullptr;
    pclose(pipe);
    if (!got) buffer[0] = '\0';
    return got;
}

const char* map_path(const char* path, char* /*buffer*/)
{
    return path;
}

WallTime wall_time()
{
    timeval now{};
    gettimeofday(&now, nullptr);
    return {now.tv_sec, static_cast<int32_t>(now.tv_usec)};
}

int64_t wall_seconds()
{
    return time(nullptr);
}

WallTime monotonic_time()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return {now.tv_sec, static_cast<int32_t>(now.tv_nsec / 1000)};
}

void sleep_us(uint32_t microseconds)
{
    usleep(microseconds);
}

int start_thread(void* (*body)(void*))
{
    pthread_t thread{};
    return pthread_create(&thread, nullptr, body, nullptr);
}

int open_queue(int32_t key)
{
    return msgget(key, IPC_CREAT | 0666);
}

} // namespace capd::platform
