// The card: missing, full, write-protected, pulled, busy; the storage bar.
#include "tests/box/recorder_box.h"

namespace bench {

// Catches: a card that is measured in the wrong unit, a threshold that counts at the wrong side, a bar that is dark
// while the card is full, and a card that stays mounted after it was measured.
TEST(Card, BarShowsItsFreeSpaceWheneverOneIsPutIn)
{
    static constexpr struct {
        const char* what;
        const char* size; // 32 768 are held back, four more are used: the number file and its folder
        const char* bar;
    } rows[] = {
        {"1 TiB", "card size 1073741824", "------"},       {"32 GB", "card size 31166976", "O-----"},
        {"below 16 GiB", "card size 16809984", "OO----"},  {"below 8 GiB", "card size 8421376", "OOO---"},
        {"below 2 GiB", "card size 2129920", "OOOO--"},    {"below 512 MiB", "card size 557056", "OOOOO-"},
        {"above the limit", "card size 163860", "OOOOO-"}, {"below the limit", "card size 163840", "******"},
    };
    RecorderBox recorder;
    recorder.start();
    EXPECT_EQ(count(recorder.log(), ":_check_storage_event->Storage removed\n"), 1u);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        tell(row.size);
        tell("card write .media_fileno 1");
        tell("card insert");
        run_for(4s);
        EXPECT_EQ(missing_in_order(recorder.log(), {":_check_storage_event->New storage was added\n",
                                                    ":_storage_check_led_update->sddisk_available_kb: ",
                                                    ":_storage_check_led_update->storage_hard_limit: 131072kb\n",
                                                    ":_storage_umount->umount sddisk succeedeed\n"}),
                  "");
        EXPECT_EQ(recorder.bar(), row.bar);
        EXPECT_FALSE(box().card().mounted());
        tell("card remove");
        run_for(4s);
        EXPECT_EQ(recorder.bar(), "------");
        EXPECT_EQ(count(recorder.log(), ":_check_storage_event->Storage removed\n"), 1u);
    }
}

// Catches: a start on a card that cannot take the file, an indication that names another fault, and a card that stays
// mounted after it was refused.
TEST(Card, ThatCannotTakeARecordingIsRefusedWithItsReason)
{
    static constexpr struct {
        const char* what;
        const char* fault;
        const char* mend;
        const char* text;
        uint64_t flashes;
    } rows[] = {
        {"none", "card remove", "card insert", "mount: ", 1},
        {"write-protected", "card protect on", "card protect off", "Storage mounted, but read only", 5},
    };
    RecorderBox recorder;
    recorder.usual_world();
    recorder.start();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        tell(row.fault);
        run_for(3s);
        recorder.log();
        EXPECT_EQ(recorder.error_flashes([&] { recorder.press("record"); }), row.flashes);
        EXPECT_EQ(count(recorder.log(), row.text), 1u);
        EXPECT_FALSE(box().card().mounted());
        EXPECT_EQ(recorder.panel(), "OO-----");
        tell(row.mend);
        run_for(3s);
    }
    recorder.press("record", 3s);
    EXPECT_TRUE(recorder.encoder_runs());
}

// Catches: a pulled card that goes unnoticed or leaves the encoder running, a bar that stays lit, a restart that is not
// tried again once the card is back, and a number that starts afresh.
TEST(Card, PulledWhileRecordingAndPutBackContinues)
{
    RecorderBox recorder;
    recorder.usual_world();
    recorder.start();
    recorder.press("record", 12s);
    recorder.log();
    tell("card remove");
    run_for(1500ms);
    std::string log = recorder.log();
    EXPECT_EQ(missing_in_order(log, {":_check_storage_event->Storage removed\n",
                                     ":_av_rec_stop->Remove file from storage if smaller than 100kb\n",
                                     ":state_auto_stopped_run->Got stable input again, starting recording\n",
                                     ":state_auto_stopped_run->state_*_run="}),
              "");
    EXPECT_FALSE(recorder.encoder_runs());
    tell("card insert");
    run_for(3s);
    EXPECT_TRUE(recorder.encoder_runs());
    EXPECT_EQ(recorder.panel().substr(0, 6), "OOO---");
    recorder.press("stop", 3s);
    EXPECT_EQ(recorder.recordings(), "00001.00001.mp4 00001.00002.mp4 ");
    EXPECT_EQ(recorder.panel(), "OO-----");
    EXPECT_EQ(recorder.bar(), "O-----");
}

// Catches: a card that is measured, and so unmounted under the encoder, because the recording was faster than the look
// at the slot.
TEST(Card, FoundBackByARunningRecordingStaysMountedUntilItsEnd)
{
    RecorderBox recorder;
    tell("source 0 plug 1080p60");
    // The free space is not known, and a first look that finds an empty file takes it for none.
    recorder.start({"--storage-hard-limit", "0"});
    run_for(1s - now() % 1s + 50ms); // the slot is looked at when the second changes
    tell("card insert");
    recorder.press("record", 500ms);
    ASSERT_TRUE(recorder.encoder_runs());
    recorder.log();
    run_for(8s);
    std::string log = recorder.log();
    EXPECT_EQ(count(log, ":_check_storage_event->New storage was added\n"), 1u);
    EXPECT_EQ(count(log, "umount sddisk") + count(log, "sddisk_available_kb: "), 0u);
    EXPECT_TRUE(box().card().mounted());
    recorder.press("stop", 2s);
    EXPECT_EQ(count(recorder.log(), ":_storage_umount->umount sddisk succeedeed\n"), 1u);
    EXPECT_GT(recorder.file_kb("00001.00001.mp4"), 1000);
    tell("card remove");
    run_for(2s);
    EXPECT_EQ(count(recorder.log(), ":_check_storage_event->Storage removed\n"), 1u);
}

// Catches: the free space of another card that decides about this one, and a full card that counts as not measured.
TEST(Card, IsJudgedByItsOwnFreeSpaceOrByNone)
{
    static constexpr struct {
        const char* what;
        const char* size;
        const char* file;
        bool records;
    } rows[] = {
        {"nearly full", "card size 132868", "card put film.mp4 1", false},
        {"not measurable: no larger than the reserve", "card size 32768", "card put film.mp4 1", true},
        {"full into the reserve", "card size 132868", "card put film.mp4 110000", false},
        {"empty", "card size 31166976", "card put film.mp4 1", true},
    };
    RecorderBox recorder;
    tell("source 0 plug 1080p60");
    recorder.start();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        tell(row.size);
        tell(row.file);
        tell("card insert");
        run_for(3s);
        recorder.log();
        recorder.press("record", 2s);
        EXPECT_EQ(count(recorder.log(), ":_av_rec_start->Not enough disk space to record\n"), row.records ? 0u : 1u);
        EXPECT_EQ(recorder.encoder_runs(), row.records);
        recorder.press("stop", 2s);
        tell("card remove");
        run_for(3s);
    }
}

// Catches: a recorder that goes on without its encoder, or is stuck, when the card fails in the middle of a file; a
// slow card counting as a broken one.
TEST(Card, ThatFailsInTheMiddleOfAFileEndsTheRecordingAndTheNextOneWorks)
{
    static constexpr struct {
        const char *what, *trouble, *mend;
        long at_least_kb, at_most_kb;
        bool goes_on;
    } rows[] = {
        {"errors", "card error 2000", "card error off", 2000, 2000, false},
        {"full earlier than it says", "card full 3000", "card full off", 500, 3000, false},
        {"slow", "card slow 100", "card slow off", 500, 1100, true},
    };
    RecorderBox recorder;
    recorder.usual_world();
    recorder.start();
    int number = 0;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        tell(row.trouble);
        recorder.press("record", 10s);
        EXPECT_EQ(recorder.encoder_runs(), row.goes_on);
        const std::string name = "0000" + std::to_string(++number) + ".00001.mp4";
        EXPECT_GE(recorder.file_kb(name), row.at_least_kb);
        EXPECT_LE(recorder.file_kb(name), row.at_most_kb);
        EXPECT_EQ(RecorderBox::look(0, RECORDING_0) == '-', !row.goes_on);
        tell(row.mend);
        recorder.press("stop", 2s);
    }
    recorder.press("record", 5s);
    EXPECT_TRUE(recorder.encoder_runs());
    recorder.press("stop", 2s);
    EXPECT_GT(recorder.file_kb("00004.00001.mp4"), 1000);
}

// Catches: too few or too many attempts, attempts without a pause, and a recorder that is stuck afterwards.
TEST(Card, BusyAtUnmountIsTriedFourTimes)
{
    static constexpr struct {
        const char* busy;
        size_t retries;
        bool mounted;
    } rows[] = {{"card busy 3", 3, false}, {"card busy 4", 3, true}};
    RecorderBox recorder;
    recorder.usual_world();
    recorder.start();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.busy);
        recorder.press("record", 2s);
        recorder.log();
        tell(row.busy);
        recorder.press("stop", 2500ms);
        EXPECT_EQ(count(recorder.log(), ":_storage_umount->umount sddisk failed, sleeping and retrying..\n"), 3u);
        run_for(2s);
        const std::string log = recorder.log();
        EXPECT_EQ(count(log, "umount sddisk succeedeed\n"), row.mounted ? 0u : 1u);
        EXPECT_EQ(missing_in_order(log, {":_storage_umount->umount sddisk failed\n", ":_key_dispatch->runner_run1\n"})
                      .empty(),
                  row.mounted);
        EXPECT_EQ(box().card().mounted(), row.mounted);
        EXPECT_EQ(recorder.panel(), "OO-----");
    }
    recorder.press("record", 2s);
    EXPECT_TRUE(recorder.encoder_runs());
}

// Catches: numbers that are not taken from the card, and a start that is refused for a number that can be mended.
TEST(Card, CarriesTheNumberOfTheNextRecording)
{
    static constexpr struct {
        const char* number;
        const char* file;
        const char* next;
    } rows[] = {{"41", "00041.00001.mp4", "42"},
                {"99999", "99999.00001.mp4", "1"},
                {"rubbish", "00000.00001.mp4", "1"},
                {"123456", "123456.00001.mp4", "123457"}};
    RecorderBox recorder;
    recorder.usual_world();
    recorder.start();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.number);
        tell(std::string("card write .media_fileno ") + row.number);
        recorder.press("record", 2s);
        recorder.press("stop");
        EXPECT_GE(recorder.file_kb(row.file), 0);
        EXPECT_EQ(box().card().read(".media_fileno"), row.next);
    }
}

} // namespace bench
