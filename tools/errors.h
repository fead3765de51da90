/**
 * @file
 * Errors that end a command with an exit status, and the texts that tell them.
 */
#pragma once

#include <cstdarg>
#include <stdexcept>
#include <string>

namespace boxtool {

/** Wrong arguments, or no consent: ends the command with EXIT_USAGE. */
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/** The box refused, or what was looked at is not as it should be: ends the command with EXIT_REFUSED. */
class Refused : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/** Make a text as printf() does. */
[[gnu::format(printf, 1, 2)]] std::string format(const char* pattern, ...);

/** Likewise of arguments that a function of variable arguments has got. */
[[gnu::format(printf, 1, 0)]] std::string vformat(const char* pattern, va_list args);

/** Throw Refused with errno's text. */
[[noreturn]] void refuse(const std::string& what);

/** Throw Refused, with errno's text, when a request's result is below 0. */
void check(int result, const std::string& what);

} // namespace boxtool
