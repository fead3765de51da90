/**
 * @file
 * What the commands on the memory behind the video node share.
 */
#pragma once

#include "tools/commands.h"

#include <cstdint>
#include <optional>

namespace boxtool {

constexpr Range WORD_ADDRESS = {0, 0xfffffffcLL, 4};

/** Throw UsageError when a range leaves the 32 bits of an address. */
void check_end(uint32_t address, uint64_t size);

/**
 * Find the first address behind the memory by reading single words below one that the driver does not know, some thirty
 * of them. The memory is taken to answer from 0 up to there without a gap.
 * @param missing an address that was refused with EFAULT
 * @return nothing when address 0 does not answer either
 */
std::optional<uint32_t> memory_end(uint32_t missing);

/** Add mem test. */
void add_memory_test(Commands& commands, CLI::App& group);

} // namespace boxtool
