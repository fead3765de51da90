/**
 * @file
 * Work that must not be cut short: half a boot loader in the flash is a box that does not start. Signals that end a
 * program are held from the tool, and the work has a process and a session of its own that ignore them, so that neither
 * a terminal's keys nor a lost connection reaches it. Main thread only.
 */
#pragma once

#include "tools/streams.h"

#include <csignal>
#include <functional>
#include <string>

namespace boxtool {

/**
 * Holds SIGINT, SIGHUP, SIGTERM and SIGQUIT from this process while it lives: one that comes meanwhile is kept for
 * came() and has no other effect. What was ignored before, as under nohup, stays so. SIGTSTP and SIGPIPE are dropped:
 * a tool that is stopped, or ends because nobody reads what it says, would leave the work alone.
 */
class HeldSignals {
public:
    HeldSignals();
    ~HeldSignals();
    HeldSignals(const HeldSignals&) = delete;
    HeldSignals& operator=(const HeldSignals&) = delete;

    /** @return the first signal that came, 0 none */
    int came();

private:
    sigset_t held_, dropped_, before_;
    int came_ = 0;
};

/**
 * Run work in a session of its own that ignores the signals that HeldSignals holds, and wait for its end. What it
 * prints goes on to standard error; when nobody reads there any more it is dropped, and the work goes on.
 * @param work a plain function of a child process: it gives a wait status, or -1 when it could not be started
 * @return that status; the child's own when the child was ended before it could tell; -1 with errno when there is no
 *         child
 */
int run_undisturbed(const Streams& streams, const std::function<int()>& work);

/** Whether a wait status says that the work was done. Only an exit status of 0 does: a signal leaves it half done. */
bool was_done(int wait_status);

/** A wait status in words, to stand after what it is about: "failed with exit status 3". */
std::string describe_end(int wait_status);

} // namespace boxtool
