/**
 * @file
 * Colour of the picture: what the source sends, by AVI info frame or by assumption, and the converter that turns it
 * into the fixed output format. Main thread only; no call sleeps.
 */
#pragma once

#include <array>
#include <cstdint>

namespace capd::rx {

/** Converter coefficients in the order of the chip's registers: 14-bit two's complement, 11 fractional bits. */
using Matrix = std::array<uint16_t, 9>;

/** Matrices by [0 RGB to YUV, 1 YUV to RGB][0 ITU601, 1 ITU709][0 range 16-235, 1 range 0-255]. */
extern const Matrix CONVERTER_MATRICES[2][2][2];

/** Take the input colour mode from the AVI info frame. */
void SetVideoInputFormatWithInfoFrame();

/** Take the colorimetry from the AVI info frame, if one has come; "no data" keeps the present one. */
void SetColorimetryByInfoFrame();

/** Choose the colorimetry that pictures of this size usually have. */
void SetColorimetryByMode();

/** Set the input colour mode whatever the source announces; an invalid mode counts as RGB and is not forced. */
void ForceInputColourMode(int mode);

/** Set the converter up for the input and output colour modes. */
void SetCSC();

/** Colour set-up by AVI info frame. */
void ApplyAVIInfo();

/** Colour set-up without an AVI info frame: RGB, colorimetry by size. */
void ApplyDefaultColour();

/** A new AVI info frame has come. */
void RXINT_AVIInfoFrame_Chg();

/** Set the output format (registers REG_RX_OUTPUT_MAP and REG_RX_OUTPUT_MODE, a ColourMode); mutes meanwhile. */
void SetHDMIRXVideoOutputFormat(uint8_t output_map, uint8_t output_mode, uint8_t colour_mode);

} // namespace capd::rx
