/**
 * @file
 * What the user has selected: the input port and the recording configuration, kept in nvram and shown on the panel.
 * Main thread only; a selection blocks for the port switch and the nvram requests that it makes.
 */
#pragma once

#include <cstdint>

namespace capd {

/** Result of a selection that is the current one already. */
constexpr int32_t ALREADY_SELECTED = 2;

/** Take port, configuration and the configurations' bit rates over from nvram, as the box was left. */
void _load_config();

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

/** The configuration in use: 0 low.cfg, anything else high.cfg; 255 until one is loaded. */
int32_t selected_config();

/** The LED that shows a recording: that of the port in use. */
int recording_led();

} // namespace capd
