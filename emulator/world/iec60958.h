/**
 * @file
 * Sampling frequency and word length in an IEC 60958 channel status (IEC 60958-3, bits 24 to 27 and 32 to 35; 768 kHz
 * is the rate of IEC 61937's high bit rate audio).
 */
#pragma once

#include <cstdint>

namespace emu {

constexpr uint8_t SAMPLING_CODE_NOT_INDICATED = 1;

/** @return hertz; 0 for a code that is not defined */
uint32_t sampling_rate_of(uint8_t code);
/** @return the code of a rate in hertz; SAMPLING_CODE_NOT_INDICATED for one that has none */
uint8_t sampling_code_of(uint32_t hz);

/** @return bits of a sample, 16 to 24; 0 where the code does not tell */
uint8_t word_length_of(uint8_t code);
/** @return the code of a word length; 0, "not indicated", for one that has none */
uint8_t word_length_code_of(uint8_t bits);

} // namespace emu
