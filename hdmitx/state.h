/**
 * @file
 * State that the parts of the transmitter's driver share: the chip's instance record, and the video, audio and hot-plug
 * state of the output. Written inside this folder only, by the main thread; others may look.
 */
#pragma once

#include "devaccess/i2c.h"

#include <array>
#include <cstdint>

namespace capd {

/** Record of the one transmitter; hdmitx_init() loads it whole. */
struct HdmitxInstance {
    uint8_t device_number;       ///< informational
    uint8_t address;             ///< informational, 8-bit form
    uint8_t interrupt_type;      ///< not used by the output
    uint8_t bInputSignalType;    ///< SIGNAL_ bits
    uint8_t audio_mode;          ///< base value of the audio mode register
    uint8_t channel_swap;        ///< not used by the output
    uint8_t bAudioChannelEnable; ///< what the audio set-up leaves in the audio control register
    uint8_t bAudioFs;            ///< IEC 60958 code of the sampling rate
    uint32_t ulTMDSClock;        ///< Hz, as handed to the audio set-up
    uint32_t reference_clock;    ///< not used by the output
    uint8_t flags;               ///< INSTANCE_ bits
    uint8_t bSPDIF;              ///< audio input: 1 S/PDIF, 0 I2S
};
static_assert(sizeof(HdmitxInstance) == 20);

constexpr uint8_t INSTANCE_HDMI = 0x02;     ///< signal last programmed is HDMI
constexpr uint8_t INSTANCE_HOT_PLUG = 0x08; ///< a display was present at the last CheckHDMITX()

constexpr uint8_t SIGNAL_CCIR656 = 0x01;
constexpr uint8_t SIGNAL_SYNC_EMBEDDED = 0x02;
constexpr uint8_t SIGNAL_DDR = 0x04;
constexpr uint8_t SIGNAL_HALF_PCLK = 0x08;

constexpr HdmitxInstance HDMITX_DEFAULT_INSTANCE = {
    .device_number = 0,
    .address = i2c_write_address(I2C_TRANSMITTER),
    .interrupt_type = 0x40,
    .bInputSignalType = 0,
    .audio_mode = 0x01,
    .channel_swap = 0,
    .bAudioChannelEnable = 0x01,
    .bAudioFs = 2,
    .ulTMDSClock = 0,
    .reference_clock = 0,
    .flags = 0,
    .bSPDIF = 0,
};

/** Colour modes, bits 0 and 1 of the input and output colour mode. */
constexpr uint8_t COLOUR_MASK = 0x03;
constexpr uint8_t COLOUR_RGB24 = 0;
constexpr uint8_t COLOUR_YUV422 = 1;
constexpr uint8_t COLOUR_YUV444 = 2;
/** More bits of the input colour mode. */
constexpr uint8_t INPUT_ITU709 = 0x10;        ///< else ITU601
constexpr uint8_t INPUT_LIMITED_RANGE = 0x20; ///< 16-235, else 0-255
constexpr uint8_t INPUT_OPTION_6 = 0x40;      ///< converter option
constexpr uint8_t INPUT_OPTION_7 = 0x80;      ///< converter option

struct HdmitxVideoState {
    uint8_t bInputColorMode = COLOUR_YUV422; ///< what the box's video hardware delivers; full range ITU601
    uint8_t bOutputColorMode = COLOUR_RGB24; ///< what the display takes
    uint32_t bHDMIMode = 0;                  ///< 1 HDMI, 0 DVI
    uint32_t bChangeMode = 0;                ///< 1 the output must be programmed
    uint32_t ulPixelClock = 0;               ///< Hz
    uint8_t bPixelRep = 0;                   ///< pixel repetition count
    uint32_t bAspect16x9 = 0;                ///< 1 16:9, 0 4:3
    uint32_t bColorimetry709 = 0;            ///< 1 ITU709, 0 ITU601
    uint8_t bVIC = 0;                        ///< video identification code of the AVI info frame

    bool operator==(const HdmitxVideoState&) const = default;
};

constexpr uint8_t T_AUDIO_LPCM = 0x80;
constexpr uint8_t T_AUDIO_NLPCM = 0x90; ///< compressed
constexpr uint8_t T_AUDIO_DSD = 0xA0;   ///< one-bit audio
constexpr uint8_t T_AUDIO_HBR = 0xC0;   ///< high bit rate

struct HdmitxAudioState {
    uint8_t bOutputAudioType = T_AUDIO_LPCM;
    uint32_t ulAudioSampleFS = 48000; ///< Hz
    uint8_t bOutputAudioChannel = 2;
    uint8_t bAudioEnable = 0;  ///< 1 the display takes audio
    uint32_t bChangeAudio = 0; ///< 1 audio must be programmed
};

struct HdmitxHotPlug {
    uint8_t level = 0;  ///< 1 a display is present
    uint8_t change = 0; ///< 1 the last check saw a change or a hot-plug interrupt
};

extern HdmitxInstance hdmitx_instance;
extern HdmitxVideoState hdmitx_video;
extern HdmitxAudioState hdmitx_audio;
extern HdmitxHotPlug hdmitx_hot_plug;

/** Give the TMDS clock of the current video options, in Hz; 0 while none were chosen. */
uint32_t hdmitx_tmds_clock();

} // namespace capd
