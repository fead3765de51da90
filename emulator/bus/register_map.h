/**
 * @file
 * What a chip's registers are by themselves: after power-on, and under a write. A chip declares them as one table; what
 * a register makes the chip do besides is the chip's own code.
 */
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace emu {

/** Registers that behave alike, from the first to the last. */
struct RegisterRow {
    uint8_t first, last;
    uint8_t reset;             ///< value after power-on
    uint8_t writable;          ///< bits that keep what is written; the others are the chip's
    uint8_t clears;            ///< bits that writing a one clears
    const char* name;          ///< "" where they are only kept
    bool is_protected = false; ///< takes writes only while the chip's lock is open
};

/** A table of registers by their number; of two rows with the same register the later one holds. */
class RegisterMap {
public:
    template<size_t N>
    constexpr explicit RegisterMap(const RegisterRow (&rows)[N])
    {
        for (const RegisterRow& row : rows)
            for (size_t reg = row.first; reg <= row.last; ++reg) {
                reset_[reg] = row.reset;
                writable_[reg] = row.writable;
                clears_[reg] = row.clears;
                exists_[reg] = true;
                name_[reg] = row.name;
                protected_[reg] = row.is_protected;
            }
    }

    /** Whether the chip has the register. */
    constexpr bool exists(uint8_t reg) const { return exists_[reg]; }
    /** All registers after power-on; those that the chip does not have are 0. */
    constexpr const std::array<uint8_t, 256>& reset() const { return reset_; }
    /** What people call the register; "" where it is only kept or does not exist. */
    constexpr const char* name(uint8_t reg) const { return name_[reg] == nullptr ? "" : name_[reg]; }
    /** Whether writing has no effect on what the register holds. */
    constexpr bool is_read_only(uint8_t reg) const { return writable_[reg] == 0 && clears_[reg] == 0; }
    /** Whether only an open lock lets writes through. */
    constexpr bool is_protected(uint8_t reg) const { return protected_[reg]; }
    /** What a register that held `before` holds after a write. */
    constexpr uint8_t written(uint8_t reg, uint8_t before, uint8_t value) const
    {
        const unsigned kept = before & ~(unsigned{value} & clears_[reg]) & ~unsigned{writable_[reg]};
        return static_cast<uint8_t>(kept | (value & writable_[reg]));
    }

private:
    std::array<uint8_t, 256> reset_{}, writable_{}, clears_{};
    std::array<bool, 256> exists_{}, protected_{};
    std::array<const char*, 256> name_{};
};

/** A chip that has all 256 registers, most of which only keep what is written. */
constexpr RegisterRow ALL_KEPT = {0x00, 0xFF, 0x00, 0xFF, 0x00, ""};

} // namespace emu
