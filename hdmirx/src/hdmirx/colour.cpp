#include "hdmirx/src/hdmirx/colour.h"

#include "hdmirx/hdmirx_corrections.h"
#include "hdmirx/src/hdmirx/access.h"
#include "hdmirx/src/hdmirx/message.h"
#include "hdmirx/src/hdmirx/mute.h"
#include "hdmirx/src/hdmirx/port.h"
#include "hdmirx/src/hdmirx/registers.h"
#include "hdmirx/src/hdmirx/video_mode.h"

#include <cstdio>

namespace capd::rx {

namespace {

constexpr int INVALID_COLOUR = 3;

// Converter offsets by [0 range 16-235, 1 range 0-255].
constexpr uint8_t CONVERTER_OFFSETS[2][3] = {{0x00, 0x80, 0x00}, {0x10, 0x80, 0x10}};

constinit struct {
    uint8_t InputFormatFlags = FORMAT_LIMITED_RANGE;
    uint8_t OutputFormatFlags = FORMAT_CHROMA_DOWN;
    bool NewAVIInfoFrameF = false;
    uint8_t saved_avi_db1 = 0; // what the colour was last set up by
    uint8_t saved_avi_db2 = 0;
    uint8_t saved_avi_db3 = 0; // with corrected formats only
    uint8_t saved_avi_vic = 0;
} state;

// What the converter and the chroma stage of REG_RX_OUTPUT_MODE have to do.
struct Conversion {
    uint8_t converter, chroma;
};

int input_colour()
{
    return state.InputFormatFlags & FORMAT_COLOUR;
}

void set_input_colour(int mode)
{
    state.InputFormatFlags = static_cast<uint8_t>((state.InputFormatFlags & ~FORMAT_COLOUR) | mode);
}

void set_itu709(bool on)
{
    state.InputFormatFlags =
        static_cast<uint8_t>(on ? state.InputFormatFlags | FORMAT_ITU709 : state.InputFormatFlags & ~FORMAT_ITU709);
}

void set_limited_range(bool on)
{
    state.InputFormatFlags = static_cast<uint8_t>(on ? state.InputFormatFlags | FORMAT_LIMITED_RANGE
                                                     : state.InputFormatFlags & ~FORMAT_LIMITED_RANGE);
}

/** Whether the picture has a size that television has; interlaced ones are measured by their fields. */
bool is_television()
{
    const VideoMode& mode = CurrentVideoMode();
    switch (mode.VActive) {
    case 1080:
    case 540: return mode.HActive == 1920;
    case 720: return mode.HActive == 1280;
    case 576:
    case 480: return mode.HActive == 720;
    case 288:
    case 240: return mode.HActive == 1440;
    default: return false;
    }
}

/** Whether the bytes about the range are others than at the last look. */
bool range_has_changed()
{
    const uint8_t db3 = ReadRxReg(REG_RX_AVI_DB3);
    const uint8_t vic = ReadRxReg(REG_RX_AVI_VIC);
    const bool changed = db3 != state.saved_avi_db3 || vic != state.saved_avi_vic;
    state.saved_avi_db3 = db3;
    state.saved_avi_vic = vic;
    return changed;
}

/** Take the range of an RGB input from the AVI info frame; by its default, the frame's VIC decides (CTA-861, 5.1). */
void set_input_range()
{
    const uint8_t range = ReadRxReg(REG_RX_AVI_DB3) & AVI_DB3_RANGE;
    const uint8_t vic = ReadRxReg(REG_RX_AVI_VIC) & AVI_VIC;
    set_limited_range(range == AVI_DB3_LIMITED || (range == 0 && vic > VIC_VGA));
}

/** xvYCC comes in both kinds; of the others the receiver has no matrix, and their size decides. */
void set_extended_colorimetry()
{
    const uint8_t extended = ReadRxReg(REG_RX_AVI_DB3) & AVI_DB3_EXTENDED;
    if (extended == AVI_DB3_XVYCC601 || extended == AVI_DB3_XVYCC709)
        set_itu709(extended == AVI_DB3_XVYCC709);
    else
        SetColorimetryByMode();
}

/** Take the colorimetry from the AVI info frame, or where it does not tell, from the picture's size. */
void set_colorimetry()
{
    const uint8_t told = state.NewAVIInfoFrameF ? ReadRxReg(REG_RX_AVI_DB2) & AVI_DB2_COLORIMETRY : 0;
    switch (told) {
    case AVI_DB2_ITU601: set_itu709(false); break;
    case AVI_DB2_ITU709: set_itu709(true); break;
    case AVI_DB2_EXTENDED: set_extended_colorimetry(); break;
    default: SetColorimetryByMode(); break;
    }
    printf((state.InputFormatFlags & FORMAT_ITU709) != 0 ? "F_MODE_ITU709\n" : "F_MODE_ITU601\n");
}

Conversion to_yuv422(int input, uint8_t down, uint8_t up)
{
    switch (input) {
    case COLOUR_MODE_RGB: return {CONVERTER_RGB_TO_YUV, down};
    case COLOUR_MODE_YUV422: return {CONVERTER_NONE, up};
    case COLOUR_MODE_YUV444: return {CONVERTER_NONE, down};
    default: return {CONVERTER_NONE, 0};
    }
}

Conversion to_yuv444(int input, uint8_t down, uint8_t up)
{
    switch (input) {
    case COLOUR_MODE_RGB: return {CONVERTER_RGB_TO_YUV, 0};
    case COLOUR_MODE_YUV422: return {CONVERTER_NONE, up != 0 ? up : down};
    default: return {CONVERTER_NONE, 0};
    }
}

Conversion to_rgb24(int input, uint8_t down, uint8_t up)
{
    switch (input) {
    case COLOUR_MODE_YUV422: return {CONVERTER_YUV_TO_RGB, up != 0 ? up : down};
    case COLOUR_MODE_YUV444: return {CONVERTER_YUV_TO_RGB, 0};
    default: return {CONVERTER_NONE, 0};
    }
}

Conversion choose_conversion()
{
    const uint8_t down = (state.OutputFormatFlags & FORMAT_CHROMA_DOWN) != 0 ? CHROMA_DOWN : 0;
    const uint8_t up = (state.OutputFormatFlags & FORMAT_CHROMA_UP) != 0 ? CHROMA_UP : 0;
    switch (state.OutputFormatFlags & FORMAT_COLOUR) {
    case COLOUR_MODE_YUV422: message("Output mode is YUV422\n"); return to_yuv422(input_colour(), down, up);
    case COLOUR_MODE_YUV444: message("Output mode is YUV444\n"); return to_yuv444(input_colour(), down, up);
    case COLOUR_MODE_RGB: message("Output mode is RGB24\n"); return to_rgb24(input_colour(), down, up);
    default: return {CONVERTER_NONE, 0};
    }
}

void load_converter(bool to_rgb, bool itu709, bool full_range)
{
    uint8_t bytes[2 * std::tuple_size_v<Matrix>];
    uint8_t* next = bytes;
    for (const uint16_t word : CONVERTER_MATRICES[to_rgb][itu709][full_range]) {
        *next++ = static_cast<uint8_t>(word & 0xFF);
        *next++ = static_cast<uint8_t>(word >> 8);
    }
    WriteRxBlock(REG_RX_CSC_OFFSET, CONVERTER_OFFSETS[full_range], sizeof CONVERTER_OFFSETS[full_range]);
    WriteRxBlock(REG_RX_CSC_MATRIX, bytes, sizeof bytes);
}

} // namespace

// clang-format off
const Matrix CONVERTER_MATRICES[2][2][2] = {
    {
        {
            {{0x04B2, 0x0264, 0x00E9, 0x3C93, 0x0418, 0x3F56, 0x3D49, 0x3E9F, 0x0418}}, // RGB to YUV, ITU601, 16-235
            {{0x0409, 0x020E, 0x00C8, 0x3D0E, 0x0384, 0x3F6E, 0x3DAC, 0x3ED0, 0x0384}}, // RGB to YUV, ITU601, 0-255
        },
        {
            {{0x05B8, 0x01B4, 0x0093, 0x3C49, 0x0418, 0x3F9F, 0x3CD9, 0x3F10, 0x0418}}, // RGB to YUV, ITU709, 16-235
            {{0x04E5, 0x0178, 0x0081, 0x3CCE, 0x0384, 0x3FAE, 0x3D49, 0x3F33, 0x0384}}, // RGB to YUV, ITU709, 0-255
        },
    },
    {
        {
            {{0x0800, 0x3A6A, 0x3D4F, 0x0800, 0x0AF7, 0x0000, 0x0800, 0x0000, 0x0DDB}}, // YUV to RGB, ITU601, 16-235
            {{0x094F, 0x3981, 0x3CDF, 0x094F, 0x0CC2, 0x0000, 0x094F, 0x0000, 0x101E}}, // YUV to RGB, ITU601, 0-255
        },
        {
            {{0x0800, 0x3C53, 0x3E89, 0x0800, 0x0C51, 0x0000, 0x0800, 0x0000, 0x0E87}}, // YUV to RGB, ITU709, 16-235
            {{0x094F, 0x3BBA, 0x3E4B, 0x094F, 0x0E56, 0x0000, 0x094F, 0x0000, 0x10E7}}, // YUV to RGB, ITU709, 0-255
        },
    },
};
// clang-format on

void SetVideoInputFormatWithInfoFrame()
{
    static constexpr const char* CHOICES[] = {"input RGB24 mode ", "input YUV422 mode ", "input YUV444 mode "};
    message("SetVideoInputFormatWithInfoFrame(): ");
    const uint8_t db1 = ReadRxReg(REG_RX_AVI_DB1);
    printf("REG_RX_AVI_DB1 %02X get uc %02X ", REG_RX_AVI_DB1, db1);
    state.saved_avi_db1 = db1;

    const int before = input_colour();
    const int colour = (db1 & AVI_DB1_COLOUR) >> 5;
    if (colour == INVALID_COLOUR) {
        set_input_colour(COLOUR_MODE_RGB);
        printf("Invalid input color mode, ignore.\n");
        return;
    }
    printf("%s", CHOICES[colour]);
    set_input_colour(colour);
    if (colour != before) printf("Input Video mode changed.");
    ClearRxRegFlags(REG_RX_COLOUR, COLOUR_FORCED);
    // Computers send the full range, whose darkest and brightest parts would be cut off.
    if (hdmirx_corrections.formats) set_input_range();
}

void SetColorimetryByInfoFrame()
{
    message("SetColorimetryByInfoFrame: NewAVIInfoFrameF = %s ", state.NewAVIInfoFrameF ? "TRUE" : "FALSE");
    // Without a word about it the choice of the picture before would stay, whatever its size was.
    if (hdmirx_corrections.formats) return set_colorimetry();
    if (!state.NewAVIInfoFrameF) return;
    const uint8_t colorimetry = ReadRxReg(REG_RX_AVI_DB2) & AVI_DB2_COLORIMETRY;
    if (colorimetry == AVI_DB2_ITU601) {
        printf("F_MODE_ITU601\n");
        set_itu709(false);
    } else if (colorimetry == AVI_DB2_ITU709) {
        printf("F_MODE_ITU709\n");
        set_itu709(true);
    }
}

void SetColorimetryByMode()
{
    const VideoMode& mode = CurrentVideoMode();
    set_itu709(mode.HActive == 1920 || (mode.HActive == 1280 && mode.VActive == 720));
}

void ForceInputColourMode(int mode)
{
    static constexpr uint8_t FIELDS[] = {COLOUR_FORCED, COLOUR_FORCED | COLOUR_YUV422, COLOUR_FORCED | COLOUR_YUV444};
    if (mode < COLOUR_MODE_RGB || mode > COLOUR_MODE_YUV444) {
        set_input_colour(COLOUR_MODE_RGB);
        message("Invalid Color mode %d, ignore.\n", mode);
        return;
    }
    set_input_colour(mode);
    SetRxRegField(REG_RX_COLOUR, COLOUR_INPUT, FIELDS[mode]);
}

void SetCSC()
{
    const Conversion conversion = choose_conversion();
    message("Setting the hdmirx CSC associated registers \n");
    const bool itu709 = (state.InputFormatFlags & FORMAT_ITU709) != 0;
    if (conversion.converter == CONVERTER_RGB_TO_YUV) {
        const bool limited = (state.InputFormatFlags & FORMAT_LIMITED_RANGE) != 0;
        message("CSC = RGB2YUV ");
        printf("%s", itu709 ? "ITU709 " : "ITU601 ");
        printf("%s", limited ? " 16-235\n" : " 0-255\n");
        load_converter(false, itu709, !limited);
    } else if (conversion.converter == CONVERTER_YUV_TO_RGB) {
        const bool limited = (state.OutputFormatFlags & FORMAT_LIMITED_RANGE) != 0;
        message("CSC = YUV2RGB ");
        printf("%s", itu709 ? "ITU709 " : "ITU601 ");
        printf("%s", limited ? "16-235\n" : "0-255\n");
        load_converter(true, itu709, !limited);
    }
    SetRxRegField(REG_RX_COLOUR, COLOUR_CONVERTER, conversion.converter);
    SetRxRegField(REG_RX_OUTPUT_MODE, OUTPUT_MODE_CHROMA, conversion.chroma);
}

void ApplyAVIInfo()
{
    SetVideoInputFormatWithInfoFrame();
    SetColorimetryByInfoFrame();
    SetCSC();
}

void ApplyDefaultColour()
{
    ForceInputColourMode(COLOUR_MODE_RGB);
    SetColorimetryByMode();
    if (hdmirx_corrections.formats) set_limited_range(is_television()); // a DVI source says nothing: CTA-861's default
    SetCSC();
}

void RXINT_AVIInfoFrame_Chg()
{
    state.NewAVIInfoFrameF = true;
    if (PictureIsOn()) ApplyAVIInfo();
    state.saved_avi_db1 = ReadRxReg(REG_RX_AVI_DB1);
    state.saved_avi_db2 = ReadRxReg(REG_RX_AVI_DB2);
}

void FollowAVIInfo()
{
    const uint8_t db1 = ReadRxReg(REG_RX_AVI_DB1);
    const uint8_t db2 = ReadRxReg(REG_RX_AVI_DB2);
    // Range and code of a picture decide about its colours, too.
    const bool more = hdmirx_corrections.formats && range_has_changed();
    if ((db1 != state.saved_avi_db1 || db2 != state.saved_avi_db2 || more) && IsHDMIMode()) RXINT_AVIInfoFrame_Chg();
    state.saved_avi_db1 = db1;
    state.saved_avi_db2 = db2;
}

bool InputIsITU709()
{
    return (state.InputFormatFlags & FORMAT_ITU709) != 0;
}

bool HasAVIInfo()
{
    return state.NewAVIInfoFrameF;
}

void ForgetAVIInfo()
{
    state.NewAVIInfoFrameF = false;
}

uint8_t OutputFormatFlags()
{
    return state.OutputFormatFlags;
}

void SetOutputFormatFlags(uint8_t flags)
{
    state.OutputFormatFlags = flags;
}

void TakeOutputColourMode()
{
    const uint8_t colour = ReadRxReg(REG_RX_OUTPUT_COLOUR) & OUTPUT_FORMAT;
    const ColourMode mode = colour == OUTPUT_IS_YUV422   ? COLOUR_MODE_YUV422
                            : colour == OUTPUT_IS_YUV444 ? COLOUR_MODE_YUV444
                                                         : COLOUR_MODE_RGB;
    state.OutputFormatFlags = without(state.OutputFormatFlags, FORMAT_COLOUR) | mode;
}

void SetHDMIRXVideoOutputFormat(uint8_t output_map, uint8_t output_mode, uint8_t colour_mode)
{
    SetRxMute(true);
    message("SetHDMIRXVideoOutputFormat(%02X,%02X,%02X)\n", output_map, output_mode, colour_mode);
    WriteRxReg(REG_RX_OUTPUT_MODE, output_mode);
    WriteRxReg(REG_RX_OUTPUT_MAP, output_map);
    state.OutputFormatFlags =
        static_cast<uint8_t>((state.OutputFormatFlags & ~FORMAT_COLOUR) | (colour_mode & FORMAT_COLOUR));
    const uint8_t field = colour_mode == COLOUR_MODE_YUV422   ? OUTPUT_IS_YUV422
                          : colour_mode == COLOUR_MODE_YUV444 ? OUTPUT_IS_YUV444
                                                              : OUTPUT_IS_RGB24;
    const uint8_t value = static_cast<uint8_t>((ReadRxReg(REG_RX_OUTPUT_COLOUR) & ~OUTPUT_FORMAT) | field);
    WriteRxReg(REG_RX_OUTPUT_COLOUR, value);
    message("write %02X %02X\n", REG_RX_OUTPUT_COLOUR, value);
    if (!PictureIsOn()) return;
    if (IsHDMIMode()) {
        ApplyAVIInfo();
    } else {
        ApplyDefaultColour();
    }
    SetRxMute(AVMute());
}

} // namespace capd::rx
