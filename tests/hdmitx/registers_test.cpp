#include "hdmitx/access.h"
#include "hdmitx/color_converter.h"
#include "hdmitx/state.h"
#include "hdmitx/tables.h"
#include "hdmitx/video_output.h"
#include "tests/hdmitx/output_bench.h"

#include <span>

using namespace capd;
using namespace output_bench;

namespace {

uint32_t checksum(std::span<const uint8_t> bytes, uint32_t sum = 0)
{
    for (uint8_t byte : bytes) sum = sum * 31 + byte;
    return sum;
}

} // namespace

// Catches: a row or byte of a table that changed, went missing or moved. The sums were worked out from the chip's
// description, not from these tables.
TEST(TransmitterTables, EveryRowIsAsTheChipWantsIt)
{
    static constexpr struct {
        const char* what;
        const HdmitxRegRow* table;
        size_t rows;
        uint32_t sum;
    } tables[] = {
        {"init", TX_TABLE_INIT, 31, 0x0fbbcbc3},
        {"converter", TX_TABLE_CONVERTER, 25, 0x5d27cbd1},
        {"general", TX_TABLE_GENERAL, 3, 0x19a08405},
        {"AVI info frame", TX_TABLE_AVI_INFO_FRAME, 17, 0x5d2a45e4},
        {"audio info frame", TX_TABLE_AUDIO_INFO_FRAME, 9, 0xf37a48c3},
        {"audio packets", TX_TABLE_AUDIO_PACKETS, 11, 0xd053fb46},
        {"audio interface", TX_TABLE_AUDIO_INTERFACE, 9, 0x369886db},
        {"power on", TX_TABLE_POWER_ON, 9, 0xdea019ae},
        {"power down", TX_TABLE_POWER_DOWN, 10, 0x2f13af44},
    };
    for (const auto& t : tables) {
        SCOPED_TRACE(t.what);
        size_t rows = 0;
        uint32_t sum = 0;
        for (const HdmitxRegRow* row = t.table; row->reg != 0 || row->mask != 0 || row->value != 0; ++row, ++rows)
            sum = checksum(std::array{row->reg, row->mask, row->value}, sum);
        EXPECT_EQ(rows, t.rows);
        EXPECT_EQ(sum, t.sum);
    }
    static constexpr uint32_t to_yuv[] = {0x09613303, 0x46668002, 0x9154fec4, 0x977e6904};
    static constexpr uint32_t to_rgb[] = {0xf1fe276a, 0x78dde04b, 0xa0469abc, 0x21c192fa};
    for (size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(checksum(TX_RGB_TO_YUV[i]), to_yuv[i]) << i;
        EXPECT_EQ(checksum(TX_YUV_TO_RGB[i]), to_rgb[i]) << i;
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
        {0, 0x04, 0x21}, {0, 0x0F, 0x28}, {0, 0x09, 0xFC}, {0, 0x0B, 0xF7}, {0, 0xC0, 0x01},
        {0, 0xC1, 0x03}, {0, 0xCD, 0x03}, {0, 0xCE, 0x03}, {0, 0xE0, 0xD1}, {0, 0x73, 0x00},
        {0, 0x87, 0x04}, {1, 0x34, 0x18}, {1, 0x5D, 0x57}, {1, 0x6D, 0x71}, {1, 0x99, 0xDA},
    };
    expect_held(after);
    EXPECT_EQ(chip().locked_writes() + chip().stray_writes(), 0u);
    EXPECT_FALSE(chip().unlocked());

    bench::box().i2c().fail(0x1C, 1, 3, EIO); // the write that enables the output
    quietly([&] { result = hdmitx_init(); });
    EXPECT_NE(result, 0);
}

// Catches: a repeated message or write for every poll of an unstable input, and other bits lost.
TEST(TransmitterBlank, OnlyAChangeIsPrintedAndWritten)
{
    quietly([] { hdmitx_init(); });
    hdmitx_WriteReg(0xC1, 0x72);
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
        EXPECT_EQ(chip().peek(0, 0xC1), s.control);
        EXPECT_EQ(count(made, false, 0xC1), s.writes);
    }
}

// Catches: a dump in another form, of the wrong bank, or one that takes a byte out of the DDC FIFO.
TEST(TransmitterDump, ShowsBothBanksInTheAgreedFormAndLeavesTheFifoAlone)
{
    const std::string line = "        -----------------------------------------------------\n";
    quietly([] { hdmitx_init(); });
    hdmitx_SwitchBank(1);
    const auto made = transfers_of([] { hdmitx_DumpRegs(); });
    EXPECT_EQ(count(made, true, 0x17), 0u);
    EXPECT_EQ(chip().peek(0, 0x0F) & 1, 0);

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
            hdmitx_WriteReg(0x72, 0xFC);
            hdmitx_WriteReg(0x72, 0x14);
            for (uint8_t reg = 0x73; reg <= 0x87; ++reg) hdmitx_WriteReg(reg, 0xEE);
            const std::string text = bench::printed([&] { hdmitx_SetCSCScale(mode, p.output); });
            EXPECT_EQ(int{chip().peek(0, 0x72)}, int{p.control[options >> 2]});
            const bool bypass = p.kind == emu::MatrixKind::None;
            EXPECT_EQ(chip().peek(0, 0x0F) & 0x10, bypass ? 0x10 : 0);
            std::array<uint8_t, 21> matrix;
            for (uint8_t i = 0; i < 21; ++i) matrix[i] = chip().peek(0, 0x73 + i);
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
        hdmitx_WriteReg(0x70, i.before);
        EXPECT_EQ(bench::printed([&] { hdmitx_SetInputMode(i.colour, i.signal); }), i.text);
        EXPECT_EQ(int{chip().peek(0, 0x70)}, int{i.after});
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
