#include "services/settings.h"

#include "tests/support/bench.h"

#include <climits>

namespace capd {
namespace {

// Catches: a text that overruns its buffer or its number's range, a setting read from another's entry, a missing one
// that leaves the caller's value.
TEST(Settings, StoredTextsAreReadWhateverTheyHold)
{
    static const struct {
        const char* what;
        std::string text;
        int value;
        const char* shown;
    } cases[] = {
        {"as the daemon writes it", "1", 1, "1"},
        {"no number", "low", 0, "low"},
        {"empty", "", 0, ""},
        {"11 characters", "00000000001", 1, "00000000001"},
        {"one more is cut", "000000000012", 1, "00000000001"},
        {"longest value", std::string(127, '9'), INT_MAX, "99999999999"},
        {"most negative", "-9999999999", -INT_MAX, "-9999999999"},
    };
    bench::Output output;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        int value = 77;
        bench::box().nvram().set("_AV_REC_CONFIG", c.text);
        EXPECT_EQ(config_get_av_rec_config(&value), 0);
        EXPECT_EQ(value, c.value);
        EXPECT_EQ(output.take(), std::string("Read _AV_REC_CONFIG from nvram: ") + c.shown + "\n");
    }
    int value = 77;
    EXPECT_EQ(config_get_hdmirx_port(&value), 0);
    EXPECT_EQ(value, 0);
    EXPECT_EQ(output.take(), "failed, errno=2\n");
    bench::box().nvram().set("_HDMIRX_PORT", "1");
    config_get_hdmirx_port(&value);
    EXPECT_EQ(value, 1);
    EXPECT_EQ(output.take(), "Read _HDMIRX_PORT from nvram: 1\n");
}

// Catches: a missing bit rate that reads as one, a configuration's bit rate taken for the other's.
TEST(Settings, BitRatesAreTheirConfigurationsOwn)
{
    bench::Output output;
    long bitrate = 77;
    EXPECT_EQ(config_get_bitrate(0, &bitrate), -1);
    EXPECT_EQ(bitrate, 77);
    EXPECT_EQ(bench::count(output.take(), "Read _BITRATE_0 from nvram: \n"), 1U);
    bench::box().nvram().set("_BITRATE_1", std::string(127, '9'));
    EXPECT_EQ(config_get_bitrate(1, &bitrate), 0);
    EXPECT_EQ(bitrate, LONG_MAX);
    EXPECT_EQ(output.take(), "Read _BITRATE_1 from nvram: " + std::string(31, '9') + "\n");
    EXPECT_EQ(config_set_bitrate(1, 4000000), 0);
    EXPECT_EQ(bench::count(output.take(), "Writing _BITRATE_1 to nvram: 4000000\n"), 1U);
    config_get_bitrate(1, &bitrate);
    EXPECT_EQ(bitrate, 4000000);
    bench::tell("nvram missing on");
    EXPECT_EQ(config_get_bitrate(1, &bitrate), -6);
}

// Catches: a setting written under another's name, one that a power cut takes although it was committed.
TEST(Settings, OnlyWhatWasCommittedSurvivesAPowerCut)
{
    bench::Output output;
    EXPECT_EQ(config_set_hdmirx_port(1), 0);
    EXPECT_EQ(config_commit(), 0);
    EXPECT_EQ(config_set_av_rec_config(1), 0);
    EXPECT_EQ(bench::count(output.take(), "Writing _AV_REC_CONFIG to nvram: 1\n"), 1U);
    bench::tell("nvram power-cut");
    EXPECT_EQ(config_init(), 0);
    EXPECT_EQ(bench::box().nvram().store(), (emu::NvramDevice::Store{{"_HDMIRX_PORT", "1"}}));
    bench::tell("nvram refuse all");
    EXPECT_EQ(config_init(), -1);
    EXPECT_EQ(config_set_hdmirx_port(0), -1);
    EXPECT_EQ(config_commit(), -1);
}

} // namespace
} // namespace capd
