/**
 * @file
 * The capture driver's diagnostic side: versions, debug levels, source and front end, video properties, GPIO,
 * registers, a memory with faults on demand, DMA to and from the caller's buffer, and the codec's error word.
 */
#pragma once

#include "emulator/base/timeline.h"

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace emu {

class CommandTable;

class CaptureDiagnostics {
public:
    static constexpr uint32_t MEMORY_SIZE = 1u << 20; ///< bytes, from address 0
    static constexpr size_t GPIOS = 64;

    explicit CaptureDiagnostics(const Timeline& time);

    /**
     * A request with a record. A DMA record is {u32 address, u32 size, pointer to the caller's buffer}.
     * @return 0, or a negative errno: -EINVAL for values that make no sense, -EFAULT for addresses that are none,
     *         -ENOTTY for a code that is none of these requests
     */
    int request(uint32_t code, void* record);

    /** Memory, registers and settings as after power-on; faults stay. */
    void power_on();

    /** @name Faults of the memory. All words keep what they hold; a fault shows on the way.
     * @{ */
    /** A data line that sticks at a level, in both directions. */
    void stick_data_bit(unsigned bit, bool high);
    void free_data_bit() { stuck_high_ = stuck_low_ = 0; }
    /** Two lines of the byte address (2 to 19) that touch: both are high when either is. */
    void short_address_lines(unsigned a, unsigned b);
    void part_address_lines() { shorted_lines_ = 0; }
    /** A word that takes nothing and reads as zero. */
    void kill_word(uint32_t address) { dead_word_ = address & ~3u; }
    void revive_word() { dead_word_ = NOWHERE; }
    /** A word that no transfer but DMA may touch: the driver gives up with -EIO. */
    void refuse_word(uint32_t address) { refused_word_ = address & ~3u; }
    void admit_word() { refused_word_ = NOWHERE; }
    /** @} */

    /** A word as the chip holds it, past all faults. */
    uint32_t& word(uint32_t address) { return memory_.at(address / 4); }
    void set_codec_error(int32_t error) { codec_error_ = error; }

    struct Gpio {
        bool output = false, level = false;
    };
    const Gpio& gpio(size_t number) const { return gpios_.at(number); }
    int32_t video_source() const { return video_source_; }
    int32_t front_end() const { return front_end_; }
    uint16_t debug_level(uint16_t function) const;
    int32_t property(size_t id) const { return properties_.at(id - 1); }

private:
    int exchange_word(uint32_t code, void* record);
    int property_request(uint32_t code, void* record);
    int set_gpio(uint32_t code, const uint8_t* record);
    int register_request(bool write, void* record);
    int memory_request(bool write, void* record);
    int dma_request(bool write, const void* record);
    uint32_t effective(uint32_t address) const;
    uint32_t read_memory(uint32_t address) const;
    void write_memory(uint32_t address, uint32_t value);

    static constexpr uint32_t NOWHERE = UINT32_MAX;
    static constexpr size_t PROPERTIES = 15; ///< that have a value; the others tell a value's range

    const Timeline& time_;
    std::vector<uint32_t> memory_ = std::vector<uint32_t>(MEMORY_SIZE / 4);
    uint32_t stuck_high_ = 0, stuck_low_ = 0, shorted_lines_ = 0, dead_word_ = NOWHERE, refused_word_ = NOWHERE;
    std::map<uint32_t, uint32_t> registers_;
    std::map<uint16_t, uint16_t> debug_levels_;
    std::array<Gpio, GPIOS> gpios_{};
    std::array<int32_t, PROPERTIES> properties_{};
    int32_t codec_error_ = 0, video_source_ = 0, front_end_ = 0;
};

/** Add "memory stuck|short|dead|refuse", "codec error" and the section "diagnostics". */
void add_diagnostics_commands(CommandTable& commands, CaptureDiagnostics& diagnostics);

} // namespace emu
