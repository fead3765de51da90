#include "emulator/kernel/capture_driver.h"

#include <cerrno>
#include <cstring>

namespace emu {

namespace {

// Request codes, as the driver's manual lists them.
constexpr uint32_t DEVICE_INFO = 0xC0105302;
constexpr uint32_t I2C_WRITE = 0x404A4400;
constexpr uint32_t I2C_READ = 0xC0534402;
constexpr uint32_t I2C_WRITE_SECOND_FORM = 0x404A4423;
constexpr uint32_t I2C_READ_SECOND_FORM = 0xC0534425;

// Stamps of the interface version that this driver was built for.
constexpr uint32_t BUS_STAMP = 0x00020300;
constexpr uint32_t TYPE_STAMP = 0x00010203;
constexpr int VERSION_REFUSED = -11;

// I2C records: {device, length, 72 bytes} and {device, address length, 8 address bytes, read length, 72 bytes}.
constexpr size_t DATA_ROOM = 72;
constexpr size_t ADDRESS_ROOM = 8;

} // namespace

int CaptureDriver::device_info(int node, void* record) const
{
    const NodeInfo& info = nodes_.at(node);
    if (info.refusal != 0) return info.refusal;
    uint32_t words[4];
    std::memcpy(words, record, sizeof words);
    if (words[0] != BUS_STAMP || words[2] != TYPE_STAMP) return VERSION_REFUSED;
    const int32_t answer[4] = {info.bus, info.instance, info.type, info.task};
    std::memcpy(record, answer, sizeof answer);
    return 0;
}

int CaptureDriver::i2c_write(const uint8_t* record)
{
    if (record[1] > DATA_ROOM) return -EINVAL;
    return bus_.write(record[0], {record + 2, record[1]});
}

int CaptureDriver::i2c_read(uint8_t* record)
{
    uint8_t* length = record + 2 + ADDRESS_ROOM;
    if (record[1] > ADDRESS_ROOM || *length > DATA_ROOM) return -EINVAL;
    return bus_.read(record[0], {record + 2, record[1]}, {length + 1, *length});
}

int CaptureDriver::request(int node, uint32_t code, void* record)
{
    if (!has_node(node)) return -ENODEV;
    switch (code) {
    case DEVICE_INFO: return device_info(node, record);
    case I2C_WRITE:
    case I2C_WRITE_SECOND_FORM: return i2c_write(static_cast<const uint8_t*>(record));
    case I2C_READ:
    case I2C_READ_SECOND_FORM: return i2c_read(static_cast<uint8_t*>(record));
    default: return diagnostics_.request(code, record);
    }
}

} // namespace emu
