/**
 * @file
 * Request codes of the kernel drivers: direction, size of the argument, type letter and number in 32 bits. The sizes
 * are given as numbers, not taken from records, so that the codes are those of the 32-bit box on every machine.
 */
#pragma once

#include <cstdint>

namespace capd {

/** Code of a request that hands a record of this size to the driver. */
constexpr uint32_t write_request(char type, uint32_t number, uint32_t size)
{
    return (1U << 30) | (size << 16) | (static_cast<uint32_t>(type) << 8) | number;
}

/** Code of a request whose record the driver reads and fills. */
constexpr uint32_t read_write_request(char type, uint32_t number, uint32_t size)
{
    return (2U << 30) | write_request(type, number, size);
}

static_assert(write_request('D', 35, 74) == 0x404A4423);
static_assert(read_write_request('S', 2, 16) == 0xC0105302);

} // namespace capd
