// Keys of the remote and what they save.
#include "tests/box/recorder_box.h"

namespace bench {

class Keys : public testing::Test {
protected:
    void SetUp() override
    {
        recorder_.usual_world();
        tell("source 1 plug 720p50 audio lpcm 44100");
        recorder_.start();
        recorder_.log();
    }

    RecorderBox recorder_;
};

// Catches: a choice that is not saved or not shown, an LED that is left on the old port, and a recording that is made
// with the old choice.
TEST_F(Keys, SelectPortAndConfigurationForTheNextRecording)
{
    recorder_.press("port1", 4s);
    recorder_.press("high", 3s);
    EXPECT_EQ(recorder_.panel(), "O--O-O-");
    EXPECT_EQ(box().board().selected_port(), 1);
    EXPECT_EQ(box().nvram().flash().at("_HDMIRX_PORT"), "1");
    EXPECT_EQ(box().nvram().flash().at("_AV_REC_CONFIG"), "1");
    recorder_.press("record", 3s);
    EXPECT_EQ(recorder_.panel(), "O--OOO-");
    ASSERT_TRUE(recorder_.encoder_runs());
    EXPECT_EQ(box().encoder().recording()->width, 1280);
    EXPECT_EQ(box().encoder().recording()->sample_rate, 44100);
    EXPECT_EQ(count(recorder_.log(), "Calling av_rec_start with config_no=1, "), 1u);

    for (const char* key : {"record", "port0", "port1", "low", "high"}) recorder_.press(key);
    EXPECT_EQ(count(recorder_.log(), ":_error_busy->Busy!\n"), 5u);
    EXPECT_EQ(recorder_.panel(), "O--OOO-");

    recorder_.press("stop", 3s);
    recorder_.press("port0", 3s);
    recorder_.press("low", 3s);
    EXPECT_EQ(recorder_.panel(), "OO-----");
    recorder_.log();
    recorder_.press("port0");
    recorder_.press("low");
    EXPECT_EQ(count(recorder_.log(), ":_key_dispatch->runner_run2\n"), 2u);
    EXPECT_EQ(recorder_.panel(), "OO-----");
}

// Catches: a choice that will be forgotten, or was not taken, and does not say so.
TEST_F(Keys, ShowAChoiceThatCannotBeSaved)
{
    static constexpr struct {
        const char* fault;
        const char* key;
        const char* panel;
    } rows[] = {
        {"nvram refuse set", "port1", "O--O--O"},
        {"nvram refuse commit", "port0", "OO----O"},
        {"nvram missing on", "port1", "O--O--O"},
        {"nvram refuse set", "high", "O--O-*O"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.fault) + ", " + row.key);
        tell("nvram refuse none");
        tell("nvram missing off");
        recorder_.press("stop", 3s); // without a role here, but any key clears the error LED
        EXPECT_EQ(recorder_.panel()[ERROR], '-');
        tell(row.fault);
        recorder_.press(row.key, 4s);
        EXPECT_EQ(recorder_.panel(), row.panel);
    }
}

// Catches: a standby that still shows something or records on, one that forgets what was chosen, and keys that act in
// it.
TEST_F(Keys, PowerEndsTheRecordingAndDarkensTheBox)
{
    recorder_.press("record", 7s);
    recorder_.press("power", 4s);
    EXPECT_EQ(recorder_.panel() + recorder_.bar(), "-------------");
    EXPECT_FALSE(recorder_.encoder_runs());
    EXPECT_FALSE(box().card().mounted());
    recorder_.log();
    for (const char* key : {"record", "stop", "port1", "high"}) recorder_.press(key);
    tell("card remove");
    run_for(3s);
    tell("card insert");
    EXPECT_EQ(recorder_.panel() + recorder_.bar(), "-------------");
    EXPECT_EQ(recorder_.log().find("capd:"), std::string::npos);
    EXPECT_EQ(box().board().selected_port(), 0);
    recorder_.press("power", 4s);
    EXPECT_EQ(missing_in_order(recorder_.log(), {":_power_on->power on\n", "->sddisk_available_kb: "}), "");
    EXPECT_EQ(recorder_.panel() + recorder_.bar(), "OO-----O-----");
}

// Catches: a key pressed while an action ran that is carried out afterwards, on a recorder that has moved on.
TEST_F(Keys, PressedWhileAnActionRunsAreDropped)
{
    recorder_.press("record", 7s);
    tell("card busy 2");
    recorder_.press("stop", 1s); // the unmount takes two seconds more
    recorder_.press("record", 5s);
    EXPECT_FALSE(recorder_.encoder_runs());
    EXPECT_EQ(recorder_.panel(), "OO-----");
}

} // namespace bench
