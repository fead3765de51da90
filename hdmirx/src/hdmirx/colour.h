/**
 * @file
 * Colour of the picture: what the source sends, by AVI info frame or by assumption, and the converter that turns it
 * into the fixed output format. Main thread only; no call sleeps.
 */
#pragma once

#include <array>
#include <cstdint>

namespace capd::rx {

/** Colour modes as InputFormatFlags and OutputFormatFlags hold them in MODE_COLOUR. */
enum ColourMode : uint8_t { COLOUR_MODE_RGB = 0, COLOUR_MODE_YUV422 = 1, COLOUR_MODE_YUV444 = 2 };

constexpr uint8_t FORMAT_COLOUR = 0x03;        ///< field of both flags: a ColourMode
constexpr uint8_t FORMAT_ITU709 = 0x10;        ///< input; clear: ITU601
constexpr uint8_t FORMAT_LIMITED_RANGE = 0x20; ///< both: RGB in 16-235
constexpr uint8_t FORMAT_CHROMA_DOWN = 0x40;   ///< output: sub-sample the chroma where that is needed
constexpr uint8_t FORMAT_CHROMA_UP = 0x80;     ///< output: filter the chroma where that is needed

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

/** @return whether the picture is taken for one of ITU709, else for one of ITU601 */
bool InputIsITU709();

/** @return whether the colour follows an AVI info frame */
bool HasAVIInfo();

/** Forget that an AVI info frame has come: the source is in DVI mode. */
void ForgetAVIInfo();

/** Run one tick with the picture on: act as for a new AVI info frame when the bytes about the colour have changed. */
void FollowAVIInfo();

/** Take the output colour mode over from the chip. */
void TakeOutputColourMode();

/** @return the output format: a ColourMode in FORMAT_COLOUR, with FORMAT_* */
uint8_t OutputFormatFlags();

/** Choose the output format flags. Takes effect at the next set-up of the converter. */
void SetOutputFormatFlags(uint8_t flags);

/** Set the output format (registers REG_RX_OUTPUT_MAP and REG_RX_OUTPUT_MODE, a ColourMode); mutes meanwhile. */
void SetHDMIRXVideoOutputFormat(uint8_t output_map, uint8_t output_mode, uint8_t colour_mode);

} // namespace capd::rx
