/**
 * @file
 * Video path of the transmitter: input format, HDMI or DVI signalling, analogue front end. Main thread only.
 * HDMITX_SetOutput() takes some 600 transfers, most of them for the register dump at its end, and waits 1 ms.
 */
#pragma once

#include <cstdint>

namespace capd {

/** Program video and, for an HDMI display, audio from the output state; clears bChangeMode. Prints a register dump. */
void HDMITX_SetOutput();

/** Switch the video path and the front end off. */
void HDMITX_DisableVideoOutput();

/**
 * Set the video path up; audio stays held.
 * @param level           TMDS clock class: 0, 1, or 2 for above 80 MHz
 * @param inputColorMode  colour mode of the video that comes in, with its option bits
 * @param outputColorMode colour mode for the display
 * @param hdmi            bit 0: HDMI, else DVI
 * @return 1
 */
int HDMITX_EnableVideoOutput(int level, uint8_t inputColorMode, uint8_t outputColorMode, uint32_t hdmi);

/** Set the input bus format. @param signalType SIGNAL_ bits */
void hdmitx_SetInputMode(uint8_t inputColorMode, uint8_t signalType);

/** Set the front end up for a TMDS clock class, 0 to 2. */
void hdmitx_SetupAFE(int level);

/** Switch the front end on. */
void hdmitx_FireAFE();

/** Set the colour depth, 30 or 36 bits per pixel, anything else the default. Offered; the box sends 24 bits. */
void setHDMITX_ColorDepthPhase(uint8_t bColorDepth);

/**
 * Choose video options by VIC, and order the output to be programmed. Offered; the box leaves the options at 0.
 * @param vic             a VIC of the driver's list; any other only withdraws the order
 * @param outputColorMode 1 YUV444, 2 YUV422, anything else RGB24; an output that is RGB24 stays so
 */
void HDMITX_ChangeDisplayOption(uint8_t vic, uint8_t outputColorMode);

} // namespace capd
