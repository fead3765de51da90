/**
 * @file
 * The box's process from outside: its root, its socket, its scenarios.
 */
#include "platform/platform.h"
#include "tests/emulator/remote/client/box_server.h"

#include <chrono>
#include <cstring>
#include <fstream>
#include <sys/socket.h>
#include <utility>

namespace {

namespace platform = capd::platform;
using namespace std::chrono_literals;

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

/** A client that asks one thing after the other over one connection. */
class Asker {
public:
    explicit Asker(const std::string& socket) : socket_(emu::connect_to_box(socket)) { EXPECT_GE(socket_, 0); }
    ~Asker() { close(socket_); }
    Asker(const Asker&) = delete;
    Asker& operator=(const Asker&) = delete;

    void send(emu::Ask ask, std::string_view payload)
    {
        EXPECT_TRUE(emu::send_message(socket_, {.ask = ask}, emu::as_bytes(payload)));
    }
    const emu::Message& receive()
    {
        EXPECT_TRUE(emu::receive_message(socket_, reply_));
        return reply_;
    }
    /** Receive the last answer to a question. */
    const emu::Message& receive_last()
    {
        while (receive().header.number == emu::command_result::GOES_ON) {}
        return reply_;
    }
    int32_t ask(emu::Ask ask, std::string_view payload)
    {
        send(ask, payload);
        return receive().header.number;
    }

private:
    int socket_;
    emu::Message reply_;
};

// Catches: files that are looked for where the box was started instead of where its user is.
TEST(Server, LooksForFilesInTheFolderOfTheCaller)
{
    const BoxServer box;
    const emu::ScratchFolder here("client");
    std::ofstream(here.path() + "/rom.bin") << std::string(256, 'r');
    Asker caller(box.socket());
    EXPECT_EQ(caller.ask(emu::Ask::Folder, here.path()), 0);
    EXPECT_EQ(caller.ask(emu::Ask::Command, "rom load rom.bin"), 0);
    EXPECT_EQ(caller.ask(emu::Ask::Command, "rom save \"sa ved\""), 0);
    EXPECT_EQ(std::filesystem::file_size(here.path() + "/sa ved"), 256u);
    EXPECT_EQ(caller.ask(emu::Ask::Command, "display save tv tv.bin"), 0);
    EXPECT_EQ(caller.ask(emu::Ask::Command, "display plug tv.bin"), 0);
    EXPECT_EQ(tell(box.socket(), "rom load rom.bin").header.number, -EINVAL) << "another caller, another folder";
}

// Catches: a wait that keeps others from the box, answers that overtake each other, and a client's wait that outlives
// it.
TEST(Server, AWaitHoldsUpNobodyElse)
{
    const BoxServer box;
    Asker waiting(box.socket()), watching(box.socket());
    EXPECT_EQ(watching.ask(emu::Ask::Command, "watch"), emu::command_result::GOES_ON);
    waiting.send(emu::Ask::Command, "wait card mounted 0.2");
    waiting.send(emu::Ask::Command, "wait input stable 60");
    waiting.send(emu::Ask::Command, "show port");
    EXPECT_EQ(waiting.receive().header.number, emu::command_result::GOES_ON);
    EXPECT_EQ(tell(box.socket(), "source 0 plug 1080p60").header.number, 0);
    EXPECT_EQ(waiting.receive_last().header.number, emu::command_result::TOO_LATE);
    EXPECT_EQ(waiting.receive_last().header.number, emu::command_result::DONE);
    EXPECT_TRUE(waiting.receive_last().text().starts_with("input port 0"));
    std::string seen;
    while (seen.find("input: HDMI 1920x1080p\n") == std::string::npos) seen += watching.receive().text();
}

// Catches: two daemons that pull at the same registers, which nobody is told of.
TEST(Server, SaysThatTwoDaemonsAreOnOneBox)
{
    const BoxServer box;
    Asker daemon(box.socket()), tool(box.socket());
    daemon.ask(emu::Ask::Root, "capd-emu");
    tool.ask(emu::Ask::Root, "boxtool-emu");
    const std::string process = ", process " + std::to_string(getpid()) + "\n";
    EXPECT_EQ(tell(box.socket(), "show clients").text(), "capd-emu" + process + "boxtool-emu" + process);
    testing::internal::CaptureStdout();
    {
        Asker second(box.socket());
        second.ask(emu::Ask::Root, "capd-emu");
        EXPECT_NE(tell(box.socket(), "show").text().find("more than one daemon"), std::string::npos);
        EXPECT_NE(tell(box.socket(), "show clients --json").text().find("\"daemons\": 2"), std::string::npos);
    }
    while (tell(box.socket(), "show clients").text().find("more") != std::string::npos) {}
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "clients:\ncapd-emu" + process + "boxtool-emu" + process +
                                                          "capd-emu" + process +
                                                          "more than one daemon works on this box; stop all but one\n");
}

// Catches: a root whose name a shell line would fall apart on, and somebody's home folder filled with a box.
TEST(RootFs, UnusableFoldersAreRefused)
{
    const BoxServer box;
    const std::string scratch = box.folder();
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

// Catches: a second box that resets the cards and mounts of the one that runs before it finds out, and files that are
// taken for a socket that was left behind.
TEST(RootFs, BelongsToOneBoxAtATime)
{
    const BoxServer box;
    const std::string root = box.folder();
    EXPECT_EQ(tell(box.socket(), "card insert").header.number, 0);
    EXPECT_EQ(platform::run_shell("/bin/mount -t vfat /dev/mmcblk0p1 /mnt/sddisk"), 0);
    try {
        const emu::Box second({.root = root + "/."});
        ADD_FAILURE() << "two boxes on one root";
    } catch (const std::runtime_error& error) {
        EXPECT_EQ(std::string(error.what()),
                  "'" + root + "' is in use by another box, process " + std::to_string(getpid()));
    }
    EXPECT_NE(tell(box.socket(), "show card").text().find(", mounted"), std::string_view::npos);

    const std::string letter = root + "/letter";
    std::ofstream(letter) << "text";
    emu::Box other({.root = root + "/other"});
    EXPECT_THROW(emu::Server(other, letter), std::runtime_error);
    EXPECT_EQ(std::filesystem::file_size(letter), 4u);
}

// Catches: a root whose disk was full, or whose power failed, while it was filled: its scripts end in the middle.
TEST(RootFs, HalfFilledOneIsFilledAgain)
{
    const emu::ScratchFolder scratch("client");
    const std::string& root = scratch.path();
    const std::string script = root + "/kxbin/enc.sh";
    std::filesystem::create_directory(root + "/run");
    std::ofstream(root + "/run/box.lock") << "1\n";
    const auto fill = [&root] { const emu::RootFs filled(root); };
    fill();
    const auto size = std::filesystem::file_size(script);
    std::filesystem::resize_file(script, 10);
    fill();
    EXPECT_EQ(std::filesystem::file_size(script), 10u) << "what the box's user changed stays";
    std::ofstream(root + "/run/unfinished").flush();
    fill();
    EXPECT_EQ(std::filesystem::file_size(script), size);
    EXPECT_FALSE(std::filesystem::exists(root + "/run/unfinished"));
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
        {"setting of nothing", "0 source 0 plug 720p50\n1 source 0 unplug\n2 source 0 dvi",
         "f:3: source 0 dvi: nothing is"},
        {"condition", "0 wait input stabel", "f:1: wait input stabel: word 3 'stabel': expected stable, lost"},
        {"missing file", "0 rom load /nonexistent", "f:1: rom load /nonexistent: word 3 '/nonexistent': cannot be"},
        {"after the end", "0 quit\n1 card insert", "f:2: the box is off since \"quit\""},
        {"quit", "0 rom save /nonexistent/unwritten\n0 wait recording 3\n0 watch\n1 quit\n", nullptr},
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

// Catches: a folder, or a file without end, that is taken for a scenario.
TEST(Scenario, IsReadUpToASensibleSize)
{
    for (const auto& [file, why] : {std::pair("/tmp", "/tmp: cannot be read: Is a directory"),
                                    {"/dev/zero", "/dev/zero: has more than 1048576 bytes"},
                                    {"/nonexistent", "/nonexistent: cannot be read: No such file or directory"}})
        try {
            emu::load_scenario(file);
            ADD_FAILURE() << file;
        } catch (const std::runtime_error& error) {
            EXPECT_STREQ(error.what(), why);
        }
}

// Catches: a scenario's wait that holds up the steps behind it, or whose failure nobody hears of.
TEST(Scenario, StepsMayWait)
{
    const emu::ScratchFolder scratch("client");
    emu::Box box({.root = scratch.path()});
    std::istringstream text(
        "0 wait input stable 5\n0 wait recording 3\n1 source 0 plug 1080p60\n4 watch\n5 card insert\n");
    std::vector<std::string> refused, said;
    emu::schedule_scenario(box, emu::read_scenario(text, "f"), [&](bool ok, const std::string& answer) {
        if (!answer.empty()) (ok ? said : refused).push_back(answer);
    });
    box.time().advance_to(10'000'000);
    EXPECT_EQ(refused,
              std::vector<std::string>{"f:2: wait recording 3: expected a recording within 3 s; now: no recording"});
    ASSERT_EQ(said.size(), 1u);
    EXPECT_NE(said[0].find("card: in the slot"), std::string::npos);
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
