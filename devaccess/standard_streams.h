/**
 * @file
 * Descriptors 0, 1 and 2 of the process.
 */
#pragma once

namespace capd {

/**
 * Open /dev/null on each of the standard descriptors that is closed. To be called before anything else is opened:
 * the kernel gives out the lowest free number, and a device node or pipe that becomes descriptor 0, 1 or 2 is written
 * to by everything that prints. Where there is no /dev/null nothing happens.
 */
void open_standard_streams();

} // namespace capd
