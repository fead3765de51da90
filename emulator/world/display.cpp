#include "emulator/world/display.h"

#include "emulator/world/edid_reader.h"

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

/** Deep colour in HDMI's vendor block (HDMI 1.4, 8.3.2): a bit each for 30, 36 and 48 bits of a pixel. */
uint8_t depth_bits_of(const DataBlock& hdmi)
{
    const unsigned flags = hdmi.payload.size() > 5 ? hdmi.payload[5] : 0;
    return (flags & 0x40) != 0 ? 16 : (flags & 0x20) != 0 ? 12 : (flags & 0x10) != 0 ? 10 : 8;
}

DisplayAbilities read_abilities(const EdidImage& edid)
{
    DisplayAbilities abilities;
    if (!has_edid_header(edid)) return abilities;
    abilities.product = product_name(std::span(edid).first(EDID_BLOCK));
    for (const EdidBlock extension : extensions_of(edid, TAG_CTA)) {
        if (extension[1] < 3) continue;
        for (const DataBlock& block : cta_data_blocks(extension)) {
            if (!block.is_hdmi()) continue;
            abilities.hdmi = true;
            abilities.depth_bits = std::max(abilities.depth_bits, depth_bits_of(block));
        }
        abilities.basic_audio = abilities.basic_audio || (extension[3] & 0x40) != 0;
        abilities.yuv444 = abilities.yuv444 || (extension[3] & 0x20) != 0;
        abilities.yuv422 = abilities.yuv422 || (extension[3] & 0x10) != 0;
    }
    return abilities;
}

} // namespace

Display::Display(std::string name, EdidImage edid)
    : plugged_(true), name_(std::move(name)), edid_(std::move(edid)), abilities_(read_abilities(edid_)),
      limits_(read_limits(edid_)), audio_(read_audio_descriptors(edid_))
{
}

} // namespace emu
