/**
 * @file
 * EDID of the display on the output: reads it, checks block 0 and takes from the CEA extension what the output needs.
 * Main thread only. ParseEDID() blocks for 128 ms per block at least, for up to 250 ms per byte of a slow display, and
 * for some 800 ms per block when the DDC bus hangs.
 *
 * The EDID comes from outside. Block 0 has to pass its checksum and header. In the extension the walk over the data
 * blocks ends where byte 2 says, before the checksum byte at the latest, and what a data block claims to hold from
 * there on is not there. A data block that begins in front of the end by byte 2 and runs past it is taken whole: there
 * are TVs that put byte 2 too low. The extension's checksum is not asked for: a display that gets it wrong would have
 * to be driven as DVI, and each of its bytes is checked where it is used.
 */
#pragma once

#include <array>
#include <cstdint>

namespace capd {

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

/**
 * Read, check and parse the EDID of the display; call the EDID callback for an HDMI display.
 * @return 0 when block 0 is no EDID or the last extension block was not read, else 1
 */
int ParseEDID();

/** Look at what the last ParseEDID() found. */
const RxCapability& hdmitx_rx_capability();

} // namespace capd
