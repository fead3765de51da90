/**
 * @file
 * Finds its way through an EDID as a strict reader does: blocks whose checksum is right, data blocks that fit.
 * Plain data; any thread.
 */
#pragma once

#include "emulator/world/edid_builder.h"

#include <span>
#include <vector>

namespace emu {

using EdidBlock = std::span<const uint8_t, EDID_BLOCK>;

/** A data block of a CTA-861 extension or of a DisplayID section. */
struct DataBlock {
    uint8_t tag;
    std::span<const uint8_t> payload;

    /** The identifier of a CTA vendor block; 0 for any other block and for one that is too short to have one. */
    uint32_t vendor() const;
    /** Whether it is HDMI's vendor block, which has a physical address behind the identifier. */
    bool is_hdmi() const { return vendor() == OUI_HDMI && payload.size() >= 5; }
};

/** Whether there is a base block that begins as one does. */
bool has_edid_header(const EdidImage& edid);

/** The extensions with a tag whose checksum is right. */
std::vector<EdidBlock> extensions_of(const EdidImage& edid, uint8_t tag);

/** The data blocks of a CTA extension of revision 3 up to the first that does not fit; older ones have none. */
std::vector<DataBlock> cta_data_blocks(EdidBlock extension);

/** The data blocks of a DisplayID extension up to the first that does not fit; none when its section's sum is wrong. */
std::vector<DataBlock> display_id_data_blocks(EdidBlock extension);

} // namespace emu
