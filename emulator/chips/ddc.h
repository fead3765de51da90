/**
 * @file
 * The transmitter's DDC master: clocks EDID bytes out of the plugged display into a FIFO, in the bus's time, and fails
 * on demand. One thread at a time; no call blocks.
 */
#pragma once

#include "emulator/base/timeline.h"
#include "emulator/world/display.h"

#include <array>
#include <cstdint>
#include <deque>
#include <functional>
#include <random>

namespace emu {

/** How a DDC transaction ends that is made to fail. */
enum class DdcFault : uint8_t {
    None,
    NoAcknowledge, ///< the display does not answer
    Arbitration,   ///< another master takes the bus
    Hang,          ///< the clock stays low until the master aborts
    Never,         ///< the master neither finishes nor reports an error until it aborts
};

/** Which transactions fail. */
struct DdcTrouble {
    DdcFault fault = DdcFault::None;
    uint32_t from_byte = 0;      ///< those that read this byte of the EDID, 0 the first, or one behind it
    uint64_t times = UINT64_MAX; ///< so many of them, then the bus is well again
};

class DdcMaster {
public:
    /** What the chip latches as an interrupt. */
    enum class Interrupt : uint8_t { BusHang, FifoError };

    /** `display` is whoever is plugged in and outlives the master. */
    DdcMaster(Timeline& time, const Display& display, std::function<void(Interrupt)> interrupt)
        : time_(time), display_(display), interrupt_(std::move(interrupt))
    {
    }

    /** One of its registers as the chip's bus reads and writes it. Reading the FIFO takes its oldest byte. */
    uint8_t read(uint8_t reg);
    void write(uint8_t reg, uint8_t value);
    /** A register without taking anything. */
    uint8_t peek(uint8_t reg) const;

    void make_trouble(const DdcTrouble& trouble) { trouble_ = trouble; }
    /** Time of a transaction that reads one byte from segment 0; default 400 us: four bytes on the wire at 100 kHz. */
    void set_read_time(Micros time) { read_time_ = time; }
    /** Idle, its FIFO empty. What is wrong with the display's side stays. */
    void power_on();
    /** The display does not answer before this time. */
    void silence_until(Micros time) { silent_until_ = time; }
    /** Have bits come over wrong, so many of a million, other ones in each read; the same seed gives the same ones. */
    void set_noise(uint32_t wrong_per_million, uint32_t seed);
    /** Hang the bus now; a transaction that runs does not end. */
    void hang();

    uint64_t transactions() const { return transactions_; }   ///< EDID reads that were started
    uint64_t lost_commands() const { return lost_commands_; } ///< given while a transaction ran or without being master

private:
    enum class State : uint8_t { Idle, Busy, Hung };

    void command(uint8_t code);
    void start_read();
    void finish_read(DdcFault fault);
    void end(uint8_t status);
    void push(uint8_t byte);
    DdcFault next_fault(size_t first, size_t count);
    uint8_t over_the_wire(uint8_t byte);
    Micros transaction_time(size_t count) const;
    size_t position() const { return peek(0x14) * size_t{256}; }

    Timeline& time_;
    const Display& display_;
    std::function<void(Interrupt)> interrupt_;
    std::array<uint8_t, 8> registers_{};
    std::deque<uint8_t> fifo_;
    State state_ = State::Idle;
    uint8_t status_ = 0x80;
    Timeline::EventId running_{};
    DdcTrouble trouble_;
    Micros read_time_ = 400;
    Micros silent_until_ = 0;
    uint32_t wrong_per_million_ = 0;
    std::mt19937 noise_;
    uint64_t transactions_ = 0, lost_commands_ = 0;
};

} // namespace emu
