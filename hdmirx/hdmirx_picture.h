/**
 * @file
 * The picture of the input as an output tells it that shows the same one. Main thread only; some ten transfers.
 */
#pragma once

#include <cstdint>

namespace capd {

/** Two equal ones look the same to a display. */
struct hdmirx_picture {
    uint32_t pixel_clock_hz; ///< of the pixels as they are sent, repeated ones counted
    uint8_t vic;             ///< video identification code (CTA-861, table 3); 0 for other formats
    uint8_t repetition;      ///< times that a pixel is sent again: 0 or 1
    bool wide;               ///< 16:9, else 4:3
    bool itu709;             ///< colorimetry, else ITU601

    bool operator==(const hdmirx_picture&) const = default;
};

/** Measure the picture anew and set its colour up: the state machine takes no notice of a change without a break. */
void hdmirx_take_picture();

/** Look at the picture. @return whether there is one; else picture keeps what it held */
bool hdmirx_get_picture(hdmirx_picture& picture);

} // namespace capd
