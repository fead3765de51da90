/**
 * @file
 * IEC 60958 channel status as both HDMI chips carry it: sampling frequencies by their code (IEC 60958-3, bits 24 to 27;
 * 768 kHz is what high bit rate audio of IEC 61937 runs at).
 */
#pragma once

#include <cstdint>

namespace capd {

struct SamplingFrequency {
    uint8_t code;
    int32_t hz;
};
constexpr SamplingFrequency SAMPLING_FREQUENCIES[] = {
    {0, 44'100}, {2, 48'000}, {3, 32'000}, {8, 88'200}, {9, 768'000}, {10, 96'000}, {12, 176'400}, {14, 192'000},
};
constexpr uint8_t FS_CODE_48_KHZ = 2;
constexpr uint8_t FS_CODE_768_KHZ = 9;

/** @return the frequency of a code, 0 for one that is not in use */
constexpr int32_t sampling_frequency_hz(uint8_t code)
{
    for (const SamplingFrequency& row : SAMPLING_FREQUENCIES)
        if (row.code == code) return row.hz;
    return 0;
}

/** @return the code of a frequency, FS_CODE_48_KHZ for one that has none */
constexpr uint8_t sampling_frequency_code(uint32_t hz)
{
    for (const SamplingFrequency& row : SAMPLING_FREQUENCIES)
        if (static_cast<uint32_t>(row.hz) == hz) return row.code;
    return FS_CODE_48_KHZ;
}

} // namespace capd
