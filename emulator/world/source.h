/**
 * @file
 * An HDMI source on one of the box's input ports: what it sends, and how it behaves on its cable.
 *
 * It begins to send a while after it has 5 V up and sees the sink's terminators, and stops when they go; a change of
 * its format stops the picture for a second, or for that while if it is longer. Whoever is at the other end listens for
 * its changes.
 */
#pragma once

#include "emulator/base/timeline.h"
#include "emulator/world/colour.h"
#include "emulator/world/formats.h"
#include "emulator/world/info_frames.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace emu {

class CommandTable;

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
    InfoFrame vendor_frame() const { return hdmi ? compose_vendor(vendor) : InfoFrame{}; }
};

class Source {
public:
    /** What a sink notices. Link: the picture came or went. Timing: another one without a break. Content: the rest. */
    enum class Change : uint8_t { Power, Link, Timing, Content };
    using Listener = std::function<void(Change)>;

    Source(Timeline& time, int port) : time_(time), port_(port) {}
    Source(const Source&) = delete;
    Source& operator=(const Source&) = delete;

    int port() const { return port_; }

    /** @name The world.
     * @{ */
    /** Plug a source in that sends this; one that was there before is unplugged first. */
    void plug(const Signal& signal);
    /** Pull the plug: no picture, no 5 V. Of the source only its start delay is kept for what is plugged in next. */
    void unplug();
    void set_power(bool on);
    /** Take the picture away or give it back at once, whatever else the source does. */
    void set_sync(bool on);
    /** Send other things from now on; a new format stops the picture unless it is seamless. */
    void change(const Signal& signal, bool seamless = false);
    /** Time from 5 V or terminators to the picture; NEVER for a source that does not start. */
    void set_start_delay(Micros delay);
    /** Lose sync a number of times, each loss and each time between lasting as long; the first begins now. */
    void drop(unsigned times, Micros each);
    /** @} */

    /** Whether a source is there, with its 5 V on or off. */
    bool plugged() const { return plugged_; }

    /** @name The cable, as the sink sees it.
     * @{ */
    bool power() const { return powered_; }
    bool sends() const { return sends_; }
    const Signal& signal() const { return signal_; }
    void set_terminated(bool on);
    bool terminated() const { return terminated_; }
    void listen(Listener listener) { listeners_.push_back(std::move(listener)); }
    /** @} */

    /** What a person at the source would say of it, a line. */
    std::string describe() const;

private:
    void restart(Micros delay);
    void refresh();
    void next_drop();
    void notify(Change change) const;

    Timeline& time_;
    int port_;
    Signal signal_;
    std::vector<Listener> listeners_;
    Micros start_delay_ = 100'000;
    Timeline::EventId start_{}, drop_{};
    Micros drop_each_ = 0;
    unsigned drops_left_ = 0;
    bool plugged_ = false, powered_ = false, terminated_ = true, sync_ = true, started_ = false, dropped_ = false,
         sends_ = false;
};

/** Add "source PORT ..." and "formats". */
void add_source_commands(CommandTable& commands, Source& port0, Source& port1);

} // namespace emu
