/**
 * @file
 * The hot-plug line of the HDMI output in time: steady, bouncing, or pulled down for a while by who is plugged in.
 * One thread at a time; no call blocks.
 */
#pragma once

#include "emulator/base/timeline.h"

#include <functional>
#include <utility>

namespace emu {

/** HDMI 1.4, 8.5: a display or repeater whose EDID is to be read again keeps the line down for at least so long. */
constexpr Micros HOT_PLUG_PULSE = 100'000;

class HotPlug {
public:
    /** `edge` is called after every change of the line, and when a display is exchanged for another in no time. */
    HotPlug(Timeline& time, std::function<void()> edge) : time_(time), edge_(std::move(edge)) {}
    HotPlug(const HotPlug&) = delete;
    HotPlug& operator=(const HotPlug&) = delete;

    bool high() const { return high_; }
    /** When it went up last. */
    Micros risen_at() const { return risen_at_; }

    /** Set the line for good; whatever it was about to do is over. */
    void set(bool high);
    /** Pull the line down so many times, at least once, for a time each, with as long a time between them; then up. */
    void bounce(unsigned times, Micros each);

private:
    void change(bool high);
    void go_on(unsigned edges, Micros each);

    Timeline& time_;
    std::function<void()> edge_;
    Timeline::EventId next_{};
    Micros risen_at_ = 0;
    bool high_ = false;
};

} // namespace emu
