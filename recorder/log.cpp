#include "recorder/log.h"

#include <algorithm>
#include <cstdarg>
#include <cstddef>
#include <cstdio>

namespace capd {

// Longest entry; the longest that the daemon makes holds two paths and stays below half of it.
constexpr size_t ENTRY_SIZE = 1024;

void log_printf(const char* file, int line, const char* function, int /*level*/, const char* format, ...)
{
    char entry[ENTRY_SIZE];
    const int head = snprintf(entry, sizeof(entry), "\n%s:%d:%s->", file, line, function);
    const size_t used = std::min(static_cast<size_t>(head), sizeof(entry) - 1);
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(entry + used, sizeof(entry) - used, format, arguments);
    va_end(arguments);
    fputs(entry, stderr); // in one piece: what the other thread prints meanwhile does not tear it
}

} // namespace capd
