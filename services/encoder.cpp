#include "services/encoder.h"

#include "platform/platform.h"
#include "services/corrections.h"
#include "services/encoder_config.h"
#include "services/period_clock.h"

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <pthread.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

namespace capd {

namespace {

constexpr char SCRIPT_DIRECTORY[] = "/kxbin";
constexpr char SCRIPT[] = "/kxbin/enc.sh";
constexpr char SCRIPT_NAME[] = "./enc.sh"; // what the script sees as its own name
constexpr char STOP_COMMAND = 'q';
constexpr int EXEC_FAILED = 127; // what a shell ends with when there is no such command

struct Runner {
    pid_t pid;
    bool dead;     // the child's end was seen
    int write_end; // of the stop pipe; not 0 exactly while an encoder is considered running
    bool stuck;    // it could not be ended
    int64_t start_seconds;
};
Runner runner;
void (*wait_step)();

/** What the child needs, prepared before the fork: the child itself does nothing but system calls. */
struct ChildArguments {
    const char* directory;
    const char* script;
    const char* config_file;
    const char* output_filename;
};

/** Move a descriptor above the standard ones, so that it is neither a standard stream nor 0. @return it, or -1 */
int lift(int fd)
{
    if (fd > STDERR_FILENO) return fd;
    const int lifted = fcntl(fd, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    close(fd);
    return lifted;
}

/**
 * Make the stop pipe. No other child may inherit it: while anyone else holds the write end, closing ours is not seen.
 * A daemon that was started without standard streams gets ends that are numbered like them; those are moved.
 */
bool make_pipe(int& read_end, int& write_end)
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) return false;
    read_end = lift(ends[0]);
    write_end = lift(ends[1]);
    if (read_end >= 0 && write_end >= 0) return true;
    if (read_end >= 0) close(read_end);
    if (write_end >= 0) close(write_end);
    return false;
}

/** End a child that is not the encoder. Past stdio: its copy of the parent's pending output must not go out as well. */
[[noreturn]] void end_failed_child(int error)
{
    char line[160];
    snprintf(line, sizeof(line), "execlp error when running enc.sh, strerror=%s", strerror(error));
    [[maybe_unused]] const ssize_t written = write(STDOUT_FILENO, line, strlen(line));
    _exit(EXEC_FAILED);
}

/** Put the encoder in front of a group of its own, so that a signal reaches what its script starts, too. */
void lead_group(pid_t pid)
{
    if (service_corrections.recordings) setpgid(pid, 0);
}

/** The child: become the encoder with the pipe as its standard input. */
[[noreturn]] void run_child(int read_end, int write_end, const ChildArguments& arguments)
{
    close(write_end);
    lead_group(0);
    dup2(read_end, STDIN_FILENO);
    close(read_end);
    if (chdir(arguments.directory) == 0)
        execlp(arguments.script, SCRIPT_NAME, arguments.config_file, arguments.output_filename,
               static_cast<char*>(nullptr));
    end_failed_child(errno);
}

/**
 * Write the stop command to an encoder that may be gone. The signal that this raises for the thread is held back and
 * taken away: ending the daemon is no answer to it, and ignoring it for the process would make the children ignore it.
 */
void send_stop(int fd)
{
    sigset_t broken_pipe;
    sigset_t previous;
    sigset_t pending;
    sigemptyset(&broken_pipe);
    sigaddset(&broken_pipe, SIGPIPE);
    sigemptyset(&pending);
    sigpending(&pending);
    const bool was_pending = sigismember(&pending, SIGPIPE) == 1;
    pthread_sigmask(SIG_BLOCK, &broken_pipe, &previous);
    const ssize_t written = write(fd, &STOP_COMMAND, 1);
    if (written < 0 && errno == EPIPE && !was_pending) {
        constexpr timespec NO_WAIT{0, 0};
        while (sigtimedwait(&broken_pipe, nullptr, &NO_WAIT) < 0 && errno == EINTR) {}
    }
    pthread_sigmask(SIG_SETMASK, &previous, nullptr);
}

int wait_for_end(pid_t pid)
{
    while (waitpid(pid, nullptr, 0) < 0 && errno == EINTR) {}
    return 0;
}

/** What is done about an encoder that goes on, and how long it has then. */
constexpr struct {
    int signal; // 0: the stop command was enough so far
    int64_t seconds;
    const char* text;
} STOP_STEPS[] = {
    {0, 10, ""},
    {SIGTERM, 5, "Encoder does not stop, sending SIGTERM\n"},
    {SIGKILL, 5, "Encoder does not stop, sending SIGKILL\n"},
};
constexpr uint32_t STOP_POLL_US = 20'000;

/** Wait until a child has ended. @return false when the time was over first */
bool wait_seconds_for_end(pid_t pid, int64_t seconds)
{
    const platform::WallTime begun = platform::monotonic_time();
    for (;;) {
        const pid_t ended = waitpid(pid, nullptr, WNOHANG);
        if (ended == pid || (ended < 0 && errno != EINTR)) return true;
        const platform::WallTime now = platform::monotonic_time();
        if ((now.seconds - begun.seconds) * 1'000'000 + now.microseconds - begun.microseconds >= seconds * 1'000'000)
            return false;
        if (wait_step != nullptr) wait_step();
        platform::sleep_us(STOP_POLL_US);
    }
}

/** @return 0, or AV_REC_STUCK */
int wait_or_kill(pid_t pid)
{
    for (const auto& step : STOP_STEPS) {
        if (step.signal != 0) {
            printf("%s", step.text);
            kill(-pid, step.signal);
        }
        if (!wait_seconds_for_end(pid, step.seconds)) continue;
        if (step.signal != 0) kill(-pid, SIGKILL); // what the script has started may have ignored the signal
        return 0;
    }
    printf("Encoder cannot be ended\n"); // it is stuck in the kernel, as with a card that does not answer
    return AV_REC_STUCK;
}

void forget_write_end()
{
    if (runner.write_end != 0) close(runner.write_end);
    runner.write_end = 0;
}

} // namespace

int av_init()
{
    return 0;
}

int av_rec_start(int config_no, const char* output_filename)
{
    if (runner.write_end != 0) return -2;
    if (runner.stuck && waitpid(runner.pid, nullptr, WNOHANG) == 0) return -2;
    // Mapped here: the mapping may take locks that another thread holds at the fork. The output is the script's to map.
    char directory[platform::PATH_SIZE];
    char script[platform::PATH_SIZE];
    const ChildArguments arguments = {platform::map_path(SCRIPT_DIRECTORY, directory),
                                      platform::map_path(SCRIPT, script), av_rec_config_file(config_no),
                                      output_filename};
    int read_end = -1;
    int write_end = -1;
    if (!make_pipe(read_end, write_end)) return -1;
    const pid_t pid = fork();
    if (pid == 0) run_child(read_end, write_end, arguments);
    if (pid < 0) {
        close(read_end);
        close(write_end);
        return -1;
    }
    close(read_end); // the child has it
    lead_group(pid); // whichever of the two comes first
    runner = {pid, false, write_end, false, period_time().seconds};
    return 0;
}

int av_rec_stop()
{
    if (runner.dead) {
        printf("Video recording process is dead!\n");
        forget_write_end();
        return 2;
    }
    if (runner.write_end == 0) return 1;
    send_stop(runner.write_end);
    forget_write_end();
    // An encoder that does not hear the command would stand still the whole box.
    const int result = service_corrections.recordings ? wait_or_kill(runner.pid) : wait_for_end(runner.pid);
    runner.stuck = result != 0;
    return result;
}

void av_rec_set_wait_step(void (*step)())
{
    wait_step = step;
}

int av_rec_isok()
{
    if (runner.pid <= 0) return 0; // would ask for any child
    int status = 0;
    const pid_t ended = waitpid(runner.pid, &status, WNOHANG);
    if (ended <= 0) return 0;
    printf("Child %ld terminated\n", static_cast<long>(ended));
    runner.dead = true;
    return 1;
}

unsigned long av_rec_elapsed_ms()
{
    if (runner.start_seconds == 0) return 0;
    return static_cast<unsigned long>((period_time().seconds - runner.start_seconds) * 1000);
}

} // namespace capd
