/**
 * @file
 * What an HDMI source puts on its cable: picture, sound, and what it says of both, which need not be true. Constant
 * records and pure functions; any thread.
 */
#pragma once

#include "emulator/base/timeline.h"
#include "emulator/world/colour.h"
#include "emulator/world/formats.h"
#include "emulator/world/info_frames.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>

namespace emu {

enum class AudioKind : uint8_t { None, Lpcm, Compressed, Hbr, Dsd };

struct AudioSignal {
    AudioKind kind = AudioKind::Lpcm;
    uint32_t rate_hz = 48000;   ///< of an IEC 60958 frame; 0: the channel status does not tell
    uint8_t channels = 2;       ///< 1 to 8
    uint8_t word_bits = 24;     ///< 16 to 24; 0: the channel status does not tell
    uint8_t allocation = 0;     ///< CTA-861's channel allocation, 0x00 to 0x1F
    uint8_t channel_number = 2; ///< as the channel status gives it; 0: not told

    bool operator==(const AudioSignal&) const = default;

    /** The usual allocation of a number of channels, 1 to 8. */
    static uint8_t usual_allocation(unsigned channels);
    /** Channels of an allocation, 2 to 8. */
    static uint8_t channels_of(uint8_t allocation);
    /** Sample-data lines in use, bit n for the channels 2n+1 and 2n+2. */
    uint8_t lines() const;
    /** Layout 1: samples on more than the first line. */
    bool is_layout_1() const { return lines() != 0x01; }
    /** Channel-status bytes 0 to 4 of IEC 60958. */
    std::array<uint8_t, 5> channel_status() const;
};

enum class Colorimetry : uint8_t { None, Bt601, Bt709, XvYcc601, XvYcc709 };
enum class AviSending : uint8_t { On, Off, WrongColour, WrongChecksum };

/** How an interlaced format's fields follow one another. */
enum class Fields : uint8_t {
    Regular,   ///< odd and even in turn, half a line apart
    Equal,     ///< all alike, the half lines left out: a picture of half the lines, progressive to whoever measures it
    Irregular, ///< two of a kind in a row now and then
};

/** Which counts of the picture differ by one from one measurement to the next: its cable or its clock is poor. */
struct Jitter {
    bool pixels = false, lines = false, clock = false;
    bool operator==(const Jitter&) const = default;
};

/** What a source says of itself that is not so, or not yet. */
struct Claims {
    std::optional<uint8_t> vic, repetition; ///< in the AVI frame
    Micros avi_delay = 0;                   ///< from the picture, or a change of it, to its AVI frame
    std::optional<AudioSignal> status_of;   ///< the channel status describes this sound
    bool audio_frame = true;                ///< whether one is sent
    std::optional<AudioSignal> frame_of;    ///< the audio frame describes this sound
    Micros audio_delay = 0;                 ///< from a change of the sound to its channel status and frame
    bool operator==(const Claims&) const = default;
};

/**
 * Whether a source asks for HDCP, and what it does as long as it gets no answer: no sink without keys acknowledges on
 * the DDC, which the source tries again and again.
 */
struct Hdcp {
    enum class Meanwhile : uint8_t { DoesNotAsk, SendsMuted, SendsNothing };
    Meanwhile meanwhile = Meanwhile::DoesNotAsk;
    Micros patience = NEVER; ///< then it gives up and sends what need not be protected; NEVER: it has nothing else
    bool operator==(const Hdcp&) const = default;
};

/** All that a source puts on its cable while it sends. */
struct Signal {
    Format format;
    double clock_error_percent = 0;
    bool hdmi = true; ///< false: DVI, no packets and no sound
    Colour colour = Colour::Rgb;
    Colorimetry colorimetry = Colorimetry::None;
    uint8_t quantization = 0; ///< as the AVI frame tells it
    uint8_t depth_bits = 24;  ///< of a pixel: 24, 30, 36, 48
    bool wide = true;         ///< 16:9 where the format has both
    bool muted = false;       ///< AV mute
    AviSending avi = AviSending::On;
    VendorFields vendor;
    AudioSignal audio;
    Fields fields = Fields::Regular;
    Jitter jitter;
    Micros late_lock = 0; ///< a receiver takes so much longer to lock to it
    Claims claims;
    Hdcp hdcp;

    /** The format as it is on the cable; with equal fields it is not the one that is meant. */
    Format on_cable() const;
    /** The picture as it goes on to the output. */
    PictureTiming timing() const;
    /** Its colours as they are, whatever the AVI frame says. */
    PictureColours colours() const;
    double pixel_clock_khz() const { return format.clock_khz * (1 + clock_error_percent / 100); }
    /** Clock of the cable; deep colour makes it faster than the pixels. */
    double link_clock_khz() const;
    /** What runs through the sound path: nothing without HDMI. */
    AudioKind sound() const { return hdmi ? audio.kind : AudioKind::None; }
    /** Frames as they are sent; of type 0 when they are not. */
    InfoFrame avi_frame() const;
    InfoFrame audio_frame() const;
    /** Channel-status bytes 0 to 4 as they are sent. */
    std::array<uint8_t, 5> channel_status() const { return claims.status_of.value_or(audio).channel_status(); }
    InfoFrame vendor_frame() const { return hdmi ? compose_vendor(vendor) : InfoFrame{}; }
    /** Picture and sound in words, and all that is odd about them. */
    std::string describe() const;
};

} // namespace emu
