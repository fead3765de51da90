#include "recorder/log.h"

#include <cstdarg>
#include <cstdio>

namespace capd {

void log_printf(const char* file, int line, const char* function, int /*level*/, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    flockfile(stderr);
    fprintf(stderr, "\n%s:%d:%s->", file, line, function);
    vfprintf(stderr, format, arguments);
    funlockfile(stderr);
    va_end(arguments);
}

} // namespace capd
