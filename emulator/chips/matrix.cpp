#include "emulator/chips/matrix.h"

#include <algorithm>
#include <cmath>

namespace emu {

namespace {

/** Nine coefficients in register order, and what the transmitter adds in front of or behind them. */
struct MatrixFigures {
    std::array<double, 9> coefficients{};
    std::array<uint8_t, 3> offsets{};
};

/** A converter's figures out of the luma weights of red and blue that a standard gives. */
MatrixFigures expected_figures(const Matrix& matrix)
{
    const double red = matrix.itu709 ? 0.2126 : 0.299, blue = matrix.itu709 ? 0.0722 : 0.114;
    const double green = 1 - red - blue;
    constexpr double levels = 219, chroma_levels = 224; // of 8-bit video
    const double rgb_levels = matrix.limited ? levels : 255;
    if (matrix.kind == MatrixKind::RgbToYuv) {
        // Rows Y, Cr, Cb over columns G, R, B.
        const double y = levels / rgb_levels, c = chroma_levels / rgb_levels / 2;
        const double cr = c / (1 - red), cb = c / (1 - blue);
        const uint8_t black = matrix.limited ? 0x00 : 0x10;
        return {{y * green, y * red, y * blue, -cr * green, cr * (1 - red), -cr * blue, -cb * green, -cb * red,
                 cb * (1 - blue)},
                {black, 0x80, black}};
    }
    // Rows G, R, B over columns Y, Cr, Cb.
    const double y = rgb_levels / levels, c = 2 * rgb_levels / chroma_levels;
    const double cr = c * (1 - red), cb = c * (1 - blue);
    // Black of 16 is taken off behind the multiplication: 16 x 255/219 in units of 1/64, high byte first.
    const uint8_t high = matrix.limited ? 0x00 : 0x04, low = matrix.limited ? 0x00 : 0xA7;
    return {{y, -cr * red / green, -cb * blue / green, y, cr, 0, y, 0, cb}, {high, 0x00, low}};
}

bool fits(std::span<const uint8_t, 18> bytes, const std::array<double, 9>& expected)
{
    constexpr double one = 2048, rounding = 6; // chip makers' tables differ from the exact figures by that much
    for (size_t i = 0; i < expected.size(); ++i) {
        int value = bytes[2 * i] | (bytes[2 * i + 1] & 0x3F) << 8;
        if (value >= 0x2000) value -= 0x4000;
        if (std::abs(value - expected[i] * one) > rounding) return false;
    }
    return true;
}

} // namespace

Matrix recognise_coefficients(std::span<const uint8_t, 18> bytes)
{
    for (MatrixKind kind : {MatrixKind::RgbToYuv, MatrixKind::YuvToRgb})
        for (bool itu709 : {false, true})
            for (bool limited : {false, true}) {
                const Matrix matrix{kind, itu709, limited};
                if (fits(bytes, expected_figures(matrix).coefficients)) return matrix;
            }
    return {.kind = MatrixKind::Unknown};
}

Matrix recognise_matrix(const std::array<uint8_t, 21>& bytes)
{
    const std::span<const uint8_t, 21> all(bytes);
    const Matrix found = recognise_coefficients(all.last<18>());
    if (found.kind == MatrixKind::Unknown) return found;
    const auto offsets = expected_figures(found).offsets;
    const bool right = std::equal(offsets.begin(), offsets.end(), bytes.begin());
    return right ? found : Matrix{.kind = MatrixKind::Unknown};
}

} // namespace emu
