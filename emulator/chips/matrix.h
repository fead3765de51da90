/**
 * @file
 * Colour converter matrices, as the receiver and the transmitter hold them: nine coefficients of 14 bits, two's
 * complement, 11 of them behind the point, low byte first.
 */
#pragma once

#include <array>
#include <cstdint>
#include <span>

namespace emu {

enum class MatrixKind : uint8_t { None, Unknown, RgbToYuv, YuvToRgb };

/** A matrix, recognised by its coefficients. */
struct Matrix {
    MatrixKind kind = MatrixKind::None;
    bool itu709 = false;  ///< else ITU601
    bool limited = false; ///< both sides in 16 to 235; else RGB fills 0 to 255
    bool operator==(const Matrix&) const = default;
};

/** Recognise nine coefficients by the luma weights and levels of BT.601 and BT.709. */
Matrix recognise_coefficients(std::span<const uint8_t, 18> bytes);

/** Recognise the transmitter's 21 bytes: three offsets, which belong to the matrix there, and its coefficients. */
Matrix recognise_matrix(const std::array<uint8_t, 21>& bytes);

} // namespace emu
