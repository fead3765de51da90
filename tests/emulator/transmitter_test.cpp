// The emulated transmitter and displays against the standards and the chip's description.
#include "emulator/chips/transmitter_chip.h"
#include "emulator/chips/transmitter_registers.h"
#include "emulator/commands/commands.h"

#include <gtest/gtest.h>

#include <array>
#include <initializer_list>
#include <string>
#include <vector>

namespace {

using emu::MatrixKind;
using emu::OutputSignal;
using emu::Picture;
using namespace emu::tx;

/** A chip on a bench: registers by number, time by hand. */
struct Chip {
    emu::Timeline time;
    emu::TransmitterChip chip{time};
    emu::CommandTable commands;

    Chip()
    {
        emu::add_transmitter_commands(commands, chip);
        tell("transmitter input 74250000 48000");
    }

    void set(uint8_t reg, std::initializer_list<uint8_t> values)
    {
        std::vector<uint8_t> bytes{reg};
        bytes.insert(bytes.end(), values);
        ASSERT_EQ(chip.write(bytes), 0);
    }
    uint8_t get(uint8_t reg)
    {
        uint8_t value = 0;
        EXPECT_EQ(chip.read({&reg, 1}, {&value, 1}), 0);
        return value;
    }
    void wait(emu::Micros us) { time.advance_to(time.now() + us); }
    void bank(uint8_t number) { set(REG_CLOCKS, {static_cast<uint8_t>((get(REG_CLOCKS) & ~CLOCKS_BANK) | number)}); }
    void tell(const std::string& line)
    {
        const emu::Reply reply = commands.run(line);
        EXPECT_TRUE(reply.ok) << reply.text;
    }
    /** Start a read of EDID bytes, segment by segment pointer. */
    void start_read(uint8_t segment, uint8_t offset, uint8_t count)
    {
        set(REG_DDC_MASTER, {DDC_MASTER_HOST, DDC_SLAVE_EDID, offset, count, segment, DDC_EDID_READ});
    }
    /** Everything on, 4:2:2 in, bypassed, HDMI, not muted; info frames as given by their data byte 1. */
    void run_output(uint8_t avi_1, uint8_t avi_sum)
    {
        chip.enable_output(true);
        set(REG_CLOCKS, {0x18});
        set(REG_POWER, {0x00});
        set(REG_AFE_DRIVER, {0x00, 0x18});
        set(REG_AFE_PLL_2, {0x0D});
        set(REG_AFE_SWING, {0x10});
        set(REG_RESET, {0x01});
        set(REG_INPUT, {0x40});
        set(REG_HDMI, {0x01, 0x00});
        bank(1);
        set(REG_N, {0x00, 0x18, 0x00}); // 6144
        set(REG_AVI, {avi_1, 0x58, 0, 0, 0, avi_sum, 0, 0, 0, 0, 0, 0, 0, 0});
        set(REG_AUDIO_FRAME, {1, 0, 0, 0, 0, 0x70});
        set(REG_STATUS_MODE, {0, 0, 1, 0});
        set(REG_STATUS_RATE, {0x02, 0xDB});
        bank(0);
        set(REG_SEND_AVI, {3, 3});
        set(REG_AUDIO_ENABLE, {0xC1});
    }
};

// Catches: bytes of the wrong segment, a segment pointer that a small display accepts, time that does not pass on the
// wire, a FIFO that keeps old bytes or overruns in silence.
TEST(Ddc, ReadsBytesBySegmentInTheTimeOfTheBus)
{
    static constexpr struct {
        const char* display;
        uint8_t segment, offset;
        emu::Micros us;
        uint8_t status;
    } reads[] = {{"tv", 0, 0x00, 400, DDC_DONE},           {"tv", 0, 0xFF, 400, DDC_DONE},
                 {"tv", 1, 0x00, 600, DDC_NO_ACKNOWLEDGE}, {"five-blocks", 1, 0x80, 600, DDC_DONE},
                 {"five-blocks", 2, 0x02, 600, DDC_DONE},  {"five-blocks", 3, 0x00, 600, DDC_DONE},
                 {"dvi", 0, 0x80, 400, DDC_DONE}};
    for (const auto& r : reads) {
        SCOPED_TRACE(std::string(r.display) + " segment " + std::to_string(r.segment));
        Chip c;
        c.tell(std::string("display plug ") + r.display);
        EXPECT_EQ(c.get(REG_DDC_STATUS), DDC_DONE); // idle
        c.start_read(r.segment, r.offset, 1);
        c.wait(r.us - 1);
        EXPECT_EQ(c.get(REG_DDC_STATUS), 0);
        c.wait(1);
        EXPECT_EQ(c.get(REG_DDC_STATUS), r.status);
        if (r.status != DDC_DONE) continue;
        const size_t at = r.segment * size_t{256} + r.offset;
        const emu::EdidImage& edid = c.chip.display().edid();
        EXPECT_EQ(c.get(REG_DDC_FIFO), at < edid.size() ? edid[at] : 0xFF);
    }
}

TEST(Ddc, FifoHolds32BytesAndReportsWhatItLoses)
{
    Chip c;
    c.tell("display plug tv");
    c.start_read(0, 0xFE, 32); // wraps inside the segment
    c.wait(10000);
    EXPECT_EQ(c.get(REG_STATUS_1) & STATUS_DDC_FIFO, 0);
    EXPECT_EQ(c.get(REG_DDC_FIFO), c.chip.display().edid()[0xFE]);
    EXPECT_EQ(c.get(REG_DDC_FIFO), c.chip.display().edid()[0xFF]);
    EXPECT_EQ(c.get(REG_DDC_FIFO), 0x00); // first byte of the header
    EXPECT_EQ(c.get(REG_DDC_FIFO), 0xFF);
    c.set(REG_DDC_COMMAND, {DDC_FIFO_CLEAR});
    EXPECT_EQ(c.get(REG_STATUS_1) & STATUS_DDC_FIFO, 0);
    c.get(REG_DDC_FIFO);
    EXPECT_EQ(c.get(REG_STATUS_1) & STATUS_DDC_FIFO, STATUS_DDC_FIFO) << "an empty FIFO was read";
}

// Catches: faults that hit another byte than asked, last longer than asked, or cannot be got out of by an abort.
TEST(Ddc, FailsWhereAndHowItIsToldAndIsWellAgain)
{
    static constexpr struct {
        const char* fault;
        uint8_t status;
        bool hung;
    } faults[] = {{"nack", DDC_NO_ACKNOWLEDGE, false},
                  {"arbitration", DDC_ARBITRATION, false},
                  {"hang", DDC_BUS_WAIT, true},
                  {"never", 0x00, false}};
    for (const auto& f : faults) {
        SCOPED_TRACE(f.fault);
        Chip c;
        c.tell("display plug tv");
        c.tell(std::string("display ddc ") + f.fault + " at 100 times 1");
        c.start_read(0, 99, 1);
        c.wait(1000);
        EXPECT_EQ(c.get(REG_DDC_STATUS), DDC_DONE);
        c.start_read(0, 100, 1);
        c.wait(1'000'000);
        EXPECT_EQ(c.get(REG_DDC_STATUS), f.status);
        EXPECT_EQ(c.get(REG_DDC_STATUS) &
                      static_cast<uint8_t>(~(DDC_DONE | DDC_ARBITRATION | DDC_BUS_WAIT | DDC_NO_ACKNOWLEDGE)),
                  0);
        EXPECT_EQ((c.get(REG_STATUS_1) & STATUS_DDC_HANG) != 0, f.hung);
        EXPECT_EQ((c.get(REG_STATUS_EXTENDED) & EXTENDED_DDC_HANG) != 0, f.hung);
        c.set(REG_DDC_COMMAND, {DDC_FIFO_CLEAR});
        EXPECT_EQ(c.get(REG_DDC_STATUS) == DDC_DONE, !f.hung && f.status != 0)
            << "emptying the FIFO ends no transaction";
        c.set(REG_DDC_COMMAND, {DDC_ABORT});
        c.wait(1000);
        EXPECT_EQ(c.get(REG_DDC_STATUS), DDC_DONE);
        c.start_read(0, 100, 1);
        c.wait(1000);
        EXPECT_EQ(c.get(REG_DDC_STATUS), DDC_DONE);
        EXPECT_EQ(c.chip.ddc().lost_commands(), 0u);
    }
    Chip c; // a cable pulled in the middle of a byte
    c.tell("display plug tv");
    c.start_read(0, 0, 1);
    c.tell("display unplug");
    c.wait(1000);
    EXPECT_EQ(c.get(REG_DDC_STATUS), DDC_NO_ACKNOWLEDGE);
}

// Catches: a protected register that takes an unlocked write, a lock that half a key opens, banks that share bytes.
TEST(Registers, KeepLockBanksAndReadOnlyBits)
{
    static constexpr struct {
        const char* what;
        std::initializer_list<uint8_t> keys;
        bool open;
    } locks[] = {{"the key", {0x6E, 0xB7}, true},
                 {"half a key", {0x6E}, false},
                 {"other order", {0xB7, 0x6E}, false},
                 {"something between", {0x6E, 0x00, 0xB7}, false},
                 {"closed again", {0x6E, 0xB7, 0xFF}, false}};
    for (const auto& l : locks) {
        SCOPED_TRACE(l.what);
        Chip c;
        for (uint8_t key : l.keys) c.set(REG_LOCK, {key});
        c.set(REG_CTS_SOURCE, {0x02});
        EXPECT_EQ(c.get(REG_CTS_SOURCE), l.open ? 0x02 : 0x00);
        EXPECT_EQ(c.chip.locked_writes(), l.open ? 0u : 1u);
    }
    Chip c;
    c.set(REG_AUDIO_CLOCK, {0x11});
    c.bank(1);
    c.set(REG_AVI, {0x22}); // the same number
    EXPECT_EQ(c.get(REG_CLOCKS) & CLOCKS_BANK, CLOCKS_BANK);
    c.set(REG_CONVERTER, {0x02}); // the converter is in bank 0
    EXPECT_EQ(c.chip.stray_writes(), 1u);
    EXPECT_EQ(c.get(REG_AVI), 0x22);
    c.bank(0);
    EXPECT_EQ(c.get(REG_AUDIO_CLOCK), 0x11);
    const uint8_t id = c.get(0x00);
    c.set(0x00, {0x12});
    c.set(REG_SYSTEM, {0xC0});
    EXPECT_EQ(c.get(0x00), id);
    EXPECT_EQ(c.get(REG_SYSTEM), 0x00);
}

// Catches: interrupts that a mask swallows for good, that clear without being named or fired, or that a level fakes.
TEST(Interrupts, LatchUntilTheirBitsAreNamedAndTheClearIsFired)
{
    Chip c;
    c.tell("display plug tv");
    EXPECT_EQ(c.get(REG_SYSTEM), SYSTEM_HOT_PLUG) << "masked";
    c.set(REG_MASK_1, {0xFE});
    EXPECT_EQ(c.get(REG_SYSTEM), SYSTEM_HOT_PLUG | SYSTEM_PENDING) << "latched while it was masked";
    c.set(REG_CLEAR_1, {0xFF, 0xFF});
    EXPECT_EQ(c.get(REG_SYSTEM), SYSTEM_HOT_PLUG | SYSTEM_PENDING) << "named, not fired";
    c.set(REG_CLEAR_1, {0xFE});
    c.set(REG_SYSTEM, {SYSTEM_CLEAR});
    EXPECT_EQ(c.get(REG_SYSTEM), 0xC3) << "fired for other bits";
    c.set(REG_CLEAR_1, {0x01});
    c.set(REG_SYSTEM, {0x02});
    EXPECT_EQ(c.get(REG_SYSTEM), 0xC2) << "half fired";
    c.set(REG_SYSTEM, {0x43});
    c.set(REG_SYSTEM, {0x42});
    EXPECT_EQ(c.get(REG_SYSTEM), 0x42);
    c.tell("display hpd-pulse");
    EXPECT_EQ(c.get(REG_SYSTEM), 0xC2) << "an interrupt with the level unchanged";
    EXPECT_EQ(c.get(REG_STATUS_1), STATUS_HOT_PLUG);
    c.set(REG_SYSTEM, {SYSTEM_CLEAR});
    c.tell("transmitter status 4D");
    EXPECT_EQ(c.get(REG_STATUS_EXTENDED), 0x4D);
    EXPECT_EQ(c.get(REG_SYSTEM) & SYSTEM_PENDING, 0);
    c.set(REG_MASK_EXTENDED, {0xF7});
    EXPECT_EQ(c.get(REG_SYSTEM) & SYSTEM_PENDING, SYSTEM_PENDING);
    c.set(REG_STATUS_EXTENDED, {0x48});
    EXPECT_EQ(c.get(REG_STATUS_EXTENDED), 0x05) << "writing 1 clears";
    EXPECT_EQ(c.get(REG_SYSTEM) & SYSTEM_PENDING, 0);
}

// Catches: a display that shows a picture it could not have, or misses one it has, whichever register stands against
// it.
TEST(DisplayView, ShowsAPictureOnlyWhenEverythingOnItsWayIsRight)
{
    // AVI data byte 1 with its checksum over type 0x82, version 2, length 13 and data byte 2 of 0x58.
    static constexpr struct {
        const char *what, *display;
        uint8_t avi_1, avi_sum, reg, value;
        OutputSignal signal;
        Picture picture;
        bool plays;
    } rows[] = {
        {"4:2:2 to the TV", "tv", 0x30, 0xE7, 0, 0, OutputSignal::Hdmi, Picture::Good, true},
        {"4:4:4 to the TV", "tv", 0x50, 0xC7, REG_CONVERTER, CONVERTER_RESAMPLES, OutputSignal::Hdmi, Picture::Good,
         true},
        {"4:2:2 called 4:4:4", "tv", 0x50, 0xC7, 0, 0, OutputSignal::Hdmi, Picture::WrongColours, true},
        {"4:4:4 to a 4:2:2 display", "yuv422", 0x50, 0xC7, REG_CONVERTER, CONVERTER_RESAMPLES, OutputSignal::Hdmi,
         Picture::WrongColours, true},
        {"12 bits to a display that takes them", "tv", 0x30, 0xE7, REG_GENERAL, 0x60, OutputSignal::Hdmi, Picture::Good,
         true},
        {"12 bits to one that takes 8", "yuv422", 0x30, 0xE7, REG_GENERAL, 0x60, OutputSignal::Hdmi,
         Picture::WrongColours, true},
        {"called RGB", "tv", 0x10, 0x07, 0, 0, OutputSignal::Hdmi, Picture::WrongColours, true},
        {"AVI checksum wrong", "tv", 0x30, 0xE8, 0, 0, OutputSignal::Hdmi, Picture::WrongColours, true},
        {"last AVI byte not in the sum", "tv", 0x30, 0xE7, REG_AVI + 13, 0x01, OutputSignal::Hdmi,
         Picture::WrongColours, true},
        {"no AVI", "tv", 0x30, 0xE7, REG_SEND_AVI, 0x00, OutputSignal::Hdmi, Picture::WrongColours, true},
        {"no audio info frame", "tv", 0x30, 0xE7, REG_SEND_AUDIO, 0x00, OutputSignal::Hdmi, Picture::Good, false},
        {"AV mute", "tv", 0x30, 0xE7, REG_GENERAL, 0x01, OutputSignal::Hdmi, Picture::Blanked, false},
        {"DVI carries no packets", "tv", 0x30, 0xE7, REG_HDMI, 0x00, OutputSignal::Dvi, Picture::WrongColours, false},
        {"HDMI to a DVI display", "dvi", 0x30, 0xE7, 0, 0, OutputSignal::Hdmi, Picture::NoSignal, false},
        {"no basic audio", "noaudio", 0x30, 0xE7, 0, 0, OutputSignal::Hdmi, Picture::Good, false},
        {"video held", "tv", 0x30, 0xE7, REG_RESET, 0x08, OutputSignal::Hdmi, Picture::Frozen, true},
        {"audio held", "tv", 0x30, 0xE7, REG_RESET, 0x10, OutputSignal::Hdmi, Picture::Good, false},
        {"no channels", "tv", 0x30, 0xE7, REG_AUDIO_ENABLE, 0xC0, OutputSignal::Hdmi, Picture::Good, false},
        {"AFE off", "tv", 0x30, 0xE7, REG_AFE_DRIVER, 0x30, OutputSignal::None, Picture::NoSignal, false},
        {"PLL in reset", "tv", 0x30, 0xE7, REG_AFE_PLL_1, 0x10, OutputSignal::None, Picture::NoSignal, false},
        {"power down", "tv", 0x30, 0xE7, REG_POWER, 0x01, OutputSignal::None, Picture::NoSignal, false},
        {"clocks gated", "tv", 0x30, 0xE7, REG_CLOCKS, 0x58, OutputSignal::None, Picture::NoSignal, false},
        {"converter with an empty matrix", "tv", 0x30, 0xE7, REG_CONVERTER, 0x03, OutputSignal::Hdmi,
         Picture::WrongColours, true},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.what);
        Chip c;
        c.tell(std::string("display plug ") + r.display);
        c.run_output(r.avi_1, r.avi_sum);
        c.bank(r.reg == REG_AVI + 13 ? 1 : 0);
        if (r.reg != 0) c.set(r.reg, {r.value});
        const emu::DisplayView view = c.chip.view();
        EXPECT_EQ(view.signal, r.signal);
        EXPECT_EQ(view.picture, r.picture) << view.why;
        EXPECT_EQ(view.sound.plays, r.plays);
        EXPECT_EQ(c.chip.stray_writes(), 0u);
        c.chip.enable_output(false);
        EXPECT_EQ(c.chip.view().picture, Picture::NoSignal);
    }
}

// Figures of the standards: YCbCr with weights of ITU601 and ITU709 in units of 1/2048, rounded by hand.
TEST(DisplayView, RecognisesMatricesByTheirCoefficients)
{
    // 601, RGB 0-255 out of YCbCr: 1.1644 Y, 1.5960 Cr, -0.8130 Cr, -0.3918 Cb, 2.0172 Cb.
    std::array<uint8_t, 21> matrix = {0x04, 0x00, 0xA7, 0x51, 0x09, 0x7F, 0x39, 0xDE, 0x3C, 0x51, 0x09,
                                      0xC5, 0x0C, 0x00, 0x00, 0x51, 0x09, 0x00, 0x00, 0x23, 0x10};
    EXPECT_EQ(emu::recognise_matrix(matrix), (emu::Matrix{MatrixKind::YuvToRgb, false, false}));
    // 709, 16-235: 1 Y, 1.5396 Cr, -0.4577 Cr, -0.1831 Cb, 1.8142 Cb.
    matrix = {0x00, 0x00, 0x00, 0x00, 0x08, 0x57, 0x3C, 0x89, 0x3E, 0x00, 0x08,
              0x51, 0x0C, 0x00, 0x00, 0x00, 0x08, 0x00, 0x00, 0x83, 0x0E};
    EXPECT_EQ(emu::recognise_matrix(matrix), (emu::Matrix{MatrixKind::YuvToRgb, true, true}));
    // 709, RGB 16-235 to YCbCr: Y 0.7152 0.2126 0.0722; Cr -0.4645 0.5114 -0.0469; Cb -0.3942 -0.1172 0.5114.
    matrix = {0x00, 0x80, 0x00, 0xB9, 0x05, 0xB3, 0x01, 0x94, 0x00, 0x49, 0x3C,
              0x17, 0x04, 0xA0, 0x3F, 0xD9, 0x3C, 0x10, 0x3F, 0x17, 0x04};
    EXPECT_EQ(emu::recognise_matrix(matrix), (emu::Matrix{MatrixKind::RgbToYuv, true, true}));
    for (size_t byte = 3; byte < matrix.size(); byte += 2) {
        SCOPED_TRACE(byte);
        auto wrong = matrix;
        wrong[byte] ^= 0x20; // 32/2048: too little for the eye, enough for a typing error
        EXPECT_EQ(emu::recognise_matrix(wrong).kind, MatrixKind::Unknown);
    }
}

// Audio clock regeneration against the table that HDMI gives for 74.25 MHz and others: N and CTS come in pairs.
TEST(DisplayView, WorksOutTheAudioClock)
{
    static constexpr struct {
        uint32_t clock, rate, n, cts;
        uint8_t code;
        bool allowed;
    } rows[] = {{74'250'000, 48000, 6144, 74250, 2, true},   {148'500'000, 48000, 6144, 148500, 2, true},
                {27'000'000, 48000, 6144, 27000, 2, true},   {74'250'000, 44100, 6272, 82500, 0, true},
                {148'500'000, 32000, 4096, 148500, 3, true}, {74'250'000, 192000, 24576, 74250, 14, true},
                {74'250'000, 48000, 256, 3094, 2, false}};
    for (const auto& r : rows) {
        SCOPED_TRACE(std::to_string(r.clock) + " Hz, N " + std::to_string(r.n));
        Chip c;
        c.tell("display plug amplifier"); // which lists all of these rates
        c.run_output(0x30, 0xE7);
        c.tell("transmitter input " + std::to_string(r.clock) + " " + std::to_string(r.rate));
        c.bank(1);
        c.set(REG_N, {static_cast<uint8_t>(r.n), static_cast<uint8_t>(r.n >> 8), static_cast<uint8_t>(r.n >> 16)});
        c.set(REG_STATUS_RATE, {r.code});
        const emu::Sound sound = c.chip.view().sound;
        EXPECT_EQ(sound.cts, r.cts);
        EXPECT_NEAR(sound.heard_rate_hz, r.rate, r.rate / 1000.0);
        EXPECT_EQ(sound.n_allowed, r.allowed);
        EXPECT_EQ(sound.plays, r.allowed);
    }
}

// Catches: a reason that names something else than what keeps the sound away.
TEST(DisplayView, SaysWhyNothingIsHeard)
{
    static constexpr struct {
        const char* display;
        uint8_t bank, reg, value;
        const char* why;
    } rows[] = {
        {"tv", 0, 0, 0, ""},
        {"dvi", 0, 0, 0, "the display knows DVI only"},
        {"noaudio", 0, 0, 0, "the display takes no sound"},
        {"tv", 0, REG_HDMI, 0x00, "no HDMI signal, which alone carries sound"},
        {"tv", 0, REG_GENERAL, 0x01, "AV mute is set"},
        {"tv", 0, REG_RESET, 0x14, "the audio path is held"},
        {"tv", 0, REG_AUDIO_ENABLE, 0xD1, "it is taken from S/PDIF, where nothing comes in"},
        {"tv", 0, REG_AUDIO_ENABLE, 0xC0, "no channels are taken in"},
        {"tv", 0, REG_AUDIO_ENABLE, 0xC3, "the display lists no linear PCM of 4 channels"},
        {"amplifier", 0, REG_AUDIO_ENABLE, 0xCF, ""},
        {"tv", 0, REG_SEND_AUDIO, 0x00, "no audio frame is sent"},
        {"tv", 1, REG_AUDIO_FRAME + 5, 0x71, "the audio frame's checksum is wrong"},
        {"tv", 1, REG_STATUS_RATE, 0x01, "the channel status tells no rate"},
        {"tv", 1, REG_STATUS_RATE, 0x00, "the channel status says 44100 Hz, N and CTS give 48000 Hz"},
        {"tv", 1, REG_STATUS_MODE, 0x04, ""}, // compressed, which it lists as AC-3
        {"rgb", 1, REG_STATUS_MODE, 0x04, "the display lists no compressed sound"},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(std::string(r.display) + ": " + r.why);
        Chip c;
        c.tell(std::string("display plug ") + r.display);
        c.run_output(0x10, 0x07);
        c.bank(r.bank);
        if (r.reg != 0) c.set(r.reg, {r.value});
        EXPECT_EQ(c.chip.view().sound.why, r.why);
        EXPECT_EQ(c.chip.view().sound.plays, *r.why == '\0');
    }
}

TEST(DisplayView, OverflownSoundReturnsWhenTheAudioPathWasHeldAndReleased)
{
    Chip c;
    c.tell("display plug tv");
    c.run_output(0x30, 0xE7);
    c.tell("transmitter error overflow");
    EXPECT_EQ(c.get(REG_STATUS_1), STATUS_AUDIO_OVERFLOW | STATUS_HOT_PLUG);
    EXPECT_FALSE(c.chip.view().sound.plays);
    c.set(REG_RESET, {0x15});
    c.set(REG_RESET, {0x01});
    EXPECT_TRUE(c.chip.view().sound.plays);
}

TEST(Commands, AreRefusedWithTheWordThatIsWrongAndChangeNothing)
{
    static constexpr struct {
        const char *line, *why;
    } lines[] = {{"display plug nowhere.bin",
                  "no display's name (try \"display list\"), and as a file it cannot be read: No such"},
                 {"display plug tv now", "one too many"},
                 {"display ddc slow", "expected ok, nack"},
                 {"display ddc nack at 40000", "between 0 and 32767"},
                 {"display ddc nack times 0", "between 1"},
                 {"display hpd-pulse", "nothing is plugged in"},
                 {"display hpd-bounce 3 20", "nothing is plugged in"},
                 {"display hpd-bounce 3", "milliseconds"},
                 {"display hpd-drop 0", "between 1 and"},
                 {"display replace tv", "nothing is plugged in"},
                 {"display replace tv quietly", "one too many"},
                 {"display standby on", "nothing is plugged in"},
                 {"display ddc-noise 2000000", "between 0 and 1000000"},
                 {"display plug /", "and as a file it is a folder"},
                 {"display plug /dev/zero", "and as a file it is no regular file"},
                 {"display save tv /nowhere/tv.bin", "/nowhere/tv.bin: No such file or directory"},
                 {"display save tv /dev/full", "/dev/full: is no regular file"},
                 {"transmitter status 4G", "hexadecimal"},
                 {"transmitter error", "overflow, ddc-fifo, bus-hang"}};
    Chip c;
    for (const auto& l : lines) {
        SCOPED_TRACE(l.line);
        const emu::Reply reply = c.commands.run(l.line);
        EXPECT_FALSE(reply.ok);
        EXPECT_NE(reply.text.find(l.why), std::string::npos) << reply.text;
    }
    EXPECT_FALSE(c.chip.display().plugged());
    EXPECT_EQ(c.get(REG_STATUS_1), 0);
}

} // namespace
