/**
 * @file
 * The HDMI output as the daemon sees it. Main thread only: hdmitx_init(), hdmitx_blank(), hdmitx_set_edid_callback(),
 * then hdmitx_run() every 100 ms. hdmitx_run() blocks for a quarter of a second and more after a display was plugged
 * in, while its EDID is read byte by byte.
 */
#pragma once

#include <cstdint>

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

/** The picture that is to be shown, as the display is told it. */
struct HdmitxPicture {
    uint32_t pixel_clock_hz; ///< of the pixels as they are sent, repeated ones counted
    uint8_t vic;             ///< video identification code (CTA-861); 0 for formats that have none
    uint8_t repetition;      ///< times that a pixel is sent again: 0 or 1
    bool wide;               ///< 16:9, else 4:3
    bool itu709;             ///< colorimetry, else ITU601
};

/** Tell the output what picture it has to show; a change is programmed by the next hdmitx_run(). */
void hdmitx_follow(const HdmitxPicture& picture);

/** Register the EDID callback; nullptr removes it. @return 0 */
int hdmitx_set_edid_callback(hdmitx_edid_callback callback);

} // namespace capd
