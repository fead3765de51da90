/**
 * @file
 * Register map of the transmitter chip, as its description gives it. Registers 0x00 to 0x2F are there in both banks.
 */
#pragma once

#include <cstdint>

namespace emu::tx {

// clang-format off
constexpr uint8_t REG_RESET = 0x04;
constexpr uint8_t   RESET_AUDIO = 0x14;         // holds the audio path
constexpr uint8_t   RESET_VIDEO = 0x08;         // holds the video path
constexpr uint8_t REG_POWER = 0x05;
constexpr uint8_t   POWER_DOWN = 0x01;
constexpr uint8_t REG_STATUS_1 = 0x06;          // latched by events, read-only
constexpr uint8_t   STATUS_HOT_PLUG = 0x01, STATUS_DDC_HANG = 0x04, STATUS_DDC_FIFO = 0x10, STATUS_AUDIO_OVERFLOW = 0x80;
constexpr uint8_t REG_STATUS_2 = 0x07;          // nothing of the box raises its bits
constexpr uint8_t REG_MASK_1 = 0x09;            // of status 1; 1 = masked
constexpr uint8_t REG_MASK_EXTENDED = 0x0B;     // of the extended status
constexpr uint8_t REG_CLEAR_1 = 0x0C;           // bits of status 1 that the next clear takes
constexpr uint8_t REG_CLEAR_2 = 0x0D;
constexpr uint8_t REG_SYSTEM = 0x0E;
constexpr uint8_t   SYSTEM_PENDING = 0x80;      // read-only: an interrupt that is not masked
constexpr uint8_t   SYSTEM_HOT_PLUG = 0x40;     // read-only: level of the hot-plug line
constexpr uint8_t   SYSTEM_CLEAR = 0x03;        // both bits written: clear what the clear registers name
constexpr uint8_t REG_CLOCKS = 0x0F;
constexpr uint8_t   CLOCKS_BANK = 0x01;
constexpr uint8_t   CLOCKS_GATED = 0x60;        // output clocks are off
constexpr uint8_t   CLOCKS_CONVERTER_OFF = 0x10;

// The DDC master.
constexpr uint8_t REG_DDC_MASTER = 0x10;
constexpr uint8_t   DDC_MASTER_HOST = 0x01;     // the host commands the bus; 0: the copy protection engine does
constexpr uint8_t REG_DDC_SLAVE = 0x11;
constexpr uint8_t   DDC_SLAVE_EDID = 0xA0;
constexpr uint8_t REG_DDC_OFFSET = 0x12, REG_DDC_COUNT = 0x13, REG_DDC_SEGMENT = 0x14;
constexpr uint8_t REG_DDC_COMMAND = 0x15;
constexpr uint8_t   DDC_EDID_READ = 0x03, DDC_FIFO_CLEAR = 0x09, DDC_ABORT = 0x0F;
constexpr uint8_t REG_DDC_STATUS = 0x16;        // read-only: how the last command ended, 0 while it runs
constexpr uint8_t   DDC_DONE = 0x80, DDC_ARBITRATION = 0x20, DDC_BUS_WAIT = 0x10, DDC_NO_ACKNOWLEDGE = 0x08;
constexpr uint8_t REG_DDC_FIFO = 0x17;          // read-only: its oldest byte, which a read takes out

constexpr uint8_t REG_AUDIO_CLOCK = 0x58;
constexpr uint8_t REG_SPDIF_STATUS = 0x5F;      // read-only: bit 5 input ready; the board has no S/PDIF line to the chip
constexpr uint8_t REG_AFE_DRIVER = 0x61;
constexpr uint8_t   DRIVER_RESET = 0x10, DRIVER_OFF = 0x20;
constexpr uint8_t REG_AFE_PLL_1 = 0x62;
constexpr uint8_t   PLL_1_RUN = 0x08, PLL_1_OFF = 0x44, PLL_1_RANGE = 0x90, PLL_1_HIGH = 0x80, PLL_1_LOW = 0x10;
constexpr uint8_t REG_AFE_PLL_2 = 0x64;
constexpr uint8_t   PLL_2_RUN = 0x04, PLL_2_OFF = 0x40, PLL_2_RANGE = 0x89, PLL_2_HIGH = 0x80, PLL_2_LOW = 0x09;
constexpr uint8_t REG_AFE_SWING = 0x68;
constexpr uint8_t   SWING_LOW = 0x10;
constexpr uint8_t REG_INPUT = 0x70;
constexpr uint8_t   INPUT_COLOUR = 0xC0, INPUT_YUV422 = 0x40, INPUT_YUV444 = 0x80;
constexpr uint8_t   INPUT_BUS = 0x3C;           // half clock, embedded syncs, both clock edges; the board's is plain
constexpr uint8_t REG_CONVERTER = 0x72;
constexpr uint8_t   CONVERTER_MODE = 0x03, CONVERTER_TO_YUV = 0x02, CONVERTER_TO_RGB = 0x03;
constexpr uint8_t   CONVERTER_RESAMPLES = 0x40; // chroma is filtered between 4:2:2 and 4:4:4
constexpr uint8_t REG_MATRIX = 0x73, MATRIX_SIZE = 21, REG_MATRIX_LAST = 0x87;
constexpr uint8_t REG_HDMI = 0xC0;
constexpr uint8_t   HDMI_MODE = 0x01;
constexpr uint8_t REG_GENERAL = 0xC1;
constexpr uint8_t   GENERAL_MUTE = 0x01, GENERAL_DEPTH = 0x70;
constexpr uint8_t REG_CTS_SOURCE = 0xC5;        // protected
constexpr uint8_t   CTS_FROM_REGISTERS = 0x02;
constexpr uint8_t REG_SEND_AVI = 0xCD, REG_SEND_AUDIO = 0xCE, REG_SEND_VENDOR = 0xD2;
constexpr uint8_t   SEND = 0x01;
constexpr uint8_t REG_AUDIO_ENABLE = 0xE0;
constexpr uint8_t   AUDIO_PAIRS = 0x0F, AUDIO_SPDIF = 0x10;
constexpr uint8_t REG_AUDIO_MODE = 0xE1, REG_AUDIO_MAP = 0xE2, REG_AUDIO_SOURCE = 0xE3, REG_AUDIO_TYPE = 0xE4;
constexpr uint8_t REG_STATUS_EXTENDED = 0xEE;   // latched by events; writing 1 clears a bit
constexpr uint8_t   EXTENDED_DDC_HANG = 0x08;
constexpr uint8_t REG_LOCK = 0xF8;              // 0x6E, 0xB7 opens; anything else closes
constexpr uint8_t   LOCK_FIRST = 0x6E, LOCK_SECOND = 0xB7;

// Bank 1.
constexpr uint8_t REG_CTS = 0x30, REG_N = 0x33; // 20 bits each, least significant byte first
constexpr uint8_t REG_AVI = 0x58;               // data bytes 1 to 5, checksum, data bytes 6 to 13
constexpr uint8_t REG_AUDIO_FRAME = 0x68;       // data bytes 1 to 5, checksum
constexpr uint8_t REG_VENDOR_FRAME = 0x80;      // format, structure, its extension, checksum
constexpr uint8_t REG_STATUS_MODE = 0x91;       // bits 1 to 5 of channel status byte 0, one place higher
constexpr uint8_t REG_STATUS_CATEGORY = 0x92, REG_STATUS_SOURCE = 0x93, REG_STATUS_CHANNEL = 0x94;
constexpr uint8_t REG_STATUS_RATE = 0x98, REG_STATUS_WORD = 0x99;
// clang-format on

} // namespace emu::tx
