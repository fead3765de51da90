/**
 * @file
 * EDID, read as bytes: whether block 0 is one (VESA E-EDID), and what the output needs of a CEA extension (CEA-861).
 * Bytes in, a record out; nothing here does input or output or keeps state. Any thread.
 *
 * An EDID comes from outside. In the extension the walk over the data blocks ends where byte 2 says, before the
 * checksum byte at the latest, and what a data block claims to hold from there on is not there. A data block that
 * begins in front of the end by byte 2 and runs past it is taken whole: there are TVs that put byte 2 too low. The
 * extension's checksum is not asked for: a display that gets it wrong would have to be driven as DVI, and each of its
 * bytes is checked where it is used.
 */
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace capd {

constexpr int EDID_BLOCK_SIZE = 128;
constexpr std::array<uint8_t, 8> EDID_HEADER = {0x00, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x00};
constexpr size_t EDID_EXTENSION_COUNT = 0x7E; ///< offset of the number of extension blocks in block 0

constexpr uint32_t HDMI_OUI = 0x000C03;
constexpr uint8_t NO_NATIVE_VIC = 0xFF;

constexpr uint8_t RX_VALID_CEA = 0x01;  ///< ValidCEA: a CEA extension was parsed
constexpr uint8_t RX_VALID_HDMI = 0x02; ///< ValidHDMI: it had the HDMI vendor block
constexpr uint8_t RX_VALID_3D = 0x04;   ///< Valid3D: 3D present, from the HDMI vendor block

constexpr uint8_t CEA_BASIC_AUDIO = 0x40; ///< CEAFlags
constexpr uint8_t CEA_YUV444 = 0x20;      ///< CEAFlags
constexpr uint8_t CEA_YUV422 = 0x10;      ///< CEAFlags

/** What the display declared. */
struct RxCapability {
    uint8_t CEAFlags;                             ///< CEA_ bits, and the number of native timings
    uint8_t NativeVIC;                            ///< first native VIC, or NO_NATIVE_VIC
    std::array<uint8_t, 8> VDOMode;               ///< VICs 0 to 63: bit VIC % 8 of byte VIC / 8
    uint8_t AUDDesCount;                          ///< short audio descriptors declared
    std::array<std::array<uint8_t, 3>, 4> AUDDes; ///< the first of them
    std::array<uint8_t, 2> PhysAddr;              ///< HDMI physical address
    uint32_t IEEEOUI;                             ///< of the last vendor block; 0 without one
    uint8_t DCFlags;                              ///< deep colour modes, bits 4 to 6
    uint8_t MaxTMDSClock;                         ///< in units of 5 MHz
    std::array<uint8_t, 3> SpeakerAlloc;          ///< speaker allocation
    uint8_t flags;                                ///< RX_VALID_ bits
};

using EdidBytes = std::span<const uint8_t>;
using EdidBlock = std::span<const uint8_t, EDID_BLOCK_SIZE>;

/** Whether a block's bytes sum to 0 modulo 256. */
bool edid_sum_is_right(EdidBlock block);

/** Give a block the checksum that its other bytes call for. */
void edid_mend_sum(std::span<uint8_t, EDID_BLOCK_SIZE> block);

/** What keeps a block 0 from being one; the sum is looked at first. */
enum class EdidFault : uint8_t { None, Sum, Header };
EdidFault edid_check(EdidBlock block_0);

/** Whether an extension is one of those that are parsed: CEA-861, revision 3. */
bool edid_is_cea(EdidBlock extension);

/** Kinds of data block, by tag. */
enum class EdidTag : uint8_t { Audio = 1, Video = 2, Vendor = 3, Speaker = 4 };

struct EdidDataBlock {
    EdidTag tag;       ///< any of 0 to 7
    EdidBytes payload; ///< what is there of it
};

/** Walks over the data blocks of a CEA extension: for (EdidDataBlocks blocks(x); blocks.next();) ... blocks.block() */
class EdidDataBlocks {
public:
    explicit EdidDataBlocks(EdidBlock extension);
    /** Go to the next block. @return false behind the last */
    bool next();
    const EdidDataBlock& block() const { return block_; }

private:
    EdidBlock extension_;
    size_t end_;
    size_t at_;
    EdidDataBlock block_{};
};

/** VIC of a byte of a video data block; those from EDID_VICS on are not kept. */
constexpr uint8_t EDID_VICS = 64;
constexpr uint8_t edid_vic(uint8_t byte)
{
    return byte & 0x7F;
}
constexpr bool edid_vic_is_native(uint8_t byte)
{
    return (byte & 0x80) != 0;
}

/** IEEE identifier of a vendor block; 0 when it is too short for one. */
uint32_t edid_oui(EdidBytes payload);

/**
 * Offset of an HDMI vendor block's 3D byte, from the features and latencies that it says are present; it may lie behind
 * the block's end. 0 when the block has none.
 */
size_t edid_offset_of_3d(EdidBytes payload);

/** Whether a CEA extension has the HDMI vendor block, whatever vendor blocks follow it. */
bool edid_has_hdmi(EdidBlock extension);

/**
 * Take over what a CEA extension declares. Flags, VICs and address are of this extension alone; the other fields keep
 * what they held unless a data block sets them. ValidHDMI is set when the last vendor block so far is HDMI's.
 */
void edid_parse(EdidBlock extension, RxCapability& capability);

} // namespace capd
