/**
 * @file
 * How a picture's colours are coded on their way from a source to a display. Plain data; any thread.
 */
#pragma once

#include <cstdint>
#include <string>

namespace emu {

enum class Colour : uint8_t { Rgb, Yuv422, Yuv444 };

/** A colour format as people call it. */
constexpr const char* colour_name(Colour colour)
{
    return colour == Colour::Rgb ? "RGB" : colour == Colour::Yuv422 ? "YCbCr 4:2:2" : "YCbCr 4:4:4";
}

/** The colours of a picture in one place of its way, and what became of them up to there. */
struct PictureColours {
    Colour colour = Colour::Yuv422;
    bool itu709 = false; ///< weights of YCbCr, else ITU601; of no meaning for RGB
    bool limited = true; ///< black at 16, else at 0
    std::string fault{}; ///< why they are not the picture's any more; empty: they are
    std::string shade{}; ///< what makes them a shade off; empty: nothing

    /** Note a fault, of which the first counts. */
    void spoil(std::string why)
    {
        if (fault.empty()) fault = std::move(why);
    }
    /** Note what makes a shade's difference, likewise. */
    void tint(std::string why)
    {
        if (shade.empty()) shade = std::move(why);
    }
};

/** Names of a matrix and of levels as people call them. */
constexpr const char* weights_name(bool itu709)
{
    return itu709 ? "ITU709" : "ITU601";
}
constexpr const char* levels_name(bool limited)
{
    return limited ? "16-235" : "0-255";
}

} // namespace emu
