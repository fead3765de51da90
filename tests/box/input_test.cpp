// The input goes away and comes back: blanking, automatic stop, restart.
#include "tests/box/recorder_box.h"

namespace bench {

class Input : public testing::TestWithParam<emu::Micros> {
protected:
    void record()
    {
        recorder_.usual_world();
        recorder_.start();
        recorder_.press("record", 7s);
        ASSERT_TRUE(recorder_.encoder_runs());
        recorder_.log();
    }

    RecorderBox recorder_{GetParam()};
};
INSTANTIATE_TEST_SUITE_P(LoopStep, Input, testing::Values(80, 10'000));

// Catches: a stop at the first bad check or only seconds later, a restart under a new number, and LEDs that stay.
TEST_P(Input, GoneStopsTheRecordingAndBackContinuesIt)
{
    record();
    tell("source 0 sync off");
    run_for(500ms);
    EXPECT_EQ(missing_in_order(recorder_.log(), {":_av_rec_stop->Remove file from storage if smaller than 100kb\n",
                                                 ":_storage_umount->umount sddisk succeedeed\n"}),
              "");
    EXPECT_FALSE(recorder_.encoder_runs());
    EXPECT_FALSE(box().card().mounted());
    run_for(4s);
    EXPECT_EQ(recorder_.panel(), "OO----*");
    tell("source 0 sync on");
    run_for(3s);
    EXPECT_EQ(
        missing_in_order(recorder_.log(), {":state_auto_stopped_run->Got stable input again, starting recording\n",
                                           "output_filename=/mnt/sddisk/00001.00002.mp4\n"}),
        "");
    EXPECT_TRUE(recorder_.encoder_runs());
    EXPECT_EQ(recorder_.panel().substr(0, 6), "OOO---");
    recorder_.press("stop", 3s);
    EXPECT_EQ(recorder_.recordings(), "00001.00001.mp4 00001.00002.mp4 ");
    EXPECT_EQ(recorder_.panel(), "OO-----");
}

// Catches: a wait for the input that never ends, and a recording that starts by itself after it has ended.
TEST_P(Input, GoneForTenSecondsEndsTheRecording)
{
    record();
    tell("source 0 unplug");
    run_for(9500ms);
    EXPECT_EQ(recorder_.panel(), "OO----*");
    run_for(3500ms);
    EXPECT_EQ(recorder_.panel(), "OO-----");
    tell("source 0 plug 1080p60");
    run_for(4s);
    EXPECT_FALSE(recorder_.encoder_runs());
    EXPECT_EQ(count(recorder_.log(), "Got stable input again"), 0u);
}

// Catches: a file too small to be of use that is kept, or counted as a part, or taken off the free space.
TEST_P(Input, GoneAtOnceLeavesNoSmallFile)
{
    tell("encoder rate 100");
    record(); // some 85 KiB
    recorder_.log();
    tell("source 0 sync off");
    run_for(1s);
    EXPECT_EQ(recorder_.recordings(), "");
    EXPECT_EQ(count(recorder_.log(), ":_sddisk_available_kb_update->Couldn't get file size: -1\n"), 1u);
    tell("source 0 sync on");
    run_for(20s);
    recorder_.press("stop");
    EXPECT_EQ(recorder_.recordings(), "00001.00001.mp4 ");
    EXPECT_GT(recorder_.file_kb("00001.00001.mp4"), 100);
}

// Catches: keys that act on a recording that is only waiting, and an error LED that is cleared by them.
TEST_P(Input, WhileItIsGoneOnlyStopAndPowerAct)
{
    record();
    tell("source 0 sync off");
    run_for(1s);
    for (const char* key : {"record", "low", "high", "port1"}) recorder_.press(key);
    EXPECT_EQ(recorder_.panel(), "OO----*");
    EXPECT_EQ(box().board().selected_port(), 0);
    recorder_.press("stop", 3s);
    EXPECT_EQ(recorder_.panel(), "OO-----");
    tell("source 0 sync on");
    run_for(3s);
    EXPECT_FALSE(recorder_.encoder_runs());

    recorder_.press("record", 2s);
    tell("source 0 sync off");
    run_for(1s);
    recorder_.press("power", 3s);
    EXPECT_EQ(recorder_.panel(), "-------");
    tell("source 0 sync on");
    run_for(15s);
    EXPECT_FALSE(recorder_.encoder_runs());
}

// Catches: a check on the input that is skipped, an indication that names another fault, and a card that was touched.
TEST(InputFormat, ThatCannotBeRecordedIsRefusedWithItsReason)
{
    static constexpr struct {
        const char* source;
        const char* reason;
        uint64_t flashes;
    } rows[] = {
        {"source 0 unplug", ":_av_rec_start->hdmirx_isn't stable", 2},
        {"source 0 plug 576p50", ":_av_rec_start->video resolution invalid: 720\n", 3},
        {"source 0 plug 1080p60 audio lpcm 48000 6 channel-number 6",
         ":_av_rec_start->audio channels not supported: 6\n", 3},
        {"source 0 plug 1080p60 audio lpcm 768000 2", ":_av_rec_start->bitrate not supported: 768000\n", 3},
        {"source 0 plug 1080p60 audio compressed 48000 2 0", ":_av_rec_start->audio sample word length not valid: 0\n",
         3},
    };
    RecorderBox recorder;
    recorder.usual_world();
    recorder.start();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.source);
        tell(row.source);
        run_for(4s);
        recorder.log();
        EXPECT_EQ(recorder.error_flashes([&] { recorder.press("record"); }), row.flashes);
        const std::string log = recorder.log();
        EXPECT_EQ(count(log, row.reason), 1u) << log;
        EXPECT_EQ(count(log, "->av_rec_configure failed: -"), row.flashes == 3 ? 1u : 0u);
        EXPECT_EQ(count(log, "umount"), 0u);
        EXPECT_EQ(recorder.panel(), "OO-----");
    }
    EXPECT_EQ(recorder.recordings(), "");
}

} // namespace bench
