#include "devaccess/video_device.h"

#include "devaccess/request_code.h"
#include "devaccess/scoped_lock.h"
#include "platform/platform.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <pthread.h>

namespace capd {

namespace {

constexpr int VIDEO_NODES = 64;
constexpr size_t NODE_PATH_SIZE = 32;
constexpr int VERSION_REFUSED = 11; // the driver's refusal of our interface version, EAGAIN's number

constexpr uint32_t QVDEV_STRM_IOCTL_DEVICE_INFO = read_write_request('S', 2, 16);
constexpr int32_t BUS_STAMP = 0x00020300;  // interface versions that this program was written for: the driver
constexpr int32_t TYPE_STAMP = 0x00010203; // compares them with its own before it answers

struct DeviceInfo {
    int32_t bus;
    int32_t inst;
    int32_t type;
    int32_t hTask;
};
static_assert(sizeof(DeviceInfo) == 16);

std::atomic<int> descriptor{-1}; // of the open node; 0 or less: not open

// Held while the node is looked for: with no node at start-up, the LED thread and the main thread both try again.
pthread_mutex_t open_lock = PTHREAD_MUTEX_INITIALIZER;

int query_device_info(int fd, DeviceInfo& info)
{
    memset(&info, 0xAA, sizeof(info));
    info.bus = BUS_STAMP;
    info.type = TYPE_STAMP;
    return platform::device_request(fd, QVDEV_STRM_IOCTL_DEVICE_INFO, &info);
}

void print_refusal(const char* function, const char* path, int result, int error)
{
    // A driver of the box's kernel returns its number straight; a C library turns that into -1 and errno.
    if (result == -VERSION_REFUSED || (result == -1 && error == VERSION_REFUSED))
        printf("%s()-> %s ioctl QVDEV_STRM_IOCTL_DEVICE_INFO APP/Driver Version Not Matched (%d)\n", function, path,
               result);
    else
        printf("%s()-> %s ioctl QVDEV_STRM_IOCTL_DEVICE_INFO failed(%d)\n", function, path, result);
}

} // namespace

int lookup_video_device_node(int inst, int type, int bus, char* path)
{
    for (int n = 0; n < VIDEO_NODES; ++n) {
        snprintf(path, NODE_PATH_SIZE, "/dev/video%d", n);
        const int fd = platform::device_open(path);
        if (fd < 0) continue;
        DeviceInfo info;
        const int result = query_device_info(fd, info);
        const int error = errno;
        platform::device_close(fd);
        if (result < 0) {
            print_refusal(__func__, path, result, error);
            continue;
        }
        printf("%s()-> bus(%d) inst(%d) hTask(%ld) type(%d)\n", __func__, info.bus, info.inst,
               static_cast<long>(info.hTask), info.type);
        if ((bus == ANY_BUS || bus == info.bus) && inst == info.inst && type == info.type) {
            printf("%s()-> Got %d:%d\n", __func__, inst, type);
            return 0;
        }
    }
    path[0] = '\0';
    return -1;
}

int video_device_open()
{
    if (descriptor > 0) return 0;
    const ScopedLock lock(open_lock);
    if (descriptor > 0) return 0;
    char path[NODE_PATH_SIZE];
    lookup_video_device_node(0, 0, ANY_BUS, path);
    // Descriptor 0 (a start without standard input) counts as not open; it stays taken, so the next try gets another.
    const int fd = platform::device_open(path);
    if (fd > 0) {
        descriptor = fd;
        return 0;
    }
    printf("Unable to Open %s.\n", path);
    return 1;
}

int sys_init()
{
    return video_device_open();
}

int video_device_request(uint32_t request, void* record)
{
    return platform::device_request(descriptor, request, record);
}

} // namespace capd
