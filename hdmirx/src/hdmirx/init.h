/**
 * @file
 * Bringing the receiver up. Main thread only.
 */
#pragma once

namespace capd::rx {

/**
 * Initialise the chip.
 * @param full true: reset everything first, give the chip 200 ms and enter VSTATE_SWReset with the terminators off;
 *             false: load the registers and enter VSTATE_PwrOff with the terminators on
 */
void InitHDMIRX(bool full);

} // namespace capd::rx
