// A recording from key to file: start, status checks, roll-over, limits, stop.
#include "tests/box/recorder_box.h"

namespace bench {

class Recording : public testing::TestWithParam<emu::Micros> {
protected:
    RecorderBox recorder_{GetParam()};
};
INSTANTIATE_TEST_SUITE_P(LoopStep, Recording, testing::Values(80, 10'000));

// Catches: a step of the start that is left out or comes too early, a status line that is late or never flushed, a stop
// that leaves the card mounted or the LED lit, and a number that is used twice.
TEST_P(Recording, KeyToFileAndTheNextNumber)
{
    recorder_.usual_world();
    recorder_.start();
    EXPECT_FALSE(box().card().mounted());
    recorder_.log();

    recorder_.press("record", 2s);
    std::string log = recorder_.log();
    EXPECT_EQ(missing_in_order(log, {":_av_rec_start->audio_bitrate: 48000\n", ":_av_rec_start->audio_ch_no: 2\n",
                                     ":_av_rec_start->audio_is_IEC61937: 0\n", ":_av_rec_start->sample_word_len: ",
                                     "---HDMI_RX debug----\n", "Wrote 2 to /mnt/sddisk/.media_fileno\n",
                                     "output_filename=/mnt/sddisk/00001.00001.mp4\n",
                                     ":_av_rec_start->av_rec_start succeeded: 0\n", "\n00001.00001.mp4 | 00m0"}),
              "");
    EXPECT_TRUE(recorder_.encoder_runs());
    EXPECT_TRUE(box().card().mounted());
    EXPECT_EQ(recorder_.panel(), "OOO----");

    run_for(60s);
    log = recorder_.log();
    EXPECT_GE(count(log, "\n00001.00001.mp4 | "), 11u);
    EXPECT_LE(count(log, "\n00001.00001.mp4 | "), 13u);
    EXPECT_EQ(count(log, " | 01m"), 1u) << log;

    recorder_.press("stop", 3s);
    EXPECT_EQ(missing_in_order(recorder_.log(), {":_sddisk_available_kb_update->Sddisk available kb: ",
                                                 ":_storage_umount->umount sddisk succeedeed\n"}),
              "");
    EXPECT_FALSE(recorder_.encoder_runs());
    EXPECT_FALSE(box().card().mounted());
    EXPECT_EQ(recorder_.panel(), "OO-----");
    EXPECT_NEAR(static_cast<double>(recorder_.file_kb("00001.00001.mp4")), 4'128'000.0 / 8 * 62 / 1024, 1000);

    recorder_.press("record", 2s);
    recorder_.press("stop");
    EXPECT_EQ(recorder_.recordings(), "00001.00001.mp4 00002.00001.mp4 ");
}

// Catches: a limit that counts at equality, is checked too late, restarts the numbering or ends the recording.
TEST_P(Recording, RollsOverBySizeAndByDuration)
{
    static constexpr struct {
        const char* what;
        const char* option;
        const char* rate;
        const char* reason;
        std::chrono::seconds still_first, second;
    } rows[] = {
        // 1000 kbit/s are 122 KiB/s: 610 at the check after five seconds, 1220 after ten.
        {"size", "--max-file-size=1000", "encoder rate 1000", "->Max file size reached\n", 9s, 12s},
        {"duration", "--max-file-duration=10", "encoder rate 1000", "->Max time for recording reached\n", 10s, 17s},
    };
    const auto& row = rows[GetParam() == 80 ? 0 : 1]; // a daemon is started once in a process
    SCOPED_TRACE(row.what);
    tell(row.rate);
    recorder_.usual_world();
    recorder_.start({row.option});
    tell("key record");
    run_for(row.still_first);
    EXPECT_EQ(count(recorder_.log(), "reached\n"), 0u);
    run_for(row.second - row.still_first);
    const std::string log = recorder_.log();
    EXPECT_EQ(missing_in_order(log, {std::string(":_filesize_storage_check") + row.reason,
                                     ":_av_rec_stop_start->Calling av_rec_start with config_no=0, "
                                     "output_filename=/mnt/sddisk/00001.00002.mp4\n",
                                     ":_av_rec_stop_start->av_rec_start succeeded: 0\n"}),
              "");
    EXPECT_EQ(count(log, "umount"), 0u);
    EXPECT_TRUE(recorder_.encoder_runs());
    run_for(3s);
    EXPECT_EQ(recorder_.panel(), "OOO----");
    recorder_.press("stop");
    EXPECT_EQ(recorder_.recordings(), "00001.00001.mp4 00001.00002.mp4 ");
}

// Catches: a recording that fills the card up, and one that starts on a card that is full; the stop must not look like
// an error, the next start must say why.
TEST_P(Recording, EndsAtTheStorageHardLimit)
{
    tell("encoder rate 16000");
    recorder_.usual_world();
    tell("card size 200000");
    tell("card put old.mp4 16000"); // 151 232 KiB free less what folders take, 131 072 of them the limit
    recorder_.start();
    EXPECT_EQ(recorder_.bar(), "OOOOO-");
    recorder_.press("record", 9s);
    EXPECT_TRUE(recorder_.encoder_runs());
    run_for(9s);
    EXPECT_EQ(count(recorder_.log(), ":_filesize_storage_check->Storage hard limit reached\n"), 1u);
    EXPECT_FALSE(recorder_.encoder_runs());
    EXPECT_FALSE(box().card().mounted());
    EXPECT_EQ(recorder_.panel(), "OO-----");
    EXPECT_EQ(recorder_.bar(), "******");
    EXPECT_GT(recorder_.file_kb("00001.00001.mp4"), 20'000);

    recorder_.press("record");
    EXPECT_EQ(count(recorder_.log(), ":_av_rec_start->Not enough disk space to record\n"), 1u);
    EXPECT_FALSE(box().card().mounted());
    EXPECT_EQ(recorder_.panel(), "OO-----");
}

// Catches: a clock read in the wrong unit, and any slowing down of a long recording's checks and roll-overs.
TEST(LongRecording, KeepsItsPace)
{
    RecorderBox recorder;
    recorder.usual_world();
    recorder.start({"--max-file-duration", "900"});
    recorder.press("record", 50min);
    EXPECT_EQ(recorder.recordings(), "00001.00001.mp4 00001.00002.mp4 00001.00003.mp4 00001.00004.mp4 ");
    EXPECT_NEAR(static_cast<double>(count(recorder.log(), "\n00001.0000")), 50 * 60 / 5.0, 2);
    EXPECT_NEAR(static_cast<double>(recorder.file_kb("00001.00001.mp4")), 4'128'000.0 / 8 * 905 / 1024, 5000);
}

} // namespace bench
