/**
 * @file
 * Codes of CTA-861 and IEC 60958 in words: what a display takes, and what a source says of its sound.
 */
#pragma once

#include "tools/session.h"

#include <array>
#include <cstdint>
#include <string>

namespace boxtool {

constexpr const char* yes_no(bool value)
{
    return value ? "yes" : "no";
}

/** A short audio descriptor: format, channels, rates, and word lengths or the highest bit rate where it has them. */
Json audio_descriptor_values(const std::array<uint8_t, 3>& descriptor);
std::string audio_descriptor_text(const std::array<uint8_t, 3>& descriptor);

/** Names of the loudspeakers of a speaker allocation data block. */
Json speaker_names(const std::array<uint8_t, 3>& allocation);

/** Bits for each pixel that deep colour flags of an HDMI vendor block allow, 24 left out. */
Json deep_colour_bits(uint8_t flags);

/** A video identification code from 1 to 64: "1920x1080p60, 16:9". */
std::string video_format(unsigned code);

/**
 * Bits in an audio sample.
 * @param code the lower four bits of byte 4 of a channel status
 * @return 16 to 24; null where the source does not tell
 */
Json sample_bits(int code);

} // namespace boxtool
