#include "hdmirx/src/hdmirx/message.h"

#include <cstdarg>
#include <cstdio>

namespace capd::rx {

void message(const char* format, ...)
{
    printf("\n");
    va_list arguments;
    va_start(arguments, format);
    vprintf(format, arguments);
    va_end(arguments);
}

void print_position(int line)
{
    printf("%s:%d", "src/hdmirx.c", line);
}

} // namespace capd::rx
