#include "platform/platform.h"
#include "tests/emulator/encoder_script.h"

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <regex>
#include <thread>
#include <unistd.h>

namespace {

using namespace std::chrono_literals;

void mount_card()
{
    bench::tell("card insert");
    ASSERT_EQ(capd::platform::run_shell("/bin/mount -t vfat /dev/mmcblk0p1 /mnt/sddisk"), 0);
}

void configure(const char* key, const char* value)
{
    const emu::RootFs& root = bench::box().root();
    const std::string text = root.read("/kxbin/low.cfg");
    root.write("/kxbin/low.cfg",
               std::regex_replace(text, std::regex(std::string(key) + ".*"), std::string(key) + " " + value));
}

/** Wait for another process in real time, which on a busy machine takes its time. @return whether it did what it should
 */
template<typename Condition>
bool soon(Condition condition)
{
    const auto patience = std::chrono::steady_clock::now() + 2min;
    while (!condition() && std::chrono::steady_clock::now() < patience) std::this_thread::sleep_for(5ms);
    return condition();
}

uint64_t size_of(const char* name)
{
    bench::box().encoder().catch_up();
    return bench::box().card().files().at(name);
}

// Catches: a file that does not grow with the box's time or at the configured rates, that grows after its end, that
// passes the file system's limit, or comes back after it was removed.
TEST(Encoder, BookkeepingGrowsTheFileWithTheBoxsTime)
{
    mount_card();
    emu::Encoder& encoder = bench::box().encoder();
    Script script = start("/mnt/sddisk/1.mp4");
    bench::run_for(10s);
    EXPECT_EQ(size_of("1.mp4"), (4'000'000u + 128'000u) / 8 * 10);
    EXPECT_EQ(encoder.recording()->sample_rate, 48000);
    bench::tell("encoder rate 8000000");
    bench::run_for(3600s);
    EXPECT_EQ(size_of("1.mp4"), UINT32_MAX);
    EXPECT_EQ(capd::platform::run_shell("/bin/umount /dev/mmcblk0p1 2>/dev/null"), 32 << 8) << "the file is open";
    EXPECT_EQ(script.stop("q"), 0);
    EXPECT_EQ(capd::platform::run_shell("rm /mnt/sddisk/1.mp4"), 0);
    bench::run_for(10s);
    EXPECT_EQ(bench::box().card().files().size(), 0u);
    EXPECT_FALSE(encoder.recording());

    Script second = start("/mnt/sddisk/2.mp4", "high.cfg");
    bench::tell("encoder rate 8");
    bench::run_for(10s);
    EXPECT_EQ(second.stop("xyq"), 0);
    const uint64_t size = size_of("2.mp4");
    EXPECT_EQ(size, 10'000u);
    bench::run_for(10s);
    EXPECT_EQ(size_of("2.mp4"), size);
    EXPECT_EQ(capd::platform::run_shell("/bin/umount /dev/mmcblk0p1"), 0);
}

// Catches: a configuration value that is used although it makes no sense, and a script that leaves its starter waiting.
TEST(Encoder, WrongConfigurationIsRefusedAtOnce)
{
    static const struct {
        const char *key, *value, *said;
    } cases[] = {
        {"PictureResolution-InPicWidth", "wide", "PictureResolution-InPicWidth is 'wide'"},
        {"StreamControl-Profile", "best", "StreamControl-Profile is 'best'"},
        {"PictureResolution-InPicHeight", "0", "PictureResolution-InPicHeight is '0'"},
        {"InputControl-OutFrameRate", "-30", "InputControl-OutFrameRate is '-30'"},
        {"AudioControlParam-SampleRate", "48000", "AudioControlParam-SampleRate is '48000'"},
        {"AudioControlParam-SampleRate", "37.5k", "AAC has no 37500 Hz"},
        {"AudioControlParam-ChNum", "3", "AudioControlParam-ChNum is '3'"},
        {"RateControl-AvgBitRate", "", "RateControl-AvgBitRate is ''"},
    };
    mount_card();
    const std::string good = bench::box().root().read("/kxbin/low.cfg");
    for (const auto& c : cases) {
        SCOPED_TRACE(c.said);
        bench::box().root().write("/kxbin/low.cfg", good);
        configure(c.key, c.value);
        bench::Output output;
        Script script = start("/mnt/sddisk/1.mp4");
        bench::box().encoder().settle();
        EXPECT_FALSE(script.runs());
        EXPECT_EQ(script.stop(""), 1);
        EXPECT_NE(output.take().find(c.said), std::string::npos);
    }
    EXPECT_EQ(bench::box().card().files().size(), 0u);
    bench::box().root().write("/kxbin/low.cfg", good);
    Script nowhere = start("/mnt/nowhere/1.mp4");
    EXPECT_EQ(nowhere.stop(""), 1);
}

// Catches: misbehaviour that a test orders and does not get, or gets later than it thinks.
TEST(Encoder, MisbehavesWhenTold)
{
    mount_card();
    bench::tell("encoder refuse");
    {
        const bench::Output quiet;
        Script refusing = start("/mnt/sddisk/1.mp4");
        bench::run_for(1us);
        EXPECT_FALSE(refusing.runs());
    }
    bench::tell("encoder ok");
    {
        Script dying = start("/mnt/sddisk/2.mp4");
        bench::run_for(10s);
        bench::tell("encoder die");
        EXPECT_FALSE(dying.runs());
        bench::run_for(10s);
        EXPECT_EQ(size_of("2.mp4"), 5'160'000u) << "no growth after death";
        signal(SIGPIPE, SIG_IGN);
        EXPECT_EQ(dying.stop(""), -SIGKILL);
    }
    bench::tell("encoder hang 200");
    {
        Script hanging = start("/mnt/sddisk/3.mp4");
        bench::run_for(1us);
        const auto before = std::chrono::steady_clock::now();
        EXPECT_EQ(hanging.stop("q"), 0);
        EXPECT_GE(std::chrono::steady_clock::now() - before, 200ms);
    }
    bench::tell("encoder hang 60000");
    Script released = start("/mnt/sddisk/4.mp4");
    bench::run_for(1us);
    released.say("q");
    const std::string heard = "stopping " + std::to_string(released.pid()) + "\n";
    EXPECT_TRUE(soon([&] { return bench::box().root().read("/run/encoder/log").ends_with(heard); })) << heard;
    EXPECT_TRUE(released.runs());
    bench::tell("encoder go");
    EXPECT_EQ(released.stop(""), 0) << "a hang ends when told";
    bench::tell("encoder missing");
    Script missing = start("/mnt/sddisk/5.mp4");
    EXPECT_EQ(missing.stop(""), 127);
}

// Catches: an encoder that goes on writing to a card that is in somebody's hand, or that notices and ends.
TEST(Encoder, DoesNotNoticeAPulledCard)
{
    mount_card();
    Script script = start("/mnt/sddisk/1.mp4");
    bench::run_for(10s);
    bench::tell("card remove");
    bench::run_for(10s);
    EXPECT_EQ(size_of("1.mp4"), 5'160'000u);
    EXPECT_TRUE(script.runs());
    EXPECT_EQ(script.stop("q"), 0);
}

std::string probe(const std::string& file, const char* entries)
{
    const std::string line = "ffprobe -v error -of csv=p=0 -show_entries stream=" + std::string(entries) + " " + file;
    FILE* pipe = popen(line.c_str(), "r");
    char text[256] = "";
    const size_t got = std::fread(text, 1, sizeof text - 1, pipe);
    pclose(pipe);
    return {text, got};
}

/** Whether a process that is nobody's child here has ended. Whoever inherited it may take its time to notice. */
bool has_ended(pid_t pid)
{
    std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
    std::string number, name, state; // the writer's name has no blanks
    return !(file >> number >> name >> state) || state == "Z";
}

// Catches: a real recording whose picture or sound is not what the configuration asks for, that has no end after 'q',
// that is unreadable after its writer was killed, or that goes on for ever once its writer or its script is gone.
TEST(Encoder, FfmpegWritesWhatTheConfigurationAsksFor)
{
    if (std::system("ffmpeg -version >/dev/null 2>&1") != 0) GTEST_SKIP() << "no ffmpeg";
    const bench::Output quiet;
    const emu::RootFs root(bench::box().root().path() + "/second");
    emu::Timeline time;
    const emu::Card card(root);
    emu::Encoder encoder(root, time, card, emu::EncoderKind::Ffmpeg);
    const std::string text = root.read("/kxbin/low.cfg");
    root.write("/kxbin/low.cfg", text + "PictureResolution-InPicWidth 320\nPictureResolution-InPicHeight 180\n"
                                        "InputControl-OutFrameRate 25\nAudioControlParam-SampleRate 192k\n"
                                        "AudioControlParam-ChNum 1\nRateControl-AvgBitRate 400000\n");
    const auto record = [&](const char* name, auto end) {
        encoder.expect_start();
        Script script(root, (std::string("/mnt/custblk/") + name).c_str());
        encoder.settle();
        const auto size = [&] { return root.read(std::string("/mnt/custblk/") + name).size(); };
        soon([&] { return size() > 40'000 || !script.runs(); });
        EXPECT_GT(size(), 40'000u) << "no second of the recording has been written";
        end(script);
        return probe(root.map("/mnt/custblk/") + name,
                     "codec_name,profile,width,height,r_frame_rate,sample_rate,channels");
    };
    const std::string expected = "h264,Main,320,180,25/1\naac,LC,96000,1,0/0\n";
    encoder.show_input(1, "720p50");
    EXPECT_EQ(record("q.mp4", [](Script& script) { EXPECT_EQ(script.stop("q"), 0); }), expected);
    EXPECT_EQ(root.read("/run/encoder/caption"), "port 1  720p50\nq.mp4  %{pts:hms}\n");
    EXPECT_EQ(record("killed.mp4", [&](Script&) { EXPECT_TRUE(encoder.die()); }), expected);
    EXPECT_EQ(record("orphan.mp4",
                     [&](Script& script) {
                         kill(encoder.recording().value().writer, SIGKILL);
                         EXPECT_TRUE(soon([&] { return !script.runs(); })) << "the script goes on without its writer";
                     }),
              expected);
    for (const int signal : {SIGTERM, SIGKILL}) {
        const auto leave = [&](Script& script) {
            const pid_t writer = encoder.recording().value().writer;
            kill(script.pid(), signal);
            EXPECT_TRUE(soon([&] { return !script.runs(); }));
            EXPECT_TRUE(soon([&] { return has_ended(writer); })) << "it outlives its script";
        };
        EXPECT_EQ(record("left.mp4", leave), expected) << strsignal(signal);
    }
}

} // namespace
