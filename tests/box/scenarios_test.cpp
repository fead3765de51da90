// The ready scenarios, as boxemu plays them, with the daemon on the box.
#include "emulator/scenario.h"
#include "tests/box/recorder_box.h"

namespace bench {

class ReadyScenario : public testing::TestWithParam<std::pair<const char*, const char*>> {};
INSTANTIATE_TEST_SUITE_P(, ReadyScenario,
                         testing::Values(std::pair{"console-boot", "HDMI 1920x1080p"},
                                         std::pair{"channel-change", "HDMI 1920x1080i"}));

// Catches: a scenario that is not one, a source whose way to its last format leaves the input unstable or silent, and a
// recording of the format before.
TEST_P(ReadyScenario, EndsWithARecordingOfTheLastFormat)
{
    const auto& [name, picture] = GetParam();
    const auto steps = emu::load_scenario(std::string(SCENARIOS) + "/" + name + ".txt");
    emu::check_scenario(steps);
    RecorderBox recorder;
    emu::schedule_scenario(box(), steps, [](bool ok, const std::string& text) { EXPECT_TRUE(ok) << text; });
    Daemon{};
    run_for(40s);
    tell("wait recording 20");
    EXPECT_EQ(box().receiver().measured()->text(), picture);
    EXPECT_TRUE(box().receiver().lets_audio_out());
    ASSERT_TRUE(recorder.encoder_runs());
    EXPECT_EQ(box().encoder().recording()->width, 1920);
    EXPECT_EQ(box().encoder().recording()->height, 1080);
    run_for(30s);
    EXPECT_EQ(recorder.recordings(), "00001.00001.mp4 ");
    EXPECT_GT(recorder.file_kb("00001.00001.mp4"), 4'000);
    EXPECT_EQ(recorder.panel(), "OO-----");
}

} // namespace bench
