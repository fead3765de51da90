/**
 * @file
 * What the HDMI receiver counts of a picture, as its registers show it. Pure functions; any thread.
 */
#pragma once

#include "emulator/world/source_signal.h"

#include <array>
#include <cstdint>

namespace emu {

struct CountedTiming {
    std::array<uint8_t, 13> timing; ///< the registers from rx::REG_TIMING on
    uint8_t link;                   ///< rx::REG_LINK_COUNT
};

/**
 * Count a picture once.
 * @param measurement how many the chip has made of this picture before. The first one shows a jittering or irregular
 *                    source as it is meant; the others differ by a fixed pattern, which is the same in each run.
 */
CountedTiming count_timing(const Signal& signal, uint64_t measurement);

/** Whether not all measurements of a signal are alike. */
bool varies(const Signal& signal);

} // namespace emu
