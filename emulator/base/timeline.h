/**
 * @file
 * The emulated box's time: microseconds since it was switched on, and what is due to happen in it.
 * Time moves only through advance_to(): a virtual clock calls it when the daemon sleeps, the box's server when the
 * machine's clock has moved. One thread at a time uses a timeline.
 */
#pragma once

#include <cstdint>
#include <functional>
#include <map>

namespace emu {

using Micros = uint64_t;
constexpr Micros NEVER = UINT64_MAX;

class Timeline {
public:
    using Event = std::function<void()>;
    using EventId = std::pair<Micros, uint64_t>;

    /** Time since the box was switched on. */
    Micros now() const { return now_; }

    /** Have something happen after a delay; events of the same moment happen in the order they were asked for. */
    EventId after(Micros delay, Event event);

    /** Forget an event; one that has happened is not there any more, which is no error. */
    void cancel(EventId id) { events_.erase(id); }

    /** Time of the earliest event, NEVER when there is none. */
    Micros next() const { return events_.empty() ? NEVER : events_.begin()->first.first; }

    /** Move time forward and let everything happen that is due until then; a time in the past changes nothing. */
    void advance_to(Micros time);

private:
    Micros now_ = 0;
    uint64_t serial_ = 0;
    std::map<EventId, Event> events_;
};

} // namespace emu
