/**
 * @file
 * Supervision of the output: hot plug and the transmitter's error interrupts. hdmitx_run(), declared in
 * hdmitx/hdmitx.h, lives here too. Main thread only.
 */
#pragma once

#include <cstdint>

namespace capd {

/**
 * Poll status and interrupts once, and serve the error interrupts. Up to 400 ms when the DDC bus hangs.
 * @param pHPD       receives the hot-plug level; may be nullptr
 * @param pHPDChange receives 1 after a level change or a hot-plug interrupt, else 0; may be nullptr
 * @return the hot-plug level, 1 or 0
 */
int CheckHDMITX(uint8_t* pHPD, uint8_t* pHPDChange);

} // namespace capd
