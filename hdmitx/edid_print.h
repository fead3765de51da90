/**
 * @file
 * Tells on standard output what is read of a display's EDID. Main thread.
 */
#pragma once

#include "hdmitx/edid.h"

namespace capd {

/** Print a block, eight bytes to a line. */
void print_edid_block(EdidBlock block);

/** Say what is wrong with block 0; nothing when it is one. */
void print_edid_fault(EdidFault fault);

/** Print what edid_parse() found in an extension, data block by data block. */
void print_cea_extension(EdidBlock extension, const RxCapability& found);

} // namespace capd
