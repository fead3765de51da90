/**
 * @file
 * Registers of the board controller: the remote's code, the switches around the HDMI chips, the panel's LEDs.
 */
#pragma once

namespace capd {

// clang-format off
constexpr int BOARD_STATUS          = 0;    // read-only
constexpr int   BOARD_CODE_WAITING  = 0x10; // a code of the remote waits in the next register
constexpr int BOARD_CODE            = 1;    // read-only, the code; reading it takes it

constexpr int BOARD_CONTROL         = 2;
constexpr int   BOARD_PORT_0        = 0x01; // input port 0 is connected
constexpr int   BOARD_PORT_1        = 0x02; // input port 1 is connected
constexpr int   BOARD_PORTS         = 0x03;
constexpr int   BOARD_PORT_CHOSEN   = 0x04; // set with the first port selection, never cleared
constexpr int   BOARD_OUTPUT_ENABLE = 0x08;
constexpr int   BOARD_ROM_WRITE     = 0x10; // the host may write the EDID ROM
constexpr int   BOARD_ROM_ACCESS    = 0x20; // the host may reach the EDID ROM

constexpr int BOARD_LEDS            = 5;    // LED group 0, a bit per LED; group 1 is the next register
// clang-format on

} // namespace capd
