#include "hdmirx/src/hdmirx/access.h"
#include "hdmirx/src/hdmirx/mute.h"
#include "hdmirx/src/hdmirx/video_state.h"
#include "tests/hdmirx/receiver_bench.h"

using namespace capd;
using namespace emu::rx;
using bench::box;
using bench::picture;

namespace {

emu::Signal muted(bool on)
{
    emu::Signal signal = picture("1080p60");
    signal.muted = on;
    return signal;
}

void expect_open(bool open)
{
    EXPECT_EQ(box().receiver().lets_video_out(), open);
    EXPECT_EQ(box().receiver().lets_audio_out(), open);
}

} // namespace

// Catches: picture or sound that leaks while the source mutes, or stays off after it has let go.
TEST(ReceiverMute, FollowsTheSourceDuringThePicture)
{
    bench::start_receiver();
    bench::show(picture("1080p60"), 50);
    for (int round = 0; round < 3; ++round) {
        box().source(0).change(muted(true), true);
        bench::ticks(1);
        expect_open(false);
        bench::ticks(300); // far beyond every timer: this mute has no limit
        expect_open(false);
        EXPECT_EQ(rx::VideoTicksLeft(), 5);
        box().source(0).change(muted(false), true);
        bench::ticks(1);
        expect_open(true);
        bench::ticks(10);
    }
    EXPECT_EQ(rx::VState(), rx::VSTATE_VideoOn);
}

// Catches: a mute for ever after a source that lets go while the chip's event of it is being cleared.
TEST(ReceiverMute, EndsWhenTheEventOfItsEndIsLost)
{
    bench::start_receiver();
    bench::show(picture("1080p60"), 50);
    box().source(0).change(muted(true), true);
    box().time().after(500, [] { box().source(0).change(muted(false), true); }); // inside the clearing pulse
    EXPECT_EQ(bench::count(bench::printed([] { bench::ticks(2); }), "AVMute clear interrupt"), 0u);
    expect_open(true);
}

// Catches: a source that begins muted and is never heard again, whether it lets go or not, or let through too early.
TEST(ReceiverMute, AtTheStartLastsUntilTheSourceLetsGoOrTheTimerRunsOut)
{
    bench::start_receiver();
    std::string text = bench::printed([] { bench::show(muted(true)); });
    EXPECT_EQ(bench::count(text, "\nAudioOn, but still in mute.\n"), 1u);
    text = bench::printed([] { bench::ticks(30); });
    EXPECT_EQ(bench::count(text, "\nMuteResumingTimer = "), 30u);
    expect_open(false);
    box().source(0).change(muted(false), true);
    bench::ticks(1);
    expect_open(true);

    bench::show_afresh(muted(true), 78);
    expect_open(false);
    text = bench::printed([] { bench::ticks(1); });
    EXPECT_EQ(bench::count(text, "\nMuteResumingTimer = 0 uc = 04\n"), 1u);
    expect_open(true);
    EXPECT_EQ(bench::printed([] { bench::ticks(5); }), "") << "that was all";
    EXPECT_EQ(rx::VideoTicksLeft(), 0) << "the picture is watched again";
}

// Catches: the mode change that such sources send as they end their mute, taken for a new picture; or a real one
// missed.
TEST(ReceiverMute, AtTheStartHidesOneModeChange)
{
    bench::start_receiver();
    bench::show(muted(true), 10);
    emu::Signal other = picture("720p50");
    other.muted = true;
    box().source(0).change(other, true);
    bench::ticks(5);
    EXPECT_EQ(rx::VState(), rx::VSTATE_VideoOn);
    box().source(0).change(muted(true), true);
    bench::ticks(5);
    EXPECT_EQ(rx::VState(), rx::VSTATE_ColorDetectReset);
}

// Catches: video output that is blanked in the wrong states.
TEST(ReceiverMute, ModeDecidesInWhichStatesTheOutputIsBlanked)
{
    static const struct {
        const char* what;
        int mode;
        bool before, on;
    } rows[] = {{"always", 0, true, true},
                {"never", 1, false, false},
                {"until sync", 2, true, false},
                {"as 2", 5, true, false}};
    const auto blanked = [] { return (rx::ReadRxReg(REG_OUTPUT) & 0x20) != 0; };
    bench::start_receiver();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        rx::SetMuteMode(row.mode);
        EXPECT_EQ(blanked(), row.before);
        bench::show(picture("1080p60"), 5);
        EXPECT_EQ(blanked(), row.on);
        rx::SetMuteMode(row.mode);
        EXPECT_EQ(blanked(), row.on);
        box().source(0).unplug();
        bench::ticks(20);
        EXPECT_EQ(blanked(), row.before);
    }
}
