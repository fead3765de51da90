/**
 * @file
 * What a display can lock to, as its EDID says (VESA E-EDID 1.3, CTA-861): the fastest clock and the list of timings.
 * Plain data; any thread.
 */
#pragma once

#include "emulator/world/edid_builder.h"
#include "emulator/world/formats.h"

#include <cstdint>
#include <vector>

namespace emu {

struct DisplayLimits {
    uint32_t max_clock_khz = 0; ///< TMDS clock; 0: the EDID says nothing of it
    std::vector<PictureTiming> timings;

    /** Whether the EDID lists the timing: size and scan the same, the rate within half a hertz. */
    bool lists(const PictureTiming& timing) const;
};

/** Read them from every block whose checksum is right; an EDID without its header has none. */
DisplayLimits read_limits(const EdidImage& edid);

} // namespace emu
