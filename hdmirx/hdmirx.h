/**
 * @file
 * The HDMI input as the daemon sees it. Everything runs in the main thread: hdmirx_init() once, hdmirx_set_callback(),
 * then hdmirx_run() every 20 ms and hdmirx_is_stable() every 80 ms. Port arguments of the query functions are ignored:
 * the chip sees the port that the board has selected.
 */
#pragma once

#include "hdmirx/hdmirx_event.h"
#include "hdmirx/hdmirx_info.h"

namespace capd {

/** Open the video node and bring the receiver chip up; takes some 210 ms. @return 0 */
int hdmirx_init();

/** Run one tick of the receiver's state machines. @return 0 */
int hdmirx_run();

/** Register the event callback; nullptr removes it. @return 0 */
int hdmirx_set_callback(hdmirx_callback callback);

/** Ask the chip whether the input is stable. @return 0 stable; 1 not stable; -1 the frame rate cannot be measured */
int hdmirx_is_stable(int port);

/**
 * Describe the input.
 * @param info       fields that do not apply keep what they held
 * @param with_audio not 0 fills the audio fields too
 * @return 0, or -1 when frame rate or channel status cannot be read
 */
int hdmirx_get_info(int port, hdmirx_info* info, int with_audio);

/** Switch the board's input selector to port 0 or 1 and restart the video state machine. @return 0; with the
 * corrected panel a failure of the board */
int hdmirx_select_port(int port);

/** Select the first port that is stable at once. @return 0 or 1; -1 neither is, port 1 stays selected */
int hdmirx_auto_select_port();

/** @return the port the board reports: 0, 1, or -1 none */
int hdmirx_get_port();

/** @return 1 interlaced, 0 progressive */
int hdmirx_is_interlaced();

/** @return active pixels per line */
int hdmirx_get_width();

/** @return active lines per field */
int hdmirx_get_height();

/** @return Hz class: 24, 30, the measured 36 to 54, or 60, with corrected formats 24, 25, 30, 50 or 60; -1 when it
 * cannot be measured */
int hdmirx_get_frame_rate();

/** Print the debug block. @return characters printed */
int hdmirx_debug(int port);

} // namespace capd
