#include "hdmitx/supervision.h"

#include <cstdio>

#include "hdmitx/access.h"
#include "hdmitx/audio_output.h"
#include "hdmitx/ddc.h"
#include "hdmitx/display_edid.h"
#include "hdmitx/hdmitx.h"
#include "hdmitx/power.h"
#include "hdmitx/registers.h"
#include "hdmitx/state.h"
#include "hdmitx/video_output.h"

// A plug-in takes two calls of hdmitx_run():
//
//   no display --plug--> [power on, EDID, format decision] --next call--> [program the output] --> display driven
//       ^                                                                                             |
//       +---------------------------------- unplug [video off, power down] <--------------------------+
//
// A hot-plug interrupt while a display is driven starts over at the first step.

namespace capd {

namespace {

constexpr struct {
    uint8_t bit;
    const char* text;
} EXTENDED_STATUS[] = {
    {txreg::EXT_VIDEO_CHANGE, "video parameter change "},       {txreg::EXT_DDC_HANG, "DDC bus hang "},
    {txreg::EXT_VIDEO_FIFO, "Video input FIFO auto reset "},    {txreg::EXT_NO_AUDIO, "No audio input interrupt  "},
    {txreg::EXT_AUDIO_DECODE, "Audio decode error interrupt "},
};

void reset_audio_path()
{
    printf("B_TX_INT_AUD_OVERFLOW.\n");
    hdmitx_SetRegBits(txreg::RESET, txreg::RESET_AUDIO, txreg::RESET_AUDIO);
    hdmitx_SetRegBits(txreg::RESET, txreg::RESET_AUDIO, 0);
}

void report_extended_status()
{
    const uint8_t status = hdmitx_ReadReg(txreg::EXT_STATUS);
    if (status == 0) return;
    hdmitx_WriteReg(txreg::EXT_STATUS, status);
    for (const auto& event : EXTENDED_STATUS) {
        if ((status & event.bit) != 0) printf("%s", event.text);
    }
    printf("\n");
}

void clear_interrupts()
{
    hdmitx_WriteReg(txreg::INT_CLEAR_0, 0xFF);
    hdmitx_WriteReg(txreg::INT_CLEAR_1, 0xFF);
    const uint8_t status = hdmitx_ReadReg(txreg::SYS_STATUS) | txreg::SYS_INT_CLEAR;
    hdmitx_WriteReg(txreg::SYS_STATUS, status);
    hdmitx_WriteReg(txreg::SYS_STATUS, static_cast<uint8_t>(status & ~txreg::SYS_INT_FIRE));
}

// Says whether one of them was a hot-plug interrupt.
bool serve_interrupts()
{
    const uint8_t status = hdmitx_ReadReg(txreg::INT_STATUS);
    if ((status & txreg::INT_AUDIO_OVERFLOW) != 0) reset_audio_path();
    if ((status & txreg::INT_DDC_FIFO) != 0) {
        printf("DDC FIFO Error.\n");
        hdmitx_ClearDDCFIFO();
    }
    if ((status & txreg::INT_DDC_HANG) != 0) {
        printf("DDC BUS HANG.\n");
        hdmitx_AboutDDC();
    }
    report_extended_status();
    clear_interrupts();
    return (status & txreg::INT_HOT_PLUG) != 0;
}

uint8_t output_mode_for(uint8_t cea_flags)
{
    if ((cea_flags & CEA_YUV444) != 0) return COLOUR_YUV444;
    return (cea_flags & CEA_YUV422) != 0 ? COLOUR_YUV422 : COLOUR_RGB24;
}

void decide_output_format()
{
    const RxCapability& display = hdmitx_rx_capability();
    const bool hdmi = (display.flags & RX_VALID_HDMI) != 0;
    hdmitx_video.bHDMIMode = hdmi ? 1 : 0;
    hdmitx_video.bOutputColorMode = hdmi ? output_mode_for(display.CEAFlags) : COLOUR_RGB24;
    // Cleared for an HDMI display without basic audio too: it may follow one that had it.
    hdmitx_audio.bAudioEnable = hdmi && (display.CEAFlags & CEA_BASIC_AUDIO) != 0 ? 1 : 0;
}

void plug_in()
{
    hdmitx_PowerOn();
    ParseEDID();
    decide_output_format();
    printf("HPD change HDMITX_SetOutput();\n");
    hdmitx_audio.bChangeAudio = 1;
    hdmitx_video.bChangeMode = 1;
}

void unplug()
{
    printf("HPD OFF HDMITX_DisableVideoOutput()\n");
    HDMITX_DisableVideoOutput();
    hdmitx_PowerDown();
    hdmitx_audio.bChangeAudio = 0;
}

void program_output()
{
    if (hdmitx_video.bChangeMode != 0) {
        printf("Mode change HDMITX_SetOutput();\n");
        HDMITX_SetOutput();
    }
    if (hdmitx_audio.bChangeAudio != 0) HDMITX_SetAudioOutput();
}

} // namespace

int CheckHDMITX(uint8_t* pHPD, uint8_t* pHPDChange)
{
    uint8_t& flags = hdmitx_instance.flags;
    const bool previous = (flags & INSTANCE_HOT_PLUG) != 0;
    const uint8_t status = hdmitx_ReadReg(txreg::SYS_STATUS);
    const bool level = (status & txreg::SYS_HOT_PLUG) != 0;
    bool change = level != previous;
    if ((status & txreg::SYS_INT_PENDING) != 0) change = serve_interrupts() || change;
    if (pHPDChange != nullptr) {
        *pHPDChange = change ? 1 : 0;
        if (change && !level) hdmitx_WriteReg(txreg::AFE, txreg::AFE_OFF);
    }
    if (pHPD != nullptr) *pHPD = level ? 1 : 0;
    flags = static_cast<uint8_t>(level ? flags | INSTANCE_HOT_PLUG : flags & ~INSTANCE_HOT_PLUG);
    return level ? 1 : 0;
}

int hdmitx_run()
{
    CheckHDMITX(&hdmitx_hot_plug.level, &hdmitx_hot_plug.change);
    const bool present = hdmitx_hot_plug.level != 0;
    if (hdmitx_hot_plug.change != 0) {
        if (present) plug_in();
        if (!present) unplug();
    } else if (present) {
        program_output();
    }
    return 0;
}

} // namespace capd
