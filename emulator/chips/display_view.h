/**
 * @file
 * What a display on the output shows and plays, worked out from the transmitter's registers the way a display does it:
 * it knows the signal, the packets that come with it and nothing of the driver. Pure functions; any thread.
 */
#pragma once

#include "emulator/chips/video_path.h"
#include "emulator/world/colour.h"
#include "emulator/world/display.h"
#include "emulator/world/info_frames.h"

#include <array>
#include <cstdint>
#include <string>

namespace emu {

enum class OutputSignal : uint8_t { None, Dvi, Hdmi };
enum class AfeState : uint8_t { Off, SetUp, Running };
enum class AfeRange : uint8_t { None, Low, High };

/** What a person sees. */
enum class Picture : uint8_t {
    NoSignal,
    Blanked,      ///< AV mute
    Frozen,       ///< a signal without a running picture
    OutOfRange,   ///< a clock or a timing that the display does not take
    WrongColours, ///< the display takes the colours for what they are not, or cannot take them
    Good,
};

/** An info frame that arrives. */
struct ReceivedFrame : InfoFrame {
    bool sent = false;
    bool checksum_right() const { return sum() == 0; } ///< as the display works it out
};

struct AviFrame : ReceivedFrame {
    Colour colour() const; ///< Y1 Y0; the reserved value counts as RGB
    bool itu709() const { return body[2] >> 6 == 2; }
    uint8_t colorimetry() const { return body[2] >> 6; }         ///< C1 C0; 0: the format decides
    uint8_t quantization() const { return body[3] >> 2 & 0x03; } ///< Q1 Q0; 0: the format decides
    bool wide() const { return (body[2] >> 4 & 0x03) == 2; }     ///< picture of 16:9
    uint8_t vic() const { return body[4] & 0x7F; }
    uint8_t repetition() const { return body[5] & 0x0F; }
};

struct ChannelStatus {
    bool pcm = true;
    uint32_t rate_hz = 0; ///< 0 where the code says none
    uint8_t word_bits = 0;
    std::array<uint8_t, 5> bytes{}; ///< IEC 60958 bytes 0 to 4
};

struct Sound {
    bool held = true;     ///< the audio path of the transmitter stands still
    bool broken = false;  ///< overflown; until the path was held
    bool spdif = false;   ///< taken from S/PDIF instead of I2S
    uint8_t channels = 0; ///< that the transmitter takes in
    uint32_t n = 0, cts = 0;
    bool cts_measured = true;
    bool n_allowed = false;     ///< 128 x rate / N between 300 and 1500 Hz
    uint32_t heard_rate_hz = 0; ///< that a display gets back from N, CTS and the TMDS clock
    ChannelStatus status;
    bool plays = false; ///< all of it together, at a display that takes this sound
    std::string why;    ///< reason, where it does not play
};

struct DisplayView {
    bool plugged = false;
    bool standby = false; ///< without terminators, so that a transmitter would sense no receiver
    std::string name;     ///< under which it was plugged in
    DisplayAbilities display;
    OutputSignal signal = OutputSignal::None;
    Picture picture = Picture::NoSignal;
    std::string why;       ///< reason, where the picture is not good
    std::string but;       ///< what is wrong with a good one all the same
    PictureTiming timing;  ///< that comes in
    uint32_t tmds_khz = 0; ///< clock on the cable
    AfeState afe = AfeState::Off;
    AfeRange afe_range = AfeRange::None;
    bool video_held = true;
    bool muted = false;
    VideoPath path; ///< of the transmitter, with what is on the cable
    AviFrame avi;
    ReceivedFrame audio;  ///< audio info frame
    ReceivedFrame vendor; ///< vendor-specific info frame
    Sound sound;
};

/** What comes into the transmitter from the box. */
struct TransmitterInput {
    PictureTiming timing{}; ///< of size 0: of a clock alone, which no display can judge
    PictureColours colours{};
    bool black = false;         ///< the picture is held back on its way
    uint32_t audio_rate_hz = 0; ///< 0: no sound
};

/** What the transmitter puts out. */
struct TransmitterOutput {
    std::array<uint8_t, 256> bank0{}, bank1{};
    bool enabled = false; ///< by the board
    bool audio_overflown = false;
    TransmitterInput input{};
    bool locking = false; ///< the signal is younger than the time that the display takes to lock to it
};

/** What a display locks to: once it is another one, it begins anew. */
struct CableSignal {
    OutputSignal kind = OutputSignal::None;
    uint32_t tmds_khz = 0;
    PictureTiming timing;

    bool same_as(const CableSignal& other) const;
};

CableSignal signal_on_cable(const TransmitterOutput& output);

/** Work out what a display makes of an output. */
DisplayView look(const Display& display, const TransmitterOutput& output);

/** What a person sees, in a word or two. */
const char* picture_name(Picture picture);

/** The same with its reason, as in "out of range: ..." or "good, but ...". */
std::string picture_text(const DisplayView& view);

/** The view as a person would describe it, several lines. */
std::string describe(const DisplayView& view);

} // namespace emu
