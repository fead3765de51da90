// The encoder dies, hangs, refuses or is missing.
#include "tests/box/recorder_box.h"

namespace bench {

// Catches: a dead encoder that is shown as a recording, a stop that kills the daemon, and a card that stays mounted.
TEST(Encoder, GoneEndsTheRecordingWithinFiveSeconds)
{
    static constexpr struct {
        const char* before; // the record key
        const char* during;
    } rows[] = {{"encoder ok", "encoder die"}, {"encoder refuse", "encoder ok"}, {"encoder missing", "encoder ok"}};
    RecorderBox recorder;
    recorder.usual_world();
    recorder.start();
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.before) + ", " + row.during);
        tell(row.before);
        recorder.press("record", 3s);
        std::string log = recorder.log(); // a script that ends at once may be found dead by the first look
        tell(row.during);
        run_for(6s);
        log += recorder.log();
        EXPECT_EQ(
            missing_in_order(log, {" terminated\n", ":state_recording_run->av_rec_isok failed, stopping recording\n",
                                   "Video recording process is dead!\n", ":_av_rec_stop->av_rec_stop failed: 2\n",
                                   ":_storage_umount->umount sddisk succeedeed\n"}),
            "");
        EXPECT_EQ(recorder.panel(), "OO-----");
        EXPECT_FALSE(box().card().mounted());
    }
    recorder.press("record", 3s);
    EXPECT_TRUE(recorder.encoder_runs());
}

// Catches: a stop key that meets an encoder which died a moment ago, before any check has seen it.
TEST(Encoder, DeadAMomentBeforeTheStopKey)
{
    RecorderBox recorder;
    recorder.usual_world();
    recorder.start();
    recorder.press("record", 7s);
    tell("encoder die");
    recorder.press("stop", 3s);
    EXPECT_EQ(recorder.panel(), "OO-----");
    EXPECT_FALSE(box().card().mounted());
    recorder.press("record", 3s);
    EXPECT_TRUE(recorder.encoder_runs());
}

// Catches: a stop that does not wait until the file is finished, and so unmounts under the encoder's hands.
TEST(Encoder, ThatTakesItsTimeAfterTheStopIsWaitedFor)
{
    RecorderBox recorder;
    recorder.usual_world();
    recorder.start();
    recorder.press("record", 7s);
    tell("encoder hang 300");
    const auto before = std::chrono::steady_clock::now();
    recorder.press("stop", 3s);
    EXPECT_GE(std::chrono::steady_clock::now() - before, 300ms);
    EXPECT_FALSE(recorder.encoder_runs());
    EXPECT_FALSE(box().card().mounted());
}

} // namespace bench
