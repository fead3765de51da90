/**
 * @file
 * DDC master of the transmitter: reads the display's EDID, one transaction per byte. Main thread only. A byte takes 1
 * ms at least and 250 ms at most, so a block blocks for 128 ms or more; an abort takes up to 400 ms.
 */
#pragma once

#include "hdmitx/edid.h"

#include <cstdint>

namespace capd {

/** Empty the DDC master's FIFO. */
void hdmitx_ClearDDCFIFO();

/** Abort a hung transaction. */
void hdmitx_AboutDDC();

/**
 * Read EDID bytes; the bytes before a failure are in the buffer.
 * @param segment in units of two blocks
 * @param offset  of the first byte in the segment; counts on modulo 256
 * @return 0; 1 without a buffer, after an error on the bus, or when the display takes too long
 */
int getHDMITX_EDIDBytes(uint8_t* buffer, uint8_t segment, uint8_t offset, int count);

/** Read an EDID block. @param buffer room for EDID_BLOCK_SIZE bytes @return 1; 0 as getHDMITX_EDIDBytes() returns 1 */
int getHDMITX_EDIDBlock(int block, uint8_t* buffer);

} // namespace capd
