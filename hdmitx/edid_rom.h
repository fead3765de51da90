/**
 * @file
 * The 256-byte EDID ROM of the box's input. For an access the ROM is taken away from the input (control register of
 * the board controller) and given back afterwards; each byte is one I2C transfer. Main thread only.
 */
#pragma once

namespace capd {

constexpr int EDID_ROM_SIZE = 256;

/** Make sure the video node is open. @return 0, or 1 when it cannot be opened */
int edidrom_init();

/** Read part of the ROM; a byte whose transfer fails reads as 0. @return 0, or a board controller failure */
int edidrom_read(unsigned char* buffer, int offset, int length);

/** Write part of the ROM, stopping at the first byte that fails. @return 0, or the failing transfer's result */
int edidrom_write(const unsigned char* buffer, int offset, int length);

/** Nothing to do. @return 0 */
int edidrom_close();

} // namespace capd
