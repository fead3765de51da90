#include "emulator/world/iec60958.h"

namespace emu {

namespace {

constexpr uint8_t LENGTH_NOT_INDICATED = 0;

constexpr struct {
    uint8_t code;
    uint32_t hz;
} RATES[] = {{0, 44'100}, {2, 48'000},  {3, 32'000},  {4, 22'050},   {6, 24'000},
             {8, 88'200}, {9, 768'000}, {10, 96'000}, {12, 176'400}, {14, 192'000}};

// Bit 0 says whether a word has at most 24 bits or at most 20; 20 bits can be told both ways, usually the first.
constexpr struct {
    uint8_t code, bits;
} LENGTHS[] = {{0x2, 16}, {0xC, 17}, {0x4, 18}, {0x8, 19}, {0xA, 20},
               {0x3, 20}, {0xD, 21}, {0x5, 22}, {0x9, 23}, {0xB, 24}};

} // namespace

uint32_t sampling_rate_of(uint8_t code)
{
    for (const auto& row : RATES)
        if (row.code == code) return row.hz;
    return 0;
}

uint8_t sampling_code_of(uint32_t hz)
{
    for (const auto& row : RATES)
        if (row.hz == hz) return row.code;
    return SAMPLING_CODE_NOT_INDICATED;
}

uint8_t word_length_of(uint8_t code)
{
    for (const auto& row : LENGTHS)
        if (row.code == code) return row.bits;
    return 0;
}

uint8_t word_length_code_of(uint8_t bits)
{
    for (const auto& row : LENGTHS)
        if (row.bits == bits) return row.code;
    return LENGTH_NOT_INDICATED;
}

} // namespace emu
