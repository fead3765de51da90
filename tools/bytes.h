/**
 * @file
 * Bytes as people and files have them: hex dumps, files of this machine, and the sum that ends every EDID block.
 */
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace boxtool {

using Bytes = std::vector<uint8_t>;

constexpr size_t EDID_BLOCK_SIZE = 128;

/** Lines of 16 bytes, each begun by the offset of its first. */
std::string hex_dump(std::span<const uint8_t> bytes, unsigned first_offset = 0);

/** All bytes as one word of lower-case hex digits. */
std::string hex_digits(std::span<const uint8_t> bytes);

/** Read a file that must have between `least` and `most` bytes; throws UsageError. */
Bytes read_file(const std::string& path, size_t least, size_t most);

/** Write a file; throws Refused. */
void write_file(const std::string& path, std::span<const uint8_t> bytes);

/** The words as the memory behind the node has them: low byte first. */
Bytes bytes_of(std::span<const uint32_t> words);
std::vector<uint32_t> words_of(std::span<const uint8_t> bytes);

/** What is wrong with an EDID, block by block, in words; empty when header and sums are right. */
std::string edid_faults(std::span<const uint8_t> edid);

} // namespace boxtool
