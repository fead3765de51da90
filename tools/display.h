/**
 * @file
 * The display on the output, read over DDC through the transmitter. A block of its EDID takes 128 ms or more.
 */
#pragma once

#include "tools/bytes.h"

namespace boxtool {

/** Throw Refused unless the transmitter answers. */
void need_transmitter();

/** @return true when a display is connected */
bool display_connected();

/** Read the display's EDID: block 0 and the extensions that it counts, up to 4; throws Refused. */
Bytes read_display_edid();

} // namespace boxtool
