#include "emulator/chips/hot_plug.h"

namespace emu {

void HotPlug::change(bool high)
{
    high_ = high;
    if (high) risen_at_ = time_.now();
    edge_();
}

void HotPlug::set(bool high)
{
    time_.cancel(next_);
    change(high);
}

void HotPlug::bounce(unsigned times, Micros each)
{
    set(false);
    go_on(2 * times - 1, each);
}

void HotPlug::go_on(unsigned edges, Micros each)
{
    if (edges == 0) return;
    next_ = time_.after(each, [this, edges, each] {
        change(!high_);
        go_on(edges - 1, each);
    });
}

} // namespace emu
