/**
 * @file
 * Lays out EDID images block by block: detailed timings, descriptors, CTA-861 data blocks, checksums.
 * Plain data, no state; any thread.
 */
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string_view>
#include <vector>

namespace emu {

using EdidImage = std::vector<uint8_t>; ///< whole blocks of 128 bytes
using EdidBytes = std::vector<uint8_t>;

constexpr size_t EDID_BLOCK = 128;

constexpr uint8_t TAG_CTA = 0x02, TAG_VIDEO_TIMINGS = 0x10, TAG_DISPLAY_ID = 0x70; ///< of extensions

/** Identifiers of vendor blocks (IEEE), most significant byte first: HDMI 1.4's and the HDMI Forum's. */
constexpr uint32_t OUI_HDMI = 0x000C03, OUI_HDMI_FORUM = 0xC45DD8;

/** A video timing as a detailed timing descriptor holds it; vertical figures of an interlaced one are per field. */
struct EdidTiming {
    uint32_t clock_khz;
    uint16_t h_active, h_blank, h_front, h_sync;
    uint16_t v_active, v_blank, v_front, v_sync;
    bool h_positive, v_positive, interlaced;
};

/** The timing of a format by its name; throws std::invalid_argument for one that has none. */
EdidTiming edid_timing(std::string_view format);

/** What a display's base block says, in structure 1.3, which HDMI asks for. */
struct EdidBase {
    std::string_view name; ///< at most 13 letters
    uint16_t product;
    uint8_t width_cm, height_cm;           ///< 0, 0 where the picture has no fixed size
    uint8_t established[2] = {0x20, 0x00}; ///< 640x480p60 alone unless told otherwise
    EdidTiming preferred, second;
    uint8_t v_low_hz = 50, v_high_hz = 75, h_low_khz = 15, h_high_khz = 70;
    uint8_t max_clock_10mhz = 15;
};

/** Base block with its checksum; `extensions` goes to byte 0x7E. */
EdidImage edid_base(const EdidBase& base, uint8_t extensions);

/** CTA-861 data blocks, their header byte included.
 * @{ */
EdidBytes cta_video(std::initializer_list<uint8_t> vics); ///< bit 7 marks a native one
EdidBytes cta_audio(std::initializer_list<uint8_t> descriptors);
EdidBytes cta_speakers(uint8_t allocation);
EdidBytes cta_hdmi(std::initializer_list<uint8_t> behind_oui);
EdidBytes cta_vendor(uint32_t oui, std::initializer_list<uint8_t> behind_oui);
EdidBytes cta_extended(uint8_t tag, std::initializer_list<uint8_t> payload); ///< a block with an extended tag
EdidBytes cta_capability(uint8_t flags);
EdidBytes cta_colorimetry(uint8_t spaces);
/** @} */

/** CTA-861 extension with its checksum. `flags` is byte 3; revision 1 has neither flags nor data blocks. */
EdidImage edid_cta(uint8_t revision, uint8_t flags, std::initializer_list<EdidBytes> data_blocks,
                   std::initializer_list<EdidTiming> timings, uint16_t width_mm = 0, uint16_t height_mm = 0);

/** Block map: the tags of the blocks behind it. */
EdidImage edid_block_map(std::initializer_list<uint8_t> tags);

/** Video timing extension with detailed timings only. */
EdidImage edid_timing_extension(std::initializer_list<EdidTiming> timings, uint16_t width_mm, uint16_t height_mm);

/** DisplayID extension: a section of version 1.2 of a monitor on HDMI, with a timing that fills its picture. */
EdidImage edid_display_id(const EdidTiming& native, uint16_t product, uint16_t width_mm, uint16_t height_mm);

/** Put the right checksum into the last byte of a block. */
void edid_fix_checksum(EdidImage& image, size_t block);

/** Whether a block of the image sums to 0. */
bool edid_checksum_right(const EdidImage& image, size_t block);

} // namespace emu
