/**
 * @file
 * The receiver driver's messages, on standard output. Any state change shows where in the source it was decided.
 */
#pragma once

namespace capd::rx {

/**
 * Print one message after an empty line of its own, which keeps the driver's lines apart from what other modules leave
 * unfinished on the console.
 *
 * Printed with plain printf instead, without that empty line: what continues a line begun by message() (a choice, a
 * difference, a range); texts that bring their own leading line feed; positions; and the blocks whose whole layout is
 * fixed (the banner, the debug block and the three status reports).
 */
[[gnu::format(printf, 1, 2)]] void message(const char* format, ...);

/** Print the position of a decision, without a line feed before or after it: the state change's own message follows. */
void print_position(int line = __builtin_LINE());

} // namespace capd::rx
