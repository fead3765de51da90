/**
 * @file
 * The transmitter's video path: what its registers make of the picture that comes in, and so what is on the cable. The
 * info frames are no part of it: they only claim. Pure functions; any thread.
 */
#pragma once

#include "emulator/chips/matrix.h"
#include "emulator/world/colour.h"

#include <array>
#include <cstdint>

namespace emu {

struct VideoPath {
    Colour input = Colour::Rgb; ///< that the transmitter takes its input for
    Matrix matrix;              ///< kind None: bypassed
    PictureColours cable;       ///< what leaves
    uint8_t depth_bits = 8;     ///< per colour
};

/** Depth on the cable in bits per colour. */
uint8_t depth_bits(const std::array<uint8_t, 256>& bank0);

/**
 * Work out the path from bank 0 and the colours that come in. With the sampling bit of the converter's register the
 * chroma is filtered to the other sampling; without it as many samples leave as came in.
 */
VideoPath video_path(const std::array<uint8_t, 256>& bank0, const PictureColours& incoming);

} // namespace emu
