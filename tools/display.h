/**
 * @file
 * The display on the output, read over DDC through the transmitter. A block of its EDID takes 128 ms or more.
 */
#pragma once

#include "tools/edid_image.h"

namespace boxtool {

/** Throw Refused unless the transmitter answers. */
void need_transmitter();

/** @return true when a display is connected */
bool display_connected();

/** A display's EDID as far as it can be read, and what is wrong with it. */
struct DisplayEdid {
    Bytes bytes; ///< whole blocks: block 0 and the extensions that it counts, up to 4; block 0 at least
    std::string faults;
};

/** Read the display's EDID; throws Refused when not even block 0 comes. */
DisplayEdid read_display_edid();

/** Read the display's EDID; throws Refused unless it is all there. */
Bytes read_whole_display_edid();

} // namespace boxtool
