/**
 * @file
 * What edid-decode says about an EDID, as far as the output's driver takes notice: an opinion that is not ours.
 */
#pragma once

#include "emulator/world/edid_builder.h"

#include <cstdint>
#include <optional>
#include <set>

struct EdidFacts {
    bool cea = false;               ///< the fields below were filled from a CTA extension of revision 3
    uint8_t flags = 0;              ///< basic audio 0x40, YCbCr 4:4:4 0x20, 4:2:2 0x10
    std::set<int> vics;             ///< below 64
    std::optional<int> native;      ///< the first native one
    std::optional<int> descriptors; ///< of the last audio data block
    uint32_t oui = 0;               ///< of the last vendor block
    int address[4] = {0, 0, 0, 0};  ///< HDMI physical address
    uint8_t deep_colour = 0;        ///< 48 bit 0x40, 36 bit 0x20, 30 bit 0x10
    std::optional<int> tmds_mhz;
    bool has_3d = false;
};

/** Whether edid-decode is installed here. */
bool have_edid_decode();

/**
 * Ask edid-decode. As the driver, look at extension blocks 1 to 4 up to the first whose last vendor block is HDMI's;
 * what that one says holds, and of the TMDS clock, deep colour and audio what any of them said last.
 */
EdidFacts ask_edid_decode(const emu::EdidImage& edid);

/** What edid-decode makes of an EDID as a whole. */
struct EdidVerdict {
    bool hdmi = false; ///< a CTA extension of revision 3 has HDMI's vendor block, wherever it stands
    int failures = 0;  ///< against the standards
};
EdidVerdict judge_with_edid_decode(const emu::EdidImage& edid);
