/**
 * @file
 * A box with its server in a thread, and the seam of its clients in front of it, in one process.
 */
#include "emulator/protocol.h"
#include "emulator/scenario.h"
#include "emulator/server/server.h"
#include "platform/platform.h"

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace {

namespace platform = capd::platform;
using namespace std::chrono_literals;

/** A box of its own for each test; $CAPD_BOX leads there. */
class BoxServer {
public:
    explicit BoxServer(const std::string& scenario = "")
    {
        std::istringstream text(scenario);
        emu::schedule_scenario(box_, emu::read_scenario(text, "scenario"), [](bool, const std::string&) {});
        setenv("CAPD_BOX", socket_.c_str(), 1);
        thread_ = std::thread([this] { server_.run(stop_); });
    }
    ~BoxServer()
    {
        const uint64_t one = 1;
        EXPECT_EQ(write(stop_, &one, sizeof one), 8);
        thread_.join();
        close(stop_);
        std::filesystem::remove_all(folder_);
    }
    BoxServer(const BoxServer&) = delete;
    BoxServer& operator=(const BoxServer&) = delete;

    const std::string& folder() const { return folder_; }
    const std::string& socket() const { return socket_; }

private:
    static std::string make_folder()
    {
        std::string name = (std::filesystem::temp_directory_path() / "client-XXXXXX").string();
        EXPECT_NE(mkdtemp(name.data()), nullptr) << name;
        return name;
    }

    std::string folder_ = make_folder();
    std::string socket_ = folder_ + "/run/box.sock";
    int stop_ = eventfd(0, EFD_CLOEXEC);
    emu::Box box_{{.root = folder_}};
    emu::Server server_{box_, socket_};
    std::thread thread_;
};

/** What "boxemu ctl" does. */
emu::Message tell(const std::string& socket, std::string_view line)
{
    emu::Message reply;
    const int box = emu::connect_to_box(socket);
    EXPECT_GE(box, 0);
    EXPECT_TRUE(emu::send_message(box, {.ask = emu::Ask::Command}, emu::as_bytes(line)));
    EXPECT_TRUE(emu::receive_message(box, reply));
    close(box);
    return reply;
}

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

// Catches: handles that stay open in the box when a daemon is killed, until there are none left.
TEST(Server, ClosesWhatAClientLeavesOpen)
{
    const BoxServer box;
    for (int client = 0; client < 100; ++client) {
        const int socket = emu::connect_to_box(box.socket());
        ASSERT_GE(socket, 0);
        emu::Message reply;
        ASSERT_TRUE(emu::send_message(socket, {.ask = emu::Ask::Open}, emu::as_bytes("/dev/video2")));
        ASSERT_TRUE(emu::receive_message(socket, reply));
        ASSERT_GT(reply.header.number, 0) << "client " << client;
        close(socket);
    }
    ASSERT_GT(platform::device_open("/dev/video2"), 0);
    emu::Message reply;
    const int other = emu::connect_to_box(box.socket());
    ASSERT_TRUE(emu::send_message(other, {.ask = emu::Ask::Close, .number = 1}, {}));
    ASSERT_TRUE(emu::receive_message(other, reply));
    EXPECT_EQ(reply.header.number, -EBADF) << "a handle is its client's own";
    close(other);
}

// Catches: a client that takes the box down or keeps it from others by sending rubbish, half a message, or by going
// away in the middle of an answer.
TEST(Server, BadMessagesCostOnlyTheirConnection)
{
    using emu::Ask;
    static const struct {
        const char* what;
        emu::MessageHeader header;
        size_t payload;
        bool closed;
    } cases[] = {
        {"wrong magic", {.magic = 0x4747}, 0, true},
        {"unknown question", {.ask = static_cast<Ask>(99)}, 0, true},
        {"question 0", {.ask = static_cast<Ask>(0)}, 0, true},
        {"endless payload", {.size = 0xFFFFFFFF}, 0, true},
        {"record too short", {.ask = Ask::Request, .size = 3, .code = 0x404A4423}, 3, true},
        {"value too long", {.ask = Ask::RequestValue, .size = 8, .code = 0x40044E03}, 8, true},
        {"DMA without its words", {.ask = Ask::Request, .size = 4, .code = 0xC00C4411}, 4, false},
        {"DMA without its bytes", {.ask = Ask::Request, .size = 8, .code = 0x400C4412}, 8, false},
        {"handle of nobody", {.ask = Ask::Request, .number = 63, .code = 0x404A4423}, 0, false},
    };
    const BoxServer box;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const int socket = emu::connect_to_box(box.socket());
        emu::Message reply;
        ASSERT_TRUE(emu::send_message(socket, {.ask = Ask::Open}, emu::as_bytes("/dev/video2")));
        ASSERT_TRUE(emu::receive_message(socket, reply));
        ASSERT_GT(reply.header.number, 0);
        std::vector<uint8_t> bytes(sizeof c.header + c.payload, 0x11);
        emu::MessageHeader header = c.header;
        if (header.number == 0) header.number = reply.header.number;
        std::memcpy(bytes.data(), &header, sizeof header);
        ASSERT_EQ(send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL), static_cast<ssize_t>(bytes.size()));
        EXPECT_EQ(emu::receive_message(socket, reply), !c.closed);
        EXPECT_TRUE(c.closed || reply.header.number < 0);
        close(socket);
    }
    const int half = emu::connect_to_box(box.socket());
    ASSERT_EQ(send(half, "BX", 2, 0), 2);
    const int rude = emu::connect_to_box(box.socket());
    ASSERT_TRUE(emu::send_message(rude, {.ask = Ask::Command}, emu::as_bytes("help")));
    close(rude);
    EXPECT_NE(tell(box.socket(), "show port").text().find("input port 0"), std::string_view::npos);
    close(half);
    emu::Box second({.root = box.folder() + "/second"});
    EXPECT_THROW(emu::Server(second, box.socket()), std::runtime_error) << "one box at a time has the socket";
}

// Catches: a root whose name a shell line would fall apart on, and somebody's home folder filled with a box.
TEST(RootFs, UnusableFoldersAreRefused)
{
    const BoxServer box;
    const std::string& scratch = box.folder();
    for (const char* name : {"/two words", "/a$b", "/quote'", "/semi;colon", "/star*", "/back`tick"})
        EXPECT_THROW(emu::RootFs(scratch + name), std::runtime_error) << name;
    EXPECT_THROW(emu::RootFs(scratch + "/" + std::string(300, 'x')), std::runtime_error);
    EXPECT_THROW(emu::RootFs("/"), std::runtime_error);
    std::filesystem::create_directories(scratch + "/home");
    std::ofstream(scratch + "/home/letter") << "text";
    EXPECT_THROW(emu::RootFs(scratch + "/home"), std::runtime_error);
    EXPECT_EQ(
        std::distance(std::filesystem::directory_iterator(scratch + "/home"), std::filesystem::directory_iterator()),
        1);
}

// Catches: a scenario that starts with a mistake further down, or a mistake that is not named with file and line.
TEST(Scenario, IsCheckedWholeAndNamesFileAndLine)
{
    static const struct {
        const char *what, *text, *error;
    } cases[] = {
        {"no time", "card insert\n", "f:1: 'card' is not a time in seconds"},
        {"no command", "0 card insert\n\n 2 \n", "f:3: a command is missing"},
        {"falling times", "1 card insert\n# a remark\n0.5 card remove\n", "f:3: '0.5' is earlier than the line before"},
        {"negative", "-1 card insert\n", "f:1: '-1' is not a time in seconds"},
        {"infinite", "inf card insert\n", "f:1: 'inf' is not a time in seconds"},
        {"unknown command", "0 card insert\n1 flurb\n", "f:2: flurb: word 1 'flurb': no such command"},
        {"malformed command", "0 key record\n9000 card size big", "f:2: card size big: word 3 'big': is not a number"},
        {"right", "0 card insert\n0 source 0 plug 1080p60\n1.5 encoder die\n2 card read-only\n", nullptr},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        std::string error;
        try {
            std::istringstream text(c.text);
            emu::check_scenario(emu::read_scenario(text, "f"));
        } catch (const std::runtime_error& caught) {
            error = caught.what();
        }
        EXPECT_TRUE(c.error == nullptr ? error.empty() : error.starts_with(c.error)) << error;
    }
}

// Catches: a box whose time stands still while nobody asks it anything.
TEST(Scenario, HappensByItself)
{
    const BoxServer box("0.1 card insert\n0.3 key power\n");
    const auto patience = std::chrono::steady_clock::now() + 2min;
    std::string port;
    while (port.find("remote code waiting") == std::string::npos) {
        ASSERT_LT(std::chrono::steady_clock::now(), patience) << port;
        port = tell(box.socket(), "show port").text();
    }
    EXPECT_TRUE(std::filesystem::exists(box.folder() + "/dev/mmcblk0p1"));
}

} // namespace
