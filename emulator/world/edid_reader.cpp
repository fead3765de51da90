#include "emulator/world/edid_reader.h"

#include <algorithm>
#include <numeric>

namespace emu {

uint32_t DataBlock::vendor() const
{
    if (tag != 3 || payload.size() < 3) return 0;
    return payload[0] | static_cast<uint32_t>(payload[1]) << 8 | static_cast<uint32_t>(payload[2]) << 16;
}

bool has_edid_header(const EdidImage& edid)
{
    constexpr uint8_t header[] = {0x00, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x00};
    return edid.size() >= EDID_BLOCK && std::equal(std::begin(header), std::end(header), edid.begin());
}

std::vector<EdidBlock> extensions_of(const EdidImage& edid, uint8_t tag)
{
    std::vector<EdidBlock> found;
    for (size_t block = 1; (block + 1) * EDID_BLOCK <= edid.size(); ++block) {
        const auto extension = std::span(edid).subspan(block * EDID_BLOCK).first<EDID_BLOCK>();
        if (extension[0] == tag && edid_checksum_right(edid, block)) found.push_back(extension);
    }
    return found;
}

std::vector<DataBlock> cta_data_blocks(EdidBlock extension)
{
    std::vector<DataBlock> blocks;
    const size_t end = extension[1] < 3 ? 0 : std::min<size_t>(extension[2], EDID_BLOCK - 1);
    for (size_t at = 4; at < end;) {
        const size_t length = extension[at] & 0x1F;
        if (at + 1 + length > end) break;
        blocks.push_back({static_cast<uint8_t>(extension[at] >> 5), extension.subspan(at + 1, length)});
        at += 1 + length;
    }
    return blocks;
}

std::vector<DataBlock> display_id_data_blocks(EdidBlock extension)
{
    // The section: version, length of its data blocks, product type, count of further ones, data blocks, checksum.
    constexpr size_t section = 1, head = 4, block_head = 3;
    const size_t end = section + head + extension[section + 1];
    if (end >= EDID_BLOCK - 1) return {};
    const auto whole = extension.subspan(section, end + 1 - section);
    if ((std::accumulate(whole.begin(), whole.end(), 0u) & 0xFF) != 0) return {};
    std::vector<DataBlock> blocks;
    for (size_t at = section + head; at + block_head <= end;) {
        const size_t length = extension[at + 2];
        if (length == 0 || at + block_head + length > end) break; // zeros fill the section up
        blocks.push_back({extension[at], extension.subspan(at + block_head, length)});
        at += block_head + length;
    }
    return blocks;
}

} // namespace emu
