/**
 * @file
 * An HDMI source on one of the box's input ports: what it sends, and how it behaves on its cable.
 *
 * It begins to send a while after it has 5 V up and sees the sink's terminators, and stops when they go; a change of
 * its format stops the picture for a second, or for that while if it is longer. One that asks for HDCP does so whenever
 * it begins, and again when it is told to ask. Whoever is at the other end listens for its changes.
 */
#pragma once

#include "emulator/base/timeline.h"
#include "emulator/world/source_signal.h"

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace emu {

class CommandTable;

/** What a source says of picture and sound at the moment; it may come later than they do. */
struct Told {
    InfoFrame avi, audio;
    std::array<uint8_t, 5> status{};
    bool sound = false; ///< that there is sound at all

    bool operator==(const Told&) const = default;
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
    void drop(unsigned times, Micros each) { begin(drop_, times, each); }
    /** The same with its 5 V, and all that hangs on it. */
    void flap(unsigned times, Micros each) { begin(flap_, times, each); }
    /** @} */

    /** Whether a source is there, with its 5 V on or off. */
    bool plugged() const { return plugged_; }

    /** @name The cable, as the sink sees it.
     * @{ */
    bool power() const { return powered_; }
    bool sends() const { return sends_; }
    const Signal& signal() const { return signal_; }
    /** AV mute, also while it waits for an HDCP that nobody answers. */
    bool muted() const { return signal_.muted || (asks_ && signal_.hdcp.meanwhile == Hdcp::Meanwhile::SendsMuted); }
    /** Whether it waits for an answer to HDCP. */
    bool asks() const { return asks_; }
    const Told& told() const { return told_; }
    void set_terminated(bool on);
    bool terminated() const { return terminated_; }
    void listen(Listener listener) { listeners_.push_back(std::move(listener)); }
    /** @} */

    /** What a person at the source would say of it, a line. */
    std::string describe() const;

private:
    /** Something that goes and comes back a number of times. */
    struct Flicker {
        void (Source::*follow)(); ///< called when it has gone or come
        unsigned left = 0;
        Micros each = 0;
        bool gone = false;
        Timeline::EventId event{};
    };

    void restart(Micros delay);
    void start();
    void ask();
    void refresh();
    void follow_power();
    void tell_picture();
    void tell_sound();
    void begin(Flicker& flicker, unsigned times, Micros each);
    void next(Flicker& flicker);
    void end(Flicker& flicker);
    void notify(Change change) const;
    void notify_content() const;

    Timeline& time_;
    int port_;
    Signal signal_;
    Told told_;
    std::vector<Listener> listeners_;
    Micros start_delay_ = 100'000;
    Timeline::EventId start_{}, hdcp_{}, tell_picture_{}, tell_sound_{};
    Flicker drop_{&Source::refresh}, flap_{&Source::follow_power};
    bool plugged_ = false, switched_on_ = false, powered_ = false, terminated_ = true, sync_ = true, started_ = false,
         asks_ = false, sends_ = false;
};

/** Add "source PORT ..." and "formats". */
void add_source_commands(CommandTable& commands, Source& port0, Source& port1);

} // namespace emu
