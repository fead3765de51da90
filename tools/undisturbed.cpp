#include "tools/undisturbed.h"

#include "tools/errors.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

namespace boxtool {

namespace {

constexpr int ENDING[] = {SIGINT, SIGHUP, SIGTERM, SIGQUIT};
constexpr int SHELL_SIGNAL_BASE = 128; // a shell exits with this and the number of the signal that ended its command
constexpr int SHELL_NOT_FOUND = 127;

bool is_ignored(int signal)
{
    struct sigaction action {};
    return sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

/** Take what waits of a set of blocked signals away. @return the first, 0 none */
int take_pending(const sigset_t& set)
{
    const timespec no_wait{0, 0};
    int first = 0;
    for (int signal; (signal = sigtimedwait(&set, nullptr, &no_wait)) > 0 || errno == EINTR;)
        if (first == 0 && signal > 0) first = signal;
    return first;
}

/** A pipe whose ends are not inherited; both are closed in the end. */
struct Pipe {
    Pipe()
    {
        if (pipe2(ends, O_CLOEXEC) != 0) ends[0] = ends[1] = -1;
    }
    ~Pipe()
    {
        for (int& end : ends) shut(end);
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    static void shut(int& end)
    {
        if (end >= 0) close(end);
        end = -1;
    }

    int ends[2]; // to read from, to write to
};

/** The child: cut every tie to the terminal, work, and tell the status. */
[[noreturn]] void be_the_child(const Streams& streams, const std::function<int()>& work, int output, int result)
{
    setsid();
    // Ignored rather than only held: a shell takes a mask away, but never what it finds ignored. A program whose reader
    // has gone still ends by SIGPIPE, as its script expects.
    for (int signal : ENDING) std::signal(signal, SIG_IGN);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    if (streams.input() >= 0) dup2(streams.input(), STDIN_FILENO);
    dup2(output, STDOUT_FILENO);
    dup2(output, STDERR_FILENO);
    const int status = work();
    std::fflush(nullptr);
    [[maybe_unused]] const ssize_t told = write(result, &status, sizeof(status));
    _exit(0);
}

/** Pass on what is in the pipe. @return false when nothing is left and nobody writes any more */
bool pass_on(int from, int to)
{
    std::array<char, 4096> part;
    const ssize_t got = read(from, part.data(), part.size());
    if (got < 0) return errno == EINTR;
    write_all(to, {part.data(), static_cast<size_t>(got)}); // a reader that has gone must not end the work
    return got > 0;
}

/** Pass the child's prints on until it has told its status or is gone. @return whether it told */
bool attend(int output, int result, int to, int& status)
{
    for (;;) {
        pollfd ready[] = {{output, POLLIN, 0}, {result, POLLIN, 0}};
        if (poll(ready, 2, -1) < 0 && errno != EINTR) return false;
        if ((ready[0].revents & (POLLIN | POLLHUP)) != 0 && !pass_on(output, to)) output = -1;
        if ((ready[1].revents & (POLLIN | POLLHUP)) != 0) break;
    }
    // What it printed before it ended; a program that it left behind may hold the pipe open for ever.
    for (pollfd rest = {output, POLLIN, 0}; poll(&rest, 1, 0) > 0 && pass_on(output, to);) {}
    return read(result, &status, sizeof(status)) == sizeof(status);
}

} // namespace

HeldSignals::HeldSignals() : held_(), dropped_(), before_()
{
    sigemptyset(&held_);
    for (int signal : ENDING)
        if (!is_ignored(signal)) sigaddset(&held_, signal);
    sigemptyset(&dropped_);
    sigaddset(&dropped_, SIGTSTP);
    sigaddset(&dropped_, SIGPIPE);
    sigprocmask(SIG_BLOCK, &held_, &before_);
    sigprocmask(SIG_BLOCK, &dropped_, nullptr);
}

HeldSignals::~HeldSignals()
{
    take_pending(held_);
    take_pending(dropped_);
    sigprocmask(SIG_SETMASK, &before_, nullptr);
}

int HeldSignals::came()
{
    const int first = take_pending(held_);
    if (came_ == 0) came_ = first;
    return came_;
}

int run_undisturbed(const Streams& streams, const std::function<int()>& work)
{
    Pipe output, result;
    if (output.ends[1] < 0 || result.ends[1] < 0) return -1;
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child < 0) return -1;
    if (child == 0) be_the_child(streams, work, output.ends[1], result.ends[1]);
    Pipe::shut(output.ends[1]);
    Pipe::shut(result.ends[1]);
    int told = 0, own = 0;
    const bool knows = attend(output.ends[0], result.ends[0], streams.error(), told);
    while (waitpid(child, &own, 0) < 0 && errno == EINTR) {}
    errno = 0;
    if (knows) return told;
    return was_done(own) ? -1 : own;
}

bool was_done(int wait_status)
{
    return WIFEXITED(wait_status) && WEXITSTATUS(wait_status) == 0;
}

std::string describe_end(int wait_status)
{
    if (wait_status == -1) return "could not be started: there was no shell for it";
    if (WIFSIGNALED(wait_status))
        return format("was ended by signal %d (%s)", WTERMSIG(wait_status), strsignal(WTERMSIG(wait_status)));
    const int status = WEXITSTATUS(wait_status);
    if (status > SHELL_SIGNAL_BASE && status < SHELL_SIGNAL_BASE + NSIG)
        return format("failed with exit status %d (signal %d, %s)", status, status - SHELL_SIGNAL_BASE,
                      strsignal(status - SHELL_SIGNAL_BASE));
    return format("failed with exit status %d%s", status,
                  status == SHELL_NOT_FOUND ? " (there is no such script)" : "");
}

} // namespace boxtool
