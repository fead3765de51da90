// The sources and the receiver chip of the emulated box, held against the standards they are written from.
#include "tests/emulator/receiver_desk.h"

#include <cmath>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

using namespace emu;
using namespace emu::rx;

/** The rate in a format's name, of fields for television and of frames for computers. */
double named_rate(const std::string& name)
{
    const bool computer = name.starts_with("dmt-");
    const size_t mark = computer ? name.rfind('-') : name.find_first_of("pi");
    return std::strtod(name.c_str() + mark + 1, nullptr);
}

// Catches: a mistyped clock, porch or line count in the tables.
TEST(Formats, KeepTheRateOfTheirNameAndAddUp)
{
    for (const Format& f : all_formats()) {
        const std::string name(f.name);
        SCOPED_TRACE(name);
        const bool frames = name.starts_with("dmt-") && f.interlaced;
        const double rate = f.field_rate() / (frames ? 2 : 1);
        EXPECT_NEAR(rate, named_rate(name), 0.012 * named_rate(name));
        const int field = f.v_active + f.v_front + f.v_sync + f.v_back;
        EXPECT_EQ(f.field_lines(), static_cast<uint32_t>(field));
        EXPECT_EQ(f.h_active % f.repetition, 0);
        const auto again = find_format(name);
        ASSERT_TRUE(again);
        EXPECT_EQ(again->vic, f.vic) << "two formats of one name";
    }
}

// Catches: the same in rows whose rate comes out right by accident. Line rates are those CTA-861 prints.
TEST(Formats, HaveTheLineRatesOfTheStandard)
{
    static constexpr struct {
        const char* name;
        uint32_t h_total, lines;
        double line_khz;
        int vic;
    } printed[] = {
        {"640x480p60", 800, 525, 31.469, 1},        {"480p60", 858, 525, 31.469, 2},
        {"720p60", 1650, 750, 45.000, 4},           {"1080i60", 2200, 1125, 33.750, 5},
        {"480i60", 1716, 525, 15.734, 6},           {"240p60", 1716, 262, 15.734, 8},
        {"2880x480i60", 3432, 525, 15.734, 10},     {"1440x480p60", 1716, 525, 31.469, 14},
        {"1080p60", 2200, 1125, 67.500, 16},        {"576p50", 864, 625, 31.250, 17},
        {"720p50", 1980, 750, 37.500, 19},          {"1080i50", 2640, 1125, 28.125, 20},
        {"576i50", 1728, 625, 15.625, 21},          {"288p50-314", 1728, 314, 15.625, 23},
        {"2880x288p50-313", 3456, 313, 15.625, 27}, {"1080p50", 2640, 1125, 56.250, 31},
        {"1080p24", 2750, 1125, 27.000, 32},        {"1080p25", 2640, 1125, 28.125, 33},
        {"1080p30", 2200, 1125, 33.750, 34},        {"1080i50-1250", 2304, 1250, 31.250, 39},
        {"720p24", 3300, 750, 18.000, 60},          {"1080p59.94", 2200, 1125, 67.433, 16},
    };
    for (const auto& row : printed) {
        SCOPED_TRACE(row.name);
        const auto f = find_format(row.name);
        ASSERT_TRUE(f);
        EXPECT_EQ(f->h_total(), row.h_total);
        EXPECT_EQ(f->lines, row.lines);
        EXPECT_NEAR(static_cast<double>(f->clock_khz) / f->h_total(), row.line_khz, 0.001);
        EXPECT_EQ(f->vic != 0 ? f->vic : f->vic_wide, row.vic);
    }
    EXPECT_FALSE(find_format("480p59.94")) << "27 MHz is 59.94 Hz already";
}

// Catches: a field in the wrong byte or bit of a frame, and a checksum that leaves something out.
TEST(InfoFrames, AreThoseOfKnownSources)
{
    static const struct {
        const char* plug;
        uint8_t reg;
        std::vector<uint8_t> bytes;
    } known[] = {
        {"1080p60", REG_AVI, {0x02, 0x27, 0x10, 0x28, 0x00, 0x10, 0x00}},
        {"480i60 colour yuv444 aspect 4:3", REG_AVI, {0x02, 0xC0, 0x50, 0x58, 0x00, 0x06, 0x01}},
        {"720p50 colour yuv422 709", REG_AVI, {0x02, 0x84, 0x30, 0xA8, 0x00, 0x13, 0x00}},
        {"1080p60 avi wrong", REG_AVI, {0x02, 0xC7, 0x70, 0x28, 0x00, 0x10, 0x00}},
        {"1080p60 colour yuv444 xv709", REG_AVI, {0x02, 0x17, 0x50, 0xE8, 0x10, 0x10, 0x00}},
        {"1080p60 avi off", REG_AVI, {0x00, 0x00, 0x00, 0x00}},
        {"1080p60 dvi", REG_AVI, {0x00, 0x00, 0x00, 0x00}},
        {"1080p60 audio lpcm 48000 2", REG_AUDIO_FRAME, {0x01, 0x70, 0x01, 0x00, 0x00, 0x00, 0x00, 0x0A}},
        {"1080p60 audio lpcm 96000 6", REG_AUDIO_FRAME, {0x01, 0x61, 0x05, 0x00, 0x00, 0x0B, 0x00, 0x0A}},
        {"1080p30 vendor vic 1", REG_VENDOR, {0x81, 0x01, 0x05, 0x49, 0x03, 0x0C, 0x00, 0x20, 0x01}},
        {"720p60 vendor 3d side-by-side", REG_VENDOR, {0x81, 0x01, 0x06, 0xA9, 0x03, 0x0C, 0x00, 0x40, 0x80, 0x00}},
    };
    for (const auto& row : known) {
        SCOPED_TRACE(row.plug);
        Desk desk;
        desk.settle(std::string("source 0 plug ") + row.plug);
        EXPECT_EQ(desk.get(row.reg, row.bytes.size()), row.bytes);
    }
    for (int vic = 0; vic < 256; ++vic) EXPECT_EQ(compose_avi({.vic = static_cast<uint8_t>(vic)}).sum(), 0);
}

// Catches: a timing count in the wrong register or with its upper bits lost. Counts worked out from CTA-861 by hand.
TEST(Receiver, MeasuresTheTimingOfThePicture)
{
    static const struct {
        const char* plug;
        std::vector<uint8_t> timing; // from REG_TIMING on
    } known[] = {
        {"1080p60", {0x00, 0x98, 0x78, 0x80, 44, 0x00, 88, 0x65, 0x44, 0x38, 41, 4, 23}},
        {"1080i50", {0x02, 0x50, 0x7A, 0x80, 44, 0x20, 0x10, 0x32, 0x22, 0x1C, 20, 2, 47}},
        {"480i60", {0x02, 0xB4, 0x56, 0xA0, 124, 0x00, 38, 0x06, 0x01, 0xF0, 18, 4, 128}},
        {"2880x576p50", {0x00, 0x80, 0x3D, 0x40, 0x00, 0x01, 48, 0x71, 0x22, 0x40, 44, 5, 32}},
        {"timing 13500 720 19 62 57 240 4 3 15", {0x00, 0x5A, 0x23, 0xD0, 62, 0x00, 19, 0x06, 0x01, 0xF0, 18, 4, 255}},
        {"1080p60 clock-error 3", {0x00, 0x98, 0x78, 0x80, 44, 0x00, 88, 0x65, 0x44, 0x38, 41, 4, 23}},
        {"480p60 clock-error -3", {0x00, 0x5A, 0x23, 0xD0, 62, 0x00, 16, 0x0D, 0x12, 0xE0, 36, 9, 132}},
    };
    for (const auto& row : known) {
        SCOPED_TRACE(row.plug);
        Desk desk;
        desk.settle(std::string("source 0 plug ") + row.plug);
        EXPECT_EQ(desk.get(REG_TIMING, row.timing.size()), row.timing);
        EXPECT_EQ(desk.get(REG_STATUS), HDMI_PICTURE);
        EXPECT_NE(desk.get(REG_LINK_COUNT), 0xFF);
    }
}

// Catches: a sound path that tells another kind, rate, layout or word length than the source's channel status does.
TEST(Receiver, TellsTheSoundAsItsChannelStatusDoes)
{
    static constexpr struct {
        const char* audio;
        uint8_t kind, rate_code, status0, status2, lengths; // audio, sampling frequency, three bytes of channel status
    } sounds[] = {
        {"none", 0x00, 0, 0, 0, 0},
        {"lpcm", 0x81, 2, 0x04, 0x20, 0xB0},
        {"lpcm 44100 1 16", 0x81, 0, 0x04, 0x10, 0x20},
        {"lpcm 32000 2 20", 0x81, 3, 0x04, 0x20, 0xA0},
        {"lpcm 88200 3", 0x93, 8, 0x04, 0x30, 0xB0},
        {"lpcm 96000 6 24", 0x97, 10, 0x04, 0x60, 0xB0},
        {"lpcm 176400 8 18", 0x9F, 12, 0x04, 0x80, 0x40},
        {"lpcm 192000 2 0 channel-number 0", 0x81, 14, 0x04, 0x00, 0x00},
        {"lpcm 48000 allocation 0x08", 0x95, 2, 0x04, 0x40, 0xB0}, // front and rear pairs: line 1 stays empty
        {"lpcm 0", 0x81, 1, 0x04, 0x20, 0xB0},
        {"compressed", 0x81, 2, 0x06, 0x20, 0x20},
        {"hbr", 0xCF, 9, 0x06, 0x80, 0x20},
        {"dsd", 0xA1, 0, 0x06, 0x20, 0xB0},
    };
    for (const auto& row : sounds) {
        SCOPED_TRACE(row.audio);
        Desk desk;
        desk.settle(std::string("source 0 plug 720p60 audio ") + row.audio);
        EXPECT_EQ(desk.get(REG_AUDIO), row.kind);
        EXPECT_EQ(desk.get(REG_FS_DEPTH) & 0x0F, row.rate_code);
        EXPECT_EQ(desk.get(REG_CHANNEL_STATUS), row.status0);
        EXPECT_EQ(desk.get(REG_CHANNEL_STATUS + 2), row.status2);
        EXPECT_EQ(desk.get(REG_CHANNEL_STATUS + 3), row.lengths);
    }
}

// Catches: an event that latches nothing or too much, one that reading clears, one that another group's pulse clears,
// and one that its own pulse does not.
TEST(Receiver, LatchesEventsUntilTheirOwnPulse)
{
    static const struct {
        const char *event, *before;
        uint8_t reg, bits, pulse_reg, pulse;
    } events[] = {
        {"source 0 5v off", "", REG_INT1, INT1_POWER_OFF | INT1_SCDT_OFF, REG_PULSE, PULSE_GROUP1},
        {"source 0 5v on", "source 0 5v off", REG_INT1, INT1_POWER_ON | INT1_SCDT_ON, REG_PULSE, PULSE_GROUP1},
        {"source 0 sync off", "", REG_INT1, INT1_SCDT_OFF, REG_PULSE, PULSE_GROUP1},
        {"source 0 sync on", "source 0 sync off", REG_INT1, INT1_SCDT_ON, REG_PULSE, PULSE_GROUP1},
        {"source 0 dvi", "", REG_INT1, INT1_HDMI_CHANGE, REG_PULSE, PULSE_GROUP1},
        {"source 0 hdmi", "source 0 dvi", REG_INT1, INT1_HDMI_CHANGE, REG_PULSE, PULSE_GROUP1},
        {"source 0 format 720p50", "", REG_INT1, INT1_SCDT_OFF | INT1_SCDT_ON | INT1_MODE_CHANGE, REG_PULSE,
         PULSE_GROUP1},
        {"source 0 format 1080i60 seamless", "", REG_INT1, INT1_MODE_CHANGE, REG_PULSE, PULSE_GROUP1},
        {"source 0 drop 1", "", REG_INT1, INT1_SCDT_OFF | INT1_SCDT_ON, REG_PULSE, PULSE_GROUP1},
        {"source 0 mute on", "", REG_INT2, INT2_MUTE_SET, REG_PULSE, PULSE_GROUP2},
        {"source 0 mute off", "source 0 mute on", REG_INT2, INT2_MUTE_CLEAR, REG_PULSE, PULSE_GROUP2},
        {"source 0 colour yuv422", "", REG_INT2, INT2_AVI, REG_PULSE, PULSE_GROUP2},
        {"source 0 vendor 3d top-bottom", "", REG_INT2_MORE, INT2_VENDOR, REG_PULSE, PULSE_GROUP2},
        {"source 0 audio lpcm 44100", "", REG_INT3, INT3_AUDIO | INT3_FIFO, REG_MASK3, MASK3_FIFO_CLEAR},
        {"receiver error fifo", "", REG_INT3, INT3_FIFO, REG_MASK3, MASK3_FIFO_CLEAR},
        {"receiver error audio", "", REG_INT3, INT3_AUDIO, REG_PULSE, PULSE_AUDIO},
        {"receiver error ecc", "", REG_INT3, INT3_ECC, REG_PULSE, PULSE_ECC},
        {"source 0 audio none", "", REG_INT3, 0, REG_PULSE, PULSE_AUDIO | PULSE_ECC},
        {"source 0 clock-error 2", "", REG_INT1, 0, REG_PULSE, PULSE_GROUP1},
    };
    for (const auto& row : events) {
        SCOPED_TRACE(row.event);
        Desk desk;
        desk.settle("source 0 plug 1080p60");
        if (*row.before != '\0') desk.settle(row.before);
        desk.tell(row.event);
        desk.run_ms(2000);
        EXPECT_EQ(desk.get(row.reg), row.bits);
        EXPECT_EQ(desk.get(row.reg), row.bits);
        for (uint8_t other : {PULSE_GROUP1, PULSE_GROUP2, PULSE_ECC, PULSE_AUDIO})
            if (row.pulse_reg != REG_PULSE || (row.pulse & other) == 0) desk.pulse(REG_PULSE, other);
        const uint8_t left = row.pulse_reg == REG_MASK3 ? row.bits & INT3_FIFO : row.bits;
        EXPECT_EQ(desk.get(row.reg), left);
        desk.pulse(row.pulse_reg, row.pulse);
        EXPECT_EQ(desk.get(row.reg), 0);
    }
}

// Catches: a pulse that is never released and still lets events through, and a storm that a pulse ends for good.
TEST(Receiver, HeldPulseLatchesNothingAndStormComesBack)
{
    Desk desk;
    desk.settle("source 0 plug 1080p60");
    desk.set(REG_PULSE, PULSE_GROUP1);
    desk.tell("source 0 sync off");
    EXPECT_EQ(desk.get(REG_INT1), 0);
    desk.set(REG_PULSE, 0);
    desk.tell("receiver storm 500");
    for (int round = 0; round < 3; ++round) {
        desk.run_ms(1);
        for (uint8_t reg : {REG_INT1, REG_INT2, REG_INT3, REG_INT2_MORE}) EXPECT_EQ(desk.get(reg), 0xFF);
        desk.set(REG_PULSE, 0xCF);
        desk.set(REG_PULSE, 0);
        EXPECT_EQ(desk.get(REG_INT1), 0);
    }
    desk.tell("receiver storm off");
    desk.run_ms(100);
    EXPECT_EQ(desk.get(REG_INT1), 0);
}

// Catches: timing registers that follow the sound, the packets or a lost picture, and ones that jump ahead of the
// picture.
TEST(Receiver, TimingMovesOnlyWhenThePictureDoes)
{
    static constexpr const char* others[] = {
        "source 0 audio compressed", "source 0 colour yuv444", "source 0 mute on",      "source 0 dvi",
        "source 1 plug 720p50",      "source 0 sync off",      "source 0 format 720p50"};
    Desk desk;
    desk.settle("source 0 plug 1080i60");
    const auto before = desk.get(REG_TIMING, 13);
    for (const char* other : others) {
        SCOPED_TRACE(other);
        desk.tell(other);
        desk.run_ms(100);
        EXPECT_EQ(desk.get(REG_TIMING, 13), before);
    }
    EXPECT_EQ(desk.get(REG_LINK_COUNT), 0xFF);
    desk.tell("source 0 sync on");
    desk.run_ms(850);
    EXPECT_EQ(desk.get(REG_TIMING, 13), before) << "a change of format takes a source a second";
    desk.run_ms(200);
    EXPECT_EQ(desk.get(REG_TIMING + 7), 750 & 0xFF);
}

// Catches: a source that does not notice the terminators, and a receiver that takes 5 V for a picture.
TEST(Source, StopsWithoutTerminatorsAndStartsAgainAfterItsDelay)
{
    static constexpr struct {
        const char* delay;
        Micros absent_ms, present_ms; // after the terminators came back; 0: never
    } sources[] = {{"0", 0, 11}, {"100", 105, 120}, {"3000", 3005, 3020}, {"never", 60'000, 0}};
    for (const auto& row : sources) {
        SCOPED_TRACE(row.delay);
        Desk desk;
        desk.settle("source 0 plug 1080p60");
        desk.tell(std::string("source 0 sync-delay ") + row.delay);
        desk.set(REG_PORT, 0x0C);
        EXPECT_EQ(desk.get(REG_STATUS), STATUS_POWER_0);
        EXPECT_EQ(desk.get(REG_INT1), INT1_SCDT_OFF);
        desk.run_ms(10'000);
        EXPECT_EQ(desk.get(REG_STATUS), STATUS_POWER_0);
        desk.set(REG_PORT, 0x00);
        desk.run_ms(row.absent_ms);
        EXPECT_EQ(desk.get(REG_STATUS) & STATUS_SCDT, 0);
        if (row.present_ms == 0) continue;
        desk.run_ms(row.present_ms - row.absent_ms);
        EXPECT_EQ(desk.get(REG_STATUS) & STATUS_SCDT, STATUS_SCDT);
    }
}

TEST(Source, LosesSyncAsOftenAsItIsTold)
{
    Desk desk;
    desk.settle("source 0 plug 720p60");
    desk.tell("source 0 drop 15 100");
    int losses = 0;
    for (int ms = 0; ms < 5000; ms += 20) {
        losses += (desk.get(REG_INT1) & INT1_SCDT_OFF) != 0;
        desk.set(REG_PULSE, PULSE_GROUP1);
        desk.set(REG_PULSE, 0);
        desk.run_ms(20);
    }
    EXPECT_EQ(losses, 15);
    EXPECT_EQ(desk.get(REG_STATUS), HDMI_PICTURE);
}

// Catches: registers that show another port's source, and a switch between two equal pictures that nobody notices.
TEST(Receiver, ShowsTheSelectedConnectorAtItsFirstPort)
{
    Desk desk;
    desk.settle("source 0 plug 1080p60");
    desk.settle("source 1 plug 1080p60 dvi");
    EXPECT_EQ(desk.get(REG_STATUS), HDMI_PICTURE | STATUS_POWER_1);
    desk.chip.select_port(1);
    EXPECT_EQ(desk.get(REG_STATUS), STATUS_POWER_0 | STATUS_POWER_1);
    desk.run_ms(100);
    EXPECT_EQ(desk.get(REG_STATUS), (HDMI_PICTURE | STATUS_POWER_1) & ~STATUS_HDMI);
    EXPECT_EQ(desk.get(REG_INT1), INT1_SCDT_ON | INT1_SCDT_OFF | INT1_HDMI_CHANGE);
    desk.clear_latches();
    desk.tell("source 0 unplug");
    EXPECT_EQ(desk.get(REG_INT1), 0);
    EXPECT_EQ(desk.get(REG_STATUS), (HDMI_PICTURE | STATUS_POWER_1) & ~STATUS_HDMI);
    desk.chip.select_port(0);
    EXPECT_EQ(desk.get(REG_STATUS), STATUS_POWER_1);
    EXPECT_EQ(desk.get(REG_INT1) & INT1_POWER_OFF, INT1_POWER_OFF);
    desk.chip.select_port(-1);
    EXPECT_EQ(desk.get(REG_STATUS), STATUS_POWER_1);
}

// Catches: resets that do nothing, lose what the driver has set, or leave the receiver dead.
TEST(Receiver, ComesBackFromEveryReset)
{
    static constexpr struct {
        const char* what;
        uint8_t held, status, link_count, kind,
            kept; // reset register; status, link clock, audio and 0x3D while it is held
    } resets[] = {{"software", 0x21, STATUS_POWER_0, 0xFF, 0x00, 0x40},
                  {"video", 0xA0, 0x17, 0xFF, 0x81, 0x40},
                  {"audio", 0x24, HDMI_PICTURE, 23, 0x00, 0x40},
                  {"registers", 0x10, HDMI_PICTURE, 23, 0x81, 0x00}};
    for (const auto& row : resets) {
        SCOPED_TRACE(row.what);
        Desk desk;
        desk.settle("source 0 plug 1080p60");
        desk.set(0x3D, 0x40);
        desk.set(REG_RESET, row.held);
        EXPECT_EQ(desk.get(REG_STATUS), row.status);
        EXPECT_EQ(desk.get(REG_LINK_COUNT), row.link_count);
        EXPECT_EQ(desk.get(REG_AUDIO), row.kind);
        EXPECT_EQ(desk.get(0x3D), row.kept);
        EXPECT_EQ(desk.get(REG_INT1), 0);
        desk.run_ms(500);
        EXPECT_EQ(desk.get(REG_STATUS), row.status) << "while it is held";
        desk.set(REG_RESET, 0x20);
        desk.run_ms(100);
        EXPECT_EQ(desk.get(REG_STATUS), HDMI_PICTURE);
        EXPECT_EQ(desk.get(REG_AUDIO), 0x81);
        EXPECT_EQ(desk.get(REG_TIMING + 3), 1920 & 0xFF);
    }
}

// Catches: a bank that the other one shines through, and status registers that a write changes.
TEST(Receiver, KeepsBanksApartAndStatusUnwritten)
{
    Desk desk;
    desk.settle("source 0 plug 1080p60");
    desk.set(REG_CONVERTER, 0x55);
    desk.set(REG_STATUS, 0x00);
    desk.set(REG_TIMING + 12, 0x00);
    desk.set(REG_BANK, 1);
    EXPECT_EQ(desk.get(REG_CONVERTER), 0x00);
    EXPECT_EQ(desk.get(REG_STATUS), 0x00);
    desk.set(REG_CONVERTER, 0x66);
    EXPECT_EQ(desk.get(REG_BANK), 1);
    desk.set(REG_BANK, 0);
    EXPECT_EQ(desk.get(REG_CONVERTER), 0x55);
    EXPECT_EQ(desk.get(REG_STATUS), HDMI_PICTURE);
    EXPECT_EQ(desk.get(REG_TIMING + 12), 23);
}

// Catches: a refused command that has done half its work, and words that are taken for others.
TEST(SourceCommands, RefusedOnesChangeNothing)
{
    static constexpr const char* wrong[] = {"source",
                                            "source 2 unplug",
                                            "source 0",
                                            "source 0 jump",
                                            "source 0 plug",
                                            "source 0 plug 1081p60",
                                            "source 0 plug 720p50 purple",
                                            "source 0 plug 720p50 audio lpcm 44101",
                                            "source 0 plug 720p50 sync-delay soon",
                                            "source 0 unplug now",
                                            "source 0 5v maybe",
                                            "source 0 audio lpcm 48000 9",
                                            "source 0 audio lpcm 48000 2 12",
                                            "source 0 format 720p50 seamless please",
                                            "source 0 timing 74250 0 1 1 1 1 1 1 1",
                                            "source 0 timing 74250 1280",
                                            "source 0 clock-error 99",
                                            "source 0 colour cmyk",
                                            "source 0 drop 0",
                                            "source 0 mute",
                                            "source 0 5v flap",
                                            "source 0 5v flap 3 0",
                                            "source 0 avi vic 128",
                                            "source 0 avi repetition 0",
                                            "source 0 avi late soon",
                                            "source 0 audio-status hbr",
                                            "source 0 audio-status lpcm 44101",
                                            "source 0 audio-frame none",
                                            "source 0 fields odd",
                                            "source 0 jitter some",
                                            "source 0 late-lock -1",
                                            "source 0 hdcp muted",
                                            "source 0 hdcp dark 0",
                                            "source 0 plug 480p59.94",
                                            "receiver error all",
                                            "receiver error ecc every",
                                            "receiver storm",
                                            "receiver revision 256",
                                            "receiver lock-time -1",
                                            "formats all"};
    Desk desk;
    desk.settle("source 0 plug 1080p60");
    const std::string before = desk.chip.describe();
    const auto registers = desk.get(0x00, 256);
    for (const char* line : wrong) {
        SCOPED_TRACE(line);
        EXPECT_FALSE(desk.commands.run(line).ok);
        desk.run_ms(200);
        EXPECT_EQ(desk.chip.describe(), before);
        EXPECT_EQ(desk.get(0x00, 256), registers);
    }
}

} // namespace
