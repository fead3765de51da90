#include "services/command.h"

#include "platform/platform.h"

#include <cstdio>

namespace capd {

int exit_status(int wait_status)
{
    if (wait_status == -1) {
        printf("fork failed");
        return -1;
    }
    return (wait_status >> 8) & 0xFF;
}

int run_command(const char* line)
{
    return exit_status(platform::run_shell(line));
}

} // namespace capd
