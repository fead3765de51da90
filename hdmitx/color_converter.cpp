#include "hdmitx/color_converter.h"

#include <cstdio>

#include "hdmitx/access.h"
#include "hdmitx/registers.h"
#include "hdmitx/state.h"

namespace capd {

// One line of offsets, then one line per row of the matrix.
// clang-format off
const std::array<HdmitxMatrix, 4> TX_RGB_TO_YUV = {{
    // ITU601 0-255
    {0x10, 0x80, 0x10,
     0x09, 0x04, 0x0E, 0x02, 0xC9, 0x00,
     0x0F, 0x3D, 0x84, 0x03, 0x6D, 0x3F,
     0xAB, 0x3D, 0xD1, 0x3E, 0x84, 0x03},
    // ITU709 0-255
    {0x10, 0x80, 0x10,
     0xEA, 0x04, 0x77, 0x01, 0x7F, 0x00,
     0xD0, 0x3C, 0x83, 0x03, 0xAD, 0x3F,
     0x4B, 0x3D, 0x32, 0x3F, 0x83, 0x03},
    // ITU601 16-235
    {0x00, 0x80, 0x00,
     0xB2, 0x04, 0x65, 0x02, 0xE9, 0x00,
     0x93, 0x3C, 0x18, 0x04, 0x55, 0x3F,
     0x49, 0x3D, 0x9F, 0x3E, 0x18, 0x04},
    // ITU709 16-235
    {0x00, 0x80, 0x00,
     0xB8, 0x05, 0xB4, 0x01, 0x94, 0x00,
     0x4A, 0x3C, 0x17, 0x04, 0x9F, 0x3F,
     0xD9, 0x3C, 0x10, 0x3F, 0x17, 0x04},
}};

const std::array<HdmitxMatrix, 4> TX_YUV_TO_RGB = {{
    // ITU601 0-255
    {0x04, 0x00, 0xA7,
     0x4F, 0x09, 0x81, 0x39, 0xDD, 0x3C,
     0x4F, 0x09, 0xC4, 0x0C, 0x01, 0x00,
     0x4F, 0x09, 0xFD, 0x3F, 0x1F, 0x10},
    // ITU709 0-255
    {0x04, 0x00, 0xA7,
     0x4F, 0x09, 0xBA, 0x3B, 0x4B, 0x3E,
     0x4F, 0x09, 0x57, 0x0E, 0x02, 0x00,
     0x4F, 0x09, 0xFE, 0x3F, 0xE8, 0x10},
    // ITU601 16-235
    {0x00, 0x00, 0x00,
     0x00, 0x08, 0x6B, 0x3A, 0x50, 0x3D,
     0x00, 0x08, 0xF5, 0x0A, 0x02, 0x00,
     0x00, 0x08, 0xFD, 0x3F, 0xDA, 0x0D},
    // ITU709 16-235
    {0x00, 0x00, 0x00,
     0x00, 0x08, 0x55, 0x3C, 0x88, 0x3E,
     0x00, 0x08, 0x51, 0x0C, 0x00, 0x00,
     0x00, 0x08, 0x00, 0x00, 0x84, 0x0E},
}};
// clang-format on

namespace {

constexpr const char* RANGE_NAMES[] = {"ITU601 0-255 ", "ITU709 0-255 ", "ITU601 16-235 ", "ITU709 16-235 "};
constexpr uint8_t FILTER_OPTION_6 = 0x40; // of the converter control, when the input's option 6 is set
constexpr uint8_t FILTER_OPTION_7 = 0xA0;

// What one pair of input and output colour mode needs.
struct Conversion {
    uint8_t kind;    // CSC_BYPASS, CSC_RGB2YUV or CSC_YUV2RGB
    uint8_t options; // input options that count
};

constexpr uint8_t BOTH_OPTIONS = INPUT_OPTION_6 | INPUT_OPTION_7;

// By input, then by output; mode 3 is none, and nothing is converted then.
constexpr Conversion CONVERSIONS[4][4] = {
    // to RGB24, YUV422, YUV444
    {{txreg::CSC_BYPASS, 0}, {txreg::CSC_RGB2YUV, BOTH_OPTIONS}, {txreg::CSC_RGB2YUV, INPUT_OPTION_7}, {}},
    {{txreg::CSC_YUV2RGB, BOTH_OPTIONS}, {txreg::CSC_BYPASS, 0}, {txreg::CSC_BYPASS, BOTH_OPTIONS}, {}},
    {{txreg::CSC_YUV2RGB, INPUT_OPTION_7}, {txreg::CSC_BYPASS, INPUT_OPTION_6}, {txreg::CSC_BYPASS, 0}, {}},
    {{}, {}, {}, {}},
};

constexpr const char* INPUT_MESSAGES[] = {"Input mode is RGB24\n", "Input mode is YUV422\n", "Input mode is YUV444 "};
constexpr const char* OUTPUT_MESSAGES[] = {"Output mode is RGB24\n", "Output mode is YUV422\n",
                                           "Output mode is YUV444\n"};

void print_modes(uint8_t input, uint8_t output)
{
    if (input > COLOUR_YUV444) return;
    printf("%s", INPUT_MESSAGES[input]);
    if (output <= COLOUR_YUV444) printf("%s", OUTPUT_MESSAGES[output]);
}

uint8_t filter_bits(uint8_t options)
{
    const uint8_t option_6 = (options & INPUT_OPTION_6) != 0 ? FILTER_OPTION_6 : 0;
    const uint8_t option_7 = (options & INPUT_OPTION_7) != 0 ? FILTER_OPTION_7 : 0;
    return option_6 | option_7;
}

void load_matrix(uint8_t kind, uint8_t bInputMode)
{
    const bool to_yuv = kind == txreg::CSC_RGB2YUV;
    const unsigned int range = (bInputMode & (INPUT_ITU709 | INPUT_LIMITED_RANGE)) >> 4;
    printf(to_yuv ? "CSC = RGB2YUV %x " : "CSC = YUV2RGB %x ", kind);
    printf("%s", RANGE_NAMES[range]);
    uint8_t reg = txreg::CSC_MATRIX;
    for (const uint8_t value : to_yuv ? TX_RGB_TO_YUV[range] : TX_YUV_TO_RGB[range]) {
        hdmitx_WriteReg(reg, value);
        printf("reg%02X <- %02X\n", reg, value);
        ++reg;
    }
}

void set_converter(uint8_t kind, uint8_t filter)
{
    const bool bypass = kind == txreg::CSC_BYPASS;
    hdmitx_SetRegBits(txreg::SYS_CTRL, txreg::SYS_CONVERTER_OFF, bypass ? txreg::SYS_CONVERTER_OFF : 0);
    const uint8_t kept = hdmitx_ReadReg(txreg::CSC_CTRL) & txreg::CSC_KEPT;
    hdmitx_WriteReg(txreg::CSC_CTRL, kept | filter | kind);
}

} // namespace

void hdmitx_SetCSCScale(uint8_t bInputMode, uint8_t bOutputMode)
{
    printf("hdmitx_SetCSCScale(BYTE bInputMode = %x,BYTE bOutputMode = %x)\n", bInputMode, bOutputMode);
    const uint8_t input = bInputMode & COLOUR_MASK;
    const uint8_t output = bOutputMode & COLOUR_MASK;
    print_modes(input, output);
    const Conversion& conversion = CONVERSIONS[input][output];
    if (conversion.kind != txreg::CSC_BYPASS) load_matrix(conversion.kind, bInputMode);
    set_converter(conversion.kind, filter_bits(bInputMode & conversion.options));
}

} // namespace capd
