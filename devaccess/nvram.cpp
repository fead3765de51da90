#include "devaccess/nvram.h"

#include "devaccess/request_code.h"
#include "platform/platform.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <unistd.h>

namespace capd {

namespace {

constexpr char NVRAM_DEVICE[] = "/dev/qvnvram";

constexpr uint32_t NVRAM_GET = read_write_request('N', 0, 192);
constexpr uint32_t NVRAM_SET = write_request('N', 1, 192);
constexpr uint32_t NVRAM_EMPTY = write_request('N', 2, 4); // these take their integer by value
constexpr uint32_t NVRAM_COMMIT = write_request('N', 3, 4);
constexpr uint32_t NVRAM_LOAD_MTD = write_request('N', 4, 4);
constexpr uint32_t NVRAM_LOAD_FILE = write_request('N', 5, 256);
constexpr uint32_t NVRAM_LIST = write_request('N', 6, 4);

// The console's two descriptors: failures go to the one that is the input elsewhere.
constexpr int FAILURE_OUTPUT = STDIN_FILENO;
constexpr int SUCCESS_OUTPUT = STDERR_FILENO;

struct nvram_entry {
    char name[NVRAM_NAME_SIZE];
    char value[NVRAM_VALUE_SIZE];
};
static_assert(sizeof(nvram_entry) == 192);

/** Descriptor of the device for one operation; keeps errno when it goes. */
class Device {
public:
    Device() : fd_(platform::device_open(NVRAM_DEVICE))
    {
        const int error = errno;
        if (!is_open()) dprintf(FAILURE_OUTPUT, "can't open %s\n", NVRAM_DEVICE);
        errno = error;
    }
    ~Device()
    {
        const int error = errno;
        if (is_open()) platform::device_close(fd_);
        errno = error;
    }
    Device(const Device&) = delete;
    Device& operator=(const Device&) = delete;

    bool is_open() const { return fd_ >= 0; }
    int request(uint32_t code, void* record) const { return platform::device_request(fd_, code, record); }
    int request_value(uint32_t code, int value) const { return platform::device_request_value(fd_, code, value); }

private:
    int fd_;
};

/** Copy a text into a zeroed field. One that does not fit is refused: half a name or value is another one. */
bool put_text(char* field, size_t size, const char* text)
{
    const size_t length = strnlen(text, size);
    if (length == size) {
        errno = ENAMETOOLONG;
        return false;
    }
    memcpy(field, text, length);
    return true;
}

/** Print a failure line that begins with what failed, and keep errno for the caller. */
void print_failure(const char* what)
{
    const int error = errno;
    dprintf(FAILURE_OUTPUT, "%s, errno=%d\n", what, error);
    errno = error;
}

int report(int result, const char* success, const char* failure)
{
    if (result < 0)
        print_failure(failure);
    else
        dprintf(SUCCESS_OUTPUT, "%s\n", success);
    return result;
}

/** The four operations that hand over an integer. */
int value_operation(uint32_t code, int value, const char* success, const char* failure)
{
    const Device device;
    if (!device.is_open()) return NVRAM_NO_DEVICE;
    return report(device.request_value(code, value), success, failure);
}

} // namespace

int nvram_get(const char* name, char* value)
{
    const Device device;
    if (!device.is_open()) return NVRAM_NO_DEVICE;
    nvram_entry entry{};
    const int result = put_text(entry.name, sizeof(entry.name), name) ? device.request(NVRAM_GET, &entry) : -1;
    if (result < 0) {
        print_failure("failed");
        return result;
    }
    entry.value[NVRAM_VALUE_SIZE - 1] = '\0';
    memcpy(value, entry.value, strlen(entry.value) + 1);
    return result;
}

int nvram_set(const char* name, const char* value)
{
    const Device device;
    if (!device.is_open()) return NVRAM_NO_DEVICE;
    nvram_entry entry{};
    const bool fits =
        put_text(entry.name, sizeof(entry.name), name) && put_text(entry.value, sizeof(entry.value), value);
    const int result = fits ? device.request(NVRAM_SET, &entry) : -1;
    if (result < 0)
        print_failure("failed");
    else
        dprintf(SUCCESS_OUTPUT, "%s = %s\n", name, value);
    return result;
}

int nvram_commit(int arg)
{
    return value_operation(NVRAM_COMMIT, arg, "nvram commit success", "nvram commit failed");
}

int nvram_load_mtd(int arg)
{
    return value_operation(NVRAM_LOAD_MTD, arg, "nvram load mtd success", "nvram load mtd failed");
}

int nvram_load_file(const char* path)
{
    const Device device;
    if (!device.is_open()) return NVRAM_NO_DEVICE;
    char buffer[NVRAM_PATH_SIZE] = {};
    const int result = put_text(buffer, sizeof(buffer), path) ? device.request(NVRAM_LOAD_FILE, buffer) : -1;
    return report(result, "nvram load file sucess", "nvram loadfailed");
}

int nvram_list()
{
    return value_operation(NVRAM_LIST, 0, "nvram list success", "nvram list failed");
}

int nvram_empty()
{
    return value_operation(NVRAM_EMPTY, 0, "empty nvram success", "empty nvram failed");
}

} // namespace capd
