#include "recorder/recording.h"

#include "hdmirx/hdmirx.h"
#include "hdmitx/hdmitx.h"
#include "recorder/card.h"
#include "recorder/input_watch.h"
#include "recorder/main_loop.h"
#include "recorder/panel.h"
#include "recorder/state.h"
#include "services/encoder.h"
#include "services/storage.h"
#include "tests/support/bench.h"

#include <unistd.h>

namespace capd {

using namespace std::chrono_literals;

using emu::i2c_address::RECEIVER;

/** A recording that runs, without the daemon's loop. */
class RollOver : public testing::Test {
protected:
    void SetUp() override { start_recording(); }

    static void start_recording()
    {
        ASSERT_EQ(chdir(bench::box().root().map("/kxbin").c_str()), 0);
        bench::tell("card insert");
        bench::tell("source 0 plug 1080p60");
        hdmirx_init();
        for (int tick = 0; tick < 200; ++tick) {
            hdmirx_run();
            bench::run_for(20ms);
        }
        ASSERT_EQ(hdmirx_is_stable(0), 0);
        check_input();
        ASSERT_EQ(_av_rec_start(0), 0);
        bench::run_for(7s);
    }

    /** The panel once the LED engine has ticked; bit i lights LED i. */
    static int panel()
    {
        led_refresh();
        return bench::box().board().leds(PANEL_GROUP);
    }
};

// Catches: a recording that is shown although nothing is recorded any more, and a card that stays mounted.
TEST_F(RollOver, ThatFailsEndsTheRecording)
{
    static constexpr struct {
        const char* what;
        const char* card; // seven seconds of a recording take some 3,500 kB of it
        bool receiver_works;
        int result;
    } rows[] = {{"card full", "card size 165000", true, 1},
                {"input cannot be described", "card size 31166976", false, -1}};
    ASSERT_EQ(_av_rec_stop(), 0);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        bench::tell(row.card);
        bench::tell("card erase 00001.00001.mp4");
        bench::tell("card write .media_fileno 1");
        ASSERT_EQ(_storage_measure(), 0);
        ASSERT_EQ(_av_rec_start(0), 0);
        EXPECT_TRUE(status_check_due(77));
        bench::run_for(7s);
        if (!row.receiver_works) bench::box().i2c().fail_all(RECEIVER, EIO);
        EXPECT_EQ(_av_rec_stop_start(), row.result);
        bench::box().i2c().mend(RECEIVER);
        EXPECT_EQ(recorder_state(), STATE_IDLE);
        EXPECT_TRUE(status_check_due(78)) << "the next recording's first check is due at once";
        EXPECT_EQ(panel(), 0);
        EXPECT_NE(storage_is_mounted(), 0);
        EXPECT_EQ(av_rec_stop(), 1) << "no encoder runs";
    }
}

// Catches: a roll-over that changes what the loop decides by, or lights an LED that stays.
TEST_F(RollOver, KeepsTheStateOfTheRecording)
{
    EXPECT_TRUE(status_check_due(77));
    EXPECT_EQ(panel(), 1 << PANEL_RECORD_0);
    EXPECT_EQ(_av_rec_stop_start(), 0);
    EXPECT_EQ(recorder_state(), STATE_RECORDING);
    EXPECT_FALSE(status_check_due(78));
    EXPECT_EQ(panel(), 1 << PANEL_RECORD_0);
    EXPECT_STREQ(output_filename(), "/mnt/sddisk/00001.00002.mp4");
    EXPECT_EQ(_av_rec_stop(), 0);
}

/** The main loop with its stability check alone: the input driver would react to the faults, too. */
class Stability : public RollOver, public testing::WithParamInterface<std::pair<const char*, bool>> {
protected:
    void SetUp() override
    {
        start_recording();
        hdmitx_init();
        timer_start(&timers_.stability);
    }

    /** One check: 's' finds the input stable, 'u' unstable, 'n' without a frame rate. */
    void check(char result)
    {
        bench::run_for(80ms);
        if (result != 's') bench::box().i2c().fail(RECEIVER, result == 'u' ? 0 : 1, UINT64_MAX, EIO);
        main_loop_pass(&timers_);
        bench::box().i2c().mend(RECEIVER);
        EXPECT_EQ(input_is_stable(), result == 's');
    }

    LoopTimers timers_;
};
INSTANTIATE_TEST_SUITE_P(Checks, Stability,
                         testing::Values(std::pair{"ssussss", true}, std::pair{"sususus", true},
                                         std::pair{"sunusns", true}, std::pair{"suus", false}, std::pair{"snns", false},
                                         std::pair{"sunns", false}));

// Catches: a recording that ends at a single bad look, or goes on without an input.
TEST_P(Stability, EndsARecordingAfterTwoEqualBadChecks)
{
    const auto& [checks, goes_on] = GetParam();
    for (const char* c = checks; *c != '\0'; ++c) check(*c);
    main_loop_pass(&timers_);
    EXPECT_STREQ(output_filename(), goes_on ? "/mnt/sddisk/00001.00001.mp4" : "/mnt/sddisk/00001.00002.mp4");
    EXPECT_EQ(recorder_state(), STATE_RECORDING);
}

// Catches: a picture that is shown before it stands still, or never again.
TEST_F(Stability, UnblanksTheOutput300MillisecondsAfterTheInputIsBack)
{
    hdmitx_unblank();
    std::string gone, back, later;
    {
        bench::Output output;
        for (char c : std::string_view("suu")) check(c);
        gone = output.take();
        for (char c : std::string_view("ssss")) check(c);
        back = output.take();
        check('s');
        later = output.take();
    }
    EXPECT_EQ(bench::count(gone, "Blanking hdmitx\n"), 1u);
    EXPECT_EQ(bench::count(back, "Unblanking hdmitx\n"), 0u);
    EXPECT_EQ(bench::count(later, "Unblanking hdmitx\n"), 1u);
}

} // namespace capd
