#include "emulator/kernel/capture_diagnostics.h"

#include "emulator/kernel/request.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace emu {

namespace {

// Request codes, as the driver's manual lists them.
constexpr uint32_t GET_API_VERSION = 0xC004530B;
constexpr uint32_t GET_DRIVER_VERSION = 0xC004530A;
constexpr uint32_t CHECK_CODEC_ERROR = 0xC00443B4;
constexpr uint32_t SET_DEBUG_LEVEL = 0x4004442A;
constexpr uint32_t GET_DEBUG_LEVEL = 0xC004442B;
constexpr uint32_t GET_VIDEO_SOURCE = 0xC0044422;
constexpr uint32_t SET_VIDEO_SOURCE = 0x40044421;
constexpr uint32_t GET_FRONT_END = 0xC0044428;
constexpr uint32_t SET_FRONT_END = 0x40044419;
constexpr uint32_t GET_PROPERTY = 0xC0104420;
constexpr uint32_t SET_PROPERTY = 0x4010441F;
constexpr uint32_t GPIO_DIRECTION = 0x4005433C;
constexpr uint32_t GPIO_LEVEL = 0x4005433D;
constexpr uint32_t WRITE_REGISTER = 0x40084406;
constexpr uint32_t READ_REGISTER = 0xC0084405;
constexpr uint32_t WRITE_MEMORY = 0x41084404;
constexpr uint32_t READ_MEMORY = 0xC1084403;

constexpr uint32_t API_VERSION = 0x00020300;
constexpr uint32_t DRIVER_VERSION = 0x00010203;
constexpr int32_t VIDEO_SOURCES = 4;
constexpr int32_t FRONT_ENDS = 4;
constexpr uint32_t MEMORY_WORDS = 64; // in one request

// Registers: 1 MiB of 32-bit ones, of which two are the chip's own.
constexpr uint32_t REGISTERS_END = 0x0010'0000;
constexpr uint32_t REG_CHIP_ID = 0x0000; // read-only
constexpr uint32_t CHIP_ID = 0x20C4'0011;
constexpr uint32_t REG_UPTIME = 0x0004; // read-only, milliseconds since power-on

/** A property of the picture: what it is after power-on and what it may be. */
struct Property {
    int32_t initial, low, high;
};
// clang-format off
constexpr Property PROPERTY_RULES[] = {
    {1, 0, 2},            //  1 power line frequency: off, 50 Hz, 60 Hz
    {128, 0, 255},        //  2 brightness
    {128, 0, 255},        //  3 contrast
    {0, -180, 180},       //  4 hue
    {128, 0, 255},        //  5 saturation
    {4, 0, 15},           //  6 sharpness
    {100, 1, 500},        //  7 gamma
    {1, 0, 1},            //  8 auto white balance
    {4600, 2800, 6500},   //  9 white balance, K
    {0, 0, 1},            // 10 low light boost
    {1, 0, 1},            // 11 auto focus
    {0, 0, 255},          // 12 focus
    {1, 0, 1},            // 13 auto exposure
    {156, 1, 10000},      // 14 exposure
    {0, 0, 1},            // 15 auto exposure priority
};
// clang-format on

constexpr int32_t FIRST_RANGE = 16, LAST_RANGE = 26;
/** Properties whose ranges are read as properties 16 to 26. */
constexpr int32_t RANGE_OF[] = {1, 2, 3, 5, 6, 7, 9, 10, 12, 14, 15};
static_assert(std::size(RANGE_OF) == LAST_RANGE - FIRST_RANGE + 1);

/** Properties are read under their number and this. */
constexpr int32_t GET_OFFSET = 100;

struct PropertyRecord {
    int32_t id, value, low, high;
};
struct RegisterRecord {
    uint32_t address, value;
};
struct MemoryRecord {
    uint32_t address, count, words[MEMORY_WORDS];
};
static_assert(sizeof(PropertyRecord) == 16 && sizeof(RegisterRecord) == 8 && sizeof(MemoryRecord) == 264);

/** Whether words from an address on lie in the memory. @return 0 or a negative errno */
int check_memory(uint32_t address, uint64_t size)
{
    if (address % 4 != 0) return -EINVAL;
    return address + size <= CaptureDiagnostics::MEMORY_SIZE ? 0 : -EFAULT;
}

} // namespace

CaptureDiagnostics::CaptureDiagnostics(const Timeline& time) : time_(time)
{
    power_on();
}

void CaptureDiagnostics::power_on()
{
    std::ranges::fill(memory_, 0);
    registers_.clear();
    debug_levels_.clear();
    gpios_ = {};
    for (size_t i = 0; i < PROPERTIES; ++i) properties_[i] = PROPERTY_RULES[i].initial;
    video_source_ = front_end_ = 0;
}

int CaptureDiagnostics::request(uint32_t code, void* record)
{
    switch (code) {
    case GET_PROPERTY:
    case SET_PROPERTY: return property_request(code, record);
    case GPIO_DIRECTION:
    case GPIO_LEVEL: return set_gpio(code, static_cast<const uint8_t*>(record));
    case WRITE_REGISTER:
    case READ_REGISTER: return register_request(code == WRITE_REGISTER, record);
    case WRITE_MEMORY:
    case READ_MEMORY: return memory_request(code == WRITE_MEMORY, record);
    case DMA_WRITE:
    case DMA_READ: return dma_request(code == DMA_WRITE, record);
    default: return exchange_word(code, record);
    }
}

/** Requests whose record is one word. */
int CaptureDiagnostics::exchange_word(uint32_t code, void* record)
{
    uint32_t word = 0;
    const auto take = [record, &word] { std::memcpy(&word, record, sizeof word); };
    const auto give = [record](uint32_t value) {
        std::memcpy(record, &value, sizeof value);
        return 0;
    };
    const auto set = [&word, &take](int32_t& setting, int32_t limit) {
        take();
        if (word >= static_cast<uint32_t>(limit)) return -EINVAL;
        setting = static_cast<int32_t>(word);
        return 0;
    };
    switch (code) {
    case GET_API_VERSION: return give(API_VERSION);
    case GET_DRIVER_VERSION: return give(DRIVER_VERSION);
    case CHECK_CODEC_ERROR: return give(static_cast<uint32_t>(codec_error_));
    case GET_VIDEO_SOURCE: return give(static_cast<uint32_t>(video_source_));
    case GET_FRONT_END: return give(static_cast<uint32_t>(front_end_));
    case SET_VIDEO_SOURCE: return set(video_source_, VIDEO_SOURCES);
    case SET_FRONT_END: return set(front_end_, FRONT_ENDS);
    case GET_DEBUG_LEVEL: take(); return give((word & 0xFFFF'0000u) | debug_level(static_cast<uint16_t>(word >> 16)));
    case SET_DEBUG_LEVEL:
        take();
        debug_levels_[static_cast<uint16_t>(word >> 16)] = static_cast<uint16_t>(word);
        return 0;
    default: return -ENOTTY;
    }
}

uint16_t CaptureDiagnostics::debug_level(uint16_t function) const
{
    const auto found = debug_levels_.find(function);
    return found == debug_levels_.end() ? uint16_t{0} : found->second;
}

int CaptureDiagnostics::property_request(uint32_t code, void* record)
{
    PropertyRecord property;
    std::memcpy(&property, record, sizeof property);
    if (code == SET_PROPERTY) {
        if (property.id < 1 || property.id > static_cast<int32_t>(PROPERTIES)) return -EINVAL;
        const auto slot = static_cast<size_t>(property.id - 1);
        const Property& rule = PROPERTY_RULES[slot];
        if (property.value < rule.low || property.value > rule.high) return -EINVAL;
        properties_[slot] = property.value;
        return 0;
    }
    if (property.id <= GET_OFFSET || property.id > GET_OFFSET + LAST_RANGE) return -EINVAL;
    const int32_t id = property.id - GET_OFFSET;
    const auto slot = static_cast<size_t>((id < FIRST_RANGE ? id : RANGE_OF[id - FIRST_RANGE]) - 1);
    property.value = properties_[slot];
    property.low = PROPERTY_RULES[slot].low;
    property.high = PROPERTY_RULES[slot].high;
    std::memcpy(record, &property, sizeof property);
    return 0;
}

int CaptureDiagnostics::set_gpio(uint32_t code, const uint8_t* record)
{
    if (record[0] >= GPIOS || record[1] > 1 || record[2] != 0 || record[3] != 0 || record[4] != 0) return -EINVAL;
    Gpio& gpio = gpios_[record[0]];
    (code == GPIO_DIRECTION ? gpio.output : gpio.level) = record[1] != 0;
    return 0;
}

int CaptureDiagnostics::register_request(bool write, void* record)
{
    RegisterRecord reg;
    std::memcpy(&reg, record, sizeof reg);
    if (reg.address % 4 != 0) return -EINVAL;
    if (reg.address >= REGISTERS_END) return -EFAULT;
    if (write) {
        registers_[reg.address] = reg.value;
        return 0;
    }
    const auto found = registers_.find(reg.address);
    reg.value = found == registers_.end() ? 0 : found->second;
    if (reg.address == REG_CHIP_ID) reg.value = CHIP_ID;
    if (reg.address == REG_UPTIME) reg.value = static_cast<uint32_t>(time_.now() / 1000);
    std::memcpy(record, &reg, sizeof reg);
    return 0;
}

int CaptureDiagnostics::memory_request(bool write, void* record)
{
    MemoryRecord memory;
    std::memcpy(&memory, record, sizeof memory);
    if (memory.count > MEMORY_WORDS) return -EINVAL;
    if (const int error = check_memory(memory.address, uint64_t{4} * memory.count); error != 0) return error;
    for (uint32_t i = 0; i < memory.count; ++i) {
        const uint32_t address = memory.address + 4 * i;
        if (address == refused_word_) return -EIO;
        if (write)
            write_memory(address, memory.words[i]);
        else
            memory.words[i] = read_memory(address);
    }
    if (!write) std::memcpy(record, &memory, sizeof memory);
    return 0;
}

int CaptureDiagnostics::dma_request(bool write, const void* record)
{
    DmaRecord dma;
    std::memcpy(&dma, record, sizeof dma);
    if (const int error = check_memory(dma.address, dma.size); error != 0) return error;
    if (dma.buffer == nullptr && dma.size > 0) return -EFAULT;
    for (uint32_t at = 0; at < dma.size; at += 4) {
        const size_t bytes = std::min<size_t>(4, dma.size - at); // the last word may be used in part
        uint32_t word = read_memory(dma.address + at);
        if (write) {
            std::memcpy(&word, dma.buffer + at, bytes);
            write_memory(dma.address + at, word);
        } else {
            std::memcpy(dma.buffer + at, &word, bytes);
        }
    }
    return 0;
}

/** The word that the chip's address lines select. */
uint32_t CaptureDiagnostics::effective(uint32_t address) const
{
    return (address & shorted_lines_) != 0 ? address | shorted_lines_ : address;
}

uint32_t CaptureDiagnostics::read_memory(uint32_t address) const
{
    const uint32_t place = effective(address);
    const uint32_t value = place == dead_word_ ? 0 : memory_[place / 4];
    return (value | stuck_high_) & ~stuck_low_;
}

void CaptureDiagnostics::write_memory(uint32_t address, uint32_t value)
{
    const uint32_t place = effective(address);
    if (place != dead_word_) memory_[place / 4] = (value | stuck_high_) & ~stuck_low_;
}

void CaptureDiagnostics::stick_data_bit(unsigned bit, bool high)
{
    stuck_high_ = high ? 1u << bit : 0;
    stuck_low_ = high ? 0 : 1u << bit;
}

void CaptureDiagnostics::short_address_lines(unsigned a, unsigned b)
{
    shorted_lines_ = (1u << a) | (1u << b);
}

} // namespace emu
