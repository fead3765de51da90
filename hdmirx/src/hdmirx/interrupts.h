/**
 * @file
 * The receiver's latched events. The chip's interrupt line is not connected; the status registers are polled at the
 * start of each tick. Main thread only; a tick without events is four or five reads.
 */
#pragma once

namespace capd::rx {

/** Read, clear and handle what the chip has latched. Runs the daemon's callback. */
void RXINT_Handler();

} // namespace capd::rx
