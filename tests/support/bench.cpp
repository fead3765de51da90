#include "tests/support/bench.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace bench {

namespace {

/** What holds on a bus that takes no time has to hold on a real one, too: BOX_I2C_HZ gives its speed. */
class BusSpeed : public testing::Environment {
    void SetUp() override
    {
        if (const char* hertz = std::getenv("BOX_I2C_HZ")) tell(std::string("i2c speed ") + hertz);
    }
};

[[maybe_unused]] const auto* const bus_speed = testing::AddGlobalTestEnvironment(new BusSpeed);

} // namespace

std::string ask(std::string_view line)
{
    emu::Reply reply;
    const auto listener = std::make_shared<emu::Listener>();
    listener->take = [&reply](const emu::Reply& later) { reply = later; };
    reply = box().command(line, {.folder = {}, .rehearsal = false, .listener = listener});
    while (reply.kind == emu::Reply::Kind::More) run_for(10ms);
    listener->take = nullptr;
    EXPECT_TRUE(reply.ok) << reply.text;
    return reply.text;
}

void tell(std::string_view line)
{
    ask(line);
}

void run_for(std::chrono::microseconds duration)
{
    emu::inprocess_sleep(static_cast<emu::Micros>(duration.count()));
}

std::string scratch(const std::string& name)
{
    const std::string folder = box().root().map("/tmp/");
    std::filesystem::create_directories(folder);
    return folder + name;
}

std::chrono::microseconds now()
{
    return std::chrono::microseconds(box().time().now());
}

Output::Output()
{
    std::fflush(nullptr);
    file_ = memfd_create("output", MFD_CLOEXEC);
    fcntl(file_, F_SETFL, O_APPEND);
    for (int fd = 0; fd < 3; ++fd) {
        saved_[fd] = fcntl(fd, F_DUPFD_CLOEXEC, 3);
        dup2(file_, fd);
    }
}

Output::~Output()
{
    std::fflush(nullptr);
    for (int fd = 0; fd < 3; ++fd) {
        dup2(saved_[fd], fd);
        close(saved_[fd]);
    }
    if (testing::Test::HasFailure()) show(); // what the test framework said of it went into the file, too
    close(file_);
}

void Output::show() const
{
    std::array<char, 4096> part;
    ssize_t got = 0;
    for (off_t at = 0; (got = pread(file_, part.data(), part.size(), at)) > 0; at += got)
        std::fwrite(part.data(), 1, static_cast<size_t>(got), stdout);
}

std::string Output::take()
{
    std::fflush(nullptr);
    struct stat info {};
    fstat(file_, &info);
    std::string text(static_cast<size_t>(info.st_size - taken_), '\0');
    const ssize_t got = pread(file_, text.data(), text.size(), taken_);
    text.resize(got > 0 ? static_cast<size_t>(got) : 0);
    taken_ += static_cast<long>(text.size());
    return text;
}

size_t count(std::string_view text, std::string_view wanted)
{
    size_t found = 0;
    for (size_t at = text.find(wanted); at != std::string_view::npos; at = text.find(wanted, at + wanted.size()))
        ++found;
    return found;
}

} // namespace bench
