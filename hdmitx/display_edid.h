/**
 * @file
 * The EDID of the display on the output: reads it over DDC, tells what it finds and delivers that of an HDMI display to
 * whoever registered for it. Main thread only. ParseEDID() blocks for 128 ms per block at least, for up to 250 ms per
 * byte of a slow display, and for some 800 ms per block when the DDC bus hangs.
 */
#pragma once

#include "hdmitx/edid.h"

namespace capd {

/**
 * Read, check and parse the EDID of the display; call the EDID callback for an HDMI display.
 * @return 0 when block 0 is no EDID or the last extension block was not read, else 1
 */
int ParseEDID();

/** Look at what the last ParseEDID() found. */
const RxCapability& hdmitx_rx_capability();

} // namespace capd
