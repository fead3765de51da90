/**
 * @file
 * Colour-space converter of the transmitter: between the colour format that the box's video hardware delivers and the
 * one that the display takes. Main thread only; loading a matrix is 21 register writes.
 */
#pragma once

#include <array>
#include <cstdint>

namespace capd {

/** Bytes of one converter matrix: three offsets, then nine factors of two bytes. */
using HdmitxMatrix = std::array<uint8_t, 21>;

/** Matrices by bits 4 and 5 of the input colour mode: ITU601 full range, ITU709 full, ITU601 16-235, ITU709 16-235. */
extern const std::array<HdmitxMatrix, 4> TX_RGB_TO_YUV;
extern const std::array<HdmitxMatrix, 4> TX_YUV_TO_RGB;

/**
 * Choose and load the converter, or bypass it where input and output need no matrix.
 * @param bInputMode  colour mode with its ITU709, range and option bits
 * @param bOutputMode colour mode
 */
void hdmitx_SetCSCScale(uint8_t bInputMode, uint8_t bOutputMode);

} // namespace capd
