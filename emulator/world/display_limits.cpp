#include "emulator/world/display_limits.h"

#include "emulator/world/edid_reader.h"

#include <algorithm>
#include <span>

namespace emu {

namespace {

constexpr size_t DESCRIPTOR = 18, FIRST_DESCRIPTOR = 54, DESCRIPTORS = 4;
constexpr uint32_t SINGLE_LINK_DVI_KHZ = 165'000; // DVI 1.0

/** Established timings (E-EDID 3.8): bits of bytes 35 to 37 from the highest down. */
constexpr const char* ESTABLISHED[] = {"",
                                       "",
                                       "dmt-640x480-60",
                                       "",
                                       "dmt-640x480-72",
                                       "dmt-640x480-75",
                                       "dmt-800x600-56",
                                       "dmt-800x600-60",
                                       "dmt-800x600-72",
                                       "dmt-800x600-75",
                                       "",
                                       "dmt-1024x768i-43",
                                       "dmt-1024x768-60",
                                       "dmt-1024x768-70",
                                       "dmt-1024x768-75",
                                       "dmt-1280x1024-75"};

void add_established(EdidBlock base, DisplayLimits& limits)
{
    for (size_t bit = 0; bit < std::size(ESTABLISHED); ++bit) {
        if ((base[35 + bit / 8] >> (7 - bit % 8) & 1) == 0) continue;
        if (const auto format = find_format(ESTABLISHED[bit])) limits.timings.push_back(timing_of(*format));
    }
}

/** Standard timings (E-EDID 3.9): width in characters, aspect ratio and rate; the clock is not told. */
void add_standard(EdidBlock base, DisplayLimits& limits)
{
    static constexpr unsigned ASPECT[][2] = {{16, 10}, {4, 3}, {5, 4}, {16, 9}};
    for (size_t at = 38; at < FIRST_DESCRIPTOR; at += 2) {
        if (base[at] <= 1) continue; // unused
        const unsigned width = (base[at] + 31u) * 8;
        const auto& [across, down] = ASPECT[base[at + 1] >> 6];
        limits.timings.push_back({.width = static_cast<uint16_t>(width),
                                  .height = static_cast<uint16_t>(width * down / across),
                                  .rate_hz = (base[at + 1] & 0x3F) + 60.0});
    }
}

/** A detailed timing descriptor (E-EDID 3.10.2); one without a clock is another kind of descriptor. */
void add_detailed(std::span<const uint8_t> d, DisplayLimits& limits)
{
    const uint32_t clock = 10u * (d[0] | static_cast<uint32_t>(d[1]) << 8);
    if (clock == 0) return;
    const auto upper = [&d](size_t at, size_t high, unsigned shift) {
        return d[at] | static_cast<unsigned>(d[high] >> shift & 0x0F) << 8;
    };
    const unsigned width = upper(2, 4, 4), blank = upper(3, 4, 0), lines = upper(5, 7, 4), v_blank = upper(6, 7, 0);
    if (width == 0 || lines == 0) return;
    const bool interlaced = (d[17] & 0x80) != 0;
    // The lines of an interlaced timing are those of a field, which has half a line more.
    const double total = (width + blank) * (lines + v_blank + (interlaced ? 0.5 : 0));
    limits.timings.push_back({.clock_khz = clock,
                              .width = static_cast<uint16_t>(width),
                              .height = static_cast<uint16_t>(interlaced ? 2 * lines : lines),
                              .interlaced = interlaced,
                              .rate_hz = 1000.0 * clock / total});
}

/** Display range limits (E-EDID 3.10.3.3.1) give the pixel clock in tens of MHz. */
void take_range_limits(std::span<const uint8_t> d, DisplayLimits& limits)
{
    if (d[0] == 0 && d[1] == 0 && d[3] == 0xFD && d[9] != 0xFF) limits.max_clock_khz = d[9] * 10'000u;
}

void add_base(EdidBlock base, DisplayLimits& limits)
{
    add_established(base, limits);
    add_standard(base, limits);
    for (size_t i = 0; i < DESCRIPTORS; ++i) {
        const auto descriptor = std::span(base).subspan(FIRST_DESCRIPTOR + i * DESCRIPTOR, DESCRIPTOR);
        add_detailed(descriptor, limits);
        take_range_limits(descriptor, limits);
    }
}

void add_vic(uint8_t code, DisplayLimits& limits)
{
    const uint8_t vic = code >= 129 && code <= 192 ? code & 0x7F : code; // bit 7 marks a native one of the first 64
    for (const Format& format : all_formats())
        if (vic != 0 && (format.vic == vic || format.vic_wide == vic)) limits.timings.push_back(timing_of(format));
}

/** What a display says of the link besides the base block's range. */
struct Link {
    bool hdmi = false;
    uint32_t khz = 0; ///< fastest clock by HDMI's blocks, which count in 5 MHz; 0: they do not say
};

void add_link(const DataBlock& block, Link& link)
{
    link.hdmi = link.hdmi || block.is_hdmi();
    const size_t at = block.vendor() == OUI_HDMI ? 6 : block.vendor() == OUI_HDMI_FORUM ? 4 : EDID_BLOCK;
    if (block.payload.size() > at) link.khz = std::max(link.khz, block.payload[at] * 5'000u);
}

/** A CTA-861 extension: short video descriptors, HDMI's clock, detailed timings behind the data blocks. */
void add_cta(EdidBlock extension, DisplayLimits& limits, Link& link)
{
    for (const DataBlock& block : cta_data_blocks(extension)) {
        if (block.tag == 2)
            for (const uint8_t code : block.payload) add_vic(code, limits);
        add_link(block, link);
    }
    if (extension[2] < 4) return;
    for (size_t at = extension[2]; at + DESCRIPTOR < EDID_BLOCK; at += DESCRIPTOR)
        add_detailed(extension.subspan(at, DESCRIPTOR), limits);
}

/** A detailed timing of DisplayID 1.3, type I; its figures are one less than what they count. */
void add_display_id_timing(std::span<const uint8_t> d, DisplayLimits& limits)
{
    const auto figure = [&d](size_t at) { return 1u + (d[at] | static_cast<unsigned>(d[at + 1]) << 8); };
    const uint32_t clock = 10 * (figure(0) + (static_cast<uint32_t>(d[2]) << 16));
    const bool interlaced = (d[3] & 0x10) != 0;
    const unsigned width = figure(4), lines = figure(12);
    const double total = (width + figure(6)) * (lines + figure(14) + (interlaced ? 0.5 : 0));
    limits.timings.push_back({.clock_khz = clock,
                              .width = static_cast<uint16_t>(width),
                              .height = static_cast<uint16_t>(interlaced ? 2 * lines : lines),
                              .interlaced = interlaced,
                              .rate_hz = 1000.0 * clock / total});
}

void add_display_id(EdidBlock extension, DisplayLimits& limits)
{
    constexpr uint8_t detailed = 0x03;
    constexpr size_t size = 20;
    for (const DataBlock& block : display_id_data_blocks(extension))
        for (size_t at = 0; block.tag == detailed && at + size <= block.payload.size(); at += size)
            add_display_id_timing(block.payload.subspan(at, size), limits);
}

} // namespace

bool DisplayLimits::lists(const PictureTiming& timing) const
{
    return std::ranges::any_of(timings, [&timing](const auto& own) { return is_same_picture(own, timing); });
}

DisplayLimits read_limits(const EdidImage& edid)
{
    DisplayLimits limits;
    if (!has_edid_header(edid)) return limits;
    add_base(std::span(edid).first<EDID_BLOCK>(), limits);
    Link link;
    for (const EdidBlock extension : extensions_of(edid, TAG_CTA)) add_cta(extension, limits, link);
    for (const EdidBlock extension : extensions_of(edid, TAG_DISPLAY_ID)) add_display_id(extension, limits);
    if (link.khz != 0) limits.max_clock_khz = link.khz;
    if (!link.hdmi && (limits.max_clock_khz == 0 || limits.max_clock_khz > SINGLE_LINK_DVI_KHZ))
        limits.max_clock_khz = SINGLE_LINK_DVI_KHZ;
    return limits;
}

} // namespace emu
