/**
 * @file
 * The seam of programs that work on a box in another process: device requests go there over its socket ($CAPD_BOX),
 * shell lines and paths are mapped into its root, time is the machine's.
 *
 * While no box can be reached nothing of this machine stands in for it: devices are missing, shell lines are not run
 * (they would mount and unmount this machine's own card) and paths lead nowhere.
 */
#include "platform/platform.h"

#include "emulator/kernel/paths.h"
#include "emulator/kernel/request.h"
#include "emulator/remote/client/link.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <pthread.h>
#include <sys/msg.h>
#include <sys/time.h>
#include <unistd.h>

namespace emu {

namespace {

/** Never destroyed: the daemon's LED thread may be inside when the process exits. */
Link& box()
{
    static Link* const link = new Link;
    return *link;
}

int as_ioctl(int result)
{
    if (result >= 0) return result;
    errno = -result;
    return -1;
}

int dma_request(int fd, uint32_t request, void* record)
{
    DmaRecord dma;
    std::memcpy(&dma, record, sizeof dma);
    if (dma.size > DMA_LIMIT) return -EFAULT;
    const bool reads = driver_writes(request);
    std::vector<uint8_t> payload(DMA_RECORD_HEAD + (reads ? 0 : size_t{dma.size}));
    std::memcpy(payload.data(), &dma, DMA_RECORD_HEAD);
    if (!reads && dma.size > 0) std::memcpy(payload.data() + DMA_RECORD_HEAD, dma.buffer, dma.size);
    Message reply;
    const int result = box().request(fd, Ask::Request, request, payload, reply);
    if (result >= 0 && reads)
        std::copy_n(reply.payload.begin(), std::min<size_t>(reply.payload.size(), dma.size), dma.buffer);
    return result;
}

int record_request(int fd, uint32_t request, void* record)
{
    auto* bytes = static_cast<uint8_t*>(record);
    const size_t size = record_size(request);
    Message reply;
    const int result = box().request(fd, Ask::Request, request, {bytes, size}, reply);
    if (driver_writes(request)) std::copy_n(reply.payload.begin(), std::min(reply.payload.size(), size), bytes);
    if (reply.header.code != 0) usleep(reply.header.code); // the box's bus is as slow as its bits
    return result;
}

} // namespace

} // namespace emu

namespace capd::platform {

int device_open(const char* path)
{
    return emu::as_ioctl(emu::box().open(path));
}

int device_request(int fd, uint32_t request, void* record)
{
    const bool dma = emu::is_dma_request(request);
    return emu::as_ioctl(dma ? emu::dma_request(fd, request, record) : emu::record_request(fd, request, record));
}

int device_request_value(int fd, uint32_t request, int value)
{
    uint8_t payload[sizeof value];
    std::memcpy(payload, &value, sizeof value);
    emu::Message reply;
    return emu::as_ioctl(emu::box().request(fd, emu::Ask::RequestValue, request, payload, reply));
}

void device_close(int fd)
{
    emu::box().close(fd);
}

int run_shell(const char* line)
{
    const std::string root = emu::box().root_of_live_box();
    if (root.empty()) return -1;
    return std::system(emu::map_shell_line(root, line).c_str());
}

bool read_shell_line(const char* line, char* buffer, size_t size)
{
    buffer[0] = '\0';
    const std::string root = emu::box().root_of_live_box();
    if (root.empty()) return false;
    FILE* pipe = popen(emu::map_shell_line(root, line).c_str(), "re");
    if (pipe == nullptr) return false;
    const bool got = std::fgets(buffer, static_cast<int>(size), pipe) != nullptr;
    pclose(pipe);
    if (!got) buffer[0] = '\0';
    return got;
}

const char* map_path(const char* path, char* buffer)
{
    const std::string root = emu::box().root();
    std::snprintf(buffer, PATH_SIZE, "%s", emu::map_box_path(root.empty() ? "/nonexistent" : root, path).c_str());
    return buffer;
}

WallTime wall_time()
{
    timeval now{};
    gettimeofday(&now, nullptr);
    return {now.tv_sec, static_cast<int32_t>(now.tv_usec)};
}

int64_t wall_seconds()
{
    return std::time(nullptr);
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
    const std::string root = emu::box().root();
    if (root.empty()) {
        errno = ENODEV;
        return -1;
    }
    return msgget(emu::map_queue_key(root, key), IPC_CREAT | 0666);
}

} // namespace capd::platform
