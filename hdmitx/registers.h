/**
 * @file
 * Registers of the HDMI transmitter, 8-bit offsets.
 *
 * Registers 0x00 to 0x2F are the same in both banks; the others belong to the bank that SYS_CTRL selects. Whoever
 * selects bank 1 selects bank 0 again before it returns. Registers without a known role carry their offset as a name.
 */
#pragma once

#include <cstdint>

namespace capd::txreg {

// clang-format off
constexpr uint8_t RESET               = 0x04; // a set bit holds its path in reset
constexpr uint8_t   RESET_AUDIO       = 0x14; // both halves of the audio path
constexpr uint8_t   RESET_AUDIO_INPUT = 0x04;
constexpr uint8_t   RESET_AUDIO_OUTPUT = 0x10; // held on its own while the input is being set up
constexpr uint8_t   RESET_VIDEO       = 0x08;
constexpr uint8_t   RESET_AFE         = 0x20; // held from start-up until the front end was set up
constexpr uint8_t   RESET_PATHS       = 0x1D; // video and audio held
constexpr uint8_t   RESET_VIDEO_RUNS  = 0x15; // video released, audio held
constexpr uint8_t CTRL_05             = 0x05;
constexpr uint8_t INT_STATUS          = 0x06; // latched by events, cleared through INT_CLEAR
constexpr uint8_t   INT_HOT_PLUG      = 0x01;
constexpr uint8_t   INT_DDC_HANG      = 0x04;
constexpr uint8_t   INT_DDC_FIFO      = 0x10;
constexpr uint8_t   INT_AUDIO_OVERFLOW = 0x80;
constexpr uint8_t INT_MASK_1          = 0x09; // 1 = masked
constexpr uint8_t INT_MASK_3          = 0x0B;
constexpr uint8_t INT_CLEAR_0         = 0x0C; // which interrupts the next SYS_INT_CLEAR clears
constexpr uint8_t INT_CLEAR_1         = 0x0D;
constexpr uint8_t SYS_STATUS          = 0x0E;
constexpr uint8_t   SYS_INT_CLEAR     = 0x03; // bits 0 and 1 set together fire the interrupt clear
constexpr uint8_t   SYS_INT_FIRE      = 0x01;
constexpr uint8_t   SYS_HOT_PLUG      = 0x40; // a display is present
constexpr uint8_t   SYS_INT_PENDING   = 0x80;
constexpr uint8_t SYS_CTRL            = 0x0F; // bank, and clock and power gates in bits 3 to 6
constexpr uint8_t   SYS_BANK          = 0x01;
constexpr uint8_t   SYS_CONVERTER_OFF = 0x10; // the colour converter's clock is gated

constexpr uint8_t DDC_MASTER          = 0x10;
constexpr uint8_t   DDC_MASTER_HOST   = 0x01;
constexpr uint8_t DDC_SLAVE           = 0x11;
constexpr uint8_t   DDC_SLAVE_EDID    = 0xA0; // 8-bit form
constexpr uint8_t DDC_OFFSET          = 0x12;
constexpr uint8_t DDC_COUNT           = 0x13;
constexpr uint8_t DDC_SEGMENT         = 0x14; // in units of two blocks
constexpr uint8_t DDC_COMMAND         = 0x15;
constexpr uint8_t   DDC_EDID_READ     = 0x03;
constexpr uint8_t   DDC_FIFO_CLEAR    = 0x09;
constexpr uint8_t   DDC_ABORT         = 0x0F;
constexpr uint8_t DDC_STATUS          = 0x16;
constexpr uint8_t   DDC_DONE          = 0x80;
constexpr uint8_t   DDC_ERRORS        = 0x38; // no acknowledge, bus wait, arbitration loss
constexpr uint8_t DDC_FIFO            = 0x17; // a read takes the oldest byte out

constexpr uint8_t CTRL_20             = 0x20; // protected, as CTRL_37
constexpr uint8_t CTRL_37             = 0x37;

constexpr uint8_t AUDIO_CLOCK         = 0x58;
constexpr uint8_t   AUDIO_CLOCK_NORMAL = 0x15;
constexpr uint8_t   AUDIO_CLOCK_HBR_SPDIF = 0x81;
constexpr uint8_t CTRL_59             = 0x59;
constexpr uint8_t SPDIF_CTRL          = 0x5C;
constexpr uint8_t   SPDIF_INPUT       = 0x40;
constexpr uint8_t SPDIF_STATUS        = 0x5F;
constexpr uint8_t   SPDIF_READY       = 0x20;

constexpr uint8_t AFE                 = 0x61; // analogue front end
constexpr uint8_t   AFE_ON            = 0x00;
constexpr uint8_t   AFE_SETUP         = 0x10;
constexpr uint8_t   AFE_OFF           = 0x30;
constexpr uint8_t AFE_62              = 0x62;
constexpr uint8_t   AFE_62_SPEED      = 0x90;
constexpr uint8_t   AFE_62_HIGH       = 0x80;
constexpr uint8_t   AFE_62_LOW        = 0x10;
constexpr uint8_t AFE_64              = 0x64;
constexpr uint8_t   AFE_64_SPEED      = 0x89;
constexpr uint8_t   AFE_64_HIGH       = 0x80;
constexpr uint8_t   AFE_64_LOW        = 0x09;
constexpr uint8_t CTRL_65             = 0x65;
constexpr uint8_t AFE_68              = 0x68;
constexpr uint8_t   AFE_68_SPEED      = 0x10;
constexpr uint8_t   AFE_68_HIGH       = 0x00;
constexpr uint8_t   AFE_68_LOW        = 0x10;

constexpr uint8_t INPUT_FORMAT        = 0x70;
constexpr uint8_t   INPUT_KEPT        = 0x03; // what the input set-up leaves as it was
constexpr uint8_t   INPUT_BIT0        = 0x01; // always set
constexpr uint8_t   INPUT_YUV422      = 0x40;
constexpr uint8_t   INPUT_YUV444      = 0x80;
constexpr uint8_t   INPUT_HALF_PCLK   = 0x20;
constexpr uint8_t   INPUT_CCIR656     = 0x10;
constexpr uint8_t   INPUT_SYNC_EMBEDDED = 0x08;
constexpr uint8_t   INPUT_DDR         = 0x04;
constexpr uint8_t CTRL_71             = 0x71;
constexpr uint8_t CSC_CTRL            = 0x72; // colour-space converter
constexpr uint8_t   CSC_KEPT          = 0x1C; // what the converter set-up leaves as it was
constexpr uint8_t   CSC_BYPASS        = 0x00;
constexpr uint8_t   CSC_RGB2YUV       = 0x02;
constexpr uint8_t   CSC_YUV2RGB       = 0x03;
constexpr uint8_t CSC_MATRIX          = 0x73; // to 0x87
constexpr uint8_t CTRL_8D             = 0x8D;

constexpr uint8_t HDMI_MODE           = 0xC0; // bit 0: 1 HDMI, 0 DVI
constexpr uint8_t GENERAL_CTRL        = 0xC1;
constexpr uint8_t   AV_MUTE           = 0x01;
constexpr uint8_t   COLOUR_DEPTH      = 0x70;
constexpr uint8_t   COLOUR_DEPTH_30   = 0x50;
constexpr uint8_t   COLOUR_DEPTH_36   = 0x60;
constexpr uint8_t CTS_CTRL            = 0xC5; // protected
constexpr uint8_t   CTS_FIXED         = 0x02; // CTS from the registers instead of measured by the chip
constexpr uint8_t CTRL_C6             = 0xC6;
constexpr uint8_t AVI_PACKET          = 0xCD; // sending of the info frames
constexpr uint8_t AUDIO_PACKET        = 0xCE;
constexpr uint8_t CTRL_D1             = 0xD1;
constexpr uint8_t VENDOR_PACKET       = 0xD2;
constexpr uint8_t   PACKET_SEND       = 0x03;
constexpr uint8_t   PACKET_OFF        = 0x00;

constexpr uint8_t AUDIO_CTRL          = 0xE0; // channel enables, word length, source
constexpr uint8_t   AUDIO_CHANNELS    = 0x0F; // one bit per channel pair
constexpr uint8_t   AUDIO_FIRST_PAIR  = 0x01;
constexpr uint8_t   AUDIO_SPDIF       = 0x10;
constexpr uint8_t   AUDIO_WORD_16     = 0x00;
constexpr uint8_t   AUDIO_WORD_18     = 0x40;
constexpr uint8_t   AUDIO_WORD_20     = 0x80;
constexpr uint8_t   AUDIO_WORD_24     = 0xC0;
constexpr uint8_t AUDIO_MODE          = 0xE1;
constexpr uint8_t   AUDIO_MODE_BIT0   = 0x01; // always set
constexpr uint8_t   AUDIO_MULTICHANNEL = 0x40;
constexpr uint8_t   AUDIO_MODE_HBR    = 0x47;
constexpr uint8_t   AUDIO_MODE_DSD    = 0x41;
constexpr uint8_t AUDIO_MAP           = 0xE2;
constexpr uint8_t   AUDIO_MAP_IDENTITY = 0xE4; // each pair to its own place
constexpr uint8_t AUDIO_SOURCE        = 0xE3;
constexpr uint8_t   AUDIO_SOURCE_I2S  = 0x00;
constexpr uint8_t   AUDIO_SOURCE_SPDIF = 0x10;
constexpr uint8_t AUDIO_TYPE_0        = 0xE4;
constexpr uint8_t   AUDIO_TYPE_0_HBR  = 0x08;
constexpr uint8_t AUDIO_TYPE_1        = 0xE5;
constexpr uint8_t   AUDIO_TYPE_1_HBR  = 0x08;
constexpr uint8_t   AUDIO_TYPE_1_DSD  = 0x02;

constexpr uint8_t EXT_STATUS          = 0xEE; // cleared by writing back what was read
constexpr uint8_t   EXT_VIDEO_CHANGE  = 0x40;
constexpr uint8_t   EXT_DDC_HANG      = 0x08;
constexpr uint8_t   EXT_VIDEO_FIFO    = 0x04;
constexpr uint8_t   EXT_NO_AUDIO      = 0x02;
constexpr uint8_t   EXT_AUDIO_DECODE  = 0x01;

constexpr uint8_t LOCK                = 0xF8; // guards the protected registers
constexpr uint8_t   LOCK_OPEN_1       = 0x6E; // the two values in this order open it
constexpr uint8_t   LOCK_OPEN_2       = 0xB7;
constexpr uint8_t   LOCK_CLOSE        = 0xFF;

// Bank 1.
constexpr uint8_t B1_CTS              = 0x30; // 3 bytes, low byte first
constexpr uint8_t B1_N                = 0x33; // 3 bytes, low byte first
constexpr uint8_t B1_AVI_1            = 0x58; // data bytes 1 to 5
constexpr uint8_t B1_AVI_CHECKSUM     = 0x5D;
constexpr uint8_t B1_AVI_6            = 0x5E; // data bytes 6 to 13
constexpr uint8_t B1_AUDIO_1          = 0x68; // data bytes 1 to 5
constexpr uint8_t B1_AUDIO_CHECKSUM   = 0x6D;
constexpr uint8_t B1_VENDOR_4         = 0x80; // data bytes 4 to 6: the ones after the identifier
constexpr uint8_t B1_VENDOR_CHECKSUM  = 0x83;
constexpr uint8_t B1_STATUS_MODE      = 0x91; // IEC 60958 channel status
constexpr uint8_t   STATUS_MODE_BITS  = 0x7C;
constexpr uint8_t B1_STATUS_CATEGORY  = 0x92;
constexpr uint8_t B1_STATUS_SOURCE    = 0x93;
constexpr uint8_t B1_STATUS_CHANNEL   = 0x94;
constexpr uint8_t B1_STATUS_RATE      = 0x98;
constexpr uint8_t B1_STATUS_WORD      = 0x99;
// clang-format on

} // namespace capd::txreg
