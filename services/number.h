/**
 * @file
 * Numbers in texts that come from outside: nvram values and number files.
 */
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>

namespace capd {

/**
 * Read a text as atoi() does (0 when it is no number), but hold a number that is too large at the end of the range.
 * The most negative result is -INT32_MAX, so that a caller may step it down by one.
 */
inline int parse_int(const char* text)
{
    const long long value = strtoll(text, nullptr, 10);
    return static_cast<int>(std::clamp<long long>(value, -INT32_MAX, INT32_MAX));
}

} // namespace capd
