/**
 * @file
 * The board controller at I2C address 0x1C: remote control receiver, control bits of the board's switches, LEDs.
 *
 * Register 0: bit 4 set while a remote code waits. Register 1: the code; reading it clears the flag. Register 2:
 * control. Registers 5 and 6: LED groups 0 and 1, bit i lights LED i. The other registers keep what is written.
 */
#pragma once

#include "emulator/bus/register_file.h"

#include <deque>
#include <functional>
#include <string>

namespace emu {

class CommandTable;

/** What a person sees of an LED. */
enum class LedLook : uint8_t { Off, On, Blinking };

/** A group's LEDs from a moment on. */
struct LedChange {
    Micros time;
    int group;
    uint8_t lit; ///< bit i: LED i
};

class BoardController : public RegisterFile {
public:
    static constexpr int LED_GROUPS = 2, LEDS_PER_GROUP = 8;

    explicit BoardController(const Timeline& time);

    /** As after power-on: port 0, output off, ROM with the sources, LEDs dark, no code. A brown-out does no less. */
    void power_on() override;
    /** The remote: a code arrives; one that was not read yet is replaced and lost. */
    void press(uint8_t code);
    /** Codes that were replaced before anyone read them. */
    uint64_t lost_codes() const { return lost_codes_; }
    bool code_waiting() const;

    /** The input port that the switch connects: 0 or 1; -1 while none or, against all sense, both are asked for. */
    int selected_port() const;
    bool output_enabled() const;
    /** What the host may do with the EDID ROM; the input has it while a port is selected. */
    bool rom_readable() const;
    bool rom_writable() const;
    uint8_t control() const { return registers_[2]; }
    /** Have a function called after each write of the control register, and once now. */
    void on_control(std::function<void()> changed);

    /** The LEDs of group 0 or 1 as they are lit now. */
    uint8_t leds(int group) const;
    /** What a person who watches for two seconds sees. */
    LedLook look(int group, int index) const;
    /** How often an LED went from dark to lit since power-on. */
    uint64_t flashes(int group, int index) const { return flashes_.at(slot(group, index)); }

protected:
    uint8_t read_register(uint8_t reg) override;
    void write_register(uint8_t reg, uint8_t value) override;

private:
    static size_t slot(int group, int index)
    {
        return static_cast<size_t>(group) * LEDS_PER_GROUP + static_cast<size_t>(index);
    }
    void light(int group, uint8_t value);

    const Timeline& time_;
    std::function<void()> control_changed_;
    std::deque<LedChange> history_;
    std::array<uint64_t, LED_GROUPS * LEDS_PER_GROUP> flashes_{};
    uint64_t lost_codes_ = 0;
};

/** "off", "on" or "blinking". */
const char* look_word(LedLook look);

/** Add "key" and the sections "leds" and "port". */
void add_board_commands(CommandTable& commands, BoardController& board);

} // namespace emu
