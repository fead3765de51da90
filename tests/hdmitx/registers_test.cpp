#include "hdmitx/access.h"
#include "hdmitx/color_converter.h"
#include "hdmitx/power.h"
#include "hdmitx/state.h"
#include "hdmitx/video_output.h"
#include "tests/hdmitx/output_bench.h"

#include <array>
#include <cstdio>
#include <string>
#include <string_view>

using namespace capd;
using namespace output_bench;
using namespace emu::tx;

namespace {

/** Write a value to registers of a bank, those behind the lock as well. */
void fill(int bank, uint8_t first, size_t count, uint8_t value)
{
    hdmitx_WriteReg(REG_LOCK, 0x6E);
    hdmitx_WriteReg(REG_LOCK, 0xB7);
    hdmitx_SwitchBank(static_cast<uint8_t>(bank));
    for (size_t reg = first; reg < first + count; ++reg) {
        const bool is_bank = reg == 0x0F; // the fill must not switch it
        hdmitx_WriteReg(static_cast<uint8_t>(reg), is_bank ? value & 0xFE : value);
    }
    hdmitx_SwitchBank(0);
    hdmitx_WriteReg(REG_LOCK, 0xFF);
}

/** Registers in hexadecimal, as a dump shows them. */
std::string held(int bank, uint8_t first, size_t count)
{
    std::string text;
    for (size_t reg = first; reg < first + count; ++reg) {
        char byte[8];
        std::snprintf(byte, sizeof byte, "%s%02X", text.empty() ? "" : " ",
                      chip().peek(bank, static_cast<uint8_t>(reg)));
        text += byte;
    }
    return text;
}

size_t bytes_in(std::string_view text)
{
    return (text.size() + 1) / 3;
}

} // namespace

// Catches: a row of the start-up tables that changed, went missing or has another mask: what stood in the bits outside
// the masks before is still there, be it zeros or ones. The chip keeps six bits of 0x04, seven of 0x0F, two of 0xCD.
TEST(TransmitterStart, EveryRegisterHoldsItsStartValueAndKeepsTheOtherBits)
{
    static constexpr struct {
        int bank;
        uint8_t first;
        const char *over_zeros, *over_ones;
    } runs[] = {
        {0, REG_RESET, "21 40", "23 7F"},
        {0, REG_MASK_1, "FC", "FC"},
        {0, REG_MASK_EXTENDED, "F7 00 00", "F7 00 00"},
        {0, REG_CLOCKS, "08", "2E"},
        {0, 0x20, "00", "7F"},
        {0, 0x37, "00", "FE"},
        {0, 0x59, "40", "67"},
        {0, REG_AFE_PLL_1, "00", "F7"},
        {0, REG_AFE_PLL_2, "00 00", "FB FC"},
        {0, REG_INPUT, "00 18 02 00 80 00 B8 05 B4 01 93 00 49 3C 18 04 9F 3F D9 3C 10 3F 18 04",
         "00 1B 02 00 80 00 B8 05 B4 01 93 00 49 3C 18 04 9F 3F D9 3C 10 3F 18 04"},
        {0, 0x8D, "9C", "9C"},
        {0, REG_HDMI, "01 03", "FF FF"},
        {0, 0xC6, "03", "FF"},
        {0, REG_SEND_AVI, "03 03", "03 03"},
        {0, 0xD1, "0C", "FD"},
        {0, REG_AUDIO_ENABLE, "D1 01 E4 10 00 00", "D1 01 E4 10 00 00"},
        {1, REG_N, "00 18 00", "00 18 00"},
        {1, REG_AVI, "10 08 00 00 00 57 00 00 00 00 00 00 00 00", "10 08 00 00 00 57 00 00 00 00 00 00 00 00"},
        {1, REG_AUDIO_FRAME, "00 00 00 00 00 71", "00 00 00 00 00 71"},
        {1, REG_STATUS_MODE, "00 00 01 00", "00 00 01 00"},
        {1, REG_STATUS_RATE, "02 DA", "02 DA"},
    };
    for (const bool ones : {false, true}) {
        quietly([&] {
            for (const auto& run : runs) fill(run.bank, run.first, bytes_in(run.over_zeros), ones ? 0xFF : 0x00);
            hdmitx_init();
        });
        for (const auto& run : runs)
            EXPECT_EQ(held(run.bank, run.first, bytes_in(run.over_zeros)), ones ? run.over_ones : run.over_zeros)
                << "bank " << run.bank << " from 0x" << std::hex << int{run.first} << " on, "
                << emu::TransmitterChip::register_name(run.bank, run.first) << (ones ? ", over ones" : ", over zeros");
    }
}

// Catches: a front end that is started or stopped in another order, which its clock does not survive.
TEST(TransmitterPower, FrontEndIsStartedAndStoppedInItsOrder)
{
    static constexpr struct {
        void (*step)();
        uint8_t before;
        const char* writes;
    } rows[] = {
        {hdmitx_PowerOn, 0x00, "0F=38 05=00 61=00 62=00 64=00 61=00 62=08 64=04 0F=18"},
        {hdmitx_PowerOn, 0xFF, "0F=3E 05=FE 61=DF 62=BB 64=BF 61=CF 62=BB 64=BF 0F=1E"},
        {hdmitx_PowerDown, 0x00, "0F=00 61=10 62=00 64=00 61=30 62=44 64=40 05=01 0F=40"},
        {hdmitx_PowerDown, 0xFF, "0F=3E 61=FF 62=F7 64=FB 61=FF 62=F7 64=FB 05=FF 0F=7E"},
    };
    for (const auto& row : rows) {
        quietly([&] {
            for (const uint8_t reg : std::array<uint8_t, 5>{0x05, 0x0F, 0x61, 0x62, 0x64}) fill(0, reg, 1, row.before);
        });
        std::string writes;
        for (const emu::Transfer& t : transfers_of(row.step)) {
            char text[12];
            std::snprintf(text, sizeof text, "%s%02X=%02X", writes.empty() ? "" : " ", t.reg, t.data[0]);
            if (!t.is_read) writes += text;
        }
        EXPECT_EQ(writes, row.writes);
    }
}

// Catches: a byte of a colour matrix that changed.
TEST(ColourConverter, MatricesReachTheirRegistersUnchanged)
{
    // By [RGB to YUV, YUV to RGB][ITU601, ITU709][RGB fills 0 to 255, 16 to 235].
    static constexpr const char* matrices[2][2][2] = {
        {{"10 80 10 09 04 0E 02 C9 00 0F 3D 84 03 6D 3F AB 3D D1 3E 84 03",
          "00 80 00 B2 04 65 02 E9 00 93 3C 18 04 55 3F 49 3D 9F 3E 18 04"},
         {"10 80 10 EA 04 77 01 7F 00 D0 3C 83 03 AD 3F 4B 3D 32 3F 83 03",
          "00 80 00 B8 05 B4 01 94 00 4A 3C 17 04 9F 3F D9 3C 10 3F 17 04"}},
        {{"04 00 A7 4F 09 81 39 DD 3C 4F 09 C4 0C 01 00 4F 09 FD 3F 1F 10",
          "00 00 00 00 08 6B 3A 50 3D 00 08 F5 0A 02 00 00 08 FD 3F DA 0D"},
         {"04 00 A7 4F 09 BA 3B 4B 3E 4F 09 57 0E 02 00 4F 09 FE 3F E8 10",
          "00 00 00 00 08 55 3C 88 3E 00 08 51 0C 00 00 00 08 00 00 84 0E"}},
    };
    quietly([] { hdmitx_init(); });
    for (unsigned choice = 0; choice < 8; ++choice) {
        const unsigned to_rgb = choice >> 2, itu709 = choice & 1, limited = choice >> 1 & 1;
        const auto input = static_cast<uint8_t>((choice & 3) << 4 | (to_rgb != 0 ? 2 : 0));
        quietly([&] { hdmitx_SetCSCScale(input, to_rgb != 0 ? 0 : 2); });
        EXPECT_EQ(held(0, 0x73, 21), matrices[to_rgb][itu709][limited]) << choice;
    }
}

// Catches: a full mask that reads first, bits outside the mask that change, a delay row that writes.
TEST(TransmitterAccess, MasksKeepTheOtherBitsAndDelayRowsOnlyWait)
{
    quietly([] { hdmitx_init(); });
    static constexpr struct {
        const char* what;
        uint8_t before, mask, value, after;
        size_t reads;
    } cases[] = {
        {"some bits", 0xA5, 0x0F, 0x3C, 0xAC, 1},
        {"no bits", 0xA5, 0x00, 0xFF, 0xA5, 1},
        {"all bits", 0xA5, 0xFF, 0x3C, 0x3C, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        hdmitx_WriteReg(0x59, c.before);
        const auto made = transfers_of([&] { EXPECT_EQ(hdmitx_SetRegBits(0x59, c.mask, c.value), 0); });
        EXPECT_EQ(chip().peek(0, 0x59), c.after);
        EXPECT_EQ(made.size(), c.reads + 1);
    }
    static constexpr HdmitxRegRow wait_only[] = {{7, 0, 0}, {250, 0, 0}, {0, 0, 0}, {0x59, 0xFF, 0x11}};
    const auto start = bench::now();
    EXPECT_TRUE(transfers_of([] { hdmitx_LoadRegTable(wait_only); }).empty());
    EXPECT_EQ(bench::now() - start, std::chrono::milliseconds(257));

    EXPECT_EQ(bench::printed([] { hdmitx_ToggleRegBit(0x59, 2); }), "reg59 = 3C -> toggle 2th bit -> 38\n");
    EXPECT_EQ(bench::printed([] { hdmitx_ToggleRegBit(0x59, 9); }), "reg59 = 38 -> toggle 9th bit -> 38\n");
    EXPECT_EQ(chip().peek(0, 0x59), 0x38);
    hdmitx_WriteReg2(0x10, 0x81);
    hdmitx_SetRegBits2(0x10, 0x0F, 0x02);
    EXPECT_EQ(hdmitx_ReadReg2(0x10), 0x82);
}

// Catches: a start that leaves the chip unblanked, DVI, in bank 1 or unlocked, writes where no register is, or does
// not report that the board refused.
TEST(TransmitterStart, ChipIsReadyBlankedAndQuietAndTheBoardsAnswerIsTheResult)
{
    int result = -1;
    const std::string text = bench::printed([&] { result = hdmitx_init(); });
    EXPECT_EQ(result, 0);
    EXPECT_TRUE(bench::box().board().output_enabled());
    EXPECT_NE(text.find("-----------------------------------------------------\nInit HDMITX\n"
                        "-----------------------------------------------------\n        00 01 02 03   04 05"),
              std::string::npos);
    static constexpr Held after[] = {
        {0, REG_RESET, 0x21},        {0, REG_CLOCKS, 0x28},
        {0, REG_MASK_1, 0xFC},       {0, REG_MASK_EXTENDED, 0xF7},
        {0, REG_HDMI, 0x01},         {0, REG_GENERAL, 0x03},
        {0, REG_SEND_AVI, 0x03},     {0, REG_SEND_AUDIO, 0x03},
        {0, REG_AUDIO_ENABLE, 0xD1}, {0, REG_MATRIX, 0x00},
        {0, REG_MATRIX_LAST, 0x04},  {1, REG_N + 1, 0x18},
        {1, REG_AVI + 5, 0x57},      {1, REG_AUDIO_FRAME + 5, 0x71},
        {1, REG_STATUS_WORD, 0xDA},
    };
    expect_held(after);
    EXPECT_EQ(chip().locked_writes() + chip().stray_writes(), 0u);
    EXPECT_FALSE(chip().unlocked());

    bench::box().i2c().fail(emu::i2c_address::BOARD, 1, 3, EIO); // the write that enables the output
    quietly([&] { result = hdmitx_init(); });
    EXPECT_NE(result, 0);
}

// Catches: a repeated message or write for every poll of an unstable input, and other bits lost.
TEST(TransmitterBlank, OnlyAChangeIsPrintedAndWritten)
{
    quietly([] { hdmitx_init(); });
    hdmitx_WriteReg(REG_GENERAL, 0x72);
    static constexpr struct {
        int (*step)();
        const char* text;
        uint8_t control;
        size_t writes;
    } steps[] = {
        {hdmitx_unblank, "", 0x72, 0},
        {hdmitx_blank, "Blanking hdmitx\n", 0x73, 1},
        {hdmitx_blank, "", 0x73, 0},
        {hdmitx_unblank, "Unblanking hdmitx\n", 0x72, 1},
    };
    for (const auto& s : steps) {
        std::string text;
        hdmitx_SwitchBank(1);
        const auto made = transfers_of([&] { text = bench::printed(s.step); });
        EXPECT_EQ(text, s.text);
        EXPECT_EQ(chip().peek(0, REG_GENERAL), s.control);
        EXPECT_EQ(count(made, false, REG_GENERAL), s.writes);
    }
}

// Catches: a dump in another form, of the wrong bank, or one that takes a byte out of the DDC FIFO.
TEST(TransmitterDump, ShowsBothBanksInTheAgreedFormAndLeavesTheFifoAlone)
{
    const std::string line = "        -----------------------------------------------------\n";
    quietly([] { hdmitx_init(); });
    hdmitx_SwitchBank(1);
    const auto made = transfers_of([] { hdmitx_DumpRegs(); });
    EXPECT_EQ(count(made, true, REG_DDC_FIFO), 0u);
    EXPECT_EQ(chip().peek(0, REG_CLOCKS) & 1, 0);

    const std::string text = bench::printed([] { hdmitx_DumpRegs(); });
    const std::string head = "        00 01 02 03   04 05 06 07   08 09 0A 0B   0C 0D 0E 0F\n" + line +
                             "[  0]   45 4D 54 01 - 21 41 00 00 - 00 FC FF F7 - 00 00 01 28\n"
                             "[ 10]   00 00 00 00 - 00 00 80 XX - 00 00 00 00 - 00 00 00 00\n";
    EXPECT_TRUE(text.starts_with(head)) << text;
    const std::string bank_1 = "[130]   00 00 00 00 - 18 00 00 00 - 00 00 00 00 - 00 00 00 00\n";
    EXPECT_NE(text.find("\n" + line + bank_1), std::string::npos);
    EXPECT_EQ(text.substr(text.find("[1F0]")),
              "[1F0]   00 00 00 00 - 00 00 00 00 - 00 00 00 00 - 00 00 00 00\n" + line);
    EXPECT_EQ(bench::count(text, line), 9u);
    EXPECT_EQ(bench::count(text, "\n"), 1u + 16 + 13 + 9);
}

// Catches: a converter that is bypassed where the display needs it or the other way round, the wrong matrix of eight,
// option bits that count for the wrong pair, registers of the matrix touched by a bypass.
TEST(ColourConverter, EveryPairOfColourModesGetsItsConverter)
{
    static constexpr struct {
        const char* what;
        uint8_t input, output;
        emu::MatrixKind kind;
        uint8_t control[4]; // register 0x72 without options, with option 6, with option 7, with both
        const char* messages;
    } pairs[] = {
        {"444 to 422",
         2,
         1,
         emu::MatrixKind::None,
         {0x14, 0x54, 0x14, 0x54},
         "Input mode is YUV444 Output mode is YUV422\n"},
        {"444 to 444",
         2,
         2,
         emu::MatrixKind::None,
         {0x14, 0x14, 0x14, 0x14},
         "Input mode is YUV444 Output mode is YUV444\n"},
        {"444 to RGB",
         2,
         0,
         emu::MatrixKind::YuvToRgb,
         {0x17, 0x17, 0xB7, 0xB7},
         "Input mode is YUV444 Output mode is RGB24\n"},
        {"422 to 422",
         1,
         1,
         emu::MatrixKind::None,
         {0x14, 0x14, 0x14, 0x14},
         "Input mode is YUV422\nOutput mode is YUV422\n"},
        {"422 to 444",
         1,
         2,
         emu::MatrixKind::None,
         {0x14, 0x54, 0xB4, 0xF4},
         "Input mode is YUV422\nOutput mode is YUV444\n"},
        {"422 to RGB",
         1,
         0,
         emu::MatrixKind::YuvToRgb,
         {0x17, 0x57, 0xB7, 0xF7},
         "Input mode is YUV422\nOutput mode is RGB24\n"},
        {"RGB to 422",
         0,
         1,
         emu::MatrixKind::RgbToYuv,
         {0x16, 0x56, 0xB6, 0xF6},
         "Input mode is RGB24\nOutput mode is YUV422\n"},
        {"RGB to 444",
         0,
         2,
         emu::MatrixKind::RgbToYuv,
         {0x16, 0x16, 0xB6, 0xB6},
         "Input mode is RGB24\nOutput mode is YUV444\n"},
        {"RGB to RGB",
         0,
         0,
         emu::MatrixKind::None,
         {0x14, 0x14, 0x14, 0x14},
         "Input mode is RGB24\nOutput mode is RGB24\n"},
        {"422 to nothing", 1, 3, emu::MatrixKind::None, {0x14, 0x14, 0x14, 0x14}, "Input mode is YUV422\n"},
        {"nothing to RGB", 3, 0, emu::MatrixKind::None, {0x14, 0x14, 0x14, 0x14}, ""},
    };
    quietly([] { hdmitx_init(); });
    for (const auto& p : pairs) {
        for (unsigned options = 0; options < 16; ++options) { // bits 4 to 7 of the input mode
            const auto mode = static_cast<uint8_t>(options << 4 | p.input);
            SCOPED_TRACE(testing::Message() << p.what << ", input mode 0x" << std::hex << int{mode});
            hdmitx_WriteReg(REG_CONVERTER, 0xFC);
            hdmitx_WriteReg(REG_CONVERTER, 0x14);
            for (uint8_t reg = 0x73; reg <= 0x87; ++reg) hdmitx_WriteReg(reg, 0xEE);
            const std::string text = bench::printed([&] { hdmitx_SetCSCScale(mode, p.output); });
            EXPECT_EQ(int{chip().peek(0, REG_CONVERTER)}, int{p.control[options >> 2]});
            const bool bypass = p.kind == emu::MatrixKind::None;
            EXPECT_EQ(chip().peek(0, REG_CLOCKS) & 0x10, bypass ? 0x10 : 0);
            std::array<uint8_t, 21> matrix;
            for (uint8_t i = 0; i < 21; ++i) matrix[i] = chip().peek(0, REG_MATRIX + i);
            const emu::Matrix seen = emu::recognise_matrix(matrix);
            EXPECT_EQ(seen.kind, bypass ? emu::MatrixKind::Unknown : p.kind);
            EXPECT_TRUE(bypass || (seen.itu709 == ((options & 1) != 0) && seen.limited == ((options & 2) != 0)));
            EXPECT_NE(text.find(")\n" + std::string(p.messages)), std::string::npos) << text;
        }
    }
    const std::string text = bench::printed([] { hdmitx_SetCSCScale(1, 0); });
    EXPECT_TRUE(text.starts_with("hdmitx_SetCSCScale(BYTE bInputMode = 1,BYTE bOutputMode = 0)\nInput mode is YUV422\n"
                                 "Output mode is RGB24\nCSC = YUV2RGB 3 ITU601 0-255 reg73 <- 04\nreg74 <- 00\n"))
        << text;
}

// Catches: a signal type bit at the wrong place, messages in another order, kept bits lost.
TEST(VideoInput, SignalTypesAndColourDepthReachTheirBits)
{
    quietly([] { hdmitx_init(); });
    static constexpr struct {
        uint8_t before, colour, signal, after;
        const char* text;
    } inputs[] = {
        {0xFE, 0x01, 0x00, 0x43, ""},
        {0x00, 0x02, 0x08, 0xA1, "PCLK Divided by 2 mode\n"},
        {0x02, 0x30, 0x0F, 0x3F, "PCLK Divided by 2 mode\nCCIR656 mode\nSync Embedded mode\nInput DDR mode\n"},
        {0x00, 0x03, 0x04, 0x05, "Input DDR mode\n"},
    };
    for (const auto& i : inputs) {
        hdmitx_WriteReg(REG_INPUT, i.before);
        EXPECT_EQ(bench::printed([&] { hdmitx_SetInputMode(i.colour, i.signal); }), i.text);
        EXPECT_EQ(int{chip().peek(0, REG_INPUT)}, int{i.after});
    }
    static constexpr struct {
        uint8_t depth;
        const char* text;
    } depths[] = {
        {30, "bColorDepth = B_TX_CD_30\nsetHDMITX_ColorDepthPhase(50), regC1 = 53\n"},
        {36, "bColorDepth = B_TX_CD_36\nsetHDMITX_ColorDepthPhase(60), regC1 = 63\n"},
        {24, "setHDMITX_ColorDepthPhase(00), regC1 = 03\n"},
    };
    for (const auto& d : depths) EXPECT_EQ(bench::printed([&] { setHDMITX_ColorDepthPhase(d.depth); }), d.text);
}
