/**
 * @file
 * Control register of the board controller, as the output and the EDID ROM use it.
 */
#pragma once

namespace capd {

// clang-format off
constexpr int BOARD_CONTROL         = 2;
constexpr int   BOARD_PORT_0        = 0x01; // input port 0 is connected
constexpr int   BOARD_PORT_1        = 0x02; // input port 1 is connected
constexpr int   BOARD_PORTS         = 0x03;
constexpr int   BOARD_PORT_CHOSEN   = 0x04; // set with the first port selection, never cleared
constexpr int   BOARD_OUTPUT_ENABLE = 0x08;
constexpr int   BOARD_ROM_WRITE     = 0x10; // the host may write the EDID ROM
constexpr int   BOARD_ROM_ACCESS    = 0x20; // the host may reach the EDID ROM
// clang-format on

} // namespace capd
