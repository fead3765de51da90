/**
 * @file
 * Info frames as CTA-861 and HDMI compose them: header, checksum, data bytes. Pure functions; any thread.
 */
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace emu {

/** An info frame: three header bytes, then the checksum in body[0] and data byte n in body[n]. */
struct InfoFrame {
    static constexpr size_t MAX_LENGTH = 27; ///< data bytes that a packet holds

    uint8_t type = 0; ///< 0: no frame
    uint8_t version = 0;
    uint8_t length = 0; ///< data bytes, the checksum not counted
    std::array<uint8_t, MAX_LENGTH + 1> body{};

    bool operator==(const InfoFrame&) const = default;

    /** Sum of header, checksum and data modulo 256: 0 in a sound frame. */
    uint8_t sum() const;
    /** Set the checksum that makes the frame sound. */
    void seal() { body[0] = static_cast<uint8_t>(body[0] - sum()); }
};

constexpr uint8_t FRAME_VENDOR = 0x81, FRAME_AVI = 0x82, FRAME_AUDIO = 0x84;

/** Fields of an AVI info frame, each with its CTA-861 code. */
struct AviFields {
    uint8_t colour = 0;       ///< Y: 0 RGB, 1 YCbCr 4:2:2, 2 YCbCr 4:4:4, 3 reserved
    uint8_t colorimetry = 0;  ///< C: 0 none, 1 BT.601, 2 BT.709, 3 extended
    uint8_t extended = 0;     ///< EC: 0 xvYCC601, 1 xvYCC709
    uint8_t aspect = 0;       ///< M: 0 none, 1 4:3, 2 16:9
    uint8_t quantization = 0; ///< Q: 0 by format, 1 limited, 2 full
    uint8_t vic = 0;          ///< video identification code
    uint8_t repetition = 1;   ///< times a pixel is sent
};

InfoFrame compose_avi(const AviFields& fields);

/** Audio info frame: channels and their allocation to speakers (CA); the stream says the rest, as HDMI asks for. */
InfoFrame compose_audio(uint8_t channels, uint8_t allocation);

/** What an HDMI vendor-specific info frame tells. */
struct VendorFields {
    enum class Kind : uint8_t { None, Vic, ThreeD };
    Kind kind = Kind::None;
    uint8_t value = 0; ///< HDMI VIC, or 3D structure (0 frame packing, 6 top and bottom, 8 side by side half)
};

/** @return the frame, of type 0 when there is none to send */
InfoFrame compose_vendor(const VendorFields& fields);

} // namespace emu
