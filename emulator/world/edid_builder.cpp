#include "emulator/world/edid_builder.h"

#include "emulator/world/formats.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <numeric>
#include <stdexcept>
#include <string>

namespace emu {

namespace {

constexpr size_t DESCRIPTOR = 18;
constexpr uint8_t TAG_NAME = 0xFC, TAG_RANGE = 0xFD;

uint8_t low(unsigned value)
{
    return static_cast<uint8_t>(value & 0xFF);
}

/** High bits of two figures side by side: `a` shifted down to the upper nibble, `b` to the lower. */
uint8_t high_nibbles(unsigned a, unsigned b)
{
    return low(((a >> 8) << 4) | ((b >> 8) & 0x0F));
}

void put_timing(uint8_t* at, const EdidTiming& t, uint16_t width_mm, uint16_t height_mm)
{
    const unsigned clock = t.clock_khz / 10;
    const unsigned front_sync_high = ((unsigned{t.h_front} >> 8) << 6) | ((unsigned{t.h_sync} >> 8) << 4) |
                                     ((static_cast<unsigned>(t.v_front) >> 4) << 2) |
                                     (static_cast<unsigned>(t.v_sync) >> 4);
    // Separate digital sync, then the polarities.
    const unsigned flags =
        0x18u | (t.interlaced ? 0x80u : 0u) | (t.v_positive ? 0x04u : 0u) | (t.h_positive ? 0x02u : 0u);
    const std::array<uint8_t, DESCRIPTOR> bytes = {low(clock),
                                                   low(clock >> 8),
                                                   low(t.h_active),
                                                   low(t.h_blank),
                                                   high_nibbles(t.h_active, t.h_blank),
                                                   low(t.v_active),
                                                   low(t.v_blank),
                                                   high_nibbles(t.v_active, t.v_blank),
                                                   low(t.h_front),
                                                   low(t.h_sync),
                                                   low(((t.v_front & 0x0Fu) << 4) | (t.v_sync & 0x0Fu)),
                                                   low(front_sync_high),
                                                   low(width_mm),
                                                   low(height_mm),
                                                   high_nibbles(width_mm, height_mm),
                                                   0,
                                                   0,
                                                   low(flags)};
    std::copy(bytes.begin(), bytes.end(), at);
}

void put_name(uint8_t* at, std::string_view name)
{
    assert(name.size() <= 13);
    at[3] = TAG_NAME;
    std::fill(at + 5, at + DESCRIPTOR, uint8_t{' '});
    std::copy(name.begin(), name.end(), at + 5);
    if (name.size() < 13) at[5 + name.size()] = '\n';
}

void put_range(uint8_t* at, const EdidBase& base)
{
    const uint8_t bytes[] = {base.v_low_hz, base.v_high_hz, base.h_low_khz, base.h_high_khz, base.max_clock_10mhz};
    at[3] = TAG_RANGE;
    std::copy(std::begin(bytes), std::end(bytes), at + 5);
    at[11] = '\n';
    std::fill(at + 12, at + DESCRIPTOR, uint8_t{' '});
}

void put_header(EdidImage& b, const EdidBase& base)
{
    std::fill(b.begin() + 1, b.begin() + 7, uint8_t{0xFF});
    const unsigned maker = ('E' - '@') << 10 | ('M' - '@') << 5 | ('U' - '@');
    b[8] = low(maker >> 8);
    b[9] = low(maker);
    b[10] = low(base.product);
    b[11] = low(base.product >> 8);
    b[16] = 10;          // week
    b[17] = 2014 - 1990; // year
    b[18] = 1;
    b[19] = 3;
}

void put_features(EdidImage& b, const EdidBase& base)
{
    b[20] = 0x80; // digital
    b[21] = base.width_cm;
    b[22] = base.height_cm;
    b[23] = 120; // gamma 2.2
    constexpr uint8_t colour = 0x08, srgb = 0x04, preferred_first = 0x02;
    b[24] = colour | srgb | preferred_first;
    constexpr uint8_t rec709_primaries[] = {0xEE, 0x91, 0xA3, 0x54, 0x4C, 0x99, 0x26, 0x0F, 0x50, 0x54};
    std::copy(std::begin(rec709_primaries), std::end(rec709_primaries), b.begin() + 25);
    b[35] = base.established[0];
    b[36] = base.established[1];
    std::fill(b.begin() + 38, b.begin() + 54, uint8_t{0x01}); // no standard timings
}

/** A block's payload may come in two parts. */
EdidBytes data_block(uint8_t tag, std::initializer_list<uint8_t> payload, std::initializer_list<uint8_t> rest = {})
{
    const size_t length = payload.size() + rest.size();
    assert(length < 32);
    EdidBytes block(1 + length);
    block[0] = low(static_cast<unsigned>(tag << 5) | static_cast<unsigned>(length));
    std::copy(rest.begin(), rest.end(), std::copy(payload.begin(), payload.end(), block.begin() + 1));
    return block;
}

} // namespace

EdidTiming edid_timing(std::string_view format)
{
    const std::optional<Format> found = find_format(format);
    if (!found) throw std::invalid_argument("no format " + std::string(format));
    const Format& f = *found;
    return {.clock_khz = f.clock_khz,
            .h_active = f.h_active,
            .h_blank = static_cast<uint16_t>(f.h_front + f.h_sync + f.h_back),
            .h_front = f.h_front,
            .h_sync = f.h_sync,
            .v_active = f.v_active,
            .v_blank = static_cast<uint16_t>(f.v_front + f.v_sync + f.v_back),
            .v_front = f.v_front,
            .v_sync = f.v_sync,
            .h_positive = f.h_positive,
            .v_positive = f.v_positive,
            .interlaced = f.interlaced};
}

void edid_fix_checksum(EdidImage& image, size_t block)
{
    const auto first = image.begin() + static_cast<std::ptrdiff_t>(block * EDID_BLOCK);
    const auto last = first + EDID_BLOCK - 1;
    *last = low(0u - std::accumulate(first, last, 0u));
}

bool edid_checksum_right(const EdidImage& image, size_t block)
{
    const auto first = image.begin() + static_cast<std::ptrdiff_t>(block * EDID_BLOCK);
    return low(std::accumulate(first, first + EDID_BLOCK, 0u)) == 0;
}

EdidImage edid_base(const EdidBase& base, uint8_t extensions)
{
    EdidImage b(EDID_BLOCK, 0);
    put_header(b, base);
    put_features(b, base);
    const auto width_mm = static_cast<uint16_t>(base.width_cm * 10),
               height_mm = static_cast<uint16_t>(base.height_cm * 10);
    put_timing(&b[54], base.preferred, width_mm, height_mm);
    put_timing(&b[72], base.second, width_mm, height_mm);
    put_name(&b[90], base.name);
    put_range(&b[108], base);
    b[126] = extensions;
    edid_fix_checksum(b, 0);
    return b;
}

EdidBytes cta_video(std::initializer_list<uint8_t> vics)
{
    return data_block(2, vics);
}
EdidBytes cta_audio(std::initializer_list<uint8_t> descriptors)
{
    return data_block(1, descriptors);
}
EdidBytes cta_speakers(uint8_t allocation)
{
    return data_block(4, {allocation, 0, 0});
}
EdidBytes cta_extended(uint8_t tag, std::initializer_list<uint8_t> payload)
{
    return data_block(7, {tag}, payload);
}
EdidBytes cta_capability(uint8_t flags)
{
    return cta_extended(0, {flags});
}
EdidBytes cta_colorimetry(uint8_t spaces)
{
    return cta_extended(5, {spaces, 0});
}

EdidBytes cta_vendor(uint32_t oui, std::initializer_list<uint8_t> behind_oui)
{
    return data_block(3, {low(oui), low(oui >> 8), low(oui >> 16)}, behind_oui);
}
EdidBytes cta_hdmi(std::initializer_list<uint8_t> behind_oui)
{
    return cta_vendor(OUI_HDMI, behind_oui);
}

EdidImage edid_cta(uint8_t revision, uint8_t flags, std::initializer_list<EdidBytes> data_blocks,
                   std::initializer_list<EdidTiming> timings, uint16_t width_mm, uint16_t height_mm)
{
    EdidImage b{TAG_CTA, revision, 0, flags};
    for (const EdidBytes& block : data_blocks) b.insert(b.end(), block.begin(), block.end());
    b[2] = low(static_cast<unsigned>(b.size()));
    size_t at = b.size();
    assert(at + timings.size() * DESCRIPTOR < EDID_BLOCK);
    b.resize(EDID_BLOCK, 0);
    for (const EdidTiming& timing : timings) {
        put_timing(&b[at], timing, width_mm, height_mm);
        at += DESCRIPTOR;
    }
    edid_fix_checksum(b, 0);
    return b;
}

EdidImage edid_block_map(std::initializer_list<uint8_t> tags)
{
    EdidImage b(EDID_BLOCK, 0);
    b[0] = 0xF0;
    std::copy(tags.begin(), tags.end(), b.begin() + 1);
    edid_fix_checksum(b, 0);
    return b;
}

EdidImage edid_timing_extension(std::initializer_list<EdidTiming> timings, uint16_t width_mm, uint16_t height_mm)
{
    EdidImage b(EDID_BLOCK, 0);
    b[0] = TAG_VIDEO_TIMINGS;
    b[1] = 1; // version
    b[2] = low(static_cast<unsigned>(timings.size()));
    size_t at = 5; // behind the counts of the other two kinds of timing
    for (const EdidTiming& timing : timings) {
        put_timing(&b[at], timing, width_mm, height_mm);
        at += DESCRIPTOR;
    }
    edid_fix_checksum(b, 0);
    return b;
}

EdidImage edid_display_id(const EdidTiming& native, uint16_t product, uint16_t width_mm, uint16_t height_mm)
{
    constexpr uint8_t version_1_2 = 0x12, monitor = 3;
    constexpr size_t sum_at = EDID_BLOCK - 2; // the section fills the extension
    EdidImage b{TAG_DISPLAY_ID, version_1_2, sum_at - 5, monitor, 0};
    const auto add = [&b](std::initializer_list<uint8_t> bytes) {
        for (const uint8_t byte : bytes) b.push_back(byte);
    };
    const auto put = [&add](unsigned figure) { add({low(figure), low(figure >> 8)}); };
    const auto put_less = [&put](unsigned figure, bool positive = false) {
        put((figure - 1) | (positive ? 0x8000u : 0u));
    };
    add({0x00, 0, 12, 'E', 'M', 'U'}); // product identification
    put(product);
    add({0, 0, 0, 0, 10, 14, 0}); // serial number, week, year from 2000 on, no name
    add({0x01, 0, 12});           // display parameters
    put(10u * width_mm);
    put(10u * height_mm);
    put(native.h_active);
    put(native.v_active);
    constexpr uint8_t gamma_2_2 = 120, eight_bits = 0x77;
    add({0, gamma_2_2, low(100u * native.h_active / native.v_active - 100), eight_bits});
    constexpr uint8_t hdmi_socket = 0x71, eight_bits_each = 0x02;
    add({0x0F, 0, 10, hdmi_socket, 0x13, eight_bits_each, eight_bits_each, eight_bits_each});
    b.insert(b.end(), 5, 0);                         // neither content protection nor spread spectrum
    constexpr uint8_t preferred = 0x80, wide = 0x06; // picture of 16:10
    add({0x03, 0, 20});                              // detailed timing, type I
    put_less(native.clock_khz / 10);
    add({0, preferred | wide});
    put_less(native.h_active);
    put_less(native.h_blank);
    put_less(native.h_front, native.h_positive);
    put_less(native.h_sync);
    put_less(native.v_active);
    put_less(native.v_blank);
    put_less(native.v_front, native.v_positive);
    put_less(native.v_sync);
    b.resize(EDID_BLOCK, 0);
    b[sum_at] = low(0u - std::accumulate(b.begin() + 1, b.begin() + sum_at, 0u));
    edid_fix_checksum(b, 0);
    return b;
}

} // namespace emu
