/**
 * @file
 * Info frames that the transmitter sends to an HDMI display: AVI, audio and vendor-specific. Main thread only; loading
 * one is some 20 register writes.
 */
#pragma once

#include <array>
#include <cstdint>

namespace capd {

/** Data byte n of the info frame is data[n - 1]. */
struct HdmitxInfoFrame {
    uint8_t type;
    uint8_t version;
    uint8_t length;
    uint8_t checksum; ///< filled for the vendor-specific info frame only
    std::array<uint8_t, 13> data;
};
static_assert(sizeof(HdmitxInfoFrame) == 17);

/** Fill the AVI info frame from the video options and the output colour mode, and send it. */
void ConfigAVIInfoFrame(uint8_t vic, uint8_t pixelRep);

/** Fill the audio info frame, for two channels, and send it. */
void ConfigAudioInfoFrm();

/**
 * Load and send the AVI info frame; with enable 0 stop sending it.
 * @return 1; 0 without a buffer to send, nothing is changed then
 */
int hdmitx_SetAVIInfoFrame(int enable, const HdmitxInfoFrame* buffer);

/** Load and send the audio info frame. @return 1; 0 without a buffer, nothing is changed then */
int hdmitx_SetAudioInfoFrame(const HdmitxInfoFrame* buffer);

/**
 * Load and send the vendor-specific info frame: data bytes 4 and 5, and 6 when bit 7 of byte 5 says that there is one.
 * Fills the buffer's checksum. With enable 0 stop sending it. Offered; the output only stops it.
 * @return 1; 0 without a buffer to send, nothing is changed then
 */
int hdmitx_SetVSInfoFrame(int enable, HdmitxInfoFrame* buffer);

} // namespace capd
