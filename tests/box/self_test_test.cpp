// The self-test sequences.
#include "tests/box/recorder_box.h"

#include <filesystem>

namespace bench {

namespace {

std::ptrdiff_t open_files()
{
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), std::filesystem::directory_iterator());
}

} // namespace

struct Pace {
    const char* number;
    std::chrono::milliseconds round; // of its eleven steps
    const char* first;
};

class SelfTestPace : public testing::TestWithParam<Pace> {};
INSTANTIATE_TEST_SUITE_P(Sequences, SelfTestPace,
                         testing::Values(Pace{"0", 1100ms, ">> Run test function 0, delay after 0msec\n"},
                                         Pace{"1", 32s, ">> Run test function 0, delay after 2000msec\n"}));

// Catches: a step that is skipped or repeated, a delay in the wrong unit, and a first step that waits for the loop.
TEST_P(SelfTestPace, IsKept)
{
    constexpr int rounds = 10, steps = 11;
    const Pace& pace = GetParam();
    RecorderBox recorder;
    recorder.usual_world();
    tell("source 1 plug 1080p60");
    Daemon({"--test", pace.number});
    run_for(rounds * pace.round);
    const std::string log = recorder.log();
    const size_t first = count(log, pace.first);
    EXPECT_NEAR(static_cast<double>(first), rounds, 1);
    for (int step = 1; step < steps; ++step) {
        const size_t runs = count(log, ">> Run test function " + std::to_string(step) + ",");
        EXPECT_LE(first - runs, 1u) << step;
    }
    EXPECT_EQ(missing_in_order(log, {"->hdmitx_init=0\n", pace.first, ":_power_on->power on\n"}), "");
}

// Catches: anything that leaks or piles up, a recording that is longer or shorter than ten seconds, and a key that is
// read although the sequence is in charge.
TEST(SelfTest, RecordsTenSecondsAgainAndAgainForHours)
{
    RecorderBox recorder;
    recorder.usual_world();
    tell("source 1 plug 720p60");
    tell("encoder rate 800");
    recorder.start({"--test=2"});
    tell("key power");
    run_for(1min);
    const auto files_between_recordings = [&recorder] {
        while (recorder.encoder_runs()) run_for(100ms);
        return open_files();
    };
    const std::ptrdiff_t files = files_between_recordings();
    recorder.log();
    run_for(1h);
    EXPECT_EQ(files_between_recordings(), files);
    EXPECT_TRUE(box().board().code_waiting());
    const std::string log = recorder.log();
    EXPECT_EQ(count(log, "Raw key"), 0u);
    // The encoder needs a moment to make its file, which the first check of each recording does not wait for.
    EXPECT_EQ(count(log, "failed"), count(log, "->storage_get_file_size failed: -1\n"));
    auto sizes = box().card().files();
    sizes.erase(".media_fileno");
    EXPECT_GT(sizes.size(), 3600u / 15);
    sizes.erase(std::prev(sizes.end())); // still growing
    for (const auto& [name, size] : sizes) EXPECT_NEAR(static_cast<double>(size), 1'000'000, 20'000) << name;
}

} // namespace bench
