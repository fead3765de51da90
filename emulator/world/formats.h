/**
 * @file
 * Video formats that sources send: the timings of CTA-861 up to 1080p60's pixel clock and a choice of VESA DMT's.
 * Constant tables; any thread.
 */
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace emu {

/** A timing as it is on the cable: with pixel repetition the repeated pixels and the clock that carries them. */
struct Format {
    std::string_view name;
    uint32_t clock_khz = 0;
    uint16_t h_active = 0, h_front = 0, h_sync = 0, h_back = 0; ///< pixels
    uint16_t v_active = 0, v_front = 0, v_sync = 0, v_back = 0; ///< lines; of the first field when interlaced
    uint16_t lines = 0;                                         ///< of a whole frame, half lines included
    bool h_positive = false, v_positive = false;                ///< sync polarities
    bool interlaced = false;
    uint8_t repetition = 1; ///< times a pixel is sent
    uint8_t vic = 0;        ///< video identification code of the 4:3 picture, 0 when CTA-861 has none
    uint8_t vic_wide = 0;   ///< that of the picture in 16:9, or 64:27 where the format's own shape is that; 0: none

    uint32_t h_total() const { return uint32_t{h_active} + h_front + h_sync + h_back; }
    uint32_t field_lines() const { return interlaced ? lines / 2u : lines; }
    /** Fields (frames when progressive) per second at the nominal clock. */
    double field_rate() const;
    /** Time of a field in microseconds. */
    uint32_t field_us() const;
};

/** A picture as a display tells one from another. */
struct PictureTiming {
    uint32_t clock_khz = 0;         ///< of the cable's pixels, repeated ones counted; 0: no picture
    uint16_t width = 0, height = 0; ///< active, of a frame; repeated pixels counted
    bool interlaced = false;
    double rate_hz = 0; ///< fields (frames when progressive) per second
};

PictureTiming timing_of(const Format& format);

/** Whether a display takes the one for the other: size and scan the same, the rate within half a hertz. */
bool is_same_picture(const PictureTiming& a, const PictureTiming& b);

/** All formats with a name, CTA-861's first. */
std::span<const Format> all_formats();

/**
 * Find a format by its name ("1080i60", "dmt-1024x768-60"), by a customary name ("vga"), or by "vic16".
 * Names with 59.94, 47.95, 29.97, 23.98 or 119.88 in the place of their rate give a 60, 48, 30, 24 or 120 Hz format
 * with its clock divided by 1.001 (74.176, 148.352 MHz). Formats whose nominal clock gives the dropped rate already
 * have a second one of CTA-861 for the whole rate: names with 60.00, 120.00 or 240.00 (27.027, 25.2 MHz and multiples).
 */
std::optional<Format> find_format(std::string_view name);

/** A line per format, for people. */
std::string list_formats();

} // namespace emu
