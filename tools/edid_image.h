/**
 * @file
 * EDIDs as files and displays have them: how they are read from a file, and whether they are right.
 */
#pragma once

#include "tools/bytes.h"

#include "hdmitx/edid.h"

namespace boxtool {

constexpr size_t EDID_BLOCK_SIZE = capd::EDID_BLOCK_SIZE;

/** Blocks that an EDID has, by what block 0 counts, and at most. */
size_t edid_blocks(std::span<const uint8_t> edid, size_t most);

/**
 * Read one or two blocks from a file, or from standard input for PIPE: raw bytes, hexadecimal digits, or the text that
 * edid-decode prints. Throws UsageError when the file holds something else.
 */
Bytes read_edid_file(const std::string& path);

/**
 * What is wrong with an EDID, block by block, in words; empty when header and checksums are right and no block is
 * missing. What block 0 does not count is not looked at.
 * @param most blocks that there can be, whatever block 0 counts
 */
std::string edid_faults(std::span<const uint8_t> edid, size_t most);

/** A verdict on it for people. */
std::string edid_verdict(const std::string& faults);

} // namespace boxtool
