/**
 * @file
 * The registers of the HDMI receiver that do something here; the others keep what is written.
 */
#pragma once

#include <cstdint>

namespace emu::rx {

constexpr uint8_t REG_REVISION = 0x04;
constexpr uint8_t REG_RESET = 0x05;
constexpr uint8_t RESET_SOFTWARE = 0x01;
constexpr uint8_t RESET_AUDIO = 0x04;
constexpr uint8_t RESET_REGISTERS = 0x10;
constexpr uint8_t RESET_VIDEO = 0x80;
constexpr uint8_t REG_PORT = 0x07;
constexpr uint8_t PORT_TERMINATOR_OFF = 0x04; // port 0's; port 1's is the next bit
constexpr uint8_t REG_BANK = 0x0F;
constexpr uint8_t REG_STATUS = 0x10;
constexpr uint8_t STATUS_POWER_0 = 0x01, STATUS_POWER_1 = 0x08;
constexpr uint8_t STATUS_SCDT = 0x06;
constexpr uint8_t STATUS_HDMI = 0x10;
constexpr uint8_t STATUS_MEASURED = 0xA0;
constexpr uint8_t REG_INT1 = 0x13;
constexpr uint8_t INT1_POWER_ON = 0x01, INT1_POWER_OFF = 0x02;
constexpr uint8_t INT1_SCDT_ON = 0x04, INT1_SCDT_OFF = 0x08;
constexpr uint8_t INT1_HDMI_CHANGE = 0x10, INT1_MODE_CHANGE = 0x20;
constexpr uint8_t REG_INT2 = 0x14;
constexpr uint8_t INT2_MUTE_SET = 0x01, INT2_AVI = 0x04, INT2_MUTE_CLEAR = 0x80;
constexpr uint8_t REG_INT3 = 0x15;
constexpr uint8_t INT3_FIFO = 0x03, INT3_ECC = 0x04, INT3_AUDIO = 0x18;
constexpr uint8_t REG_MASK3 = 0x18;
constexpr uint8_t MASK3_FIFO_CLEAR = 0x80;
constexpr uint8_t REG_PULSE = 0x19;
constexpr uint8_t PULSE_GROUP1 = 0x01, PULSE_GROUP2 = 0xC2, PULSE_ECC = 0x04, PULSE_AUDIO = 0x08;
constexpr uint8_t REG_BUS_MAP = 0x1B, REG_BUS_MODE = 0x1C; // the output bus; 0: separate syncs, one clock a pixel
constexpr uint8_t BUS_MODE = 0x4D; // its other bits are filters of the chroma and a restart of the output
constexpr uint8_t REG_CONVERTER = 0x20;
constexpr uint8_t CONVERTER_MODE = 0x03, CONVERTER_TO_YUV = 0x02, CONVERTER_TO_RGB = 0x03;
constexpr uint8_t INPUT_COLOUR = 0x1C, INPUT_FORCED = 0x10, INPUT_YUV422 = 0x04, INPUT_YUV444 = 0x08;
constexpr uint8_t CONVERTER_BLANK = 0x80;
constexpr uint8_t REG_OFFSETS = 0x21; // to 0x23
constexpr uint8_t REG_MATRIX = 0x24, REG_MATRIX_LAST = 0x35;
constexpr uint8_t REG_OUTPUT_COLOUR = 0x3D;
constexpr uint8_t OUTPUT_COLOUR = 0xC0, OUTPUT_YUV422 = 0x40, OUTPUT_YUV444 = 0x80;
constexpr uint8_t REG_TIMING = 0x58; // to 0x64
constexpr uint8_t REG_MUTE = 0x65;
constexpr uint8_t MUTE_SET = 0x04;
constexpr uint8_t REG_FS_DEPTH = 0x84;
constexpr uint8_t REG_OUTPUT = 0x89;
constexpr uint8_t OUTPUT_AUDIO_OFF = 0x1F, OUTPUT_VIDEO_OFF = 0x20, OUTPUT_IGNORE_MUTE = 0x80;
constexpr uint8_t REG_AUDIO = 0x8A; // bits 0 to 3: lines in use
constexpr uint8_t AUDIO_PRESENT = 0x80, AUDIO_HBR = 0x40, AUDIO_DSD = 0x20, AUDIO_LAYOUT_1 = 0x10;
constexpr uint8_t REG_INT2_MORE = 0x8B;
constexpr uint8_t INT2_VENDOR = 0x04;
constexpr uint8_t REG_LINK_COUNT = 0x9A;
constexpr uint8_t REG_CHANNEL_STATUS = 0x9C; // to 0x9F
constexpr uint8_t REG_AVI = 0xAC;            // version, checksum, data: to 0xBA
constexpr uint8_t REG_VENDOR = 0xBD;         // whole frame: to 0xDB
constexpr uint8_t REG_AUDIO_FRAME = 0xDC;    // version, checksum, data, length: to 0xE3
constexpr uint8_t REG_FRAMES_LAST = 0xE3;

} // namespace emu::rx
