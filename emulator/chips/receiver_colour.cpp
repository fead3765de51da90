#include "emulator/chips/receiver_colour.h"

#include "emulator/chips/matrix.h"
#include "emulator/chips/receiver_registers.h"

#include <algorithm>
#include <span>

namespace emu {

using namespace rx;

namespace {

using Registers = std::array<uint8_t, 256>;

/** What the chip takes its input for: what it is forced to, else what the AVI frame tells it. */
Colour assumed_input(const Registers& r, Colour told)
{
    const uint8_t forced = r[REG_CONVERTER] & INPUT_COLOUR;
    if ((forced & INPUT_FORCED) == 0) return told;
    return (forced & INPUT_YUV422) != 0 ? Colour::Yuv422 : (forced & INPUT_YUV444) != 0 ? Colour::Yuv444 : Colour::Rgb;
}

Colour output_colour(const Registers& r)
{
    const uint8_t bits = r[REG_OUTPUT_COLOUR] & OUTPUT_COLOUR;
    return bits == OUTPUT_YUV422 ? Colour::Yuv422 : bits == OUTPUT_YUV444 ? Colour::Yuv444 : Colour::Rgb;
}

/** Black is put in behind the multiplication: at 16 where RGB has it at 0, nowhere else; the middle of chroma is 128.
 */
bool offsets_fit(const Registers& r, bool limited)
{
    const uint8_t black = limited ? 0x00 : 0x10;
    return r[REG_OFFSETS] == black && r[REG_OFFSETS + 1] == 0x80 && r[REG_OFFSETS + 2] == black;
}

void convert_to_yuv(const Registers& r, PictureColours& colours)
{
    const Matrix matrix = recognise_coefficients(std::span(r).subspan<REG_MATRIX, 18>());
    if (matrix.kind != MatrixKind::RgbToYuv || !offsets_fit(r, matrix.limited))
        colours.spoil("the receiver converts with an unknown matrix");
    if (matrix.limited != colours.limited)
        colours.tint(std::string("the receiver takes levels of ") + levels_name(colours.limited) + " for " +
                     levels_name(matrix.limited));
    colours = {.colour = Colour::Yuv444, .itu709 = matrix.itu709, .fault = colours.fault, .shade = colours.shade};
}

void convert(const Registers& r, PictureColours& colours)
{
    const uint8_t mode = r[REG_CONVERTER] & CONVERTER_MODE;
    const bool rgb = colours.colour == Colour::Rgb, to_rgb = output_colour(r) == Colour::Rgb;
    const uint8_t wanted = rgb == to_rgb ? 0 : rgb ? CONVERTER_TO_YUV : CONVERTER_TO_RGB;
    if (mode != wanted) return colours.spoil("the receiver's converter does not fit what comes in and goes out");
    if (mode == CONVERTER_TO_YUV) convert_to_yuv(r, colours);
}

} // namespace

PictureColours received_colours(const Registers& registers, const PictureColours& incoming, Colour told)
{
    PictureColours colours = incoming;
    const Colour assumed = assumed_input(registers, told);
    if (assumed != incoming.colour)
        colours.spoil(std::string("the receiver takes ") + colour_name(incoming.colour) + " for " +
                      colour_name(assumed));
    convert(registers, colours);
    colours.colour = output_colour(registers);
    const bool first_format = registers[REG_BUS_MAP] == 0 && (registers[REG_BUS_MODE] & BUS_MODE) == 0;
    if (colours.colour != Colour::Yuv422 || !first_format)
        colours.spoil("the receiver's output is not what the video hardware takes");
    return colours;
}

} // namespace emu
