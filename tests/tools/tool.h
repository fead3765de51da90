/**
 * @file
 * Runs boxtool in this process against the emulated box, with standard input, output and error of its own.
 */
#pragma once

#include "tests/support/bench.h"
#include "tools/boxtool.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

namespace bench {

struct ToolRun {
    int status;
    std::string out, err;
};

/** One of the three standard descriptors, sent elsewhere for a while. */
class Redirected {
public:
    Redirected(int fd, int to) : fd_(fd), saved_(fcntl(fd, F_DUPFD_CLOEXEC, 3)) { dup2(to, fd); }
    ~Redirected()
    {
        dup2(saved_, fd_);
        close(saved_);
    }
    Redirected(const Redirected&) = delete;
    Redirected& operator=(const Redirected&) = delete;

private:
    int fd_, saved_;
};

inline std::string take_file(int fd)
{
    std::string text(static_cast<size_t>(lseek(fd, 0, SEEK_END)), '\0');
    const ssize_t got = pread(fd, text.data(), text.size(), 0);
    close(fd);
    EXPECT_EQ(got, static_cast<ssize_t>(text.size()));
    return text;
}

/** A terminal, with somebody at it who types. */
class Terminal {
public:
    explicit Terminal(const std::string& typed = "") : master_(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC))
    {
        grantpt(master_);
        unlockpt(master_);
        fd_ = open(ptsname(master_), O_RDWR | O_NOCTTY | O_CLOEXEC);
        EXPECT_EQ(write(master_, typed.data(), typed.size()), std::ssize(typed));
    }
    ~Terminal()
    {
        close(fd_);
        close(master_);
    }
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    int fd() const { return fd_; }
    /** What has been shown, of at most a screen. */
    std::string shown() const
    {
        std::string text(4095, '\0');
        fcntl(master_, F_SETFL, O_NONBLOCK);
        const ssize_t got = read(master_, text.data(), text.size());
        text.resize(got > 0 ? static_cast<size_t>(got) : 0);
        return text;
    }

private:
    int master_, fd_;
};

/**
 * Run one command line, its words divided by blanks.
 * @param input what it reads as standard input; nothing by default
 * @param error where its standard error goes; into the result by default
 */
inline ToolRun tool(const std::string& line, int input = -1, int error = -1)
{
    std::vector<std::string> words = emu::split_words("boxtool " + line);
    std::vector<const char*> argv;
    for (const std::string& word : words) argv.push_back(word.c_str());
    const int out = memfd_create("out", MFD_CLOEXEC), err = memfd_create("err", MFD_CLOEXEC);
    const int nothing = open("/dev/null", O_RDWR | O_CLOEXEC);
    ToolRun run{};
    std::fflush(nullptr);
    {
        const Redirected in0(STDIN_FILENO, input < 0 ? nothing : input), out1(STDOUT_FILENO, out),
            err2(STDERR_FILENO, error < 0 ? err : error);
        run.status = boxtool::run(static_cast<int>(argv.size()), argv.data());
        std::fflush(nullptr);
    }
    close(nothing);
    run.out = take_file(out);
    run.err = take_file(err);
    return run;
}

} // namespace bench
