// What emulated displays lock to, against the standards' own numbers.
#include "emulator/chips/transmitter_chip.h"
#include "emulator/chips/transmitter_registers.h"
#include "emulator/world/edids.h"
#include "emulator/world/formats.h"
#include "tests/support/bench.h"

#include <gtest/gtest.h>

namespace {

using namespace emu;
using namespace emu::tx;

PictureTiming timing(const char* format)
{
    return timing_of(find_format(format).value());
}

/** A running HDMI output of RGB with its front end in a range. */
void run(TransmitterChip& chip, bool high)
{
    const auto set = [&chip](uint8_t reg, uint8_t value) {
        const uint8_t bytes[] = {reg, value};
        ASSERT_EQ(chip.write(bytes), 0);
    };
    chip.enable_output(true);
    set(REG_CLOCKS, CLOCKS_CONVERTER_OFF);
    set(REG_POWER, 0);
    set(REG_AFE_DRIVER, 0);
    set(REG_AFE_PLL_1, PLL_1_RUN | (high ? PLL_1_HIGH : PLL_1_LOW));
    set(REG_AFE_PLL_2, PLL_2_RUN | (high ? PLL_2_HIGH : PLL_2_LOW));
    set(REG_AFE_SWING, high ? 0 : SWING_LOW);
    set(REG_RESET, 0);
    set(REG_HDMI, HDMI_MODE);
    set(REG_GENERAL, 0);
}

} // namespace

// Catches: a list of timings or a clock that is read out of the wrong bytes of an EDID.
TEST(DisplayLimits, AreThoseOfTheEdid)
{
    static constexpr struct {
        const char* display;
        uint32_t max_khz;
        std::vector<const char*> (*listed)();
        const char* unlisted[3];
    } rows[] = {
        {"tv",
         225'000,
         [] { return std::vector{"1080p60", "1080p50", "720p60", "720p50", "1080i60", "1080i50", "480p60"}; },
         {"1080p30", "1080p24", "dmt-1280x1024-60"}},
        {"dvi",
         110'000,
         [] {
             return std::vector{"dmt-1280x1024-60", "dmt-1024x768-60", "dmt-800x600-60", "640x480p60"};
         },
         {"1080p60", "dmt-1024x768-75", "dmt-1280x1024-75"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.display);
        const DisplayLimits limits = read_limits(find_edid(row.display));
        EXPECT_EQ(limits.max_clock_khz, row.max_khz);
        for (const char* format : row.listed()) EXPECT_TRUE(limits.lists(timing(format))) << format;
        for (const char* format : row.unlisted) EXPECT_FALSE(limits.lists(timing(format))) << format;
    }
    EXPECT_TRUE(read_limits(find_edid("bad-header")).timings.empty());
}

// Catches: a picture out of nothing, one that the display cannot lock to, and a front end that is only lucky.
TEST(DisplayView, PictureNeedsAClockThatTheDisplayTakesAndTheFrontEndIsSetUpFor)
{
    static constexpr struct {
        const char *display, *format;
        bool high;
        Picture picture;
        const char* text;
    } rows[] = {
        {"rgb", "", false, Picture::NoSignal, "no picture comes in"},
        {"rgb", "720p60", false, Picture::Good, ""},
        {"rgb", "720p60", true, Picture::Good, "the front end is in its high range"},
        {"rgb", "1080p60", true, Picture::Good, ""},
        {"rgb", "1080p60", false, Picture::Good, "the front end is in its low range"},
        {"rgb", "dmt-1024x768-60", false, Picture::OutOfRange, "1024x768 at 60 Hz is none of its timings"},
        {"rgb", "dmt-1600x1200-60", true, Picture::OutOfRange, "162 MHz, the display takes 150 MHz"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.display) + " " + row.format);
        Timeline time;
        TransmitterChip chip(time);
        chip.plug({row.display, find_edid(row.display)});
        run(chip, row.high);
        if (*row.format != '\0')
            chip.set_input({.timing = timing(row.format), .colours = {.colour = Colour::Rgb, .limited = false}});
        const DisplayView view = chip.view();
        EXPECT_EQ(view.picture, row.picture) << view.why;
        EXPECT_EQ(view.why + view.but, row.text);
        EXPECT_EQ(view.signal == OutputSignal::None, *row.format == '\0');
    }
}
