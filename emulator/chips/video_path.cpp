#include "emulator/chips/video_path.h"

#include "emulator/chips/transmitter_registers.h"

#include <algorithm>

namespace emu {

using namespace tx;

namespace {

using Registers = std::array<uint8_t, 256>;

Colour input_colour(const Registers& r)
{
    const uint8_t bits = r[REG_INPUT] & INPUT_COLOUR;
    return bits == INPUT_YUV422 ? Colour::Yuv422 : bits == INPUT_YUV444 ? Colour::Yuv444 : Colour::Rgb;
}

Matrix matrix_in_use(const Registers& r)
{
    const uint8_t mode = r[REG_CONVERTER] & CONVERTER_MODE;
    const bool clocked = (r[REG_CLOCKS] & CLOCKS_CONVERTER_OFF) == 0;
    const MatrixKind wanted = mode == CONVERTER_TO_YUV   ? MatrixKind::RgbToYuv
                              : mode == CONVERTER_TO_RGB ? MatrixKind::YuvToRgb
                                                         : MatrixKind::Unknown;
    if (mode == 0) return {};
    std::array<uint8_t, MATRIX_SIZE> bytes{};
    std::copy_n(r.begin() + REG_MATRIX, bytes.size(), bytes.begin());
    const Matrix found = recognise_matrix(bytes);
    return clocked && found.kind == wanted ? found : Matrix{.kind = MatrixKind::Unknown};
}

void take_in(const Registers& r, Colour input, PictureColours& colours)
{
    if ((r[REG_INPUT] & INPUT_BUS) != 0) colours.spoil("the transmitter takes its input bus for another kind");
    if (input != colours.colour)
        colours.spoil(std::string("the transmitter gets ") + colour_name(colours.colour) + " and takes it for " +
                      colour_name(input));
}

void convert(const Matrix& matrix, PictureColours& colours)
{
    if (matrix.kind == MatrixKind::None) return;
    if (matrix.kind == MatrixKind::Unknown)
        colours.spoil("the colour converter runs with an unknown matrix or without a clock");
    const bool from_rgb = colours.colour == Colour::Rgb;
    if (from_rgb != (matrix.kind == MatrixKind::RgbToYuv))
        colours.spoil("the colour converter is fed the wrong way round");
    if (!from_rgb && matrix.itu709 != colours.itu709)
        colours.tint(std::string("the converter takes ") + weights_name(colours.itu709) + " for " +
                     weights_name(matrix.itu709));
    if (from_rgb && matrix.limited != colours.limited)
        colours.tint(std::string("the converter takes levels of ") + levels_name(colours.limited) + " for " +
                     levels_name(matrix.limited));
    colours.colour = from_rgb ? Colour::Yuv444 : Colour::Rgb;
    colours.itu709 = matrix.itu709;
    colours.limited = from_rgb || matrix.limited;
}

void resample(const Registers& r, bool to_rgb, PictureColours& colours)
{
    if ((r[REG_CONVERTER] & CONVERTER_RESAMPLES) == 0 || to_rgb) return;
    if (colours.colour == Colour::Rgb) return colours.spoil("RGB is filtered as if it had chroma");
    colours.colour = colours.colour == Colour::Yuv422 ? Colour::Yuv444 : Colour::Yuv422;
}

} // namespace

uint8_t depth_bits(const Registers& bank0)
{
    const unsigned code = (bank0[REG_GENERAL] & GENERAL_DEPTH) >> 4;
    return code == 5 ? 10 : code == 6 ? 12 : code == 7 ? 16 : 8;
}

VideoPath video_path(const Registers& bank0, const PictureColours& incoming)
{
    VideoPath path{.input = input_colour(bank0),
                   .matrix = matrix_in_use(bank0),
                   .cable = incoming,
                   .depth_bits = depth_bits(bank0)};
    take_in(bank0, path.input, path.cable);
    convert(path.matrix, path.cable);
    resample(bank0, path.matrix.kind == MatrixKind::YuvToRgb, path.cable);
    return path;
}

} // namespace emu
