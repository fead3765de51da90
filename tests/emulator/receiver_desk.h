/**
 * @file
 * Two sources and the receiver chip on a desk, for the tests of both.
 */
#pragma once

#include "emulator/base/timeline.h"
#include "emulator/chips/receiver_chip.h"
#include "emulator/chips/receiver_registers.h"
#include "emulator/commands/commands.h"
#include "emulator/world/source.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace emu {

using namespace rx;

/** What the status register says of an HDMI picture at the first port that is received and measured. */
constexpr uint8_t HDMI_PICTURE = STATUS_POWER_0 | STATUS_SCDT | STATUS_HDMI | STATUS_MEASURED;

/** Two sources and the receiver on a desk, reached as the bus reaches it. */
struct Desk {
    Timeline time;
    Source port0{time, 0}, port1{time, 1};
    ReceiverChip chip{time, port0, port1};
    CommandTable commands;

    Desk()
    {
        add_source_commands(commands, port0, port1);
        add_receiver_commands(commands, chip);
    }
    void tell(const std::string& line)
    {
        const Reply reply = commands.run(line);
        EXPECT_TRUE(reply.ok) << reply.text;
    }
    void run_ms(Micros ms) { time.advance_to(time.now() + ms * 1000); }
    std::vector<uint8_t> get(uint8_t reg, size_t count)
    {
        std::vector<uint8_t> bytes(count);
        EXPECT_EQ(chip.read(std::span(&reg, 1), bytes), 0);
        return bytes;
    }
    uint8_t get(uint8_t reg) { return get(reg, 1)[0]; }
    void set(uint8_t reg, uint8_t value)
    {
        const uint8_t bytes[] = {reg, value};
        EXPECT_EQ(chip.write(bytes), 0);
    }
    void pulse(uint8_t reg, uint8_t value, uint8_t rest = 0)
    {
        set(reg, value);
        run_ms(1);
        set(reg, rest);
        run_ms(1);
    }
    void clear_latches()
    {
        for (uint8_t group : {PULSE_GROUP1, PULSE_GROUP2, PULSE_ECC, PULSE_AUDIO}) pulse(REG_PULSE, group);
        pulse(REG_MASK3, MASK3_FIFO_CLEAR);
    }
    /** A picture that is on and whose events are dealt with. */
    void settle(const std::string& line)
    {
        tell(line);
        run_ms(1000);
        clear_latches();
    }
};

} // namespace emu
