#include "platform/platform.h"

#include "emulator/base/scratch_folder.h"
#include "emulator/inprocess/inprocess.h"
#include "emulator/inprocess/turns.h"
#include "emulator/kernel/paths.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <sys/msg.h>
#include <unistd.h>

namespace emu {

namespace {

constexpr Micros STOP_WAIT = 20'000;
constexpr int64_t POWER_ON = 1767225600; // 2026-01-01 00:00:00 UTC

/** The box's root: goes with the process, and with it what the kernel kept for the box. */
struct Root {
    ScratchFolder folder{"box"};

    Root() = default;
    ~Root()
    {
        if (folder.is_mine()) remove_queue(folder.path());
    }
    Root(const Root&) = delete;
    Root& operator=(const Root&) = delete;
};

/** The box and all that is around it. Never destroyed: the daemon is inside when the process exits. */
struct Bench {
    explicit Bench(const std::string& root) : box({.root = root}), turns(box.time()) { turns.begin(); }

    Box box;
    Turns turns;
    Micros loop_step = 100;
    int64_t power_on = POWER_ON;
};

Bench& bench()
{
    static const Root root;
    static Bench* const the_bench = new Bench(root.folder.path());
    return *the_bench;
}

int as_ioctl(int result)
{
    if (result >= 0) return result;
    errno = -result;
    return -1;
}

/** A transfer blocks its caller, who holds the bus's lock: no other thread gets its turn meanwhile. */
void wait_for_bus()
{
    Timeline& time = bench().box.time();
    const Micros spent = bench().box.i2c().take_time();
    if (spent != 0) time.advance_to(time.now() + spent);
}

std::string mapped_line(const char* line)
{
    Box& box = bench().box;
    box.encoder().catch_up();
    return box.root().map_line(line);
}

} // namespace

Box& inprocess_box()
{
    return bench().box;
}

void inprocess_start(std::function<void()> body)
{
    bench().turns.start(std::move(body));
}

void inprocess_sleep(Micros duration)
{
    Bench& here = bench();
    here.box.encoder().settle();
    // The daemon looks for the encoder's end in virtual time, the encoder ends in real time. Waits that are shorter are
    // not for it.
    if (duration >= STOP_WAIT) here.box.encoder().settle_stop();
    here.turns.sleep(duration);
}

void inprocess_set_loop_step(Micros step)
{
    bench().loop_step = step;
}

void inprocess_set_wall_clock(int64_t seconds)
{
    bench().power_on = seconds;
}

} // namespace emu

namespace capd::platform {

int device_open(const char* path)
{
    return emu::as_ioctl(emu::inprocess_box().open(path));
}

int device_request(int fd, uint32_t request, void* record)
{
    const int result = emu::inprocess_box().request(fd, request, record);
    emu::wait_for_bus();
    return emu::as_ioctl(result);
}

int device_request_value(int fd, uint32_t request, int value)
{
    return emu::as_ioctl(emu::inprocess_box().request_value(fd, request, value));
}

void device_close(int fd)
{
    emu::inprocess_box().close(fd);
}

int run_shell(const char* line)
{
    return std::system(emu::mapped_line(line).c_str());
}

bool read_shell_line(const char* line, char* buffer, size_t size)
{
    buffer[0] = '\0';
    FILE* pipe = popen(emu::mapped_line(line).c_str(), "re");
    if (pipe == nullptr) return false;
    const bool got = std::fgets(buffer, static_cast<int>(size), pipe) != nullptr;
    pclose(pipe);
    return got;
}

const char* map_path(const char* path, char* buffer)
{
    emu::Box& box = emu::inprocess_box();
    box.encoder().catch_up();
    if (std::string_view(path) == "/kxbin/enc.sh") box.encoder().expect_start();
    std::snprintf(buffer, PATH_SIZE, "%s", box.root().map(path).c_str());
    return buffer;
}

WallTime wall_time()
{
    emu::Bench& here = emu::bench();
    const emu::Micros now = here.box.time().now();
    return {here.power_on + static_cast<int64_t>(now / 1'000'000), static_cast<int32_t>(now % 1'000'000)};
}

WallTime monotonic_time()
{
    const emu::Micros now = emu::bench().box.time().now();
    return {static_cast<int64_t>(now / 1'000'000), static_cast<int32_t>(now % 1'000'000)};
}

int64_t wall_seconds()
{
    return wall_time().seconds;
}

void sleep_us(uint32_t microseconds)
{
    emu::inprocess_sleep(microseconds <= 1 ? emu::bench().loop_step : microseconds);
}

int start_thread(void* (*body)(void*))
{
    emu::bench().turns.start_now([body] { body(nullptr); });
    return 0;
}

int open_queue(int32_t key)
{
    return msgget(emu::map_queue_key(emu::inprocess_box().root().path(), key), IPC_CREAT | 0666);
}

} // namespace capd::platform
