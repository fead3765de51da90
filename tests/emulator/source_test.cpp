// Sources, held against CTA-861.
#include "tests/emulator/receiver_desk.h"

namespace {

using namespace emu;
using namespace emu::rx;

// Catches: a second clock that is not CTA-861's, one for a format that has none, and a receiver that tells the two
// apart.
TEST(Formats, HaveBothClocksOfTheStandard)
{
    static constexpr struct {
        const char* name;
        uint32_t clock_khz, h_total, lines;
        double rate_hz;
        int vic;
        const char* like; // as the receiver counts it; clocks within one part in a thousand
    } printed[] = {
        {"1080p59.94", 148'352, 2200, 1125, 59.94, 16, "1080p60"},
        {"1080i59.94", 74'176, 2200, 1125, 59.94, 5, "1080i60"},
        {"720p59.94", 74'176, 1650, 750, 59.94, 4, "720p60"},
        {"1080p29.97", 74'176, 2200, 1125, 29.97, 34, "1080p30"},
        {"1080p23.98", 74'176, 2750, 1125, 23.976, 32, "1080p24"},
        {"720p47.95", 89'910, 2500, 750, 47.952, 108, "720p48"},
        {"480p60.00", 27'027, 858, 525, 60.00, 2, "480p60"},
        {"480i60.00", 27'027, 1716, 525, 60.00, 6, "480i60"},
        {"240p60.00-263", 27'027, 1716, 263, 59.886, 8, "240p60-263"},
        {"1440x480p60.00", 54'054, 1716, 525, 60.00, 14, "1440x480p60"},
        {"2880x480i60.00", 54'054, 3432, 525, 60.00, 10, "2880x480i60"},
        {"2880x480p60.00", 108'108, 3432, 525, 60.00, 35, "2880x480p60"},
        {"480i240.00", 108'108, 1716, 525, 240.00, 58, "480i240"},
        {"640x480p60.00", 25'200, 800, 525, 60.00, 1, "640x480p60"},
        {"1080p48", 148'500, 2750, 1125, 48.00, 111, "vic111"},
        {"1680x720p48", 99'000, 2750, 750, 48.00, 110, "vic110"},
        {"2560x1080p24", 99'000, 3750, 1100, 24.00, 86, "vic86"},
        {"2560x1080p25", 90'000, 3200, 1125, 25.00, 87, "vic87"},
        {"2560x1080p30", 118'800, 3520, 1125, 30.00, 88, "vic88"},
    };
    for (const auto& row : printed) {
        SCOPED_TRACE(row.name);
        const auto f = find_format(row.name);
        ASSERT_TRUE(f);
        EXPECT_EQ(f->clock_khz, row.clock_khz);
        EXPECT_EQ(f->h_total(), row.h_total);
        EXPECT_EQ(f->lines, row.lines);
        EXPECT_NEAR(f->field_rate(), row.rate_hz, 0.001);
        EXPECT_EQ(f->vic != 0 ? f->vic : f->vic_wide, row.vic);
        Desk desk, other;
        desk.settle(std::string("source 0 plug ") + row.name);
        other.settle(std::string("source 0 plug ") + row.like);
        EXPECT_EQ(desk.get(REG_TIMING, 13), other.get(REG_TIMING, 13));
    }
    for (const char* none : {"480p59.94", "720p60.00", "576p50.00", "dmt-640x480-60.00", "240p59.94-263"})
        EXPECT_FALSE(find_format(none)) << none;
}

} // namespace
