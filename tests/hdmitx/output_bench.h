/**
 * @file
 * What the tests of the HDMI output share: the emulated transmitter with its displays, and what a step of the driver
 * prints and sends to the chip.
 */
#pragma once

#include "emulator/chips/transmitter_registers.h"
#include "emulator/world/edids.h"
#include "hdmitx/hdmitx.h"
#include "tests/support/bench.h"

#include <string>
#include <utility>
#include <vector>

namespace output_bench {

using emu::i2c_address::TRANSMITTER;

inline emu::TransmitterChip& chip()
{
    return bench::box().transmitter();
}

/** Run something silently. */
template<typename Step>
void quietly(Step step)
{
    bench::printed(std::move(step));
}

inline void plug(const std::string& edid)
{
    chip().plug({edid, emu::find_edid(edid)});
}

/** Start the output and unblank it. */
inline void start_output()
{
    quietly([] {
        capd::hdmitx_init();
        capd::hdmitx_unblank();
    });
    chip().set_input({.timing = {.clock_khz = 74'250}, .audio_rate_hz = 48'000}); // no source is connected
}

/** One supervision step; its text. */
inline std::string run_once()
{
    return bench::printed([] { capd::hdmitx_run(); });
}

/** Plug a display in and let the driver handle it, which takes two steps. */
inline void drive(const std::string& edid)
{
    plug(edid);
    run_once();
    run_once();
}

/** Transfers with the transmitter while something runs; it must make no more than the bus's log holds. */
template<typename Step>
std::vector<emu::Transfer> transfers_of(Step step)
{
    emu::I2cBus& bus = bench::box().i2c();
    const uint64_t before = bus.count();
    quietly(std::move(step));
    std::vector<emu::Transfer> made;
    for (auto age = static_cast<size_t>(bus.count() - before); age-- > 0;)
        if (bus.last(age).device == TRANSMITTER) made.push_back(bus.last(age));
    return made;
}

/** Transfers of a kind with one register. */
inline size_t count(const std::vector<emu::Transfer>& transfers, bool reads, uint8_t reg)
{
    size_t found = 0;
    for (const emu::Transfer& t : transfers) found += t.is_read == reads && t.reg == reg ? 1 : 0;
    return found;
}

/** The values written to one register, in order. */
inline std::vector<int> written(const std::vector<emu::Transfer>& transfers, uint8_t reg)
{
    std::vector<int> values;
    for (const emu::Transfer& t : transfers)
        if (!t.is_read && t.reg == reg) values.push_back(t.data[0]);
    return values;
}

/** A register of a bank and what it has to hold. */
struct Held {
    int bank;
    uint8_t reg, value;
};

template<typename List>
void expect_held(const List& registers)
{
    for (const Held& want : registers)
        EXPECT_EQ(int{chip().peek(want.bank, want.reg)}, int{want.value})
            << "bank " << want.bank << " register 0x" << std::hex << int{want.reg} << " "
            << emu::TransmitterChip::register_name(want.bank, want.reg);
}

} // namespace output_bench
