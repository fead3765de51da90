/**
 * @file
 * What a display plays, as its EDID says: the short audio descriptors of CTA-861, and basic audio where it has none.
 * Plain data; any thread.
 */
#pragma once

#include "emulator/world/edid_builder.h"

#include <cstdint>
#include <string>
#include <vector>

namespace emu {

/** A short audio descriptor (CTA-861, audio data block). */
struct AudioDescriptor {
    uint8_t format = 1;   ///< audio format code; 1: linear PCM
    uint8_t channels = 2; ///< at most so many
    uint8_t rates = 0;    ///< bit 0: 32 kHz, then 44.1, 48, 88.2, 96, 176.4, 192
    uint8_t sizes = 0;    ///< of linear PCM; bit 0: 16 bits, then 20, 24
};

/** Sound as it is on the cable. */
struct SoundOffer {
    bool pcm = true; ///< else compressed, in the frames of IEC 61937
    uint8_t channels = 0;
    uint32_t rate_hz = 0;  ///< of the IEC 60958 frames
    uint8_t word_bits = 0; ///< 0: not told
};

using AudioDescriptors = std::vector<AudioDescriptor>;

/**
 * Why a display that has basic audio does not play a sound; empty when it does. Of linear PCM its descriptors count,
 * without one basic audio: two channels at 32, 44.1 and 48 kHz. A word fits into a listed size that is not smaller.
 */
std::string sound_refusal(const AudioDescriptors& listed, const SoundOffer& sound);

/** Read them from every CTA extension whose checksum is right; an EDID without its header has none. */
AudioDescriptors read_audio_descriptors(const EdidImage& edid);

} // namespace emu
