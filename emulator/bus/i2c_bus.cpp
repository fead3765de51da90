#include "emulator/bus/i2c_bus.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <utility>

namespace emu {

int I2cBus::next_error(Fault& fault)
{
    if (fault.every != 0 && ++fault.seen % fault.every == 0) return fault.error;
    if (fault.skip > 0) {
        --fault.skip;
        return 0;
    }
    if (fault.count == 0) return 0;
    if (fault.count != UINT64_MAX) --fault.count;
    return fault.error;
}

/** On the wire (UM10204): start, a byte and its acknowledge in nine bits each, stop; a read starts again in between. */
constexpr size_t BYTE_BITS = 9, START_BITS = 1, STOP_BITS = 1;

void I2cBus::spend(size_t bits)
{
    if (speed_hz_ != 0) spent_ += (Micros{1'000'000} * bits + speed_hz_ - 1) / speed_hz_;
}

Micros I2cBus::take_time()
{
    return std::exchange(spent_, 0);
}

int I2cBus::finish(const Transfer& transfer)
{
    // Without an acknowledge of its address a transfer ends.
    size_t bytes = 1;
    if (transfer.error == 0) bytes += 1u + transfer.length + (transfer.is_read ? 1 : 0);
    spend(START_BITS + BYTE_BITS * bytes + STOP_BITS + (transfer.is_read && transfer.error == 0 ? START_BITS : 0));
    log_[total_++ % LOG_SIZE] = transfer;
    return -transfer.error;
}

int I2cBus::write(uint8_t address, std::span<const uint8_t> bytes)
{
    Transfer transfer{.time = time_.now(), .device = address};
    if (!bytes.empty()) {
        transfer.reg = bytes[0];
        transfer.length = static_cast<uint8_t>(bytes.size() - 1);
        std::copy_n(bytes.begin() + 1, std::min<size_t>(transfer.length, transfer.data.size()), transfer.data.begin());
    }
    Device* dev = device(address);
    if (dev == nullptr) {
        transfer.error = ENXIO;
        return finish(transfer);
    }
    ++dev->transfers;
    transfer.error = next_error(dev->fault);
    if (transfer.error == 0) transfer.error = dev->target == nullptr ? ENXIO : -dev->target->write(bytes);
    return finish(transfer);
}

int I2cBus::read(uint8_t address, std::span<const uint8_t> reg, std::span<uint8_t> out)
{
    Transfer transfer{.time = time_.now(), .device = address, .is_read = true};
    transfer.reg = reg.empty() ? uint8_t{0} : reg[0];
    transfer.length = static_cast<uint8_t>(out.size());
    Device* dev = device(address);
    if (dev == nullptr) {
        transfer.error = ENXIO;
        return finish(transfer);
    }
    ++dev->transfers;
    transfer.error = next_error(dev->fault);
    if (transfer.error == 0) transfer.error = dev->target == nullptr ? ENXIO : -dev->target->read(reg, out);
    if (transfer.error == 0)
        std::copy_n(out.begin(), std::min(out.size(), transfer.data.size()), transfer.data.begin());
    return finish(transfer);
}

void I2cBus::fail(uint8_t address, uint64_t skip, uint64_t count, int error)
{
    devices_.at(address).fault = {.skip = skip, .count = count, .error = error};
}

void I2cBus::fail_every(uint8_t address, uint64_t k, int error)
{
    devices_.at(address).fault = {.every = k, .error = error};
}

struct NamedDevice {
    uint8_t address;
    const char* name;
};
constexpr NamedDevice DEVICES[] = {{i2c_address::BOARD, "board"},
                                   {i2c_address::RECEIVER, "receiver"},
                                   {i2c_address::TRANSMITTER, "transmitter"},
                                   {i2c_address::EDID_ROM, "edidrom"}};

std::string i2c_device_name(uint8_t device)
{
    for (const NamedDevice& named : DEVICES)
        if (named.address == device) return named.name;
    char text[8];
    std::snprintf(text, sizeof text, "0x%02x", device);
    return text;
}

std::optional<uint8_t> i2c_device_called(std::string_view name)
{
    for (const NamedDevice& named : DEVICES)
        if (name == named.name) return named.address;
    return std::nullopt;
}

namespace {

std::string describe_transfer(const Transfer& transfer)
{
    char text[160];
    int used =
        std::snprintf(text, sizeof text, "%10.6f s  %-11s %-5s 0x%02x", static_cast<double>(transfer.time) / 1e6,
                      i2c_device_name(transfer.device).c_str(), transfer.is_read ? "read" : "write", transfer.reg);
    const size_t shown = std::min<size_t>(transfer.length, transfer.data.size());
    for (size_t i = 0; i < shown && transfer.error == 0; ++i)
        used += std::snprintf(text + used, sizeof text - static_cast<size_t>(used), " %02x", transfer.data[i]);
    std::string line(text);
    if (transfer.length > shown) line += " ... (" + std::to_string(transfer.length) + " bytes)";
    if (transfer.error != 0) line += " failed, errno " + std::to_string(transfer.error);
    return line;
}

} // namespace

std::string I2cBus::describe(size_t count) const
{
    std::string text;
    for (size_t age = std::min(count, logged()); age > 0; --age) text += describe_transfer(last(age - 1)) + "\n";
    return text;
}

} // namespace emu
