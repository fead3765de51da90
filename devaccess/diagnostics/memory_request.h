/**
 * @file
 * The capture driver's requests on the memory behind the video node.
 */
#pragma once

#include "devaccess/diagnostics/diagnostics.h"
#include "devaccess/request_code.h"

#include <cstdint>

namespace capd {

struct MemoryRequest {
    uint32_t address;
    uint32_t count; ///< words
    uint32_t words[MEMORY_REQUEST_WORDS];
};
static_assert(sizeof(MemoryRequest) == 264);

constexpr uint32_t READ_MEMORY = read_write_request('D', 3, 264);
constexpr uint32_t WRITE_MEMORY = write_request('D', 4, 264);

} // namespace capd
