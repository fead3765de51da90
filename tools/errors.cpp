#include "tools/errors.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace boxtool {

std::string vformat(const char* pattern, va_list args)
{
    va_list again;
    va_copy(again, args);
    const int length = std::vsnprintf(nullptr, 0, pattern, args);
    std::string text(static_cast<size_t>(length) + 1, '\0');
    std::vsnprintf(text.data(), text.size(), pattern, again);
    va_end(again);
    text.pop_back();
    return text;
}

std::string format(const char* pattern, ...)
{
    va_list args;
    va_start(args, pattern);
    std::string text = vformat(pattern, args);
    va_end(args);
    return text;
}

void refuse(const std::string& what)
{
    const int error = errno;
    throw Refused(format("%s: %s (errno %d)", what.c_str(), std::strerror(error), error));
}

void check(int result, const std::string& what)
{
    if (result < 0) refuse(what);
}

} // namespace boxtool
