// Each correction against the harm that it mends: the same scenario without it and with it.
#include "emulator/chips/transmitter_registers.h"
#include "emulator/inprocess/inprocess.h"
#include "emulator/world/edid_builder.h"
#include "emulator/world/edids.h"
#include "tests/box/recorder_box.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <sstream>
#include <sys/stat.h>

namespace bench {

namespace {

using emu::i2c_address::BOARD;
using emu::i2c_address::EDID_ROM;
using emu::i2c_address::RECEIVER;

constexpr int64_t POWER_ON = 1767225600; // the wall clock's, as the box starts with

/** A harm, and a scenario that tells whether it was mended. */
struct Harm {
    const char *correction, *what;
    bool (*is_mended)(RecorderBox&, const char* corrections);
};

std::string log_after(RecorderBox& recorder, std::chrono::microseconds time)
{
    recorder.log();
    run_for(time);
    return recorder.log();
}

/** Start with a card that holds some files, as "name kilobytes" or for the number file "number". */
void start_on(RecorderBox& recorder, const char* corrections, std::initializer_list<const char*> files,
              const char* number)
{
    recorder.usual_world();
    for (const char* file : files) tell(std::string("card put ") + file);
    if (*number != '\0') tell(std::string("card write .media_fileno ") + number);
    recorder.start({"--correct", corrections});
}

bool lost_number_file(RecorderBox& recorder, const char* corrections)
{
    start_on(recorder, corrections, {"00001.00001.mp4 1000", "00007.00002.mp4 1000"}, "");
    recorder.press("record", 5s);
    recorder.press("stop", 2s);
    return recorder.recordings() == "00001.00001.mp4 00007.00002.mp4 00008.00001.mp4 ";
}

bool number_that_is_none(RecorderBox& recorder, const char* corrections)
{
    start_on(recorder, corrections, {"00003.00001.mp4 1000"}, "x7");
    recorder.press("record", 5s);
    recorder.press("stop", 2s);
    return recorder.recordings() == "00003.00001.mp4 00004.00001.mp4 ";
}

bool name_that_is_taken(RecorderBox& recorder, const char* corrections)
{
    start_on(recorder, corrections, {"00005.00001.mp4 999", "00006.00001.mp4 1000"}, "5");
    recorder.press("record", 5s);
    recorder.press("stop", 2s);
    return recorder.file_kb("00005.00001.mp4") == 999 && recorder.file_kb("00007.00001.mp4") > 1000 &&
           box().card().read(".media_fileno") == "8" && recorder.recordings().size() == 3 * 16;
}

bool small_file_of_another(RecorderBox& recorder, const char* corrections)
{
    start_on(recorder, corrections, {"00041.00001.mp4 50"}, "1");
    recorder.press("record", 5s);
    tell("card write .media_fileno 42");
    tell("source 0 sync off");
    run_for(1s);
    return recorder.file_kb("00041.00001.mp4") == 50 && recorder.file_kb("00001.00001.mp4") > 1000;
}

bool part_on_another_card(RecorderBox& recorder, const char* corrections)
{
    start_on(recorder, corrections, {}, "77");
    recorder.press("record", 5s);
    tell("card remove");
    run_for(1s);
    tell("card erase");
    tell("card insert");
    run_for(5s);
    recorder.press("stop", 2s);
    return recorder.recordings() == "00001.00001.mp4 ";
}

/** For how long an encoder hangs, in the PC's milliseconds: who does not end it waits for all of that. */
std::string hang_time(const char* corrections)
{
    return std::string_view(corrections) == "none" ? "1000" : "60000";
}

bool encoder_that_does_not_stop(RecorderBox& recorder, const char* corrections)
{
    start_on(recorder, corrections, {}, "");
    tell("encoder hang " + hang_time(corrections));
    recorder.press("record", 3s);
    recorder.log();
    const uint64_t transfers = box().i2c().count(RECEIVER);
    recorder.press("stop", 12s);
    const std::string log = recorder.log();
    return log.find("SIGTERM") != std::string::npos && log.find("SIGKILL") == std::string::npos &&
           box().i2c().count(RECEIVER) - transfers > 1000 && !recorder.encoder_runs() && !box().card().mounted();
}

bool encoder_that_ignores_the_signal(RecorderBox& recorder, const char* corrections)
{
    start_on(recorder, corrections, {}, "");
    tell("encoder deaf " + hang_time(corrections));
    recorder.press("record", 3s);
    recorder.press("stop", 17s);
    return missing_in_order(recorder.log(), {"SIGTERM\n", "SIGKILL\n", "umount sddisk succeedeed"}).empty();
}

bool mount_that_is_killed(RecorderBox& recorder, const char* corrections)
{
    start_on(recorder, corrections, {}, "");
    const std::string mount = box().root().map("/bin/mount");
    box().root().write("/bin/mount", "#!/bin/sh\n[ \"$(cat /proc/$PPID/comm)\" = sh ] && kill -9 $PPID\n");
    chmod(mount.c_str(), 0755);
    return RecorderBox::error_flashes([&] { recorder.press("record", 3s); }) == 1; // no card; not a read-only one
}

/** Whether a status line shows more than the card of 32 GB has. */
bool shows_free_space_that_is_not_there(const std::string& log)
{
    std::istringstream lines(log);
    for (std::string line; std::getline(lines, line);) {
        const size_t last = line.rfind("| ");
        if (line.find(".mp4 | ") != std::string::npos && std::atol(line.c_str() + last + 2) > 32'000) return true;
    }
    return false;
}

bool card_that_was_never_measured(RecorderBox& recorder, const char* corrections)
{
    tell("source 0 plug 1080p60");
    recorder.start({"--storage-hard-limit", "0", "--correct", corrections});
    run_for(1s - now() % 1s + 50ms); // the slot is looked at when the second changes
    tell("card insert");
    recorder.press("record", 500ms);
    return !shows_free_space_that_is_not_there(log_after(recorder, 15s)) && recorder.encoder_runs() &&
           recorder.bar() == "O-----";
}

bool card_that_fills_to_the_end(RecorderBox& recorder, const char* corrections)
{
    tell("card size 60000");
    recorder.usual_world();
    recorder.start({"--storage-hard-limit", "0", "--correct", corrections});
    tell("encoder rate 100000");
    recorder.press("record");
    return !shows_free_space_that_is_not_there(log_after(recorder, 12s));
}

bool card_smaller_than_the_reserve(RecorderBox& recorder, const char* corrections)
{
    tell("card size 30000");
    start_on(recorder, corrections, {}, "");
    recorder.press("record", 3s);
    return recorder.log().find("Not enough disk space to record\n") != std::string::npos;
}

bool full_card_at_a_restart(RecorderBox& recorder, const char* corrections)
{
    start_on(recorder, corrections, {}, "");
    recorder.press("record", 5s);
    tell("card remove");
    run_for(1200ms);
    tell("card size 100000");
    tell("card insert");
    return log_after(recorder, 2s).find("av_rec_start succeeded") == std::string::npos;
}

bool clock_set_back(RecorderBox& recorder, const char* corrections)
{
    start_on(recorder, corrections, {}, "");
    recorder.press("record", 5s);
    emu::inprocess_set_wall_clock(POWER_ON - 3600);
    tell("card remove");
    const std::string log = log_after(recorder, 5s);
    emu::inprocess_set_wall_clock(POWER_ON);
    return log.find("Storage removed\n") != std::string::npos;
}

bool clock_set_forward(RecorderBox& recorder, const char* corrections)
{
    start_on(recorder, corrections, {}, "");
    recorder.press("record", 5s);
    emu::inprocess_set_wall_clock(POWER_ON + 3 * 3600);
    return log_after(recorder, 8s).find("Max time for recording reached") == std::string::npos;
}

bool restart_in_every_pass(RecorderBox& recorder, const char* corrections)
{
    start_on(recorder, corrections, {}, "");
    recorder.press("record", 5s);
    tell("card remove");
    const size_t tries = count(log_after(recorder, 6s), "Got stable input again, starting recording\n");
    return tries >= 4 && tries <= 6;
}

bool first_check_before_the_file(RecorderBox& recorder, const char* corrections)
{
    start_on(recorder, corrections, {}, "");
    recorder.press("record", 9s);
    const std::string log = recorder.log();
    return log.find(" | 00m00s | ") == std::string::npos && count(log, " | 00m05s | ") == 1;
}

/** The TV with an HDMI Forum block behind the HDMI block, as displays for 4K have it. */
emu::EdidImage forum_tv()
{
    emu::EdidImage image = emu::edid_base({.name = "Forum TV",
                                           .product = 1,
                                           .width_cm = 93,
                                           .height_cm = 52,
                                           .preferred = emu::edid_timing("1080p60"),
                                           .second = emu::edid_timing("720p60")},
                                          1);
    const emu::EdidImage cta = emu::edid_cta(3, 0x70,
                                             {emu::cta_video({0x90, 4}),
                                              emu::cta_audio({0x09, 0x07, 0x07}),
                                              emu::cta_hdmi({0x10, 0x00, 0x38, 0x2D}),
                                              {0x67, 0xD8, 0x5D, 0xC4, 0x01, 0x78, 0x80, 0x00}},
                                             {emu::edid_timing("1080p60")});
    image.insert(image.end(), cta.begin(), cta.end());
    return image;
}

bool rom_holds(const emu::EdidImage& image)
{
    return std::ranges::equal(box().edid_rom().bytes(), image);
}

bool display_with_a_forum_block(RecorderBox& recorder, const char* corrections)
{
    box().transmitter().plug({"forum", forum_tv()});
    start_on(recorder, corrections, {}, "");
    return box().transmitter().view().signal == emu::OutputSignal::Hdmi && rom_holds(forum_tv());
}

bool rom_of_a_display_with_many_blocks(RecorderBox& recorder, const char* corrections)
{
    tell("display plug five-blocks");
    start_on(recorder, corrections, {}, "");
    run_for(3s);
    const auto bytes = box().edid_rom().bytes();
    const emu::EdidImage rom(bytes.begin(), bytes.end());
    return rom[0] == 0 && rom[1] == 0xFF && rom[126] == 1 && rom[128] == 0x02 && emu::edid_checksum_right(rom, 0) &&
           emu::edid_checksum_right(rom, 1);
}

bool rom_write_that_fails_half_way(RecorderBox& recorder, const char* corrections)
{
    start_on(recorder, corrections, {}, "");
    box().i2c().fail(EDID_ROM, 256 + 100, 1000, EIO);
    tell("display plug tv");
    run_for(3s);
    box().i2c().mend(EDID_ROM);
    run_for(6s);
    return rom_holds(emu::find_edid("tv"));
}

bool display_that_came_while_recording(RecorderBox& recorder, const char* corrections)
{
    start_on(recorder, corrections, {}, "");
    recorder.press("record", 3s);
    tell("display plug tv");
    run_for(10s);
    if (rom_holds(emu::find_edid("tv"))) return false; // the source must not be disturbed
    recorder.press("stop", 3s);
    return rom_holds(emu::find_edid("tv"));
}

bool ddc_that_never_ends(RecorderBox& recorder, const char* corrections)
{
    tell("display plug tv");
    tell("display ddc never times 1");
    start_on(recorder, corrections, {}, "");
    tell("display hpd-pulse");
    run_for(3s);
    return box().transmitter().view().signal == emu::OutputSignal::Hdmi;
}

std::string configured(const std::string& key)
{
    std::istringstream lines(box().root().read("/kxbin/low.cfg"));
    for (std::string word, value; lines >> word; std::getline(lines, value))
        if (word == key && lines >> value) return value;
    return {};
}

bool rate_of_50_hz(RecorderBox& recorder, const char* corrections)
{
    tell("card insert");
    tell("source 0 plug 1080p50");
    recorder.start({"--correct", corrections});
    recorder.press("record", 2s);
    return configured("InputControl-InFrameRate") == "50";
}

bool stereo_that_calls_itself_channel_6(RecorderBox& recorder, const char* corrections)
{
    tell("card insert");
    tell("source 0 plug 1080p60 audio lpcm 48000 2 24 channel-number 6");
    recorder.start({"--correct", corrections});
    recorder.press("record", 2s);
    return recorder.encoder_runs();
}

bool output_of_1080p60(RecorderBox& recorder, const char* corrections)
{
    tell("display plug tv");
    start_on(recorder, corrections, {}, "");
    run_for(2s);
    const emu::DisplayView view = box().transmitter().view();
    return view.afe_range == emu::AfeRange::High && view.avi.body[4] == 16 && view.avi.body[2] == 0xA8;
}

/** What the receiver's converter was set up to in the end. */
std::string conversion_after(RecorderBox& recorder, const char* corrections, const char* change)
{
    start_on(recorder, corrections, {}, "");
    tell(change);
    run_for(5s);
    const std::string input = ask("show input");
    const size_t at = input.find("RGB to YUV");
    return at == std::string::npos ? input : input.substr(at, input.find('\n', at) - at);
}

bool picture_without_colorimetry(RecorderBox& recorder, const char* corrections)
{
    return conversion_after(recorder, corrections, "source 0 format 1080p50").find("BT.709") != std::string::npos;
}

bool rgb_of_a_computer(RecorderBox& recorder, const char* corrections)
{
    return conversion_after(recorder, corrections, "source 0 range full").find("0-255") != std::string::npos;
}

bool format_that_changed_at_once(RecorderBox& recorder, const char* corrections)
{
    start_on(recorder, corrections, {}, "");
    recorder.press("record", 5s);
    tell("source 0 format 1080i60 seamless");
    run_for(5s);
    const std::string scan = configured("InputControl-ScanFormat");
    tell("source 0 format 720p60"); // with a break, after which the new format must not be taken for another change
    run_for(8s);
    recorder.press("stop", 2s);
    return recorder.recordings() == "00001.00001.mp4 00001.00002.mp4 00001.00003.mp4 " && scan == "interlace" &&
           count(recorder.log(), "av_rec_start succeeded") == 3;
}

bool output_after_a_change_at_once(RecorderBox& recorder, const char* corrections)
{
    tell("display plug tv");
    start_on(recorder, corrections, {}, "");
    recorder.press("record", 3s);
    tell("source 0 format 1080i60 seamless");
    run_for(5s);
    const emu::DisplayView view = box().transmitter().view();
    return view.avi.vic() == 5 && view.afe_range == emu::AfeRange::Low;
}

bool configuration_that_is_not_kept(RecorderBox& recorder, const char* corrections)
{
    start_on(recorder, corrections, {}, "");
    tell("nvram refuse commit");
    recorder.press("high", 3s);
    return recorder.panel() == "OO---OO";
}

bool configuration_that_is_not_taken(RecorderBox& recorder, const char* corrections)
{
    start_on(recorder, corrections, {}, "");
    tell("nvram refuse set");
    recorder.press("high", 3s);
    return recorder.panel() == "OO----O";
}

bool configuration_that_is_kept_at_the_second_try(RecorderBox& recorder, const char* corrections)
{
    start_on(recorder, corrections, {}, "");
    tell("nvram refuse commit");
    recorder.press("high", 3s);
    tell("nvram refuse none");
    recorder.press("high", 3s);
    tell("nvram power-cut");
    return recorder.panel() == "OO---O-" && ask("show nvram").find("_AV_REC_CONFIG") != std::string::npos;
}

bool port_that_does_not_exist(RecorderBox& recorder, const char* corrections)
{
    tell("nvram flash _HDMIRX_PORT 5");
    start_on(recorder, corrections, {}, "");
    return recorder.panel() == "O-----O";
}

bool port_that_is_not_switched(RecorderBox& recorder, const char* corrections)
{
    tell("nvram flash _HDMIRX_PORT 1");
    box().i2c().fail(BOARD, 1, 3, EIO); // all attempts of the first write, which selects the port
    start_on(recorder, corrections, {}, "");
    return recorder.panel() == "O-----O";
}

bool error_led_of_the_auto_stop(RecorderBox& recorder, const char* corrections)
{
    start_on(recorder, corrections, {}, "");
    recorder.press("record", 5s);
    tell("card remove");
    run_for(2s);
    const uint64_t flashes = RecorderBox::error_flashes([] {});
    return flashes >= 6 && flashes <= 7; // a period of 0.8 s
}

constexpr Harm HARMS[] = {
    {"recordings", "LostNumberFile", lost_number_file},
    {"recordings", "NumberThatIsNone", number_that_is_none},
    {"recordings", "NameThatIsTaken", name_that_is_taken},
    {"recordings", "SmallFileOfAnother", small_file_of_another},
    {"recordings", "PartOnAnotherCard", part_on_another_card},
    {"recordings", "EncoderThatDoesNotStop", encoder_that_does_not_stop},
    {"recordings", "EncoderThatIgnoresTheSignal", encoder_that_ignores_the_signal},
    {"recordings", "MountThatIsKilled", mount_that_is_killed},
    {"space", "CardThatWasNeverMeasured", card_that_was_never_measured},
    {"space", "CardThatFillsToTheEnd", card_that_fills_to_the_end},
    {"space", "CardSmallerThanTheReserve", card_smaller_than_the_reserve},
    {"space", "FullCardAtARestart", full_card_at_a_restart},
    {"pace", "ClockSetBack", clock_set_back},
    {"pace", "ClockSetForward", clock_set_forward},
    {"pace", "RestartInEveryPass", restart_in_every_pass},
    {"pace", "FirstCheckBeforeTheFile", first_check_before_the_file},
    {"displays", "DisplayWithAForumBlock", display_with_a_forum_block},
    {"displays", "RomOfADisplayWithManyBlocks", rom_of_a_display_with_many_blocks},
    {"displays", "RomWriteThatFailsHalfWay", rom_write_that_fails_half_way},
    {"displays", "DisplayThatCameWhileRecording", display_that_came_while_recording},
    {"displays", "DdcThatNeverEnds", ddc_that_never_ends},
    {"formats", "RateOf50Hz", rate_of_50_hz},
    {"formats", "StereoThatCallsItselfChannel6", stereo_that_calls_itself_channel_6},
    {"formats", "OutputOf1080p60", output_of_1080p60},
    {"formats", "PictureWithoutColorimetry", picture_without_colorimetry},
    {"formats", "RgbOfAComputer", rgb_of_a_computer},
    {"formats", "FormatThatChangedAtOnce", format_that_changed_at_once},
    {"formats", "OutputAfterAChangeAtOnce", output_after_a_change_at_once},
    {"panel", "ConfigurationThatIsNotKept", configuration_that_is_not_kept},
    {"panel", "ConfigurationThatIsKeptAtTheSecondTry", configuration_that_is_kept_at_the_second_try},
    {"panel", "PortThatDoesNotExist", port_that_does_not_exist},
    {"panel", "ConfigurationThatIsNotTaken", configuration_that_is_not_taken},
    {"panel", "PortThatIsNotSwitched", port_that_is_not_switched},
    {"panel", "ErrorLedOfTheAutoStop", error_led_of_the_auto_stop},
};

void PrintTo(const Harm& harm, std::ostream* out)
{
    *out << harm.correction << ", " << harm.what;
}

class Corrections : public testing::TestWithParam<Harm> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(Harms, Corrections, testing::ValuesIn(HARMS),
                         [](const auto& row) { return std::string(row.param.what); });

// Catches: a scenario that shows nothing, because the harm is not there.
TEST_P(Corrections, AreNeeded)
{
    RecorderBox recorder;
    EXPECT_FALSE(GetParam().is_mended(recorder, "none"));
}

// Catches: a correction that does not hold, or that leans on another one.
TEST_P(Corrections, Hold)
{
    RecorderBox recorder;
    EXPECT_TRUE(GetParam().is_mended(recorder, GetParam().correction));
}

// Catches: a correction that breaks what another one mends.
TEST_P(Corrections, HoldTogether)
{
    RecorderBox recorder;
    EXPECT_TRUE(GetParam().is_mended(recorder, "all"));
}

// Catches: a card that is taken for another one, whatever was done to the clock.
TEST(CorrectedRecordings, GoOnOnTheCardThatTheyAreOn)
{
    RecorderBox recorder;
    start_on(recorder, "all", {}, "");
    recorder.press("record", 5s);
    tell("card remove");
    run_for(2s);
    tell("card insert");
    run_for(6s);
    emu::inprocess_set_wall_clock(POWER_ON - 3600);
    tell("source 0 sync off");
    run_for(1s);
    tell("source 0 sync on");
    run_for(8s);
    recorder.press("stop", 2s);
    EXPECT_EQ(recorder.recordings(), "00001.00001.mp4 00001.00002.mp4 00001.00003.mp4 ");
    EXPECT_EQ(box().card().read(".media_fileno"), "2");
}

// Catches: a source that flaps using up the numbers, and its small parts staying behind.
TEST(CorrectedRecordings, GiveTheNumberBackOfWhichNothingIsLeft)
{
    RecorderBox recorder;
    start_on(recorder, "all", {}, "");
    tell("encoder rate 100");
    recorder.press("record", 2s);
    for (int loss = 0; loss < 3; ++loss) {
        tell("source 0 sync off");
        run_for(1s);
        tell("source 0 sync on");
        run_for(4s);
    }
    tell("encoder rate 0");
    run_for(5s);
    recorder.press("stop", 2s);
    EXPECT_EQ(recorder.recordings(), "00001.00001.mp4 ");
}

// Catches: a DVI display that is driven as if it were a television.
TEST(CorrectedFormats, LeaveADviDisplayTheFullRange)
{
    RecorderBox recorder;
    tell("display plug dvi");
    start_on(recorder, "all", {}, "");
    run_for(3s);
    const emu::DisplayView view = box().transmitter().view();
    EXPECT_EQ(view.path.matrix, (emu::Matrix{emu::MatrixKind::YuvToRgb, true, false}));
}

// Catches: a ROM that cannot be written and is worn out by trying, and one that is never tried again.
TEST(CorrectedDisplays, TryABadRomLessAndLess)
{
    RecorderBox recorder;
    start_on(recorder, "all", {}, "");
    box().i2c().fail_all(EDID_ROM, EIO);
    tell("display plug tv");
    run_for(60s);
    const uint64_t first = box().i2c().count(EDID_ROM);
    run_for(60s);
    EXPECT_LT(box().i2c().count(EDID_ROM) - first, first / 2);
    box().i2c().mend(EDID_ROM);
    run_for(600s);
    EXPECT_TRUE(rom_holds(emu::find_edid("tv")));
}

} // namespace bench
