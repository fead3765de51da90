#include "hdmirx/src/hdmirx/access.h"
#include "hdmirx/src/hdmirx/audio.h"
#include "hdmirx/src/hdmirx/port.h"
#include "hdmirx/src/hdmirx/video_state.h"
#include "tests/hdmirx/receiver_bench.h"

#include <algorithm>

using namespace capd;
using namespace emu::rx;
using bench::box;
using bench::picture;
using Fault = emu::ReceiverChip::Fault;

namespace {

std::string events;

int note_event(int event, int argument)
{
    events += std::to_string(event) + (argument == 0 ? " " : "? ");
    return 77;
}

bool wrote(uint64_t from, int reg, int value)
{
    const auto writes = bench::writes_since(from);
    return std::find(writes.begin(), writes.end(), std::pair(reg, value)) != writes.end();
}

} // namespace

// Catches: a fault of the received data that is not cleared, is handled where it must wait, or disturbs the picture.
TEST(ReceiverEvents, DataFaultsAreClearedAndLeaveThePicture)
{
    static const struct {
        const char* what;
        Fault fault;
        const char* told; ///< to the daemon
        const char* message;
        int status_after_search; ///< what stays latched while there is no picture
    } rows[] = {
        {"audio FIFO", Fault::Fifo, "", "", 0x00},
        {"audio error", Fault::Audio, "2 ", "\nRXINT_ResetAudio()\n\nAState -> ASTATE_RequestAudio\n", 0x18},
        {"ECC error", Fault::Ecc, "", "\nint3 = 04,ECC error interrupt\n", 0x04},
    };
    hdmirx_set_callback(note_event);
    bench::start_receiver();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        bench::show_afresh(picture("1080p60"), 60);
        events.clear();
        box().receiver().fault(row.fault);
        const std::string text = bench::printed(bench::tick);
        EXPECT_NE(text.find(row.message), std::string::npos) << text;
        EXPECT_EQ(events, row.told);
        EXPECT_EQ(rx::ReadRxReg(REG_INT3), 0);
        bench::ticks(20);
        EXPECT_EQ(rx::VState(), rx::VSTATE_VideoOn);
        EXPECT_TRUE(box().receiver().lets_audio_out());

        box().source(0).set_sync(false);
        bench::ticks(3);
        box().receiver().fault(row.fault);
        bench::ticks(2);
        EXPECT_EQ(rx::ReadRxReg(REG_INT3), row.status_after_search);
        box().source(0).set_sync(true);
    }
}

// Catches: an event told without audio, or one that the daemon must get in any case and does not.
TEST(ReceiverEvents, WithoutAudioTheDaemonHearsOfInfoFramesOnly)
{
    hdmirx_set_callback(note_event);
    bench::start_receiver();
    emu::Signal signal = picture("1080p60", {.kind = emu::AudioKind::None});
    for (const char* expected : {"3 3 ", "3 0 1 3 2 "}) {
        events.clear();
        bench::show_afresh(signal, 60);
        emu::Signal changed = signal;
        changed.muted = true;
        box().source(0).change(changed, true);
        bench::ticks(2);
        changed.muted = false;
        changed.colour = emu::Colour::Yuv444;
        box().source(0).change(changed, true);
        bench::ticks(2);
        box().receiver().fault(Fault::Audio);
        bench::ticks(2);
        EXPECT_EQ(events, expected);
        signal = picture("1080p60");
    }
    hdmirx_set_callback(nullptr);
    bench::show_afresh(signal, 60);
    EXPECT_EQ(events, "3 0 1 3 2 ") << "nobody listens any more";
}

// Catches: an event in the wait for 5 V that starts the search without 5 V, or is counted as a loss of sync.
TEST(ReceiverEvents, WaitingForFiveVoltsIgnoresSyncEvents)
{
    bench::start_receiver();
    rx::SelectHDMIPort(1); // the chip gets a picture, and the 5 V of the port chosen is another source's
    box().source(0).plug(picture("1080p60"));
    bench::ticks(10);
    box().source(0).set_sync(false);
    EXPECT_EQ(bench::printed(bench::tick), "\nSCDT Off interrupt\n");
    EXPECT_EQ(rx::VState(), rx::VSTATE_PwrOff);
    EXPECT_EQ(rx::ScdtOffCount(), 0);
    rx::SelectHDMIPort(0);
    EXPECT_EQ(bench::ticks_until(rx::VSTATE_SyncWait), 1);
}

// Catches: a 5 V-off event that is lost while 5 V is waited for: that source must see the terminators go and come.
TEST(ReceiverEvents, FiveVoltsOffResetsTheChipInAnyState)
{
    bench::start_receiver();
    box().receiver().storm(1'000); // every event at once
    bench::run_for(std::chrono::milliseconds(1));
    const std::string text = bench::printed(bench::tick);
    EXPECT_EQ(bench::count(text, "\n5V Power Off interrupt\n"), 1u);
    EXPECT_EQ(bench::count(text, "SCDT"), 0u) << "the rest is void";
    EXPECT_EQ(bench::trace(33), "SWReset 14, PwrOff 1, SWReset 15, PwrOff 1, SWReset 2");
}

// Catches: a machine that hangs, crashes or forgets its states under events that never end.
TEST(ReceiverEvents, StormsOfAllEventsPass)
{
    hdmirx_set_callback(note_event);
    bench::start_receiver();
    bench::show(picture("1080p60"), 50);
    for (emu::Micros period : {1'000u, 20'000u, 30'000u, 1'000'000u}) {
        SCOPED_TRACE(period);
        box().receiver().storm(period);
        bench::ticks(5 * 60 * 50); // five minutes
        box().receiver().storm(0);
        EXPECT_GT(bench::ticks_until(rx::VSTATE_VideoOn), 0);
        bench::ticks(120);
        EXPECT_EQ(rx::VState(), rx::VSTATE_VideoOn);
        EXPECT_TRUE(box().receiver().lets_video_out());
        EXPECT_TRUE(box().receiver().lets_audio_out());
    }
}

// Catches: a driver that stands still for good after a lost transfer, wherever in the start-up it was lost.
TEST(ReceiverFaults, EachTransferOfTheStartUpMayFail)
{
    box().source(0).plug(picture("1080p60"));
    hdmirx_init();
    const uint64_t from_init = box().i2c().count(bench::RECEIVER);
    hdmirx_init();
    uint64_t transfers = box().i2c().count(bench::RECEIVER) - from_init;
    EXPECT_GE(transfers, 50u);
    ASSERT_GT(bench::ticks_until(rx::VSTATE_VideoOn), 0);
    transfers = box().i2c().count(bench::RECEIVER) - from_init;
    for (uint64_t skip = 0; skip < transfers; ++skip) {
        SCOPED_TRACE(skip);
        box().source(0).unplug();
        bench::ticks(20);
        box().source(0).plug(picture("1080p60"));
        box().i2c().fail(bench::RECEIVER, skip, 3, EIO); // the transport tries three times
        hdmirx_init();
        ASSERT_GT(bench::ticks_until(rx::VSTATE_VideoOn, 1500), 0);
        bench::ticks(3);
        ASSERT_EQ(hdmirx_is_stable(0), 0);
        box().i2c().mend(bench::RECEIVER);
    }
}

// Catches: a picture that comes out although the bus is dead, or a driver that needs a restart after an outage.
TEST(ReceiverFaults, AnOutageOfTheBusEndsInAPicture)
{
    bench::start_receiver();
    bench::show(picture("1080p60"), 50);
    for (int outage : {1, 50, 500}) {
        SCOPED_TRACE(outage);
        box().i2c().fail_all(bench::RECEIVER, ETIMEDOUT);
        bench::ticks(outage);
        EXPECT_EQ(hdmirx_is_stable(0), 1);
        box().i2c().mend(bench::RECEIVER);
        EXPECT_GT(bench::ticks_until(rx::VSTATE_VideoOn, 1500), 0);
        bench::ticks(100);
        EXPECT_TRUE(box().receiver().lets_video_out());
    }
}

// Catches: a 3D announcement handled by a revision that has no 3D, missed by one that has, or taken from another frame.
TEST(ReceiverEvents, VendorFrameSwitchesTo3DFromRevisionA3On)
{
    using Kind = emu::VendorFields::Kind;
    static const struct {
        const char* what;
        uint8_t revision;
        emu::VendorFields vendor;
        bool measured_again, three_d;
    } rows[] = {
        {"frame packing", 0xA3, {Kind::ThreeD, 0}, true, true},
        {"a 4K mode number", 0xA3, {Kind::Vic, 1}, true, false},
        {"a chip without 3D", 0xA2, {Kind::ThreeD, 0}, false, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        box().source(0).unplug();
        box().receiver().set_revision(row.revision);
        hdmirx_init();
        bench::ticks(20);
        emu::Signal signal = picture("1080p60");
        bench::show(signal, 150);
        signal.vendor = row.vendor;
        box().source(0).change(signal, true);
        const uint64_t from = box().i2c().count();
        bench::tick();
        EXPECT_EQ(rx::VideoTicksLeft(), row.measured_again ? 31 : 0);
        EXPECT_EQ((rx::ReadRxReg(0x3C) & 0x04) != 0, row.three_d);
        EXPECT_EQ(wrote(from, 0x1F, 0x00), row.three_d);
        bench::ticks(40);
        EXPECT_EQ(rx::VState(), rx::VSTATE_VideoOn);
        box().source(0).set_sync(false);
        bench::ticks(2);
        EXPECT_EQ(rx::ReadRxReg(0x3C) & 0x04, 0);
    }
}

// Catches: more traffic per tick than the picture needs; it is what the LED thread and the key poll wait behind.
TEST(ReceiverVideo, TickWithThePictureOnIsEighteenTransfers)
{
    bench::start_receiver();
    bench::show(picture("1080p60"), 150);
    const uint64_t before = box().i2c().count();
    bench::ticks(100);
    EXPECT_EQ(box().i2c().count() - before, 100u * 18u);
}
