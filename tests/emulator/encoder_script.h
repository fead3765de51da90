/**
 * @file
 * The encoder script, started by a test as the daemon starts it.
 */
#pragma once

#include "tests/support/bench.h"

#include <cstring>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

/** The script with a stop pipe, as the daemon starts it. */
class Script {
public:
    Script(const emu::RootFs& root, const char* output, const char* config = "low.cfg")
    {
        int ends[2];
        EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
        const std::string program = root.map("/kxbin/enc.sh"), folder = root.map("/kxbin");
        pid_ = fork();
        if (pid_ == 0) {
            dup2(ends[0], 0);
            if (chdir(folder.c_str()) == 0) execlp(program.c_str(), "./enc.sh", config, output, nullptr);
            _exit(127);
        }
        close(ends[0]);
        stop_ = ends[1];
    }
    ~Script() { stop(""); }
    Script(const Script&) = delete;
    Script& operator=(const Script&) = delete;

    void say(const char* text) const { EXPECT_GE(write(stop_, text, std::strlen(text)), 0); }
    /** Write the text, close the pipe and wait. @return the exit status, or minus the signal */
    int stop(const char* text)
    {
        if (stop_ >= 0) {
            say(text);
            close(stop_);
            waitpid(pid_, &status_, 0);
        }
        stop_ = -1;
        return WIFSIGNALED(status_) ? -WTERMSIG(status_) : WEXITSTATUS(status_);
    }
    /** Whether it runs, and has not ended unnoticed. */
    bool runs() const
    {
        siginfo_t info{};
        return waitid(P_PID, static_cast<id_t>(pid_), &info, WEXITED | WNOHANG | WNOWAIT) == 0 && info.si_pid == 0;
    }
    pid_t pid() const { return pid_; }

private:
    pid_t pid_ = -1;
    int stop_ = -1;
    int status_ = 0;
};

inline Script start(const char* output, const char* config = "low.cfg")
{
    bench::box().encoder().expect_start();
    return {bench::box().root(), output, config};
}
