// What emulated displays lock to and play, and how they behave in time, against the standards' own numbers.
#include "emulator/chips/transmitter_chip.h"
#include "emulator/chips/transmitter_registers.h"
#include "emulator/commands/commands.h"
#include "emulator/world/edids.h"
#include "emulator/world/formats.h"
#include "tests/support/bench.h"

#include <array>
#include <gtest/gtest.h>
#include <initializer_list>
#include <numeric>

#include <bit>
#include <functional>

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

/** A computer's RGB picture comes in, with sound. */
void show(TransmitterChip& chip, const char* format)
{
    chip.set_input(
        {.timing = timing(format), .colours = {.colour = Colour::Rgb, .limited = false}, .audio_rate_hz = 48'000});
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
        if (*row.format != '\0') show(chip, row.format);
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
        {"amplifier", {pcm, 8, 22'050, 16}, "linear PCM of 8 channels at 22.05 kHz"},
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

namespace {

/** A chip whose display is told by commands, in time. */
struct Bench {
    Timeline time;
    TransmitterChip chip{time};
    CommandTable commands;

    Bench() { add_transmitter_commands(commands, chip); }
    void tell(const std::string& line)
    {
        const Reply reply = commands.run(line);
        EXPECT_TRUE(reply.ok) << line << ": " << reply.text;
    }
    void wait_ms(Micros ms) { time.advance_to(time.now() + ms * 1000); }
    uint8_t get(uint8_t reg)
    {
        uint8_t value = 0;
        EXPECT_EQ(chip.read({&reg, 1}, {&value, 1}), 0);
        return value;
    }
    /** Whether hot plug made an interrupt since the last call. */
    bool interrupted()
    {
        const bool latched = (get(REG_STATUS_1) & STATUS_HOT_PLUG) != 0;
        const uint8_t clear[] = {REG_CLEAR_1, STATUS_HOT_PLUG, 0, SYSTEM_CLEAR};
        EXPECT_EQ(chip.write(clear), 0);
        return latched;
    }
    bool level() { return (get(REG_SYSTEM) & SYSTEM_HOT_PLUG) != 0; }
    /** The first bytes of the EDID, in 2 ms; empty when DDC does not answer. */
    EdidBytes read_edid()
    {
        const uint8_t read[] = {REG_DDC_MASTER, DDC_MASTER_HOST, DDC_SLAVE_EDID, 0, 16, 0, DDC_EDID_READ};
        EXPECT_EQ(chip.write(read), 0);
        wait_ms(2);
        EdidBytes bytes;
        if (get(REG_DDC_STATUS) == DDC_DONE)
            for (int i = 0; i < 16; ++i) bytes.push_back(get(REG_DDC_FIFO));
        return bytes;
    }
};

EdidBytes head_of(const char* display)
{
    const EdidImage edid = find_edid(display);
    return {edid.begin(), edid.begin() + 16};
}

} // namespace

// Catches: a line that stays down or goes on bouncing, edges without an interrupt, an EDID that is there too early.
TEST(HotPlug, BouncesAndDropsInTimeAndEndsHigh)
{
    static constexpr struct {
        const char* command;
        Micros down_ms, edges;
        const char* edid; // in the end
    } rows[] = {{"display hpd-bounce 3 20", 20, 6, "tv"},
                {"display hpd-bounce 1 5", 5, 2, "tv"},
                {"display hpd-drop", 100, 2, "tv"}, // HDMI: 100 ms at least
                {"display hpd-drop 250", 250, 2, "tv"},
                {"display replace rgb", 100, 2, "rgb"},
                {"display replace rgb unannounced", 0, 0, "rgb"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.command);
        Bench b;
        b.tell("display plug tv");
        b.wait_ms(50);
        EXPECT_TRUE(b.interrupted());
        b.tell(row.command);
        for (Micros edge = 0; edge < row.edges; ++edge) {
            EXPECT_TRUE(b.interrupted());
            EXPECT_EQ(b.level(), edge % 2 != 0);
            EXPECT_EQ(b.read_edid().empty(), edge % 2 == 0); // 2 ms
            b.wait_ms(row.down_ms - 3);
            EXPECT_FALSE(b.interrupted()) << "before its time";
            b.wait_ms(1);
        }
        b.wait_ms(1000);
        EXPECT_FALSE(b.interrupted());
        EXPECT_TRUE(b.level());
        EXPECT_EQ(b.read_edid(), head_of(row.edid));
    }
    Bench b;
    b.tell("display plug tv");
    b.tell("display hpd-bounce 10 10");
    b.tell("display unplug");
    b.wait_ms(55);
    EXPECT_FALSE(b.level()) << "nobody is there who could pull it up";
}

// Catches: a silence that counts reads instead of time or outlives the plug, and errors that come again or not at all.
TEST(Ddc, IsSilentForATimeAndNoisyByItsSeed)
{
    Bench b;
    b.tell("display ddc-silent 500");
    b.tell("display plug tv");
    b.wait_ms(497);
    EXPECT_TRUE(b.read_edid().empty()); // ends after 499 ms
    EXPECT_EQ(b.read_edid(), head_of("tv"));
    b.tell("display hpd-drop");
    b.wait_ms(597);
    EXPECT_TRUE(b.read_edid().empty());
    EXPECT_EQ(b.read_edid(), head_of("tv")) << "500 ms after the line has gone up again";
    b.tell("display ddc-silent 0");

    b.tell("display ddc-noise 20000 seed 7"); // of 128 bits in a read 2.6 are wrong
    std::vector<EdidBytes> first;
    for (int i = 0; i < 20; ++i) first.push_back(b.read_edid());
    unsigned wrong = 0, again = 0;
    for (size_t i = 0; i < first.size(); ++i) {
        for (size_t at = 0; at < 16; ++at)
            wrong += static_cast<unsigned>(std::popcount(static_cast<uint8_t>(first[i][at] ^ head_of("tv")[at])));
        if (i > 0 && first[i] == first[i - 1]) ++again;
    }
    EXPECT_NEAR(wrong, 51, 25);
    EXPECT_LE(again, 2u);
    b.tell("display ddc-noise 20000 seed 7");
    for (const EdidBytes& bytes : first) EXPECT_EQ(b.read_edid(), bytes);
    b.tell("display ddc-noise 0");
    EXPECT_EQ(b.read_edid(), head_of("tv"));
}

// Catches: a picture on a display that is asleep or still looking for the signal, and a lock that outlives a change.
TEST(DisplayView, ShowsNothingInStandbyAndUntilTheDisplayHasLocked)
{
    Bench b;
    b.tell("display plug rgb");
    b.tell("display lock-time 400");
    run(b.chip, true);
    show(b.chip, "1080p60");
    struct Step {
        const char* what;
        std::function<void()> act;
        bool locks_anew;
    };
    const auto set = [&b](uint8_t reg, uint8_t value) {
        const uint8_t bytes[] = {reg, value};
        EXPECT_EQ(b.chip.write(bytes), 0);
    };
    const Step steps[] = {
        {"first signal", [] {}, true},
        {"AV mute and back", [&] { set(REG_GENERAL, GENERAL_MUTE), set(REG_GENERAL, 0); }, false},
        {"the same again", [&] { show(b.chip, "1080p60"); }, false},
        {"another rate of the same clock", [&] { show(b.chip, "720p60"); }, true},
        {"another clock", [&] { show(b.chip, "480p60"); }, true},
        {"DVI", [&] { set(REG_HDMI, 0); }, true},
        {"clocks gated and back", [&] { set(REG_CLOCKS, CLOCKS_GATED), set(REG_CLOCKS, CLOCKS_CONVERTER_OFF); }, true},
        {"board's enable", [&] { b.chip.enable_output(false), b.chip.enable_output(true); }, true},
        {"plugged in again", [&] { b.tell("display plug rgb"); }, true},
        {"woken up", [&] { b.tell("display standby on"), b.tell("display standby off"); }, true},
    };
    for (const Step& step : steps) {
        SCOPED_TRACE(step.what);
        step.act();
        b.wait_ms(399);
        EXPECT_EQ(b.chip.view().why, step.locks_anew ? "the display is locking to the signal" : "");
        EXPECT_EQ(b.chip.view().picture, step.locks_anew ? Picture::NoSignal : Picture::Good);
        b.wait_ms(1);
        EXPECT_EQ(b.chip.view().picture, Picture::Good);
    }
    b.interrupted();
    b.tell("display standby on");
    EXPECT_FALSE(b.interrupted());
    EXPECT_TRUE(b.level());
    EXPECT_EQ(b.read_edid(), head_of("rgb"));
    EXPECT_EQ(b.chip.view().picture, Picture::NoSignal);
    EXPECT_EQ(b.chip.view().why, "the display is in standby");
    EXPECT_EQ(b.chip.view().sound.why, "the display is in standby");
}
