/**
 * @file
 * A chip that is nothing but 256 registers with an auto-incrementing address: base of the emulated chips.
 */
#pragma once

#include "emulator/bus/i2c_bus.h"
#include "emulator/bus/register_map.h"

#include <array>
#include <cerrno>

namespace emu {

class RegisterFile : public I2cTarget {
public:
    /** A chip whose registers all keep what is written. */
    RegisterFile() : RegisterFile(KEEPS_ALL) {}
    /** @param map outlives the chip */
    explicit RegisterFile(const RegisterMap& map) : registers_(map.reset()), map_(map) {}

    /** All registers as the power leaves them when it comes, whatever was written. */
    virtual void power_on() { registers_ = map_.reset(); }

    int write(std::span<const uint8_t> bytes) override
    {
        if (bytes.empty()) return 0;
        uint8_t reg = bytes[0];
        for (uint8_t value : bytes.subspan(1)) write_register(reg++, value);
        return 0;
    }

    int read(std::span<const uint8_t> address, std::span<uint8_t> out) override
    {
        if (address.size() != 1) return -ENXIO;
        uint8_t reg = address[0];
        for (uint8_t& value : out) value = read_register(reg++);
        return 0;
    }

protected:
    /** One register as the bus reads and writes it; a chip overrides what it does besides keeping the byte. */
    virtual uint8_t read_register(uint8_t reg) { return registers_[reg]; }
    virtual void write_register(uint8_t reg, uint8_t value)
    {
        registers_[reg] = map_.written(reg, registers_[reg], value);
    }

    std::array<uint8_t, 256> registers_;

private:
    static constexpr RegisterRow KEPT[] = {ALL_KEPT};
    static constexpr RegisterMap KEEPS_ALL{KEPT};

    const RegisterMap& map_;
};

} // namespace emu
