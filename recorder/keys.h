/**
 * @file
 * What the keys do: an action table per recorder state, and the actions that are not recording. Main thread only; an
 * action blocks for the shell lines, nvram requests and port switch that it makes.
 */
#pragma once

#include <cstdint>

namespace capd {

/** A key's action or a self-test's step. @return 0 for success; anything else is only logged */
using Action = int32_t (*)(int32_t argument);

/** Run what a key does in the current state; a key without a role there does nothing. @param key not 0 */
void _key_dispatch(int key);

/** Refuse a key while recording. @return 0 */
int32_t _error_busy(int32_t);

/** Stop a recording, darken the LEDs and enter standby. @return 0 */
int32_t _power_off(int32_t);

/** Leave standby and measure the card. @return 0 */
int32_t _power_on(int32_t);

/** Give up waiting for the input to come back. @return 0 */
int32_t _auto_stop_cancel(int32_t);

/** Result of a selection that is the current one already. */
constexpr int32_t ALREADY_SELECTED = 2;

/** Switch the input unless it is on that port. @return 0, ALREADY_SELECTED, or the switch's result */
int _hdmirx_port_set(int port);

/**
 * Switch the input to port 0 or 1, save the choice and show it. The error LED shows a switch or a save that failed.
 * @return 0, ALREADY_SELECTED, or the result of what failed
 */
int32_t _hdmirx_port_select(int32_t port);

/**
 * Select configuration 0 or 1 for the next recording, save the choice and show it. One that cannot be stored is not
 * taken: the error LED is lit and the configuration LED keeps blinking.
 * @return 0, or ALREADY_SELECTED
 */
int32_t _av_rec_config_select(int32_t config);

} // namespace capd
