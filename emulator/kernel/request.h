/**
 * @file
 * Requests on a device node as their codes tell them, and the ones whose record carries a pointer.
 */
#pragma once

#include <cstddef>
#include <cstdint>

namespace emu {

/** Whether a request's record comes back changed: the topmost bit of the code, as on Linux. */
constexpr bool driver_writes(uint32_t code)
{
    return (code & 0x8000'0000u) != 0;
}

/** Size of a request's record in bytes: bits 16 to 29 of the code. On the box; a record with a pointer is longer here.
 */
constexpr size_t record_size(uint32_t code)
{
    return (code >> 16) & 0x3FFF;
}

/** DMA to and from the memory behind the capture driver. */
constexpr uint32_t DMA_WRITE = 0x400C4412;
constexpr uint32_t DMA_READ = 0xC00C4411;
constexpr bool is_dma_request(uint32_t code)
{
    return code == DMA_WRITE || code == DMA_READ;
}

struct DmaRecord {
    uint32_t address, size; ///< bytes
    uint8_t* buffer;        ///< the caller's
};
/** Bytes of the record in front of the pointer, which are the same on all machines. */
constexpr size_t DMA_RECORD_HEAD = offsetof(DmaRecord, buffer);
static_assert(DMA_RECORD_HEAD == 8);

} // namespace emu
