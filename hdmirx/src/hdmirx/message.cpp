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

void print_position(std::source_location at)
{
    printf("%s:%d", "src/hdmirx.c", static_cast<int>(at.line()));
}

} // namespace capd::rx
