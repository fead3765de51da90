#include "hdmirx/src/hdmirx/access.h"
#include "hdmirx/src/hdmirx/audio.h"
#include "hdmirx/src/hdmirx/port.h"
#include "hdmirx/src/hdmirx/video_mode.h"
#include "hdmirx/src/hdmirx/video_state.h"
#include "tests/hdmirx/receiver_bench.h"

#include <algorithm>

using namespace capd;
using namespace emu::rx;
using bench::box;
using bench::picture;

namespace {

const std::vector<std::pair<int, int>> PULSE = {{REG_RESET, 0xA0}, {REG_RESET, 0x20}};

emu::Source& source()
{
    return box().source(0);
}

size_t changes(const std::string& text, const char* from, const char* to)
{
    return bench::count(text, std::string("\nRX VState VSTATE_") + from + " -> VSTATE_" + to + "\n");
}

} // namespace

// Catches: a timer that is loaded with another value or counted twice in a tick, and a state that is skipped.
TEST(ReceiverVideo, GoesFromFiveVoltsToPictureInTheTicksOfItsTimers)
{
    source().plug(picture("1080p60"));
    hdmirx_init();
    EXPECT_FALSE(box().receiver().terminated(0));
    // Colour detection is entered by the sync event, before the tick counts its timer of 13 down.
    EXPECT_EQ(bench::trace(60), "SWReset 15, PwrOff 1, SyncWait 5, ColorDetectReset 12, SyncChecking 5, VideoOn 22");
    EXPECT_TRUE(box().receiver().terminated(0));
    EXPECT_TRUE(box().receiver().lets_video_out());
    EXPECT_TRUE(box().receiver().lets_audio_out());
    EXPECT_EQ(rx::CurrentVideoMode().HTotal, 2200);
}

// Every row: a cause in the world, the change it must lead to, and the message that names the cause.
TEST(ReceiverVideo, LeavesEachStateForEachCause)
{
    using Cause = void (*)();
    static const struct {
        const char* what;
        Cause bring_about; ///< from a picture on port 0
        const char *from, *to, *message;
    } rows[] = {
        {"no sync any more, the event comes first", [] { source().set_sync(false), bench::ticks(2); }, "VideoOn",
         "SyncWait ", "\nSCDT Off interrupt\n\nGetSCDT OFF\n"},
        {"5 V gone", [] { source().unplug(), bench::ticks(2); }, "VideoOn", "SWReset", "Terminator_Off, reg07 = 0c\n"},
        {"another format", [] { source().change(picture("720p50"), true), bench::ticks(4); }, "VideoOn", "SyncWait ",
         "\nVideo mode change interrupt.\n:\nRXINT_VideoMode_Chg\n"},
        {"HDMI becomes DVI",
         [] {
             emu::Signal dvi = picture("1080p60");
             dvi.hdmi = false;
             source().change(dvi, true);
             bench::ticks(2);
         },
         "VideoOn", "SyncWait ", "\nHDMI Mode change interrupt.\n\nRXINT_VideoMode_Chg\n"},
        {"no sync for 250 ticks", [] { source().set_sync(false), bench::ticks(252); }, "SyncWait ", "SWReset",
         "\nVsyncWaitResetTimer up, call SWReset_HDMIRX()\n"},
        {"5 V gone while waiting for sync",
         [] {
             source().set_sync(false), bench::ticks(2);
             source().unplug(), bench::ticks(1);
         },
         "SyncWait ", "SWReset", "Terminator_Off"},
        {"no 5 V on the port chosen, which latches no event",
         [] {
             source().set_sync(false), bench::ticks(2);
             rx::SelectHDMIPort(1), bench::ticks(1);
         },
         "SyncWait ", "SWReset", "\n!CheckPlg5VPwr() failed\n"},
        {"the same while the colour is detected",
         [] {
             source().change(picture("720p50")), bench::ticks_until(rx::VSTATE_ColorDetectReset);
             rx::SelectHDMIPort(1), bench::ticks(1);
         },
         "ColorDetectReset", "SWReset", "\n!CheckPlg5VPwr() failed\n"},
        {"sync lost between the look at the events and the look at the line",
         [] {
             box().receiver().fault(emu::ReceiverChip::Fault::Ecc); // keeps the tick busy for some milliseconds
             box().time().after(1'000, [] { source().set_sync(false); });
             bench::ticks(1);
         },
         "VideoOn", "SyncWait ", "\n!IsSCDT()\n"},
        {"5 V gone while the colour is detected",
         [] {
             source().change(picture("720p50")), bench::ticks_until(rx::VSTATE_ColorDetectReset);
             source().unplug(), bench::ticks(1);
         },
         "ColorDetectReset", "SWReset", "Terminator_Off"},
        {"sync lost while it is checked",
         [] {
             source().change(picture("720p50")), bench::ticks_until(rx::VSTATE_SyncChecking);
             source().set_sync(false), bench::ticks(1);
         },
         "SyncChecking", "SyncWait ", "\nSCDT Off interrupt\n"},
        {"sync comes back after a reset",
         [] {
             source().unplug(), bench::ticks(17);
             source().plug(picture("1080p60")), bench::ticks(3);
         },
         "PwrOff", "SyncWait ", "Terminator_On, reg07 = 00\n"},
    };
    bench::start_receiver();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        rx::SelectHDMIPort(0);
        bench::show_afresh(picture("1080p60"), 100);
        const std::string text = bench::printed(row.bring_about);
        EXPECT_EQ(changes(text, row.from, row.to), 1u) << text;
        EXPECT_NE(text.find(row.message), std::string::npos) << text;
        const bool first = text.find("\n### Audio Off 1\n\nAState -> ASTATE_AudioOff\n") < text.find("\nRX VState");
        EXPECT_TRUE(first) << "the sound goes before the picture: " << text;
    }
}

// Catches: a count of sync losses that is off by one, is not forgotten by a settled picture, or outlives the reset.
TEST(ReceiverVideo, FifteenSyncLossesInARowResetTheChip)
{
    bench::start_receiver();
    bench::show(picture("1080p60"), 100);
    const auto resets_after = [](unsigned losses) {
        source().drop(losses, 40'000);
        return changes(bench::printed([] { bench::ticks(150); }), "SyncWait ", "SWReset");
    };
    EXPECT_EQ(resets_after(14), 0u);
    EXPECT_EQ(rx::VState(), rx::VSTATE_VideoOn);
    bench::ticks(100); // settled again
    EXPECT_EQ(resets_after(14), 0u);
    bench::ticks(100);
    EXPECT_EQ(resets_after(15), 1u);
    EXPECT_GT(bench::ticks_until(rx::VSTATE_VideoOn), 0);
}

// Catches: a wait for sync that has no end or is cut short, and a source that is not asked again.
TEST(ReceiverVideo, BothWaitsForSyncEndInAReset)
{
    bench::start_receiver();
    source().set_start_delay(emu::NEVER);
    source().plug(picture("1080p60"));
    EXPECT_EQ(bench::trace(285), "SyncWait 249, SWReset 16, PwrOff 1, SyncWait 19");

    // Between checking and waiting without passing through another state: 469 ticks in all, whatever the other timer
    // says.
    ASSERT_EQ(bench::ticks_until(rx::VSTATE_SWReset), 232);
    ASSERT_EQ(bench::ticks_until(rx::VSTATE_SyncWait), 17);
    bench::ticks(239);
    rx::SetVState(rx::VSTATE_SyncChecking);
    int waited = 0;
    const std::string text = bench::printed([&] { waited = bench::ticks_until(rx::VSTATE_SWReset); });
    EXPECT_EQ(waited, 231);
    EXPECT_EQ(bench::count(text, "\nsoftware reset timeout setting failed\n"), 1u);
    source().set_start_delay(100'000);
    EXPECT_GT(bench::ticks_until(rx::VSTATE_VideoOn), 0);
}

// Catches: a state "change" to the same state that runs the entry action or is logged.
TEST(ReceiverVideo, EnteringTheSameStateDoesNothing)
{
    bench::start_receiver();
    bench::show(picture("1080p60"), 10);
    const uint64_t before = box().i2c().count();
    EXPECT_EQ(bench::printed([] { rx::SetVState(rx::VSTATE_VideoOn); }), "");
    EXPECT_EQ(box().i2c().count(), before);
}

// Catches: a picture without valid timing that is shown, or waited for without restarting the measurement.
TEST(ReceiverVideo, PictureWithoutTimingRestartsTheMeasurement)
{
    bench::start_receiver();
    source().plug(picture("1080p60"));
    ASSERT_GT(bench::ticks_until(rx::VSTATE_SyncChecking), 0);
    rx::WriteRxReg(REG_RESET, 0xA0); // another hand holds the video path in reset
    const uint64_t from = box().i2c().count();
    const std::string text = bench::printed([] { bench::ticks(5); });
    EXPECT_EQ(bench::count(text, "\nVideo_Handler(): reg9A = FF\n"), 1u);
    EXPECT_EQ(changes(text, "ModeDetecting", "SyncWait "), 1u);
    const std::vector<std::pair<int, int>> writes = bench::writes_since(from);
    EXPECT_NE(std::search(writes.begin(), writes.end(), PULSE.begin(), PULSE.end()), writes.end());
    EXPECT_GT(bench::ticks_until(rx::VSTATE_VideoOn), 0);
}

// Catches: a port switch that leaves the old picture on, resets a running source for nothing, or loses the port.
TEST(ReceiverPorts, SwitchingRestartsTheSearchForSync)
{
    bench::start_receiver();
    EXPECT_EQ(hdmirx_auto_select_port(), -1);
    EXPECT_EQ(hdmirx_get_port(), 1);
    ASSERT_EQ(hdmirx_select_port(0), 0);
    bench::ticks(40);
    source().plug(picture("1080p60"));
    ASSERT_GT(bench::ticks_until(rx::VSTATE_VideoOn), 0);

    EXPECT_EQ(bench::printed([] { hdmirx_select_port(0); }).substr(0, 22), "\nRXINT_VideoMode_Chg\ns");
    EXPECT_EQ(rx::VState(), rx::VSTATE_SyncWait) << "5 V is there: no reset";
    EXPECT_GT(bench::ticks_until(rx::VSTATE_VideoOn), 0);
    EXPECT_EQ(hdmirx_auto_select_port(), 0);
    EXPECT_EQ(hdmirx_get_port(), 0);
    source().unplug();
    hdmirx_select_port(1);
    EXPECT_EQ(rx::VState(), rx::VSTATE_SWReset) << "no 5 V: the chip starts over";
    EXPECT_EQ(hdmirx_get_port(), 1);
    box().source(1).plug(picture("720p60"));
    EXPECT_GT(bench::ticks_until(rx::VSTATE_VideoOn), 0);
    EXPECT_EQ(rx::CurrentVideoMode().HActive, 1280);
    EXPECT_EQ(hdmirx_auto_select_port(), -1) << "the test follows the switch at once, before a picture can be there";
}
