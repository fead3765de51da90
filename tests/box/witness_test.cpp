// The emulated box as a witness against the daemon: a picture and a sound are only good when every register on their
// way is right.
#include "emulator/chips/receiver_registers.h"
#include "emulator/chips/transmitter_registers.h"
#include "tests/box/recorder_box.h"

namespace bench {

namespace {

using namespace emu::tx;
namespace rx = emu::rx;

enum class Chip : uint8_t { Transmitter, Receiver };

/** Bits of one register that are turned over. */
struct Wrong {
    Chip chip;
    int bank;
    uint8_t reg, bits;
};

constexpr Chip TX = Chip::Transmitter, RX = Chip::Receiver;

std::string verdict()
{
    const emu::DisplayView view = box().transmitter().view();
    if (view.picture != emu::Picture::Good) return std::string(emu::picture_name(view.picture)) + ": " + view.why;
    if (!view.but.empty()) return "good, but " + view.but;
    return view.sound.plays ? "good" : "no sound";
}

void poke(Chip chip, uint8_t reg, uint8_t value)
{
    const uint8_t bytes[] = {reg, value};
    auto& registers =
        chip == Chip::Transmitter ? static_cast<emu::RegisterFile&>(box().transmitter()) : box().receiver();
    ASSERT_EQ(registers.write(bytes), 0);
}

void select_bank(int bank)
{
    const uint8_t clocks = box().transmitter().peek(0, REG_CLOCKS);
    poke(TX, REG_CLOCKS, static_cast<uint8_t>((clocks & ~CLOCKS_BANK) | bank));
}

uint8_t held(const Wrong& wrong)
{
    if (wrong.chip == TX) return box().transmitter().peek(wrong.bank, wrong.reg);
    uint8_t value = 0;
    EXPECT_EQ(box().receiver().read({&wrong.reg, 1}, {&value, 1}), 0);
    return value;
}

void put(const Wrong& wrong, uint8_t value)
{
    poke(TX, REG_LOCK, LOCK_FIRST);
    poke(TX, REG_LOCK, LOCK_SECOND);
    if (wrong.bank != 0) select_bank(wrong.bank);
    poke(wrong.chip, wrong.reg, value);
    if (wrong.bank != 0) select_bank(0);
    poke(TX, REG_LOCK, 0);
}

/** Turn the bits of each over, one after the other, and expect that it is noticed, and is over when they are back. */
template<size_t SIZE>
void expect_noticed(const Wrong (&settings)[SIZE])
{
    for (const Wrong& wrong : settings) {
        SCOPED_TRACE(testing::Message() << (wrong.chip == TX ? "transmitter" : "receiver") << " bank " << wrong.bank
                                        << " register 0x" << std::hex << int{wrong.reg} << " bits 0x"
                                        << int{wrong.bits});
        const uint8_t right = held(wrong);
        put(wrong, right ^ wrong.bits);
        EXPECT_NE(verdict(), "good");
        put(wrong, right);
        ASSERT_EQ(verdict(), "good");
    }
}

void start_good_box(RecorderBox& recorder, const char* display)
{
    tell(std::string("display plug ") + display);
    recorder.usual_world();
    recorder.start({"--correct", "all"});
    run_for(3s);
    ASSERT_EQ(verdict(), "good");
}

} // namespace

TEST(Witness, NoticesEveryWrongRegisterOfAnRgbPicture)
{
    static constexpr Wrong settings[] = {
        // The matrix from YCbCr, coefficients by their two bytes.
        {TX, 0, 0x73, 0x04},
        {TX, 0, 0x74, 0x80},
        {TX, 0, 0x75, 0x10},
        {TX, 0, 0x76, 0x20},
        {TX, 0, 0x77, 0x01},
        {TX, 0, 0x78, 0x20},
        {TX, 0, 0x79, 0x01},
        {TX, 0, 0x7A, 0x20},
        {TX, 0, 0x7B, 0x01},
        {TX, 0, 0x7C, 0x20},
        {TX, 0, 0x7D, 0x01},
        {TX, 0, 0x7E, 0x20},
        {TX, 0, 0x7F, 0x01},
        {TX, 0, 0x80, 0x20},
        {TX, 0, 0x81, 0x01},
        {TX, 0, 0x82, 0x20},
        {TX, 0, 0x83, 0x01},
        {TX, 0, 0x84, 0x20},
        {TX, 0, 0x85, 0x01},
        {TX, 0, 0x86, 0x20},
        {TX, 0, 0x87, 0x01},
        // Its input, converter and clocks.
        {TX, 0, REG_INPUT, INPUT_YUV422},
        {TX, 0, REG_INPUT, 0x20},
        {TX, 0, REG_INPUT, 0x10},
        {TX, 0, REG_INPUT, 0x08},
        {TX, 0, REG_INPUT, 0x04},
        {TX, 0, REG_CONVERTER, 0x01},
        {TX, 0, REG_CONVERTER, 0x03},
        {TX, 0, REG_CLOCKS, 0x10},
        {TX, 0, REG_CLOCKS, 0x20},
        {TX, 0, REG_CLOCKS, 0x40},
        // Power and front end.
        {TX, 0, REG_POWER, POWER_DOWN},
        {TX, 0, REG_RESET, RESET_VIDEO},
        {TX, 0, REG_RESET, 0x10},
        {TX, 0, REG_AFE_DRIVER, DRIVER_RESET},
        {TX, 0, REG_AFE_DRIVER, DRIVER_OFF},
        {TX, 0, REG_AFE_PLL_1, PLL_1_RUN},
        {TX, 0, REG_AFE_PLL_1, 0x90},
        {TX, 0, REG_AFE_PLL_2, PLL_2_RUN},
        {TX, 0, REG_AFE_PLL_2, 0x89},
        {TX, 0, REG_AFE_SWING, SWING_LOW},
        // What the display is told.
        {TX, 0, REG_HDMI, HDMI_MODE},
        {TX, 0, REG_GENERAL, GENERAL_MUTE},
        {TX, 0, REG_GENERAL, 0x50},
        {TX, 0, REG_SEND_AVI, SEND},
        {TX, 1, REG_AVI, 0x20},
        {TX, 1, REG_AVI + 1, 0x40},
        {TX, 1, REG_AVI + 2, 0x08},
        {TX, 1, REG_AVI + 3, 0x01},
        {TX, 1, REG_AVI + 4, 0x01},
        {TX, 1, REG_AVI + 5, 0x01},
        {TX, 1, REG_AVI + 6, 0x01},
        // The sound.
        {TX, 0, REG_SEND_AUDIO, SEND},
        {TX, 0, REG_AUDIO_ENABLE, 0x01},
        {TX, 0, REG_AUDIO_ENABLE, AUDIO_SPDIF},
        {TX, 0, REG_CTS_SOURCE, CTS_FROM_REGISTERS},

        {TX, 1, REG_N + 2, 0x01},
        {TX, 1, REG_AUDIO_FRAME, 0x01},
        {TX, 1, REG_AUDIO_FRAME + 5, 0x01},
        {TX, 1, REG_STATUS_RATE, 0x03},
        // The receiver: matrix with offsets, converter, output.
        {RX, 0, 0x21, 0x10},
        {RX, 0, 0x22, 0x80},
        {RX, 0, 0x23, 0x10},
        {RX, 0, 0x24, 0x20},
        {RX, 0, 0x25, 0x01},
        {RX, 0, 0x26, 0x20},
        {RX, 0, 0x27, 0x01},
        {RX, 0, 0x28, 0x20},
        {RX, 0, 0x29, 0x01},
        {RX, 0, 0x2A, 0x20},
        {RX, 0, 0x2B, 0x01},
        {RX, 0, 0x2C, 0x20},
        {RX, 0, 0x2D, 0x01},
        {RX, 0, 0x2E, 0x20},
        {RX, 0, 0x2F, 0x01},
        {RX, 0, 0x30, 0x20},
        {RX, 0, 0x31, 0x01},
        {RX, 0, 0x32, 0x20},
        {RX, 0, 0x33, 0x01},
        {RX, 0, 0x34, 0x20},
        {RX, 0, 0x35, 0x01},
        {RX, 0, rx::REG_CONVERTER, 0x02},
        {RX, 0, rx::REG_CONVERTER, 0x14},
        {RX, 0, rx::REG_CONVERTER, 0x80},
        {RX, 0, rx::REG_BUS_MAP, 0x01},
        {RX, 0, rx::REG_BUS_MODE, 0x04},
        {RX, 0, rx::REG_OUTPUT_COLOUR, 0x40},
        {RX, 0, rx::REG_OUTPUT_COLOUR, 0xC0},
        {RX, 0, rx::REG_OUTPUT, 0x20},
        {RX, 0, rx::REG_OUTPUT, 0x1F},
    };
    RecorderBox recorder;
    start_good_box(recorder, "rgb");
    expect_noticed(settings);
}

TEST(Witness, NoticesEveryWrongRegisterOfAYuvPicture)
{
    static constexpr Wrong settings[] = {
        {TX, 0, REG_INPUT, INPUT_YUV422}, {TX, 0, REG_INPUT, INPUT_COLOUR}, {TX, 0, REG_CONVERTER, CONVERTER_RESAMPLES},
        {TX, 0, REG_CONVERTER, 0x03},     {TX, 0, REG_CONVERTER, 0x02},     {TX, 1, REG_AVI, 0x60},
        {TX, 1, REG_AVI, 0x40},           {TX, 1, REG_AVI + 1, 0xC0},
    };
    RecorderBox recorder;
    start_good_box(recorder, "yuv444");
    expect_noticed(settings);
}

} // namespace bench
