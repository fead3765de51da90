#include "emulator/base/timeline.h"

#include <utility>

namespace emu {

Timeline::EventId Timeline::after(Micros delay, Event event)
{
    const EventId id{now_ + delay, ++serial_};
    events_.emplace(id, std::move(event));
    return id;
}

void Timeline::advance_to(Micros time)
{
    while (next() <= time) {
        auto first = events_.extract(events_.begin());
        now_ = first.key().first;
        first.mapped()();
    }
    if (time > now_) now_ = time;
}

} // namespace emu
