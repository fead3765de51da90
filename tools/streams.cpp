#include "tools/streams.h"

#include "platform/platform.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <string_view>
#include <unistd.h>

namespace boxtool {

Streams::Streams(bool chatter)
{
    // In front of the emulated box the first call connects to it. That there is none is no chatter.
    char mapped[capd::platform::PATH_SIZE];
    capd::platform::map_path("/", mapped);

    std::fflush(nullptr);
    for (int fd = 0; fd < 3; ++fd) saved_[static_cast<size_t>(fd)] = fcntl(fd, F_DUPFD_CLOEXEC, 3);
    const int nowhere = open("/dev/null", O_RDWR | O_CLOEXEC);
    const int target = chatter ? error() : nowhere;
    for (int fd = 0; fd < 3; ++fd)
        if (target >= 0) dup2(target, fd);
    if (nowhere >= 0) close(nowhere);
}

Streams::~Streams()
{
    std::fflush(nullptr);
    for (int fd = 0; fd < 3; ++fd) {
        const int real = saved_[static_cast<size_t>(fd)];
        if (real < 0) continue;
        dup2(real, fd);
        close(real);
    }
}

int write_all(int fd, std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t written = write(fd, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return written < 0 ? errno : EIO;
        bytes.remove_prefix(static_cast<size_t>(written));
    }
    return 0;
}

} // namespace boxtool
