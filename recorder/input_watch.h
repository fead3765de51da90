/**
 * @file
 * Watch over the input's stability: blanks the output when the input is gone at two checks in a row, unblanks it once
 * the input has been back for a while. Main thread only; a check blocks for four to eight I2C reads.
 */
#pragma once

#include "hdmirx/hdmirx_info.h"

namespace capd {

/** Whether the input was stable at the last check. */
bool input_is_stable();

/** The encoder was configured for this input: with corrected formats another one at a check counts as gone. */
void watch_format(const hdmirx_info& info);

/** Make one check. The loop calls it every 80 ms. @return whether the input is now gone, which ends a recording */
bool check_input();

/**
 * Have the output unblanked again if the input stays stable: the first try may have been lost on the bus, and a display
 * plugged in since had the transmitter powered up anew. With the picture on it costs one register read. The loop calls
 * it every 500 ms.
 */
void restart_unblank_delay();

} // namespace capd
