#include "emulator/world/display.h"

#include <algorithm>
#include <span>

namespace emu {

namespace {

std::string product_name(std::span<const uint8_t> base)
{
    constexpr size_t first = 54, descriptor = 18, count = 4;
    for (size_t at = first; at < first + count * descriptor; at += descriptor) {
        const bool is_name = base[at] == 0 && base[at + 1] == 0 && base[at + 3] == 0xFC;
        if (!is_name) continue;
        const auto text = base.subspan(at + 5, 13);
        std::string name(text.begin(), std::find(text.begin(), text.end(), uint8_t{'\n'}));
        std::replace_if(
            name.begin(), name.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
        return name;
    }
    return {};
}

/** Whether a CTA extension holds HDMI's vendor block; blocks that do not fit in front of the timings end the search. */
bool has_hdmi_block(std::span<const uint8_t> extension)
{
    const size_t end = std::min<size_t>(extension[2], EDID_BLOCK - 1);
    for (size_t at = 4; at < end;) {
        const size_t length = extension[at] & 0x1F;
        if (at + 1 + length > end) return false;
        const bool vendor = extension[at] >> 5 == 3 && length >= 5;
        if (vendor && extension[at + 1] == 0x03 && extension[at + 2] == 0x0C && extension[at + 3] == 0x00) return true;
        at += 1 + length;
    }
    return false;
}

DisplayAbilities read_abilities(const EdidImage& edid)
{
    constexpr uint8_t header[] = {0x00, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x00};
    DisplayAbilities abilities;
    if (edid.size() < EDID_BLOCK || !std::equal(std::begin(header), std::end(header), edid.begin())) return abilities;
    const std::span<const uint8_t> bytes(edid);
    abilities.product = product_name(bytes.first(EDID_BLOCK));
    for (size_t block = 1; (block + 1) * EDID_BLOCK <= edid.size(); ++block) {
        const auto extension = bytes.subspan(block * EDID_BLOCK, EDID_BLOCK);
        if (extension[0] != 0x02 || extension[1] < 3 || !edid_checksum_right(edid, block)) continue;
        abilities.hdmi = abilities.hdmi || has_hdmi_block(extension);
        abilities.basic_audio = abilities.basic_audio || (extension[3] & 0x40) != 0;
        abilities.yuv444 = abilities.yuv444 || (extension[3] & 0x20) != 0;
        abilities.yuv422 = abilities.yuv422 || (extension[3] & 0x10) != 0;
    }
    return abilities;
}

} // namespace

Display::Display(std::string name, EdidImage edid)
    : plugged_(true), name_(std::move(name)), edid_(std::move(edid)), abilities_(read_abilities(edid_)),
      limits_(read_limits(edid_))
{
}

} // namespace emu
