// What emulated displays lock to and play, against the standards' own numbers.
#include "emulator/chips/transmitter_chip.h"
#include "emulator/chips/transmitter_registers.h"
#include "emulator/world/edids.h"
#include "emulator/world/formats.h"
#include "tests/support/bench.h"

#include <array>
#include <gtest/gtest.h>
#include <initializer_list>
#include <numeric>

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

/** Send an AVI frame of version 2 with these first five bytes and a right sum. */
void send_avi(TransmitterChip& chip, std::array<uint8_t, 5> body)
{
    const auto put = [&chip](std::initializer_list<uint8_t> bytes) {
        ASSERT_EQ(chip.write({bytes.begin(), bytes.size()}), 0);
    };
    const unsigned sum = 0x82 + 2 + 13 + std::accumulate(body.begin(), body.end(), 0u);
    const auto clocks = chip.peek(0, REG_CLOCKS);
    put({REG_CLOCKS, static_cast<uint8_t>(clocks | CLOCKS_BANK)});
    put({REG_AVI, body[0], body[1], body[2], body[3], body[4], static_cast<uint8_t>(0x100 - (sum & 0xFF))});
    put({REG_CLOCKS, clocks});
    put({REG_SEND_AVI, SEND});
}

} // namespace

// Catches: levels and weights that are not those of CTA-861 (5.1) where a source or an AVI frame does not tell, and a
// difference between what is on the cable and what is told that a display does not show.
TEST(DisplayView, TakesColoursForWhatItIsTold)
{
    constexpr Colour RGB = Colour::Rgb, YUV = Colour::Yuv422;
    static const struct {
        const char *what, *format;
        PictureColours cable;
        std::array<uint8_t, 5> avi;
        Picture picture;
        const char* text;
    } rows[] = {
        {"levels by VIC", "1080p60", {.colour = RGB}, {0x10, 0xA8, 0, 16, 0}, Picture::Good, ""},
        {"no VIC: a computer's",
         "1080p60",
         {.colour = RGB, .limited = false},
         {0x10, 0xA8, 0, 0, 0},
         Picture::Good,
         ""},
        {"VIC 1: a computer's",
         "640x480p60",
         {.colour = RGB, .limited = false},
         {0x10, 0x58, 0, 1, 0},
         Picture::Good,
         ""},
        {"full, told", "1080p60", {.colour = RGB, .limited = false}, {0x10, 0xA8, 0x08, 16, 0}, Picture::Good, ""},
        {"full, not told",
         "1080p60",
         {.colour = RGB, .limited = false},
         {0x10, 0xA8, 0, 16, 0},
         Picture::Good,
         "the display takes levels of 0-255 for 16-235"},
        {"limited, called full",
         "1080p60",
         {.colour = RGB},
         {0x10, 0xA8, 0x08, 16, 0},
         Picture::Good,
         "the display takes levels of 16-235 for 0-255"},
        {"weights by size", "1080p60", {.itu709 = true}, {0x30, 0x28, 0, 16, 0}, Picture::Good, ""},
        {"weights by size", "480p60", {.itu709 = false}, {0x30, 0x18, 0, 2, 0}, Picture::Good, ""},
        {"ITU601, told", "1080p60", {.itu709 = false}, {0x30, 0x68, 0, 16, 0}, Picture::Good, ""},
        {"ITU709, called ITU601",
         "1080p60",
         {.itu709 = true},
         {0x30, 0x68, 0, 16, 0},
         Picture::Good,
         "the display takes ITU709 for ITU601"},
        {"RGB, called YCbCr",
         "1080p60",
         {.colour = RGB},
         {0x30, 0xA8, 0, 16, 0},
         Picture::WrongColours,
         "the cable carries RGB, the display takes it for YCbCr 4:2:2"},
        {"another format's VIC",
         "1080p60",
         {.itu709 = true},
         {0x30, 0xA8, 0, 4, 0},
         Picture::Good,
         "the AVI frame names another format"},
        {"59.94 Hz is 60 Hz", "1080p59.94", {.itu709 = true}, {0x30, 0xA8, 0, 16, 0}, Picture::Good, ""},
        {"lost on the way",
         "1080p60",
         {.colour = YUV, .itu709 = true, .fault = "lost"},
         {0x30, 0xA8, 0, 16, 0},
         Picture::WrongColours,
         "lost"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        Timeline time;
        TransmitterChip chip(time);
        chip.plug({"tv", find_edid("tv")});
        const PictureTiming picture = timing(row.format);
        run(chip, picture.clock_khz > 80'000);
        const uint8_t input[] = {REG_INPUT, row.cable.colour == YUV ? INPUT_YUV422 : uint8_t{0}};
        ASSERT_EQ(chip.write(input), 0);
        chip.set_input({.timing = picture, .colours = row.cable});
        send_avi(chip, row.avi);
        const DisplayView view = chip.view();
        EXPECT_EQ(view.picture, row.picture);
        EXPECT_EQ(view.why + view.but, row.text);
    }
}

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
        {"dvi-165", 165'000, [] { return std::vector{"dmt-1600x1200-60"}; }, {"1080p60", "720p60", "dmt-1280x1024-75"}},
        {"rev1",
         80'000,
         [] {
             return std::vector{"720p60", "720p50", "576p50"};
         },
         {"1080p60", "1080i60", "576i50"}},
        {"uhd",
         600'000,
         [] {
             return std::vector{"1080p60", "1080p50"};
         },
         {"1080p24", "480i60", "1080i50"}},
        {"y420",
         300'000,
         [] {
             return std::vector{"1080p60", "1080p50"};
         },
         {"1080p24", "480i60", "1080i50"}},
        {"displayid",
         150'000,
         [] { return std::vector{"dmt-1680x1050-60rb"}; },
         {"dmt-1600x1200-60", "1080p24", "480i60"}},
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

// Catches: a descriptor that is taken for another one's rate, size or channels, and basic audio that promises more.
TEST(DisplaySound, IsWhatTheShortAudioDescriptorsList)
{
    constexpr bool pcm = true, compressed = false;
    static constexpr struct {
        const char* display;
        SoundOffer sound;
        const char* refusal; // behind "the display lists no "
    } rows[] = {
        {"basic-audio", {pcm, 2, 32'000, 16}, ""},
        {"basic-audio", {pcm, 2, 44'100, 24}, ""},
        {"basic-audio", {pcm, 2, 88'200, 16}, "linear PCM of 2 channels at 88.2 kHz"},
        {"basic-audio", {pcm, 4, 48'000, 16}, "linear PCM of 4 channels"},
        {"basic-audio", {compressed, 2, 48'000, 16}, "compressed sound"},
        {"tv", {pcm, 2, 48'000, 24}, ""},
        {"tv", {pcm, 2, 96'000, 24}, "linear PCM of 2 channels at 96 kHz"},
        {"tv", {pcm, 6, 48'000, 24}, "linear PCM of 6 channels"}, // its six are those of AC-3
        {"tv", {compressed, 2, 44'100, 16}, ""},
        {"tv", {compressed, 2, 192'000, 16}, "compressed sound at 192 kHz"},
        {"tv", {compressed, 8, 768'000, 0}, "compressed sound at 768 kHz"},
        {"amplifier", {pcm, 8, 192'000, 24}, ""},
        {"amplifier", {compressed, 8, 768'000, 0}, ""},
        {"amplifier", {pcm, 8, 22'050, 16}, "linear PCM of 8 channels at 22 kHz"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.display) + ", " + row.refusal);
        const std::string lists = *row.refusal == '\0' ? "" : "the display lists no ";
        EXPECT_EQ(sound_refusal(read_audio_descriptors(find_edid(row.display)), row.sound), lists + row.refusal);
    }
    const AudioDescriptors sixteen = {{.rates = 0x04, .sizes = 0x01}};
    EXPECT_EQ(sound_refusal(sixteen, {pcm, 2, 48'000, 16}), "");
    EXPECT_EQ(sound_refusal(sixteen, {pcm, 2, 48'000, 20}), "the display lists no linear PCM of 20 bits at 48 kHz");
}
