#include "emulator/chips/receiver_timing.h"

#include <algorithm>
#include <cmath>

namespace emu {

namespace {

enum class Quantity : uint8_t { Pixels, Lines, Clock, Field };

/** An eighth of all measurements each for 0 to 7, in an order that no poll falls in step with. */
uint32_t scatter(uint64_t measurement, Quantity quantity)
{
    constexpr uint32_t MULTIPLIER = 2'654'435'761; // 2^32 by the golden ratio, which spreads neighbours far apart
    const auto number = static_cast<uint32_t>(4 * measurement) + static_cast<uint32_t>(quantity);
    return number * MULTIPLIER >> 29;
}

/** -1 and 1 in a quarter of all measurements each, else 0, as in the first. */
int wobble(uint64_t measurement, Quantity quantity)
{
    static constexpr int WOBBLE[] = {-1, -1, 0, 0, 0, 0, 1, 1};
    return measurement == 0 ? 0 : WOBBLE[scatter(measurement, quantity)];
}

/** Whether the last two fields of an irregular source are of a kind: once in eight times. */
bool repeats_field(uint64_t measurement)
{
    return measurement != 0 && scatter(measurement, Quantity::Field) == 0;
}

uint8_t count_clock(double clock_khz, int wobble)
{
    // Pixels against the chip's own clock: 128 of it for 27 MHz.
    return static_cast<uint8_t>(std::clamp(std::lround(3'456'000 / clock_khz) + wobble, 1L, 255L));
}

} // namespace

bool varies(const Signal& signal)
{
    return signal.jitter != Jitter{} || (signal.format.interlaced && signal.fields == Fields::Irregular);
}

CountedTiming count_timing(const Signal& signal, uint64_t measurement)
{
    const Format f = signal.on_cable();
    const bool alike = f.interlaced && signal.fields == Fields::Irregular && repeats_field(measurement);
    const int pixels = signal.jitter.pixels ? wobble(measurement, Quantity::Pixels) : 0;
    const int lines = signal.jitter.lines ? wobble(measurement, Quantity::Lines) : 0;
    const int clock = signal.jitter.clock ? wobble(measurement, Quantity::Clock) : 0;
    // The picture's width and height are those of its data enable, which does not jitter.
    const uint32_t h_total = f.h_total() + static_cast<uint32_t>(pixels);
    const uint32_t v_total = f.field_lines() + (alike ? 1 : 0) + static_cast<uint32_t>(lines);
    const std::array<uint32_t, 13> timing = {
        f.interlaced && !alike ? 0x02u : 0x00u,                  // 0x58 scan
        h_total & 0xFF,                                          // 0x59
        (h_total >> 8 & 0x0F) | (f.h_active >> 8 & 0x07u) << 4,  // 0x5A
        f.h_active & 0xFFu,                                      // 0x5B
        f.h_sync & 0xFFu,                                        // 0x5C
        (f.h_sync >> 8 & 0x01u) | (f.h_front >> 8 & 0x0Fu) << 4, // 0x5D
        f.h_front & 0xFFu,                                       // 0x5E
        v_total & 0xFF,                                          // 0x5F
        (v_total >> 8 & 0x0F) | (f.v_active >> 8 & 0x07u) << 4,  // 0x60
        f.v_active & 0xFFu,                                      // 0x61
        (uint32_t{f.v_sync} + f.v_back) & 0xFF,                  // 0x62 start of vertical sync to the picture
        f.v_front & 0xFFu,                                       // 0x63
        count_clock(signal.pixel_clock_khz(), clock),            // 0x64
    };
    CountedTiming counted{};
    std::transform(timing.begin(), timing.end(), counted.timing.begin(),
                   [](uint32_t v) { return static_cast<uint8_t>(v); });
    counted.link = std::min<uint8_t>(count_clock(signal.link_clock_khz(), clock), 0xFE); // 0xFF: no picture
    return counted;
}

} // namespace emu
