/**
 * @file
 * EDID pass-through: keeps the EDID ROM of the input equal to the EDID of the display, so that the source learns what
 * the display can show. Runs in the main thread, from inside hdmitx_run().
 */
#pragma once

namespace capd {

/**
 * Rewrite the ROM if it differs from the display's EDID; nothing while recording, when the source must not be made to
 * drop its signal, and nothing when the command line forbids it. Blocks for 256 I2C reads, 512 transfers at the most.
 * @param edid EDID_IMAGE_SIZE bytes
 * @return 0 when nothing had to be done or the ROM was written, else the failing access's result
 */
int edid_data_callback(const unsigned char* edid);

/**
 * Try again, outside of recordings, what edid_data_callback() could not do: after five seconds, then after twice as
 * long each time, up to ten minutes. With corrected displays
 * only; without them nothing is ever left to be done.
 */
void edid_passthrough_retry();

} // namespace capd
