// Power-up: what is loaded, in which order, and what may be missing.
#include "devaccess/standard_streams.h"
#include "tests/box/recorder_box.h"

#include <fcntl.h>
#include <sstream>
#include <sys/stat.h>
#include <sys/wait.h>

namespace bench {

namespace {

std::string bitrate_line(const char* file)
{
    std::istringstream lines(box().root().read(std::string("/kxbin/") + file));
    for (std::string line; std::getline(lines, line);)
        if (line.starts_with("RateControl-AvgBitRate")) return line.substr(line.find_last_of(" \t") + 1);
    return {};
}

} // namespace

// Catches: two steps in the wrong order, and a key from before the start that is carried out.
TEST(StartUp, TakesItsStepsInOrder)
{
    RecorderBox recorder;
    recorder.usual_world();
    tell("key record");
    recorder.start();
    const std::string log = recorder.log();
    EXPECT_EQ(missing_in_order(
                  log, {"->sys_init r=0\n", "->config_init r=0\n", "->storage_init r=0\n", "->av_init r=0\n",
                        "->runner_init r=0\n", "->keyinput_init r=0\n", ":_load_config->_load_config r=-1\n",
                        "->sddisk_available_kb: ", "->hdmirx_init=0\n", "->Blanking hdmitx\n", "->hdmitx_init=0\n"}),
              "");
    EXPECT_EQ(count(log, ":_led_update_thread->led_init r=0\n"), 1u);
    EXPECT_EQ(count(log, "Raw key: 21 1\n"), 1u);
    EXPECT_FALSE(recorder.encoder_runs());
    EXPECT_EQ(recorder.panel() + recorder.bar(), "OO-----O-----");
}

// Catches: a device node, a pipe or a queue that takes the number of a standard stream and is written into by
// everything that prints: nvram's complaints go to descriptor 0.
TEST(StartUp, LeavesNoStandardStreamToADevice)
{
    struct stat null {};
    ASSERT_EQ(stat("/dev/null", &null), 0);
    for (int closed = 0; closed < 8; ++closed) {
        SCOPED_TRACE(closed);
        const pid_t child = fork();
        if (child == 0) {
            for (int fd = 0; fd < 3; ++fd)
                if ((closed & 1 << fd) != 0) close(fd);
            capd::open_standard_streams();
            for (int fd = 0; fd < 3; ++fd) {
                struct stat now {};
                if (fstat(fd, &now) != 0 || ((closed & 1 << fd) != 0 && now.st_rdev != null.st_rdev)) _exit(1);
            }
            _exit(open("/dev/null", O_RDWR) > 2 ? 0 : 2);
        }
        int status = -1;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0);
    }
    RecorderBox recorder;
    tell("nvram missing on");
    close(STDIN_FILENO);
    recorder.start();
    struct stat stream {};
    ASSERT_EQ(fstat(STDIN_FILENO, &stream), 0);
    EXPECT_EQ(stream.st_rdev, null.st_rdev);
}

struct Stored {
    const char* port;
    const char* config;
    const char* bitrate;
    const char* panel;   // nullptr: whatever such texts give
    const char* written; // bit rate in the encoder's file
};

class Settings : public testing::TestWithParam<Stored> {};
INSTANTIATE_TEST_SUITE_P(Texts, Settings,
                         testing::Values(Stored{"0", "0", "4500000", "OO-----", "4500000"},
                                         Stored{"1", "1", "9000000", "O--O-O-", "9000000"},
                                         Stored{"7", "9", "-1", "O--O-O-", "-1"},
                                         Stored{"", "text", "1e6", "OO-----", "1"},
                                         Stored{"000000000000000000000000000000000000001", "0x1",
                                                "99999999999999999999999999999999999", nullptr, nullptr}));

// Catches: a stored text that indexes past a table, overruns a buffer or keeps the daemon from starting.
TEST_P(Settings, AreTakenFromNvramWhateverItHolds)
{
    const Stored& stored = GetParam();
    RecorderBox recorder;
    recorder.usual_world();
    if (*stored.port != '\0') tell(std::string("nvram flash _HDMIRX_PORT ") + stored.port);
    tell(std::string("nvram flash _AV_REC_CONFIG ") + stored.config);
    tell(std::string("nvram flash _BITRATE_1 ") + stored.bitrate);
    recorder.start();
    if (stored.panel != nullptr) {
        EXPECT_EQ(recorder.panel(), stored.panel);
    }
    EXPECT_EQ(bitrate_line("low.cfg"), "4000000") << "there is no setting for this one";
    const std::string bitrate = bitrate_line("high.cfg");
    EXPECT_EQ(bitrate.find_first_not_of("-0123456789"), std::string::npos) << bitrate;
    if (stored.written != nullptr) {
        EXPECT_EQ(bitrate, stored.written);
    }
    recorder.press("port0", 4s);
    recorder.press("low", 3s);
    recorder.press("record", 3s);
    EXPECT_TRUE(recorder.encoder_runs());
    EXPECT_EQ(recorder.panel(), "OOO----");
}

struct Fault {
    const char* command;
    const char* shows; // in the log
};

class Missing : public testing::TestWithParam<Fault> {};
INSTANTIATE_TEST_SUITE_P(Part, Missing,
                         testing::Values(Fault{"card remove", "->Storage removed\n"},
                                         Fault{"nvram missing on", "->config_init r=-6\n"},
                                         Fault{"nvram refuse all", "->config_init r=-1\n"},
                                         Fault{"video remove 2", "->sys_init r=1\n"},
                                         Fault{"i2c fail receiver all", "i2c_read_byte failed: address=0x48"},
                                         Fault{"i2c fail transmitter all", "i2c_read_byte failed: address=0x4c"},
                                         Fault{"i2c fail board all", "do_wri2cnb() ioctl failed"},
                                         Fault{"encoder missing", "execlp error when running enc.sh"}));

// Catches: a daemon that does not come up without some part of the box, or does not go on when it has come up.
TEST_P(Missing, PartOfTheBoxLeavesTheRestAtWork)
{
    RecorderBox recorder;
    recorder.usual_world();
    tell("source 1 plug 1080p60");
    tell(GetParam().command);
    recorder.start();
    for (const char* key : {"port1", "high", "record", "stop", "power", "power"}) recorder.press(key, 3s);
    const std::string log = recorder.log();
    EXPECT_GE(count(log, GetParam().shows), 1u);
    EXPECT_EQ(missing_in_order(log, {"->sys_init r=", "->_load_config r=", "->hdmirx_init=", "->hdmitx_init="}), "");
    tell("card remove");
    run_for(2s);
    tell("card insert");
    run_for(2s);
    EXPECT_EQ(count(recorder.log(), ":_check_storage_event->New storage was added\n"), 1u);
}

} // namespace bench
