/**
 * @file
 * LED engine: sixteen LEDs in two groups of eight, each with a mode; a tick turns the modes into one byte per group
 * and writes it to the board controller when it differs from the byte last written.
 *
 * led_set(), led_group_clear() and led_pause() are called by the main thread, led_init() and led_refresh() by the LED
 * thread. The LED lock guards the records and is never held across an I2C write; another one is held for the length of
 * a refresh.
 */
#pragma once

namespace capd {

constexpr int LED_GROUPS = 2;
constexpr int LEDS_PER_GROUP = 8;

/** LED modes. A flash mode lights the LED for one to five single ticks and then falls to LED_OFF. */
enum LedMode : int {
    LED_OFF = 0,
    LED_ON = 1,
    LED_FLASH_1 = 2,
    LED_FLASH_2 = 3,
    LED_FLASH_3 = 4,
    LED_FLASH_4 = 5,
    LED_FLASH_5 = 6,
    LED_BLINK = 7,
};

/**
 * Give an LED a mode and restart its sequence; it shows at the next tick.
 * A group outside 0 to 1 or an index outside 0 to 7 is ignored.
 * @return always 0
 */
int led_set(int group, int index, int mode);

/** Run one tick for both groups. @return result of group 1's write, 0 when it needed none */
int led_refresh();

/** Let refreshes do nothing, or something again. Returns when none is under way. */
void led_pause(bool on);

/** Darken a group at once; the records keep their modes. @return the transfer's result; -1 for a group out of range */
int led_group_clear(int group);

/** Open the video node. @return 0, or 1 when it cannot be opened */
int led_init();

} // namespace capd
