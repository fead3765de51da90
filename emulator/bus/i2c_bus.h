/**
 * @file
 * The box's I2C bus: devices by 7-bit address, faults on demand, the time that transfers take, and a log of the last
 * ones.
 */
#pragma once

#include "emulator/base/timeline.h"

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace emu {

class CommandTable;

/** Where the box's chips answer, as 7-bit addresses. */
namespace i2c_address {
constexpr uint8_t BOARD = 0x1C, RECEIVER = 0x48, TRANSMITTER = 0x4C, TRANSMITTER_COMPANION = 0x4E, EDID_ROM = 0x50;
}

/** A chip on the bus. */
class I2cTarget {
public:
    virtual ~I2cTarget() = default;

    /** Take written bytes, the register address first. @return 0, or -ENXIO where the chip does not acknowledge */
    virtual int write(std::span<const uint8_t> bytes) = 0;

    /** Take a register address, then give bytes after a repeated start. Results as of write(). */
    virtual int read(std::span<const uint8_t> address, std::span<uint8_t> out) = 0;
};

/** One transfer as the log keeps it. */
struct Transfer {
    Micros time = 0;
    uint8_t device = 0;            ///< 7-bit address
    bool is_read = false;          ///< a read, after its register address was sent
    uint8_t reg = 0;               ///< first byte of the register address
    uint8_t length = 0;            ///< data bytes, the register address not counted
    std::array<uint8_t, 4> data{}; ///< the first of them
    int error = 0;                 ///< 0, or the errno it ended with
};

class I2cBus {
public:
    explicit I2cBus(Timeline& time) : time_(time) {}

    /** Put a chip on the bus; it must outlive the bus's use. */
    void attach(uint8_t device, I2cTarget& target) { devices_.at(device).target = &target; }

    /** Transfers as the capture driver makes them. @return 0, or a negative errno; -ENXIO where nobody answers */
    int write(uint8_t device, std::span<const uint8_t> bytes);
    int read(uint8_t device, std::span<const uint8_t> address, std::span<uint8_t> out);

    /** Let `skip` transfers of a device pass, end the next `count` with an error, then be well again. */
    void fail(uint8_t device, uint64_t skip, uint64_t count, int error);
    /** End every transfer of a device with an error until it is mended. */
    void fail_all(uint8_t device, int error) { fail(device, 0, UINT64_MAX, error); }
    /** End every k-th transfer of a device with an error; k of 1 or more. */
    void fail_every(uint8_t device, uint64_t k, int error);
    /** Take all faults of a device away. */
    void mend(uint8_t device) { devices_.at(device).fault = {}; }

    /** Let transfers take as long as their bits at this many hertz; 0, as at power-on: no time at all. */
    void set_speed(uint32_t hertz) { speed_hz_ = hertz; }
    uint32_t speed() const { return speed_hz_; }
    /** Time that transfers have taken since the last call. Who made them has to wait for it. */
    Micros take_time();

    /** Transfers to a device since power-on, failed ones included. */
    uint64_t count(uint8_t device) const { return devices_.at(device).transfers; }
    /** Transfers to all devices since power-on. */
    uint64_t count() const { return total_; }

    static constexpr size_t LOG_SIZE = 4096;
    /** Transfers that the log still holds, at most LOG_SIZE. */
    size_t logged() const { return total_ < LOG_SIZE ? static_cast<size_t>(total_) : LOG_SIZE; }
    /** A transfer by age: 0 is the latest; age below logged(). */
    const Transfer& last(size_t age) const { return log_[(total_ - 1 - age) % LOG_SIZE]; }
    /** The last transfers as text, oldest first, a line each. */
    std::string describe(size_t count) const;

private:
    struct Fault {
        uint64_t skip = 0, count = 0; ///< transfers still to pass, then still to fail
        uint64_t every = 0, seen = 0; ///< fail each time `seen` reaches a multiple of `every`; 0 never
        int error = 0;
    };
    struct Device {
        I2cTarget* target = nullptr;
        uint64_t transfers = 0;
        Fault fault;
    };

    static int next_error(Fault& fault);
    Device* device(uint8_t address) { return address < devices_.size() ? &devices_[address] : nullptr; }
    int finish(const Transfer& transfer);
    /** The wire is busy for so many bits. */
    void spend(size_t bits);

    Timeline& time_;
    std::array<Device, 128> devices_{};
    std::array<Transfer, LOG_SIZE> log_{};
    uint64_t total_ = 0;
    uint32_t speed_hz_ = 0;
    Micros spent_ = 0;
};

/** Name of a bus device as people call it; the address in hexadecimal where it has none. */
std::string i2c_device_name(uint8_t device);
/** Address of the device that people call so. */
std::optional<uint8_t> i2c_device_called(std::string_view name);

/** Add "i2c fail|mend" and "show transfers". */
void add_i2c_commands(CommandTable& commands, I2cBus& bus);

} // namespace emu
