#include "emulator/chips/edid_rom.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <iterator>
#include <numeric>

namespace emu {

namespace {

constexpr size_t BLOCK_SIZE = 128;

// clang-format off
// EDID 1.3 of the box itself; all that is not listed is zero, and the last byte of each block makes its sum zero.
constexpr uint8_t BASE_BLOCK[] = {
    0x00, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x00,
    0x0C, 0x30, 0x01, 0x00, 0x01, 0x00, 0x00, 0x00, 0x01, 0x1E, // maker "CAP", product 1, week 1 of 2020
    0x01, 0x03, 0x80, 0x00, 0x00, 0x78, 0x0A,                   // EDID 1.3, digital, no size, RGB
    0xEE, 0x91, 0xA3, 0x54, 0x4C, 0x99, 0x26, 0x0F, 0x50, 0x54, // sRGB primaries
    0x20, 0x00, 0x00,                                           // 640x480 at 60 Hz
    0x01, 0x01, 0x01, 0x01, 0x01, 0x01, 0x01, 0x01, 0x01, 0x01, 0x01, 0x01, 0x01, 0x01, 0x01, 0x01,
    0x02, 0x3A, 0x80, 0x18, 0x71, 0x38, 0x2D, 0x40, 0x58, 0x2C, 0x45, 0x00, 0, 0, 0, 0, 0, 0x1E, // 1920x1080p60
    0x01, 0x1D, 0x00, 0x72, 0x51, 0xD0, 0x1E, 0x20, 0x6E, 0x28, 0x55, 0x00, 0, 0, 0, 0, 0, 0x1E, // 1280x720p60
    0, 0, 0, 0xFC, 0, 'R', 'E', 'C', 'O', 'R', 'D', 'E', 'R', '\n', ' ', ' ', ' ', ' ',
    0, 0, 0, 0xFD, 0, 23, 76, 15, 81, 16, 0, '\n', ' ', ' ', ' ', ' ', ' ', ' ',                 // 23-76 Hz, 15-81 kHz
    1,                                                                                          // extension blocks
};
constexpr uint8_t CEA_BLOCK[] = {
    0x02, 0x03, 0x16, 0x40,                         // CEA-861, data blocks up to byte 21, basic audio
    0x47, 0x90, 0x1F, 0x05, 0x14, 0x04, 0x13, 0x20, // 1080p60 (native), 1080p50, 1080i60, 1080i50, 720p60, 720p50, 1080p24
    0x23, 0x09, 0x7F, 0x07,                         // PCM, two channels, 32 to 192 kHz, 16 to 24 bits
    0x65, 0x03, 0x0C, 0x00, 0x10, 0x00,             // HDMI, physical address 1.0.0.0
};
// clang-format on

void close_block(std::span<uint8_t> block)
{
    const unsigned sum = std::accumulate(block.begin(), block.end() - 1, 0u);
    block.back() = static_cast<uint8_t>(0x100 - (sum & 0xFF));
}

} // namespace

EdidRom::EdidRom(const Timeline& time, const I2cBus& bus) : time_(time), bus_(bus)
{
    std::copy(std::begin(BASE_BLOCK), std::end(BASE_BLOCK), bytes_.begin());
    std::copy(std::begin(CEA_BLOCK), std::end(CEA_BLOCK), bytes_.begin() + BLOCK_SIZE);
    close_block(std::span(bytes_).first(BLOCK_SIZE));
    close_block(std::span(bytes_).last(BLOCK_SIZE));
}

uint8_t EdidRom::read_byte(uint8_t offset) const
{
    const Cycle& cycle = cycles_[offset];
    return time_.now() < cycle.until ? cycle.before : bytes_[offset];
}

void EdidRom::write_byte(uint8_t offset, uint8_t value)
{
    if (bus_.speed() != 0) cycles_[offset] = {.until = time_.now() + WRITE_TIME, .before = read_byte(offset)};
    bytes_[offset] = value;
}

int EdidRom::write(std::span<const uint8_t> bytes)
{
    if (bytes.empty()) return readable_ ? 0 : -ENXIO;
    if (!writable_) {
        lost_writes_ += bytes.size() - 1;
        return readable_ ? 0 : -ENXIO;
    }
    offset_ = bytes[0];
    for (uint8_t value : bytes.subspan(1)) write_byte(offset_++, value);
    writes_ += bytes.size() - 1;
    return 0;
}

int EdidRom::read(std::span<const uint8_t> address, std::span<uint8_t> out)
{
    if (!readable_) {
        ++refused_reads_;
        return -ENXIO;
    }
    if (!address.empty()) offset_ = address[0];
    for (uint8_t& value : out) value = read_byte(offset_++);
    return 0;
}

void EdidRom::give_access(bool readable, bool writable)
{
    readable_ = readable;
    writable_ = writable;
}

void EdidRom::load(std::span<const uint8_t> contents)
{
    std::copy_n(contents.begin(), std::min(contents.size(), bytes_.size()), bytes_.begin());
}

} // namespace emu
