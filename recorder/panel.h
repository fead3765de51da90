/**
 * @file
 * Roles of the LEDs: group 0 is the front panel, group 1 the storage bar. Main thread.
 */
#pragma once

#include "services/leds.h"

namespace capd {

constexpr int PANEL_GROUP = 0;
constexpr int BAR_GROUP = 1;
constexpr int BAR_LEDS = 6; ///< LEDs 0 to 5 of group 1

/** LEDs of the panel group. */
enum PanelLed : int {
    PANEL_POWER = 0,
    PANEL_PORT_0 = 1,
    PANEL_RECORD_0 = 2, ///< recording from port 0
    PANEL_PORT_1 = 3,
    PANEL_RECORD_1 = 4, ///< recording from port 1
    PANEL_CONFIG = 5,   ///< lit for configuration 1
    PANEL_ERROR = 6,    ///< LED_ON: a settings problem; LED_BLINK: roll-over or auto-stopped; flashes: RecorderError
};

/** What went wrong, as the mode of the error LED that shows it. */
enum class RecorderError : int {
    NoCard = LED_FLASH_1,          ///< none in the slot, or it cannot be mounted
    NoInput = LED_FLASH_2,         ///< not stable, or its information cannot be read
    BadFormat = LED_FLASH_3,       ///< the encoder cannot take it
    CardNotWritable = LED_FLASH_5, ///< read-only, or no file name could be made on it
};

/** Give an LED of the panel a mode. */
inline void panel_set(int led, int mode)
{
    led_set(PANEL_GROUP, led, mode);
}

} // namespace capd
