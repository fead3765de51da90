#include "emulator/world/display_sound.h"

#include "emulator/world/edid_reader.h"

#include <algorithm>
#include <cstdio>

namespace emu {

namespace {

constexpr uint8_t LINEAR_PCM = 1, DTS_HD = 11, MAT = 12;
constexpr uint32_t RATES_HZ[] = {32'000, 44'100, 48'000, 88'200, 96'000, 176'400, 192'000};
constexpr uint32_t HIGH_BIT_RATE_HZ = 768'000; // four lines of 192 kHz, which no descriptor lists as a rate
constexpr uint8_t SIZES_BITS[] = {16, 20, 24};
constexpr AudioDescriptor BASIC_AUDIO = {.format = LINEAR_PCM, .channels = 2, .rates = 0x07, .sizes = 0x07};

bool lists_rate(const AudioDescriptor& d, uint32_t rate_hz)
{
    if (rate_hz == HIGH_BIT_RATE_HZ) return d.format == DTS_HD || d.format == MAT;
    for (size_t i = 0; i < std::size(RATES_HZ); ++i)
        if (RATES_HZ[i] == rate_hz) return (d.rates >> i & 1) != 0;
    return false;
}

bool lists_size(const AudioDescriptor& d, uint8_t bits)
{
    if (bits == 0) return true;
    for (size_t i = 0; i < std::size(SIZES_BITS); ++i)
        if (SIZES_BITS[i] >= bits && (d.sizes >> i & 1) != 0) return true;
    return false;
}

std::string kilohertz(uint32_t hz)
{
    char text[32];
    std::snprintf(text, sizeof text, "%g kHz", hz / 1000.0);
    return text;
}

std::string pcm_refusal(const AudioDescriptors& listed, const SoundOffer& sound)
{
    AudioDescriptors left = listed;
    const auto none_after = [&left](auto&& takes) {
        std::erase_if(left, [&takes](const AudioDescriptor& d) { return !takes(d); });
        return left.empty();
    };
    const std::string lists = "the display lists no linear PCM of ", channels = std::to_string(sound.channels);
    if (none_after([&sound](const AudioDescriptor& d) { return d.channels >= sound.channels; }))
        return lists + channels + " channels";
    if (none_after([&sound](const AudioDescriptor& d) { return lists_rate(d, sound.rate_hz); }))
        return lists + channels + " channels at " + kilohertz(sound.rate_hz);
    if (none_after([&sound](const AudioDescriptor& d) { return lists_size(d, sound.word_bits); }))
        return lists + std::to_string(sound.word_bits) + " bits at " + kilohertz(sound.rate_hz);
    return {};
}

} // namespace

std::string sound_refusal(const AudioDescriptors& listed, const SoundOffer& sound)
{
    AudioDescriptors of_kind;
    for (const AudioDescriptor& d : listed)
        if ((d.format == LINEAR_PCM) == sound.pcm) of_kind.push_back(d);
    if (sound.pcm) return pcm_refusal(of_kind.empty() ? AudioDescriptors{BASIC_AUDIO} : of_kind, sound);
    if (of_kind.empty()) return "the display lists no compressed sound";
    if (std::ranges::any_of(of_kind, [&sound](const AudioDescriptor& d) { return lists_rate(d, sound.rate_hz); }))
        return {};
    return "the display lists no compressed sound at " + kilohertz(sound.rate_hz);
}

AudioDescriptors read_audio_descriptors(const EdidImage& edid)
{
    constexpr uint8_t tag_audio = 1;
    constexpr size_t size = 3;
    AudioDescriptors found;
    if (!has_edid_header(edid)) return found;
    for (const EdidBlock extension : extensions_of(edid, TAG_CTA)) {
        for (const DataBlock& block : cta_data_blocks(extension)) {
            for (size_t at = 0; block.tag == tag_audio && at + size <= block.payload.size(); at += size) {
                const auto d = block.payload.subspan(at, size);
                found.push_back({.format = static_cast<uint8_t>(d[0] >> 3 & 0x0F),
                                 .channels = static_cast<uint8_t>((d[0] & 0x07) + 1),
                                 .rates = static_cast<uint8_t>(d[1] & 0x7F),
                                 .sizes = d[2]});
            }
        }
    }
    return found;
}

} // namespace emu
