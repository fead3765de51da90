#include "hdmitx/video_output.h"

#include <cstdio>

#include "hdmitx/access.h"
#include "hdmitx/audio_output.h"
#include "hdmitx/color_converter.h"
#include "hdmitx/hdmitx.h"
#include "hdmitx/info_frames.h"
#include "hdmitx/registers.h"
#include "hdmitx/state.h"

namespace capd {

namespace {

constexpr uint32_t TMDS_LEVEL_2_ABOVE_HZ = 80000000;
constexpr uint32_t TMDS_LEVEL_1_ABOVE_HZ = 20000000;
constexpr int LEVEL_HIGH = 2; // the only level with the front end's high setting

int tmds_level(uint32_t clock_hz)
{
    if (clock_hz > TMDS_LEVEL_2_ABOVE_HZ) return LEVEL_HIGH;
    return clock_hz > TMDS_LEVEL_1_ABOVE_HZ ? 1 : 0;
}

// Signal types in the order in which they are reported.
constexpr struct {
    uint8_t signal, input_bit;
    const char* message;
} SIGNAL_TYPES[] = {
    {SIGNAL_HALF_PCLK, txreg::INPUT_HALF_PCLK, "PCLK Divided by 2 mode\n"},
    {SIGNAL_CCIR656, txreg::INPUT_CCIR656, "CCIR656 mode\n"},
    {SIGNAL_SYNC_EMBEDDED, txreg::INPUT_SYNC_EMBEDDED, "Sync Embedded mode\n"},
    {SIGNAL_DDR, txreg::INPUT_DDR, "Input DDR mode\n"},
};

struct DisplayOption {
    uint8_t vic;
    uint32_t pixel_clock_hz;
    uint8_t pixel_repetition;
    uint8_t itu709;
    uint8_t aspect_16x9;
    uint8_t sent_vic;
};

// clang-format off
constexpr DisplayOption DISPLAY_OPTIONS[] = {
    { 1,  25000000, 0, 0, 0,  1},
    { 2,  27000000, 0, 0, 0,  2},
    {17,  27000000, 0, 0, 0, 17},
    { 3,  27000000, 0, 0, 1,  3},
    {18,  27000000, 0, 0, 1, 18},
    { 6,  13500000, 1, 0, 0,  6},
    {21,  13500000, 1, 0, 0, 21},
    { 7,  13500000, 1, 0, 1,  7},
    {22,  13500000, 1, 0, 1, 22},
    { 4,  74250000, 0, 1, 1,  4},
    { 5,  74250000, 0, 1, 1,  5},
    {19,  74250000, 0, 1, 1, 19},
    {20,  74250000, 0, 1, 1, 20},
    {32,  74250000, 0, 1, 1, 32},
    {33,  74250000, 0, 1, 1, 33},
    {34,  74250000, 0, 1, 1, 34},
    {61,  74250000, 0, 1, 1,  0},
    {16, 148500000, 0, 1, 1, 16},
    {31, 148500000, 0, 1, 1, 31},
};
// clang-format on

constexpr uint8_t VIC_VGA = 1; // the only one that uses the full range

const DisplayOption* find_display_option(uint8_t vic)
{
    for (const DisplayOption& option : DISPLAY_OPTIONS) {
        if (option.vic == vic) return &option;
    }
    return nullptr;
}

uint8_t chosen_output_mode(uint8_t outputColorMode)
{
    if (hdmitx_video.bOutputColorMode == COLOUR_RGB24) return COLOUR_RGB24;
    if (outputColorMode == 1) return COLOUR_YUV444;
    return outputColorMode == 2 ? COLOUR_YUV422 : COLOUR_RGB24;
}

void set_input_bit(uint8_t bit, bool on)
{
    uint8_t& mode = hdmitx_video.bInputColorMode;
    mode = static_cast<uint8_t>(on ? mode | bit : mode & ~bit);
}

} // namespace

void HDMITX_SetOutput()
{
    const int level = tmds_level(hdmitx_tmds_clock());
    hdmitx_SetRegBits(txreg::RESET, txreg::RESET_AUDIO, txreg::RESET_AUDIO);
    hdmitx_SetRegBits(txreg::SYS_CTRL, txreg::SYS_CONVERTER_OFF, txreg::SYS_CONVERTER_OFF);
    hdmitx_instance.bInputSignalType = 0;
    const HdmitxVideoState& video = hdmitx_video;
    printf("level = %d, ,bInputColorMode=%x,bOutputColorMode=%x,bHDMIMode=%x\n", level, video.bInputColorMode,
           video.bOutputColorMode, video.bHDMIMode);
    HDMITX_EnableVideoOutput(level, video.bInputColorMode, video.bOutputColorMode, video.bHDMIMode);
    if (video.bHDMIMode == 0) { // audio stays held: DVI carries none
        hdmitx_SetAVIInfoFrame(0, nullptr);
        hdmitx_SetVSInfoFrame(0, nullptr);
    } else {
        ConfigAVIInfoFrame(video.bVIC, video.bPixelRep);
        HDMITX_SetAudioOutput();
    }
    hdmitx_video.bChangeMode = 0;
    hdmitx_DumpRegs();
}

void HDMITX_DisableVideoOutput()
{
    hdmitx_WriteReg(txreg::RESET, hdmitx_ReadReg(txreg::RESET) | txreg::RESET_VIDEO);
    hdmitx_WriteReg(txreg::AFE, txreg::AFE_OFF);
    hdmitx_SetRegBits(txreg::AFE_62, txreg::AFE_62_SPEED, 0);
    hdmitx_SetRegBits(txreg::AFE_64, txreg::AFE_64_SPEED, 0);
}

int HDMITX_EnableVideoOutput(int level, uint8_t inputColorMode, uint8_t outputColorMode, uint32_t hdmi)
{
    hdmitx_WriteReg(txreg::RESET, txreg::RESET_PATHS);
    const bool is_hdmi = (hdmi & 1) != 0;
    uint8_t& flags = hdmitx_instance.flags;
    flags = static_cast<uint8_t>(is_hdmi ? flags | INSTANCE_HDMI : flags & ~INSTANCE_HDMI);
    hdmitx_SwitchBank(1);
    hdmitx_WriteReg(txreg::B1_AVI_1, 0x00);
    hdmitx_SwitchBank(0);
    hdmitx_SetInputMode(inputColorMode, hdmitx_instance.bInputSignalType);
    hdmitx_SetCSCScale(inputColorMode, outputColorMode);
    hdmitx_WriteReg(txreg::HDMI_MODE, is_hdmi ? 1 : 0);
    hdmitx_SetupAFE(level);
    hdmitx_WriteReg(txreg::RESET, txreg::RESET_VIDEO_RUNS);
    hdmitx_FireAFE();
    return 1;
}

void hdmitx_SetInputMode(uint8_t inputColorMode, uint8_t signalType)
{
    uint8_t value = (hdmitx_ReadReg(txreg::INPUT_FORMAT) & txreg::INPUT_KEPT) | txreg::INPUT_BIT0;
    const uint8_t colour = inputColorMode & COLOUR_MASK;
    if (colour == COLOUR_YUV422) value |= txreg::INPUT_YUV422;
    if (colour == COLOUR_YUV444) value |= txreg::INPUT_YUV444;
    for (const auto& type : SIGNAL_TYPES) {
        if ((signalType & type.signal) == 0) continue;
        value |= type.input_bit;
        printf("%s", type.message);
    }
    hdmitx_WriteReg(txreg::INPUT_FORMAT, value);
}

void hdmitx_SetupAFE(int level)
{
    const bool high = level == LEVEL_HIGH;
    hdmitx_WriteReg(txreg::AFE, txreg::AFE_SETUP);
    hdmitx_SetRegBits(txreg::AFE_62, txreg::AFE_62_SPEED, high ? txreg::AFE_62_HIGH : txreg::AFE_62_LOW);
    hdmitx_SetRegBits(txreg::AFE_64, txreg::AFE_64_SPEED, high ? txreg::AFE_64_HIGH : txreg::AFE_64_LOW);
    hdmitx_SetRegBits(txreg::AFE_68, txreg::AFE_68_SPEED, high ? txreg::AFE_68_HIGH : txreg::AFE_68_LOW);
    printf("hdmitx_SetupAFE()===================%s\n", high ? "HIGHT" : "LOW");
    hdmitx_SetRegBits(txreg::RESET, txreg::RESET_AFE | txreg::RESET_VIDEO, 0);
    hdmitx_WriteReg(txreg::AFE, txreg::AFE_ON);
    hdmitx_DelayMs(1);
}

void hdmitx_FireAFE()
{
    hdmitx_SwitchBank(0);
    hdmitx_WriteReg(txreg::AFE, txreg::AFE_ON);
}

void setHDMITX_ColorDepthPhase(uint8_t bColorDepth)
{
    uint8_t code = 0;
    if (bColorDepth == 30) {
        printf("bColorDepth = B_TX_CD_30\n");
        code = txreg::COLOUR_DEPTH_30;
    } else if (bColorDepth == 36) {
        printf("bColorDepth = B_TX_CD_36\n");
        code = txreg::COLOUR_DEPTH_36;
    }
    hdmitx_SwitchBank(0);
    hdmitx_SetRegBits(txreg::GENERAL_CTRL, txreg::COLOUR_DEPTH, code);
    printf("setHDMITX_ColorDepthPhase(%02X), regC1 = %02X\n", code, hdmitx_ReadReg(txreg::GENERAL_CTRL));
}

void hdmitx_follow(const HdmitxPicture& picture)
{
    const uint32_t clock = picture.pixel_clock_hz / (picture.repetition + 1u);
    HdmitxVideoState next = hdmitx_video;
    next.ulPixelClock = clock;
    next.bPixelRep = picture.repetition;
    next.bAspect16x9 = picture.wide ? 1 : 0;
    next.bColorimetry709 = picture.itu709 ? 1 : 0;
    next.bVIC = picture.vic;
    // Half of the chroma is missing on the way in: what goes out with all of it needs the filter.
    next.bInputColorMode = (hdmitx_video.bInputColorMode & COLOUR_MASK) | INPUT_OPTION_6;
    // What a display takes RGB for depends on the format: television has 16 to 235, computers and
    // DVI have 0 to 255 (CTA-861).
    if (picture.itu709) next.bInputColorMode |= INPUT_ITU709;
    if (next.bHDMIMode != 0 && picture.vic > VIC_VGA) next.bInputColorMode |= INPUT_LIMITED_RANGE;
    if (next == hdmitx_video) return;
    hdmitx_video = next;
    hdmitx_video.bChangeMode = 1;
}

void HDMITX_ChangeDisplayOption(uint8_t vic, uint8_t outputColorMode)
{
    const DisplayOption* option = find_display_option(vic);
    if (option == nullptr) {
        hdmitx_video.bChangeMode = 0;
        return;
    }
    hdmitx_video.ulPixelClock = option->pixel_clock_hz;
    hdmitx_video.bPixelRep = option->pixel_repetition;
    hdmitx_video.bAspect16x9 = option->aspect_16x9;
    hdmitx_video.bColorimetry709 = option->itu709;
    hdmitx_video.bVIC = option->sent_vic;
    hdmitx_video.bOutputColorMode = chosen_output_mode(outputColorMode);
    set_input_bit(INPUT_ITU709, option->itu709 != 0);
    set_input_bit(INPUT_LIMITED_RANGE, vic != VIC_VGA);
    hdmitx_video.bChangeMode = 1;
}

} // namespace capd
