#include "services/command.h"

#include "platform/platform.h"

#include <cstdio>

namespace capd {

int run_command(const char* line)
{
    const int status = platform::run_shell(line);
    if (status == -1) {
        printf("fork failed");
        return -1;
    }
    return (status >> 8) & 0xFF;
}

} // namespace capd
