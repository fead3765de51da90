/**
 * @file
 * Registers of the HDMI receiver: number, fields and the values that the driver writes. Everything is in bank 0.
 * Values without a name of their own are start values from the chip maker's tuning; they live in init.cpp's tables.
 */
#pragma once

#include <cstdint>

namespace capd::rx {

// clang-format off
constexpr uint8_t REG_RX_CHIP_REV    = 0x04; // read-only
constexpr uint8_t   CHIP_REV_A2      = 0xA2; // this one needs TUNING_11, later ones TUNING_9B and have 3D

constexpr uint8_t REG_RX_RESET       = 0x05;
constexpr uint8_t   RESET_FULL       = 0x10; // first step of a full initialisation
constexpr uint8_t   RESET_HOLD       = 0xA1; // held while the tables are loaded
constexpr uint8_t   RESET_VIDEO      = 0xA0;
constexpr uint8_t   RESET_SOFTWARE   = 0x21;
constexpr uint8_t   RESET_AUDIO      = 0x24;
constexpr uint8_t   RESET_NONE       = 0x20; // normal running

constexpr uint8_t REG_RX_POWER       = 0x06; // 0: everything powered

constexpr uint8_t REG_RX_PORT        = 0x07; // port and line termination
constexpr uint8_t   PORT_0           = 0x0C; // both with the terminators off
constexpr uint8_t   PORT_1           = 0x1C;
constexpr uint8_t   PORT_TERM_OFF    = 0x0C; // set: terminators off, the source sees nobody

constexpr uint8_t REG_RX_BANK        = 0x0F;
constexpr uint8_t   BANK_0           = 0x00;

constexpr uint8_t REG_RX_STATUS      = 0x10; // read-only
constexpr uint8_t   STATUS_5V_PORT0  = 0x01;
constexpr uint8_t   STATUS_SCDT      = 0x06; // both: sync detected
constexpr uint8_t   STATUS_5V_PORT1  = 0x08;
constexpr uint8_t   STATUS_HDMI      = 0x10; // clear: DVI
constexpr uint8_t   STATUS_STABLE    = 0x24; // both: the input is stable
constexpr uint8_t   STATUS_COMPLETE  = 0xA6; // all: sync complete

constexpr uint8_t REG_RX_TUNING_11   = 0x11; // revision 0xA2 only
constexpr uint8_t   TUNING_11_FIRST  = 0x09;
constexpr uint8_t   TUNING_11_THEN   = 0x19;

constexpr uint8_t REG_RX_INT1        = 0x13; // latched until PulseRxReset(PULSE_INT1)
constexpr uint8_t   INT1_5V_ON       = 0x01;
constexpr uint8_t   INT1_5V_OFF      = 0x02;
constexpr uint8_t   INT1_SCDT_ON     = 0x04;
constexpr uint8_t   INT1_SCDT_OFF    = 0x08;
constexpr uint8_t   INT1_HDMI_MODE   = 0x10;
constexpr uint8_t   INT1_VIDEO_MODE  = 0x20;

constexpr uint8_t REG_RX_INT2        = 0x14; // latched until PulseRxReset(PULSE_INT2)
constexpr uint8_t   INT2_MUTE_SET    = 0x01;
constexpr uint8_t   INT2_NEW_AVI     = 0x04;
constexpr uint8_t   INT2_MUTE_CLEAR  = 0x80;

constexpr uint8_t REG_RX_INT3        = 0x15; // latched until PulseRxReset(PULSE_INT3)
constexpr uint8_t   INT3_FIFO        = 0x03; // acknowledged by a pulse of CTRL3_FIFO_ACK
constexpr uint8_t   INT3_ECC         = 0x04;
constexpr uint8_t   INT3_AUDIO_ERROR = 0x18;

constexpr uint8_t REG_RX_CTRL1       = 0x16; // control of event group 1
constexpr uint8_t   CTRL1_START      = 0x0F;
constexpr uint8_t   CTRL1_COLOUR     = 0x08; // cleared for the colour detection reset
constexpr uint8_t   CTRL1_WATCH      = 0x28; // set with the picture on, clear while waiting for sync
constexpr uint8_t   CTRL1_MODE       = 0x0A;
constexpr uint8_t REG_RX_CTRL2       = 0x17; // control of event group 2
constexpr uint8_t   CTRL2_START      = 0x85;
constexpr uint8_t   CTRL2_MUTE_CLEAR = 0x80; // set at start and with the picture on; cleared by the end of an AV mute, set by the next
constexpr uint8_t REG_RX_CTRL3       = 0x18; // control of event group 3
constexpr uint8_t   CTRL3_START      = 0x07;
constexpr uint8_t   CTRL3_FIFO       = 0x03;
constexpr uint8_t   CTRL3_ECC        = 0x04;
constexpr uint8_t   CTRL3_AUDIO      = 0x18; // set after every audio reset, cleared by an audio error
constexpr uint8_t   CTRL3_FIFO_ACK   = 0x80;

constexpr uint8_t REG_RX_PULSE       = 0x19; // reset pulses, see PulseRxReset()
constexpr uint8_t   PULSE_KEEP       = 0x30; // not part of a pulse
constexpr uint8_t   PULSE_INT1       = 0x01; // also restarts the video path
constexpr uint8_t   PULSE_ECC        = 0x04;
constexpr uint8_t   PULSE_AUDIO      = 0x08;
constexpr uint8_t   PULSE_INT3       = 0x0C;
constexpr uint8_t   PULSE_INT2       = 0xC2;

constexpr uint8_t REG_RX_OUTPUT_MAP  = 0x1B;
constexpr uint8_t REG_RX_OUTPUT_MODE = 0x1C;
constexpr uint8_t   OUTPUT_MODE_SYNC   = 0x02; // pulsed before the output is released
constexpr uint8_t   OUTPUT_MODE_CHROMA = 0xB0; // field, replaced by the converter set-up:
constexpr uint8_t     CHROMA_DOWN    = 0x10; // chroma sub-sampling
constexpr uint8_t     CHROMA_UP      = 0x90; // chroma filter

constexpr uint8_t REG_RX_SYNC_PROC   = 0x1F; // sync processing
constexpr uint8_t   SYNC_PROC_IDLE   = 0x00;
constexpr uint8_t   SYNC_PROC_RUN    = 0x10; // cleared again for a 3D picture

constexpr uint8_t REG_RX_COLOUR      = 0x20;
constexpr uint8_t   COLOUR_CONVERTER = 0x03; // field: CONVERTER_*
constexpr uint8_t     CONVERTER_NONE      = 0;
constexpr uint8_t     CONVERTER_RGB_TO_YUV = 2;
constexpr uint8_t     CONVERTER_YUV_TO_RGB = 3;
constexpr uint8_t   COLOUR_INPUT     = 0x1C; // field: COLOUR_FORCED and below
constexpr uint8_t     COLOUR_FORCED  = 0x10; // clear: the colour mode comes from the AVI info frame
constexpr uint8_t     COLOUR_YUV422  = 0x04;
constexpr uint8_t     COLOUR_YUV444  = 0x08;
constexpr uint8_t   COLOUR_MUTE      = 0xA0; // both: output muted
constexpr uint8_t   COLOUR_MUTE_NOW  = 0x80;

constexpr uint8_t REG_RX_CSC_OFFSET  = 0x21; // 3 bytes
constexpr uint8_t REG_RX_CSC_MATRIX  = 0x24; // 18 bytes

constexpr uint8_t REG_RX_3D          = 0x3C; // revisions above 0xA2
constexpr uint8_t   THREE_D_PICTURE  = 0x04;

constexpr uint8_t REG_RX_OUTPUT_COLOUR = 0x3D;
constexpr uint8_t   OUTPUT_FORMAT    = 0xC0; // field:
constexpr uint8_t     OUTPUT_IS_RGB24  = 0x00;
constexpr uint8_t     OUTPUT_IS_YUV422 = 0x40;
constexpr uint8_t     OUTPUT_IS_YUV444 = 0x80;

// Measured timing. The _HIGH fields carry a count's upper bits.
constexpr uint8_t REG_RX_SCAN        = 0x58;
constexpr uint8_t   SCAN_INTERLACED  = 0x02;
constexpr uint8_t REG_RX_HTOTAL      = 0x59;
constexpr uint8_t REG_RX_H_HIGH      = 0x5A;
constexpr uint8_t   H_HIGH_TOTAL     = 0x0F;
constexpr uint8_t   H_HIGH_ACTIVE    = 0x70;
constexpr uint8_t REG_RX_HACTIVE     = 0x5B;
constexpr uint8_t REG_RX_HSYNC       = 0x5C;
constexpr uint8_t REG_RX_HSYNC_HIGH  = 0x5D;
constexpr uint8_t   HSYNC_HIGH_WIDTH = 0x01;
constexpr uint8_t   HSYNC_HIGH_FRONT = 0xF0;
constexpr uint8_t   HSYNC_HIGH_FRONT_REPORT = 0x30; // the two bits that the status report believes
constexpr uint8_t REG_RX_HFRONT      = 0x5E;
constexpr uint8_t REG_RX_VTOTAL      = 0x5F;
constexpr uint8_t REG_RX_V_HIGH      = 0x60;
constexpr uint8_t   V_HIGH_TOTAL     = 0x0F;
constexpr uint8_t   V_HIGH_ACTIVE    = 0x70;
constexpr uint8_t   V_HIGH_TOTAL_DETECT  = 0x07; // mode detection believes one bit less of each
constexpr uint8_t   V_HIGH_ACTIVE_DETECT = 0x30;
constexpr uint8_t REG_RX_VACTIVE     = 0x61;
constexpr uint8_t REG_RX_VSYNC_TO_DE = 0x62;
constexpr uint8_t REG_RX_VFRONT      = 0x63;
constexpr uint8_t   VFRONT_REPORT    = 0x0F; // what the status report believes
constexpr uint8_t REG_RX_XCNT        = 0x64; // 3456000 / pixel clock in kHz
constexpr uint32_t  XCNT_CLOCK_KHZ   = 3456000;

constexpr uint8_t REG_RX_MUTE_STATUS = 0x65; // read-only
constexpr uint8_t   MUTE_BY_SOURCE   = 0x04;

constexpr uint8_t REG_RX_DETECT      = 0x73; // colour detection
constexpr uint8_t   DETECT_RESET     = 0x08;
constexpr uint8_t   DETECT_TUNING    = 0xF0;

constexpr uint8_t REG_RX_FS_SELECT   = 0x77;
constexpr uint8_t   FS_FORCED        = 0x40;
constexpr uint8_t   FS_REQUESTED     = 0x80;
constexpr uint8_t REG_RX_AUDIO_CTRL  = 0x78;
constexpr uint8_t   AUDIO_CTRL_PATH  = 0x07; // field: 1 while audio is present, 0 for high bit rate audio
constexpr uint8_t     AUDIO_PATH_ON  = 0x01;
constexpr uint8_t   AUDIO_CTRL_FORCE = 0x20;
constexpr uint8_t   AUDIO_CTRL_CLOCK = 0xF0; // goes into FS_FORCE when a frequency is forced
constexpr uint8_t REG_RX_FS_FORCE    = 0x7E;
constexpr uint8_t   FS_FORCE_CODE    = 0x0F;
constexpr uint8_t   FS_FORCE_CLOCK   = 0x70;

constexpr uint8_t REG_RX_AUDIO_FS    = 0x84; // read-only
constexpr uint8_t   AUDIO_FS_CODE    = 0x0F; // IEC 60958 sampling-frequency code
constexpr uint8_t   PICTURE_DEPTH    = 0xF0; // field, about the picture: 4 24 bits, 5 30, 6 36, 7 48
constexpr uint8_t REG_RX_LINK_STATE  = 0x85;
constexpr uint8_t REG_RX_AUDIO_RESET = 0x87;
constexpr uint8_t   AUDIO_RESET_UNMUTE = 0x10; // pulsed at the end of an AV mute
constexpr uint8_t   AUDIO_RESET_ARM  = 0x20;
constexpr uint8_t REG_RX_AUDIO_HBR   = 0x88;
constexpr uint8_t   AUDIO_HBR_BYPASS = 0x10;

constexpr uint8_t REG_RX_OUTPUT      = 0x89; // output control
constexpr uint8_t   OUT_AUDIO_OFF    = 0x1F; // all: audio outputs muted
constexpr uint8_t   OUT_VIDEO_OFF    = 0x20;
constexpr uint8_t   OUT_MUTE_STEP    = 0x40; // pulsed to release an AV mute
constexpr uint8_t   OUT_MUTE_IGNORE  = 0x80; // set: the source's AV mute no longer reaches the outputs
constexpr uint8_t   OUT_RESET        = 0x7F; // start value of bits 0 to 6; without OUT_VIDEO_OFF in mute mode 1

constexpr uint8_t REG_RX_AUDIO_STATE = 0x8A; // read-only
constexpr uint8_t   AUDIO_LINES      = 0x0F; // active sample-data lines
constexpr uint8_t   AUDIO_LAYOUT1    = 0x10;
constexpr uint8_t   AUDIO_KIND       = 0xE0; // field:
constexpr uint8_t     AUDIO_DSD      = 0x20; // one-bit audio, with AUDIO_PRESENT
constexpr uint8_t     AUDIO_HBR      = 0x40; // high bit rate audio, with AUDIO_PRESENT
constexpr uint8_t     AUDIO_PRESENT  = 0x80;
constexpr uint8_t REG_RX_INT2_EXT    = 0x8B; // extension of group 2, cleared with it
constexpr uint8_t   INT2_EXT_VSIF    = 0x04;
constexpr uint8_t REG_RX_CTRL2_EXT   = 0x8C;
constexpr uint8_t   CTRL2_EXT_START  = 0x00;
constexpr uint8_t   CTRL2_EXT_PICTURE = 0x20;

constexpr uint8_t REG_RX_CLOCK_STATE = 0x9A;
constexpr uint8_t   CLOCK_NONE       = 0xFF; // no valid timing
constexpr uint8_t REG_RX_TUNING_9B   = 0x9B; // revisions above 0xA2
constexpr uint8_t   TUNING_9B_ON     = 0x01;

// IEC 60958 channel status, bytes 0 to 2 as they are, then the parts that the chip keeps of bytes 3 and 4.
constexpr uint8_t REG_RX_CHANNEL_STATUS = 0x9C;
constexpr uint8_t   CHANNEL_NOT_LPCM = 0x02; // byte 0: compressed, IEC 61937
constexpr uint8_t REG_RX_CHANNEL_STATUS_3 = 0x9F;
constexpr uint8_t   CHANNEL_CLOCK    = 0x03;
constexpr uint8_t   CHANNEL_WORD     = 0xF0;

constexpr uint8_t REG_RX_LINK_RESTART = 0xA8;
constexpr uint8_t   LINK_RESTART      = 0x81;

// Info frames held by the chip.
constexpr uint8_t REG_RX_AVI_VERSION = 0xAC;
constexpr uint8_t REG_RX_AVI_SUM     = 0xAD; // checksum, then data bytes 1 to 13
constexpr uint8_t REG_RX_AVI_DB1     = 0xAE;
constexpr uint8_t   AVI_DB1_COLOUR   = 0x60; // field: 0 RGB, 1 YUV422, 2 YUV444
constexpr uint8_t REG_RX_AVI_DB2     = 0xAF;
constexpr uint8_t   AVI_DB2_COLORIMETRY = 0xC0; // field:
constexpr uint8_t     AVI_DB2_ITU601 = 0x40;
constexpr uint8_t     AVI_DB2_ITU709 = 0x80;
constexpr uint8_t     AVI_DB2_EXTENDED = 0xC0; // in byte 3
constexpr uint8_t   AVI_DB2_ASPECT   = 0x30; // field:
constexpr uint8_t     AVI_DB2_4_BY_3 = 0x10;
constexpr uint8_t     AVI_DB2_16_BY_9 = 0x20;
constexpr uint8_t REG_RX_AVI_DB3     = 0xB0;
constexpr uint8_t   AVI_DB3_EXTENDED = 0x70; // field:
constexpr uint8_t     AVI_DB3_XVYCC601 = 0x00;
constexpr uint8_t     AVI_DB3_XVYCC709 = 0x10;
constexpr uint8_t   AVI_DB3_RANGE    = 0x0C; // field: 0 as the format has it
constexpr uint8_t     AVI_DB3_LIMITED = 0x04;
constexpr uint8_t REG_RX_AVI_VIC     = 0xB1;
constexpr uint8_t   AVI_VIC          = 0x7F;
constexpr uint8_t   VIC_VGA          = 1; // the only VIC of a computer's format
constexpr uint8_t REG_RX_VSIF_TYPE   = 0xBD; // VSIF_TYPE when a vendor-specific frame is held
constexpr uint8_t REG_RX_VSIF_DATA   = 0xBE; // 30 bytes
constexpr uint8_t REG_RX_VSIF_FORMAT = 0xC4;
constexpr uint8_t   VSIF_FORMAT      = 0xE0; // field:
constexpr uint8_t     VSIF_FORMAT_3D = 0x40;
constexpr uint8_t REG_RX_AUDIO_IF_VERSION = 0xDC;
constexpr uint8_t REG_RX_AUDIO_IF_SUM     = 0xDD; // checksum, then data bytes 1 to 5
constexpr uint8_t REG_RX_AUDIO_IF_LENGTH  = 0xE3;
constexpr uint8_t   VSIF_TYPE        = 0x81;
constexpr uint8_t   AVI_TYPE         = 0x82;
constexpr uint8_t   AUDIO_IF_TYPE    = 0x84;

constexpr uint8_t TABLE_END          = 0xFF; // register number that ends a start-up table
// clang-format on

static_assert((PORT_0 & PORT_TERM_OFF) == PORT_TERM_OFF && (PORT_1 & PORT_TERM_OFF) == PORT_TERM_OFF,
              "a port is selected with the terminators off");
static_assert((PULSE_KEEP & (PULSE_INT1 | PULSE_INT2 | PULSE_INT3 | PULSE_ECC | PULSE_AUDIO)) == 0);

} // namespace capd::rx
