/**
 * @file
 * What the keys do: an action table per recorder state, and standby. Main thread only; an action blocks for the shell
 * lines, nvram requests and port switch that it makes.
 */
#pragma once

#include <cstdint>

namespace capd {

/** A key's action or a self-test's step. @return 0 for success; anything else is only logged */
using Action = int32_t (*)(int32_t argument);

/** Run what a key does in the current state; a key without a role there does nothing. @param key not 0 */
void _key_dispatch(int key);

/** Stop a recording, darken the LEDs and enter standby. @return 0 */
int32_t _power_off(int32_t);

/** Leave standby and measure the card. @return 0 */
int32_t _power_on(int32_t);

} // namespace capd
