#include "emulator/remote/server/line_input.h"

#include <cerrno>
#include <cstdio>
#include <unistd.h>

namespace emu {

namespace {

constexpr size_t LONGEST_LINE = 65536;

} // namespace

bool others_have_terminal(int fd)
{
    const pid_t owner = ::tcgetpgrp(fd); // fails where there is no terminal, or none that jobs share
    return owner > 0 && owner != ::getpgrp();
}

int PlainInput::fd()
{
    return fd_ >= 0 && others_have_terminal(fd_) ? -1 : fd_;
}

void PlainInput::read(const std::function<void(std::string)>& take)
{
    char bytes[4096];
    const ssize_t got = ::read(fd_, bytes, sizeof bytes);
    if (got < 0 && (errno == EAGAIN || errno == EINTR)) return;
    if (got <= 0) {
        fd_ = -1;
        return;
    }
    for (const char c : std::string_view(bytes, static_cast<size_t>(got))) {
        if (c != '\n') {
            too_long_ = too_long_ || begun_.size() == LONGEST_LINE;
            if (!too_long_) begun_ += c;
            continue;
        }
        if (too_long_)
            print("a line of more than " + std::to_string(LONGEST_LINE) + " letters was left out");
        else
            take(std::move(begun_));
        begun_.clear();
        too_long_ = false;
    }
}

void PlainInput::print(std::string_view text)
{
    if (text.empty()) return;
    std::printf("%.*s%s", static_cast<int>(text.size()), text.data(), text.ends_with('\n') ? "" : "\n");
    std::fflush(stdout);
}

} // namespace emu
