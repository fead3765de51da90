/**
 * @file
 * Start-up of the transmitter and its power states. hdmitx_init(), hdmitx_blank() and hdmitx_unblank(), declared in
 * hdmitx/hdmitx.h, live here too. Main thread only. Start-up takes some 600 transfers, most of them for the dump.
 */
#pragma once

namespace capd {

/** Load all start values and print the register dump. Failed transfers are not noticed. */
void InitHDMITX();

/** Power the transmitter up for a display that was plugged in. */
void hdmitx_PowerOn();

/** Power the transmitter down after the display was unplugged; hot-plug detection stays alive. */
void hdmitx_PowerDown();

} // namespace capd
