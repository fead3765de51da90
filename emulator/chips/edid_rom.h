/**
 * @file
 * The EDID ROM of the box's input: 256 bytes that sources read over DDC, and the host over I2C while the board
 * controller gives it access: without it nobody answers. A write with access alone, its write protection on, is
 * acknowledged, lost and counted. A written byte needs its time, during which what was there before is read; where the
 * bus takes no time, the memory takes none either. The sources' side is not modelled: they read what is there.
 */
#pragma once

#include "emulator/bus/i2c_bus.h"

#include <array>
#include <span>

namespace emu {

class CommandTable;

class EdidRom : public I2cTarget {
public:
    /** Write cycle of the memory, the longest that the makers of 24C02 parts give. */
    static constexpr Micros WRITE_TIME = 5'000;

    /** A new ROM holds the box's own EDID: 1080p60 and 720p60, HDMI, stereo PCM. Clock and bus outlive it. */
    EdidRom(const Timeline& time, const I2cBus& bus);

    int write(std::span<const uint8_t> bytes) override;
    int read(std::span<const uint8_t> address, std::span<uint8_t> out) override;

    /** What the board controller's switches let the host do. */
    void give_access(bool readable, bool writable);

    /** Contents, as a source would read them once they are written. */
    std::span<const uint8_t, 256> bytes() const { return bytes_; }
    /** Put contents there from offset 0; bytes beyond them stay. */
    void load(std::span<const uint8_t> contents);
    void fill(uint8_t value) { bytes_.fill(value); }

    uint64_t writes() const { return writes_; }               ///< bytes that were written
    uint64_t lost_writes() const { return lost_writes_; }     ///< bytes that came without access, or protected
    uint64_t refused_reads() const { return refused_reads_; } ///< reads that came without access

private:
    /** A byte that is being written. */
    struct Cycle {
        Micros until = 0;
        uint8_t before = 0;
    };

    uint8_t read_byte(uint8_t offset) const;
    void write_byte(uint8_t offset, uint8_t value);

    const Timeline& time_;
    const I2cBus& bus_;
    std::array<uint8_t, 256> bytes_{};
    std::array<Cycle, 256> cycles_{};
    uint8_t offset_ = 0; ///< of the next byte
    bool readable_ = false, writable_ = false;
    uint64_t writes_ = 0, lost_writes_ = 0, refused_reads_ = 0;
};

/** Add "rom load|fill" and the section "rom". */
void add_edid_rom_commands(CommandTable& commands, EdidRom& rom);

} // namespace emu
