/**
 * @file
 * What the receiver's tests share: the driver ticked every 20 ms on the emulated box, and what it went through.
 */
#pragma once

#include "emulator/chips/receiver_registers.h"
#include "hdmirx/hdmirx.h"
#include "hdmirx/src/hdmirx/video_state.h"
#include "tests/support/bench.h"

#include <cstdio>
#include <string>
#include <utility>
#include <vector>

namespace bench {

using emu::i2c_address::RECEIVER;

constexpr emu::Micros TICK_US = 20'000;

/** A plain HDMI source of a format, RGB with stereo LPCM. */
inline emu::Signal picture(std::string_view format)
{
    emu::Signal signal;
    signal.format = emu::find_format(format).value();
    return signal;
}

/** The same with other audio. */
inline emu::Signal picture(std::string_view format, const emu::AudioSignal& audio)
{
    emu::Signal signal = picture(format);
    signal.audio = audio;
    return signal;
}

/** One tick, and the rest of its 20 ms. */
inline void tick()
{
    const emu::Micros start = box().time().now();
    capd::hdmirx_run();
    const emu::Micros spent = box().time().now() - start;
    if (spent < TICK_US) emu::inprocess_sleep(TICK_US - spent);
}

inline void ticks(int count)
{
    for (; count > 0; --count) tick();
}

/** Tick until a state is reached. @return ticks it took; -1 when it was not reached in time */
inline int ticks_until(capd::rx::VideoState state, int limit = 1000)
{
    for (int count = 1; count <= limit; ++count) {
        tick();
        if (capd::rx::VState() == state) return count;
    }
    return -1;
}

/** Tick, and say what state each tick ended in: "PwrOff 2, SyncWait 14, VideoOn 60". */
inline std::string trace(int count)
{
    std::vector<std::pair<capd::rx::VideoState, int>> runs;
    for (; count > 0; --count) {
        tick();
        if (runs.empty() || runs.back().first != capd::rx::VState()) runs.emplace_back(capd::rx::VState(), 0);
        ++runs.back().second;
    }
    std::string text;
    for (const auto& [state, length] : runs) {
        std::string name = std::string(capd::rx::VStateName(state)).substr(7);
        if (name.ends_with(' ')) name.pop_back();
        text += (text.empty() ? "" : ", ") + name + " " + std::to_string(length);
    }
    return text;
}

/** Start the driver with nothing plugged in and wait for the box to listen. */
inline void start_receiver()
{
    capd::hdmirx_init();
    ASSERT_EQ(ticks_until(capd::rx::VSTATE_PwrOff), 16);
}

/** Plug a source into port 0 and wait for its picture, then `settle` ticks more. */
inline void show(const emu::Signal& signal, int settle = 0)
{
    box().source(0).plug(signal);
    ASSERT_GT(ticks_until(capd::rx::VSTATE_VideoOn), 0) << box().source(0).describe();
    ticks(settle);
}

/** Pull port 0's plug, and plug a source in when the driver has noticed; wait for its picture. */
inline void show_afresh(const emu::Signal& signal, int settle = 0)
{
    box().source(0).unplug();
    ASSERT_GT(ticks_until(capd::rx::VSTATE_PwrOff), 0);
    show(signal, settle);
}

/** Writes to the receiver since the log held `from` transfers, as (register, value). */
inline std::vector<std::pair<int, int>> writes_since(uint64_t from)
{
    std::vector<std::pair<int, int>> writes;
    for (uint64_t age = box().i2c().count() - from; age > 0; --age) {
        const emu::Transfer& t = box().i2c().last(static_cast<size_t>(age - 1));
        if (t.device == RECEIVER && !t.is_read) writes.emplace_back(t.reg, t.data[0]);
    }
    return writes;
}

} // namespace bench
