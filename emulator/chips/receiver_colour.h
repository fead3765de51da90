/**
 * @file
 * What the receiver makes of a picture's colours on its way to the video hardware. Pure function; any thread.
 */
#pragma once

#include "emulator/world/colour.h"

#include <array>
#include <cstdint>

namespace emu {

/**
 * Work out the colours on the receiver's output from its registers. The video hardware behind it takes YCbCr 4:2:2 in
 * the chip's first bus format.
 * @param incoming what the source sends
 * @param told     what its AVI frame says of the colours: RGB where there is none
 */
PictureColours received_colours(const std::array<uint8_t, 256>& registers, const PictureColours& incoming, Colour told);

} // namespace emu
