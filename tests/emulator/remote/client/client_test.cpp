#include "platform/platform.h"
#include "tests/emulator/remote/client/box_server.h"

#include <atomic>
#include <cstdio>
#include <cstring>
#include <memory>
#include <sys/socket.h>
#include <sys/un.h>

namespace {

namespace platform = capd::platform;

// Catches: records cut or mixed up on the way, values passed as pointers, errno that is not the driver's.
TEST(Client, RequestsReachTheBoxAndTheirAnswersComeBack)
{
    const BoxServer box;
    const int video = platform::device_open("/dev/video2");
    ASSERT_GT(video, 0);
    EXPECT_EQ(platform::device_open("/dev/video9"), -1);
    EXPECT_EQ(errno, ENOENT);
    uint8_t leds[74] = {0x1C, 2, 5, 0x41};
    EXPECT_EQ(platform::device_request(video, 0x404A4423, leds), 0);
    uint8_t back[83] = {0x1C, 1, 5};
    back[10] = 1;
    EXPECT_EQ(platform::device_request(video, 0xC0534425, back), 0);
    EXPECT_EQ(back[11], 0x41);
    back[0] = 0x77;
    EXPECT_EQ(platform::device_request(video, 0xC0534425, back), -1);
    EXPECT_EQ(errno, ENXIO);
    EXPECT_EQ(platform::device_request_value(video, 0x40044E03, 1), -1);
    EXPECT_EQ(errno, ENOTTY);

    const int nvram = platform::device_open("/dev/qvnvram");
    ASSERT_GT(nvram, 0);
    char entry[192] = "NAME";
    std::snprintf(entry + 64, 128, "value");
    EXPECT_EQ(platform::device_request(nvram, 0x40C04E01, entry), 0);
    EXPECT_EQ(platform::device_request_value(nvram, 0x40044E03, 1), 0);
    EXPECT_EQ(tell(box.socket(), "show nvram").text(), "in memory:\nNAME=value\nin flash:\nNAME=value\n");
    platform::device_close(nvram);
    EXPECT_EQ(platform::device_request_value(nvram, 0x40044E03, 1), -1);
    EXPECT_EQ(errno, EBADF);

    struct {
        uint32_t address, size;
        void* buffer;
    } dma;
    std::vector<uint8_t> sent(200'001), received(200'001);
    for (size_t i = 0; i < sent.size(); ++i) sent[i] = static_cast<uint8_t>(i * 7);
    dma = {0x1000, static_cast<uint32_t>(sent.size()), sent.data()};
    EXPECT_EQ(platform::device_request(video, 0x400C4412, &dma), 0);
    dma.buffer = received.data();
    EXPECT_EQ(platform::device_request(video, 0xC00C4411, &dma), 0);
    EXPECT_EQ(sent, received);
    dma.address = 0xFFFFF;
    EXPECT_EQ(platform::device_request(video, 0xC00C4411, &dma), -1);
}

// Catches: the LED thread's request answered with the main thread's record.
TEST(Client, ThreadsDoNotMixUpTheirAnswers)
{
    const BoxServer box;
    const int video = platform::device_open("/dev/video2");
    std::atomic<int> wrong = 0;
    const auto hammer = [&](uint32_t reg) {
        for (uint32_t i = 0; i < 300; ++i) {
            uint32_t record[2] = {reg, i}, answer[2] = {reg, 0xDEADBEEF};
            wrong += platform::device_request(video, 0x40084406, record) != 0;
            wrong += platform::device_request(video, 0xC0084405, answer) != 0 || answer[1] != i;
        }
    };
    std::thread other([&] { hammer(0x20); });
    hammer(0x24);
    other.join();
    EXPECT_EQ(wrong, 0);
}

// Catches: shell lines and paths that touch this machine instead of the box, above all when there is no box.
TEST(Client, ShellLinesAndPathsStayInTheBox)
{
    char path[platform::PATH_SIZE], line[64];
    setenv("CAPD_BOX", "/nonexistent/box.sock", 1);
    EXPECT_EQ(platform::run_shell("exit 3"), -1) << "no box: nothing is run";
    EXPECT_FALSE(platform::read_shell_line("echo x", line, sizeof line));
    EXPECT_STREQ(platform::map_path("/mnt/sddisk/a", path), "/nonexistent/mnt/sddisk/a");
    EXPECT_EQ(platform::device_open("/dev/video2"), -1);
    EXPECT_EQ(errno, ENOENT);

    const BoxServer box;
    EXPECT_EQ(platform::run_shell("exit 3"), 3 << 8);
    EXPECT_STREQ(platform::map_path("/mnt/sddisk/a", path), (box.folder() + "/mnt/sddisk/a").c_str());
    EXPECT_EQ(tell(box.socket(), "card insert").header.number, 0);
    EXPECT_EQ(platform::run_shell("/bin/mount -t vfat /dev/mmcblk0p1 /mnt/sddisk"), 0);
    EXPECT_TRUE(
        platform::read_shell_line("cat /proc/partitions | grep mmcblk0p1 | awk '{print $3}'", line, sizeof line));
    EXPECT_STREQ(line, "31166976\n");
    EXPECT_NE(tell(box.socket(), "show card").text().find(", mounted"), std::string_view::npos);
    EXPECT_LT(tell(box.socket(), "card insret").header.number, 0);
}

/** How often a text stands in another one. */
size_t count(std::string_view text, std::string_view wanted)
{
    size_t found = 0;
    for (size_t at = text.find(wanted); at != std::string_view::npos; at = text.find(wanted, at + 1)) ++found;
    return found;
}

// Catches: programs that fill processor and log while their box is gone, and handles that stay stale when it is back.
TEST(Client, OutlivesItsBoxAndFindsItAgain)
{
    const emu::ScratchFolder scratch("client");
    auto box = std::make_unique<RunningBox>(scratch.path());
    const std::string socket = box->socket();
    setenv("CAPD_BOX", socket.c_str(), 1);
    const int video = platform::device_open("/dev/video2"), nvram = platform::device_open("/dev/qvnvram");
    char entry[192] = "NAME";
    uint32_t reg[2] = {0x20, 7};
    EXPECT_EQ(platform::device_request(nvram, 0x40C04E01, entry), 0);
    EXPECT_EQ(platform::device_request(video, 0x40084406, reg), 0);

    testing::internal::CaptureStderr();
    box.reset();
    const auto gone = std::chrono::steady_clock::now();
    char path[platform::PATH_SIZE];
    for (int i = 0; i < 8; ++i) { // the pauses between them: 0, 0, 10, 20, 40, 80, 160, 320 ms
        EXPECT_EQ(platform::device_request(video, 0x40084406, reg), -1);
        EXPECT_EQ(errno, ENODEV);
        EXPECT_EQ(platform::device_open("/dev/video2"), -1);
        EXPECT_STREQ(platform::map_path("/mnt", path), "/nonexistent/mnt");
    }
    EXPECT_GE(std::chrono::steady_clock::now() - gone, std::chrono::milliseconds(600));
    EXPECT_EQ(platform::run_shell("exit 3"), -1);

    box = std::make_unique<RunningBox>(scratch.path());
    EXPECT_EQ(platform::device_request(nvram, 0xC0C04E00, entry), -1);
    EXPECT_EQ(errno, ENOENT) << "a box that was switched off has lost what was not committed";
    EXPECT_EQ(platform::device_request(video, 0x40084406, reg), 0);
    EXPECT_EQ(platform::run_shell("exit 3"), 3 << 8);
    tell(socket, "nvram missing on");
    EXPECT_EQ(platform::device_request(nvram, 0xC0C04E00, entry), -1) << "the node is open, so it stays so";

    box.reset();
    box = std::make_unique<RunningBox>(scratch.path());
    EXPECT_EQ(platform::run_shell("exit 3"), 3 << 8) << "the loss is noticed before the line is run";
    EXPECT_EQ(platform::device_request(video, 0x40084406, reg), 0);
    const std::string said = testing::internal::GetCapturedStderr();
    EXPECT_EQ(count(said, "the box is gone: "), 2u) << said;
    EXPECT_EQ(count(said, "the box is back at " + socket + "\n"), 2u) << said;
    EXPECT_EQ(count(said, "\n"), 4u) << said;
}

// Catches: tools that hang with a box that does, for each node that they try.
TEST(Client, GivesUpOnABoxThatDoesNotAnswer)
{
    const emu::ScratchFolder scratch("client");
    const std::string path = scratch.path() + "/silent";
    const int silent = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    ASSERT_EQ(bind(silent, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(listen(silent, 16), 0);
    setenv("CAPD_BOX", path.c_str(), 1);
    setenv("CAPD_BOX_TIMEOUT", "0.05", 1);
    testing::internal::CaptureStderr();
    for (int node = 0; node < 64; ++node) {
        EXPECT_EQ(platform::device_open("/dev/video2"), -1);
        EXPECT_EQ(errno, ENOENT);
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "the box does not answer: Connection timed out\n");
    close(silent);
}

} // namespace
