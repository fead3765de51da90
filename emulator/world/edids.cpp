#include "emulator/world/edids.h"

#include "emulator/base/host_files.h"

#include <algorithm>
#include <cctype>

namespace emu {

namespace {

// Byte 3 of a CTA extension of revision 2 and later.
constexpr uint8_t UNDERSCAN = 0x80, BASIC_AUDIO = 0x40, YUV444 = 0x20, YUV422 = 0x10;
constexpr uint8_t NATIVE = 0x80;                                                    // of a video identification code
constexpr uint8_t RGB_RANGE_SELECTABLE = 0x4A, RGB_AND_YUV_RANGE_SELECTABLE = 0xCA; // always underscanned besides
constexpr uint8_t XVYCC = 0x03;
constexpr uint8_t FRONT_SPEAKERS = 0x01, SPEAKERS_5_1 = 0x0F, SPEAKERS_7_1 = 0x4F;
constexpr uint8_t HDR_STATIC_METADATA = 6, VIDEO_420 = 14, CAPABILITY_420 = 15; // extended tags
constexpr uint32_t OTHER_MAKER = 0x02E0A1;                                      // of the range for local use
constexpr uint8_t VIC_2160P50 = 96, VIC_2160P60 = 97;

EdidImage join(std::initializer_list<EdidImage> blocks)
{
    EdidImage image;
    for (const EdidImage& block : blocks) image.insert(image.end(), block.begin(), block.end());
    return image;
}

EdidBytes stereo_pcm()
{
    return cta_audio({0x09, 0x07, 0x07});
} // 2 channels, 32 to 48 kHz, 16 to 24 bits

EdidBase tv_base(std::string_view name, uint16_t product)
{
    return {.name = name,
            .product = product,
            .width_cm = 93,
            .height_cm = 52,
            .preferred = edid_timing("1080p60"),
            .second = edid_timing("720p60"),
            .v_low_hz = 49,
            .max_clock_10mhz = 15};
}

EdidImage dvi()
{
    EdidBase base = {.name = "Emu Desk 19",
                     .product = 0x1901,
                     .width_cm = 38,
                     .height_cm = 30,
                     .established = {0x21, 0x08}, // 640x480, 800x600, 1024x768, all at 60 Hz
                     .preferred = edid_timing("dmt-1280x1024-60"),
                     .second = edid_timing("dmt-1024x768-60"),
                     .h_low_khz = 30,
                     .h_high_khz = 80,
                     .max_clock_10mhz = 11};
    return edid_base(base, 0);
}

EdidImage tv()
{
    return join({edid_base(tv_base("Emu TV 42", 0x4201), 1),
                 edid_cta(3, UNDERSCAN | BASIC_AUDIO | YUV444 | YUV422,
                          {cta_video({NATIVE | 16, 31, 4, 19, 5, 20, 3, 18, 2, 17, 1}),
                           cta_audio({0x09, 0x07, 0x07, 0x15, 0x07, 0x50}), cta_speakers(SPEAKERS_5_1),
                           cta_hdmi({0x10, 0x00, 0x38, 0x2D}), cta_capability(RGB_AND_YUV_RANGE_SELECTABLE),
                           cta_colorimetry(XVYCC)},
                          {edid_timing("1080i60"), edid_timing("480p60")}, 930, 520)});
}

/** A TV that differs from others in the colour and audio flags of its extension. */
EdidImage plain_tv(std::string_view name, uint16_t product, uint8_t flags)
{
    const uint8_t range = (flags & (YUV444 | YUV422)) != 0 ? RGB_AND_YUV_RANGE_SELECTABLE : RGB_RANGE_SELECTABLE;
    const EdidBytes sound = (flags & BASIC_AUDIO) != 0 ? stereo_pcm() : EdidBytes{};
    const EdidBytes speakers = (flags & BASIC_AUDIO) != 0 ? cta_speakers(FRONT_SPEAKERS) : EdidBytes{};
    return join({edid_base(tv_base(name, product), 1), edid_cta(3, static_cast<uint8_t>(flags | UNDERSCAN),
                                                                {cta_video({NATIVE | 16, 4, 3, 2, 1}), sound, speakers,
                                                                 cta_hdmi({0x20, 0x00}), cta_capability(range)},
                                                                {edid_timing("480p60")}, 930, 520)});
}

/** An early HDMI-socket panel: its extension lists timings and nothing else. */
EdidImage rev1()
{
    EdidBase base = tv_base("Emu Panel 1", 0x0101);
    base.preferred = edid_timing("720p60");
    base.second = edid_timing("480p60");
    base.max_clock_10mhz = 8;
    return join({edid_base(base, 1), edid_cta(1, 0, {}, {edid_timing("720p50"), edid_timing("576p50")}, 930, 520)});
}

EdidImage hdmi_extension()
{
    return edid_cta(3, UNDERSCAN | BASIC_AUDIO | YUV444 | YUV422,
                    {cta_video({NATIVE | 16, 31, 4, 19, 3, 18, 2, 17, 1}), stereo_pcm(), cta_speakers(FRONT_SPEAKERS),
                     cta_hdmi({0x30, 0x00, 0x00, 0x2D}), cta_capability(RGB_AND_YUV_RANGE_SELECTABLE)},
                    {edid_timing("1080i60")}, 930, 520);
}

/** A second extension that adds timings to the first one. */
EdidImage timings_extension()
{
    return edid_cta(3, UNDERSCAN | BASIC_AUDIO | YUV444 | YUV422, {cta_video({20, 5})},
                    {edid_timing("1080p50"), edid_timing("720p50")}, 930, 520);
}

EdidImage two_cea()
{
    return join({edid_base(tv_base("Emu Wall 55", 0x5501), 3), edid_block_map({TAG_CTA, TAG_CTA}), hdmi_extension(),
                 timings_extension()});
}

EdidImage five_blocks()
{
    return join({edid_base(tv_base("Emu Studio 32", 0x3201), 4), edid_block_map({TAG_CTA, TAG_CTA, TAG_VIDEO_TIMINGS}),
                 hdmi_extension(), timings_extension(),
                 edid_timing_extension({edid_timing("dmt-1280x1024-60")}, 930, 520)});
}

/** A projector has no picture size of its own, and no loudspeakers worth the name. */
EdidImage projector()
{
    EdidBase base = {.name = "Emu Beam 800",
                     .product = 0x0801,
                     .width_cm = 0,
                     .height_cm = 0,
                     .established = {0x21, 0x08},
                     .preferred = edid_timing("dmt-1280x800-60rb"),
                     .second = edid_timing("dmt-1024x768-60"),
                     .v_low_hz = 49,
                     .v_high_hz = 85,
                     .h_high_khz = 92,
                     .max_clock_10mhz = 16};
    return join({edid_base(base, 1),
                 edid_cta(3, UNDERSCAN | BASIC_AUDIO | YUV444 | YUV422,
                          {cta_video({4, 19, 16, 31, 3, 18, 2, 17, 1}), stereo_pcm(), cta_speakers(FRONT_SPEAKERS),
                           cta_hdmi({0x10, 0x00}), cta_capability(RGB_AND_YUV_RANGE_SELECTABLE)},
                          {edid_timing("720p60")})});
}

/** DVI's single link and a base block of the version before HDMI's. */
EdidImage early_dvi()
{
    EdidImage image = edid_base({.name = "Emu Desk 20",
                                 .product = 0x2001,
                                 .width_cm = 41,
                                 .height_cm = 31,
                                 .established = {0x21, 0x08},
                                 .preferred = edid_timing("dmt-1600x1200-60"),
                                 .second = edid_timing("dmt-1280x1024-60"),
                                 .h_low_khz = 30,
                                 .h_high_khz = 92,
                                 .max_clock_10mhz = 17},
                                0);
    image[19] = 2; // structure 1.2
    edid_fix_checksum(image, 0);
    return image;
}

/** The TV's extension with further vendor blocks around HDMI's. */
EdidImage tv_with_vendors(std::string_view name, uint16_t product, const EdidBytes& before, const EdidBytes& behind)
{
    return join(
        {edid_base(tv_base(name, product), 1),
         edid_cta(3, UNDERSCAN | BASIC_AUDIO | YUV444 | YUV422,
                  {cta_video({NATIVE | 16, 31, 4, 19, 3, 18, 2, 17, 1}), stereo_pcm(), cta_speakers(FRONT_SPEAKERS),
                   before, cta_hdmi({0x10, 0x00, 0x38, 0x2D}), behind, cta_capability(RGB_AND_YUV_RANGE_SELECTABLE)},
                  {edid_timing("1080i60")}, 930, 520)});
}

EdidTiming timing_2160p(uint32_t clock_khz)
{
    return {.clock_khz = clock_khz,
            .h_active = 3840,
            .h_blank = 560,
            .h_front = 176,
            .h_sync = 88,
            .v_active = 2160,
            .v_blank = 90,
            .v_front = 8,
            .v_sync = 10,
            .h_positive = true,
            .v_positive = true,
            .interlaced = false};
}

EdidBase uhd_base(std::string_view name, uint16_t product, uint32_t clock_khz)
{
    EdidBase base = tv_base(name, product);
    base.preferred = timing_2160p(clock_khz);
    base.second = edid_timing("1080p60");
    base.h_high_khz = 135;
    base.max_clock_10mhz = static_cast<uint8_t>(clock_khz / 10'000 + 1);
    return base;
}

/** 594 MHz over HDMI 2.0, in 4:2:0 as well, with high dynamic range. */
EdidImage uhd()
{
    return join({edid_base(uhd_base("Emu UHD 65", 0x6502, 594'000), 1),
                 edid_cta(3, UNDERSCAN | BASIC_AUDIO | YUV444 | YUV422,
                          {cta_video({VIC_2160P60, VIC_2160P50, 16, 31, 4, 19, 3, 18, 2, 17, 1}), stereo_pcm(),
                           cta_speakers(FRONT_SPEAKERS), cta_hdmi({0x10, 0x00, 0xB8, 0x3C}),
                           cta_vendor(OUI_HDMI_FORUM, {0x01, 0x78, 0x80, 0x03}),
                           cta_capability(RGB_AND_YUV_RANGE_SELECTABLE), cta_colorimetry(0xC3),
                           cta_extended(HDR_STATIC_METADATA, {0x07, 0x01, 0x60}), cta_extended(CAPABILITY_420, {0x03})},
                          {edid_timing("720p60")}, 930, 520)});
}

/** 297 MHz, which is enough for 2160p60 in 4:2:0 only. */
EdidImage y420()
{
    EdidBase base = uhd_base("Emu UHD 49", 0x4902, 297'000);
    base.v_low_hz = 24;
    return join({edid_base(base, 1), edid_cta(3, UNDERSCAN | BASIC_AUDIO | YUV444 | YUV422,
                                              {cta_video({16, 31, 4, 19, 3, 18, 2, 17, 1, 95, 94, 93}),
                                               cta_extended(VIDEO_420, {VIC_2160P60, VIC_2160P50}), stereo_pcm(),
                                               cta_speakers(FRONT_SPEAKERS), cta_hdmi({0x20, 0x00, 0x80, 0x3C}),
                                               cta_vendor(OUI_HDMI_FORUM, {0x01, 0x00, 0x00, 0x00}),
                                               cta_capability(RGB_AND_YUV_RANGE_SELECTABLE)},
                                              {edid_timing("720p60")}, 930, 520)});
}

/** A 1080p monitor of high dynamic range with its data blocks in an order of its own: HDMI's comes first. */
EdidImage hdr()
{
    return join({edid_base(tv_base("Emu HDR 27", 0x2702), 1),
                 edid_cta(3, UNDERSCAN | BASIC_AUDIO | YUV444 | YUV422,
                          {cta_hdmi({0x10, 0x00, 0xB8, 0x2D}), cta_extended(HDR_STATIC_METADATA, {0x0D, 0x01, 0x60}),
                           cta_colorimetry(0xC0), cta_capability(RGB_AND_YUV_RANGE_SELECTABLE), stereo_pcm(),
                           cta_speakers(FRONT_SPEAKERS), cta_video({NATIVE | 16, 31, 4, 19, 3, 18, 2, 17, 1})},
                          {edid_timing("720p60")}, 930, 520)});
}

/** A monitor whose best timing stands in a DisplayID extension. */
EdidImage display_id()
{
    EdidBase base = tv_base("Emu Wide 29", 0x2901);
    base.width_cm = 64;
    base.height_cm = 40;
    return join({edid_base(base, 3), edid_block_map({TAG_CTA, TAG_DISPLAY_ID}),
                 edid_cta(3, UNDERSCAN | BASIC_AUDIO | YUV444 | YUV422,
                          {cta_video({16, 31, 4, 19, 3, 18, 2, 17, 1}), stereo_pcm(), cta_speakers(FRONT_SPEAKERS),
                           cta_hdmi({0x10, 0x00}), cta_capability(RGB_AND_YUV_RANGE_SELECTABLE)},
                          {}),
                 edid_display_id(edid_timing("dmt-1680x1050-60rb"), 0x2901, 640, 400)});
}

/** Eight channels and 192 kHz, and the compressed kinds of discs. */
EdidImage amplifier()
{
    return join({edid_base(tv_base("Emu Amp 7.1", 0x7101), 1),
                 edid_cta(3, UNDERSCAN | BASIC_AUDIO | YUV444 | YUV422,
                          {cta_video({NATIVE | 16, 31, 4, 19, 5, 20, 3, 18, 2, 17, 1}),
                           cta_audio({0x09, 0x7F, 0x07, 0x0F, 0x7F, 0x07, 0x15, 0x07, 0x50, 0x3D, 0x1E, 0xC0, 0x5F,
                                      0x7E, 0x01, 0x67, 0x54, 0x01}),
                           cta_speakers(SPEAKERS_7_1), cta_hdmi({0x10, 0x00, 0x38, 0x2D}),
                           cta_capability(RGB_AND_YUV_RANGE_SELECTABLE)},
                          {edid_timing("1080i60")}, 930, 520)});
}

/** Sound, and no word of which: that is basic audio. */
EdidImage basic_audio()
{
    return join(
        {edid_base(tv_base("Emu Kitchen", 0x1502), 1),
         edid_cta(3, UNDERSCAN | BASIC_AUDIO,
                  {cta_video({NATIVE | 16, 4, 3, 2, 1}), cta_hdmi({0x10, 0x00}), cta_capability(RGB_RANGE_SELECTABLE)},
                  {edid_timing("480p60")}, 930, 520)});
}

/** The capabilities belong into the first CTA extension, and what HDMI sources look for as well. */
EdidImage late_hdmi()
{
    return join({edid_base(tv_base("Emu Wall 75", 0x7501), 3), edid_block_map({TAG_CTA, TAG_CTA}), timings_extension(),
                 hdmi_extension()});
}

/** HDMI asks for base blocks of structure 1.3, and that one for a map in front of more than one extension. */
EdidImage no_map()
{
    return join({edid_base(tv_base("Emu Wall 43", 0x4301), 2), hdmi_extension(), timings_extension()});
}

EdidImage bad_sum()
{
    EdidImage image = tv();
    image[EDID_BLOCK - 1] ^= 0x01;
    return image;
}

/** The header is wrong, the checksum is right: what a display with a worn-out EEPROM cell gives. */
EdidImage bad_header()
{
    EdidImage image = tv();
    image[3] = 0xFE;
    edid_fix_checksum(image, 0);
    return image;
}

/** What goes into one extension of the hostile display. */
struct Trap {
    uint8_t timings_at; ///< byte 2: where the data blocks are said to end
    EdidBytes blocks;   ///< data blocks from byte 4 on
    size_t lie_at;      ///< where the lying header byte stands
    uint8_t lie;
};

/** Fill bytes of an extension with capability blocks, so that a walk over the data blocks ends up at `to`. */
void lead_to(uint8_t* x, size_t from, size_t to)
{
    constexpr size_t longest = 32;
    while (from < to) {
        const size_t length = std::min(to - from, longest);
        x[from] = static_cast<uint8_t>(0xE0 | (length - 1)); // tag 7
        from += length;
    }
}

/** Lengths that lie: data blocks that run past the timings, past the block and past the image; empty vendor blocks. */
EdidImage hostile()
{
    EdidImage image = join({edid_base(tv_base("Emu Trap 66", 0x6601), 4), EdidImage(4 * EDID_BLOCK, 0)});
    const Trap traps[] = {
        {0xFF, {}, 126, 0x7F},     // vendor block of 31 bytes in the last byte but one
        {0x7F, {0x60}, 120, 0x5F}, // vendor block without an identifier, then 31 video codes
        {0x00, {}, 4, 0x3F},       // data blocks end before they begin
        {0xFF, {0x65, 0x03, 0x0C, 0x00, 0x10, 0x00}, 100, 0x3F}, // a good identifier, then audio over the end
    };
    size_t block = 1;
    for (const Trap& trap : traps) {
        uint8_t* x = &image[block * EDID_BLOCK];
        x[0] = TAG_CTA;
        x[1] = 3;
        x[2] = trap.timings_at;
        x[3] = UNDERSCAN | BASIC_AUDIO | YUV444 | YUV422;
        std::copy(trap.blocks.begin(), trap.blocks.end(), x + 4);
        lead_to(x, 4 + trap.blocks.size(), trap.lie_at);
        x[trap.lie_at] = trap.lie;
        edid_fix_checksum(image, block++);
    }
    return image;
}

std::vector<ShippedEdid> make_shipped()
{
    const uint8_t sound = BASIC_AUDIO;
    return {
        {"dvi", "DVI monitor without an extension", true, dvi()},
        {"tv", "HDMI TV with two blocks: RGB, YCbCr 4:4:4 and 4:2:2, 5.1 sound", true, tv()},
        {"yuv444", "HDMI TV that lists YCbCr 4:4:4 without 4:2:2", true,
         plain_tv("Emu TV 444", 0x4441, sound | YUV444)},
        {"yuv422", "HDMI TV that lists YCbCr 4:2:2 without 4:4:4", true,
         plain_tv("Emu TV 422", 0x4221, sound | YUV422)},
        {"rgb", "HDMI TV for RGB only", true, plain_tv("Emu TV RGB", 0x1001, sound)},
        {"noaudio", "HDMI monitor without basic audio", true, plain_tv("Emu Silent 24", 0x2401, YUV444 | YUV422)},
        {"rev1", "panel with an extension of revision 1", true, rev1()},
        {"two-cea", "HDMI TV with a block map and two CTA extensions", true, two_cea()},
        {"five-blocks", "HDMI monitor with a block map and three more extensions", true, five_blocks()},
        {"projector", "HDMI projector without a picture size", true, projector()},
        {"dvi-165", "DVI monitor of 165 MHz with a base block of version 1.2", true, early_dvi()},
        {"forum", "HDMI TV with an HDMI Forum vendor block behind HDMI's", true,
         tv_with_vendors("Emu TV 40", 0x4002, {}, cta_vendor(OUI_HDMI_FORUM, {0x01, 0x00, 0x80, 0x00}))},
        {"vendors", "HDMI TV with another maker's vendor blocks before and behind HDMI's", true,
         tv_with_vendors("Emu TV 32", 0x3202, cta_vendor(OTHER_MAKER, {0x11, 0x22}), cta_vendor(OTHER_MAKER, {0x33}))},
        {"uhd", "4K TV of 594 MHz: HDMI Forum block, HDR metadata, 4:2:0 besides 4:4:4", true, uhd()},
        {"y420", "4K TV of 297 MHz: HDMI Forum block, 2160p60 in 4:2:0 only", true, y420()},
        {"hdr", "HDMI monitor with HDR metadata, HDMI's block the first of all", true, hdr()},
        {"displayid", "HDMI monitor with a CTA and a DisplayID extension", true, display_id()},
        {"amplifier", "HDMI amplifier: 8 channels, 192 kHz, compressed sound", true, amplifier()},
        {"basic-audio", "HDMI TV with basic audio and no audio descriptor, for RGB only", true, basic_audio()},
        {"late-hdmi", "HDMI TV with HDMI's block in the second CTA extension", false, late_hdmi()},
        {"no-map", "HDMI TV with two CTA extensions and no block map in front of them", false, no_map()},
        {"bad-sum", "the TV with a wrong checksum in its base block", false, bad_sum()},
        {"bad-header", "the TV with a broken header", false, bad_header()},
        {"hostile", "data block lengths that run past every end", false, hostile()},
    };
}

constexpr size_t MOST_BLOCKS = 256;

EdidImage checked_size(EdidImage image)
{
    if (image.empty()) throw EdidError("holds no bytes");
    if (image.size() % EDID_BLOCK != 0)
        throw EdidError("holds " + std::to_string(image.size()) + " bytes, which are no whole blocks of 128");
    if (image.size() > MOST_BLOCKS * EDID_BLOCK)
        throw EdidError("holds " + std::to_string(image.size() / EDID_BLOCK) + " blocks; 256 is the most");
    return image;
}

bool is_text(const std::string& content)
{
    return std::all_of(content.begin(), content.end(), [](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return std::isprint(byte) != 0 || std::isspace(byte) != 0;
    });
}

/** Append the bytes of one word of a text. */
void append_hex(EdidImage& image, std::string word, size_t line)
{
    if (word.starts_with("0x") || word.starts_with("0X")) word = word.substr(2);
    const bool digits = std::all_of(word.begin(), word.end(), [](unsigned char c) { return std::isxdigit(c) != 0; });
    if (word.empty() || !digits || word.size() % 2 != 0)
        throw EdidError("line " + std::to_string(line) + ": '" + word.substr(0, 20) + "' is no hexadecimal byte");
    for (size_t i = 0; i < word.size(); i += 2)
        image.push_back(static_cast<uint8_t>(std::stoi(word.substr(i, 2), nullptr, 16)));
}

EdidImage parse_hex(const std::string& text)
{
    EdidImage image;
    std::string word;
    size_t line = 1;
    bool comment = false;
    for (char c : text + "\n") {
        if (c == '#') comment = true;
        const bool between = comment || c == ',' || std::isspace(static_cast<unsigned char>(c)) != 0;
        if (!between) word += c;
        if (between && !word.empty()) {
            append_hex(image, word, line);
            word.clear();
        }
        if (c != '\n') continue;
        ++line;
        comment = false;
    }
    return image;
}

} // namespace

const std::vector<ShippedEdid>& shipped_edids()
{
    static const std::vector<ShippedEdid> shipped = make_shipped();
    return shipped;
}

EdidImage parse_edid_file(const std::string& content)
{
    return checked_size(is_text(content) ? parse_hex(content) : EdidImage(content.begin(), content.end()));
}

const ShippedEdid* find_shipped_edid(std::string_view name)
{
    for (const ShippedEdid& edid : shipped_edids())
        if (edid.name == name) return &edid;
    return nullptr;
}

EdidImage read_edid_file(const std::string& file)
{
    constexpr size_t letters = 8; // of a text for a byte: "0x00, " and a share of the comments
    try {
        return parse_edid_file(read_host_file(file, letters * MOST_BLOCKS * EDID_BLOCK));
    } catch (const HostFileError& error) {
        throw EdidError(error.what());
    }
}

EdidImage find_edid(const std::string& name_or_file)
{
    const ShippedEdid* shipped = find_shipped_edid(name_or_file);
    return shipped != nullptr ? shipped->image : read_edid_file(name_or_file);
}

void save_edid(const EdidImage& image, const std::string& file)
{
    write_host_file(file, {reinterpret_cast<const char*>(image.data()), image.size()});
}

} // namespace emu
