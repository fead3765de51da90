#include "devaccess/standard_streams.h"

#include <fcntl.h>
#include <unistd.h>

namespace capd {

void open_standard_streams()
{
    // In rising order, so that each open() takes the very number that was found closed. Children are to have them too.
    for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd) {
        if (fcntl(fd, F_GETFD) >= 0) continue;
        if (open("/dev/null", O_RDWR) < 0) return;
    }
}

} // namespace capd
