/**
 * @file
 * The HDMI output as the daemon sees it. Main thread only: hdmitx_init(), hdmitx_blank(), hdmitx_set_edid_callback(),
 * then hdmitx_run() every 100 ms. hdmitx_run() blocks for a quarter of a second and more after a display was plugged
 * in, while its EDID is read byte by byte.
 */
#pragma once

namespace capd {

constexpr int EDID_IMAGE_SIZE = 256; ///< block 0, then the last extension block read

/**
 * Called from inside hdmitx_run() when an HDMI display's EDID was read. The image stays valid until the next display is
 * plugged in. The result is ignored.
 */
using hdmitx_edid_callback = int (*)(const unsigned char* edid);

/** Enable the output on the board and bring the transmitter chip up. @return 0, or the board write's failure */
int hdmitx_init();

/** Run one supervision step: hot plug, EDID, output set-up, error interrupts. @return 0 */
int hdmitx_run();

/** Set AV mute, unless it is set. @return 0 */
int hdmitx_blank();

/** Clear AV mute, unless it is clear. @return 0 */
int hdmitx_unblank();

/** Register the EDID callback; nullptr removes it. @return 0 */
int hdmitx_set_edid_callback(hdmitx_edid_callback callback);

} // namespace capd
