#include "services/command.h"

#include "platform/platform.h"
#include "services/corrections.h"

#include <cstdio>
#include <sys/wait.h>

namespace capd {

constexpr int SIGNALLED = 128; // a shell's own status of a command that a signal ended, less the signal

int exit_status(int wait_status)
{
    if (wait_status == -1) {
        printf("fork failed");
        return -1;
    }
    // A mount or a measurement that was killed would count as done.
    if (service_corrections.recordings && WIFSIGNALED(wait_status)) return SIGNALLED + WTERMSIG(wait_status);
    return (wait_status >> 8) & 0xFF;
}

int run_command(const char* line)
{
    return exit_status(platform::run_shell(line));
}

} // namespace capd
