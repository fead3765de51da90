/**
 * @file
 * boxemu as a process: what its terminal, its descriptors and its users' shells do to it.
 */
#include "tests/emulator/remote/client/box_server.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <functional>
#include <poll.h>
#include <pty.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <vector>

namespace {

using namespace std::chrono_literals;

/** Wait until something is so. When it takes longer than anything here should, the test fails and waits no more. */
void await(const std::string& what, const std::function<bool()>& is_so)
{
    if (testing::Test::HasFatalFailure()) return;
    const auto end = std::chrono::steady_clock::now() + 2min;
    while (!is_so()) {
        ASSERT_LT(std::chrono::steady_clock::now(), end) << what;
        usleep(5000);
    }
}

/** A program of the test's own, killed with its owner. */
class Process {
public:
    /** `prepare` runs in the new process, just before the program does. */
    Process(const std::vector<std::string>& words, const std::function<void()>& prepare)
    {
        std::vector<char*> arguments;
        for (const std::string& word : words) arguments.push_back(const_cast<char*>(word.c_str()));
        arguments.push_back(nullptr);
        pid_ = fork();
        if (pid_ != 0) return;
        prctl(PR_SET_PDEATHSIG, SIGKILL); // nothing is left behind when the test is ended from outside
        prepare();
        execv(BOXEMU, arguments.data());
        _exit(127);
    }
    ~Process() { end(); }
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    pid_t pid() const { return pid_; }
    /** Wait for its end. @return the exit status, minus the signal that ended it */
    int wait()
    {
        int status = 0;
        if (pid_ > 0 && waitpid(pid_, &status, 0) != pid_) return -999;
        pid_ = 0;
        return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
    }
    void end()
    {
        if (pid_ > 0) kill(pid_, SIGKILL);
        wait();
    }
    /** Seconds of processor time that it has used. */
    double processor_time() const
    {
        std::ifstream file("/proc/" + std::to_string(pid_) + "/stat");
        std::string skipped;
        long user = 0, system = 0;
        std::getline(file, skipped, ')');
        for (int i = 0; i < 11; ++i) file >> skipped;
        file >> user >> system;
        return static_cast<double>(user + system) / static_cast<double>(sysconf(_SC_CLK_TCK));
    }

private:
    pid_t pid_ = 0;
};

/** The arguments of a box in a scratch folder. */
std::vector<std::string> box_in(const emu::ScratchFolder& scratch, std::vector<std::string> more = {})
{
    std::vector<std::string> words = {"boxemu", "--root", scratch.path(), "--encoder", "bookkeeping"};
    words.insert(words.end(), more.begin(), more.end());
    return words;
}

std::string socket_of(const emu::ScratchFolder& scratch)
{
    return scratch.path() + emu::SOCKET_IN_ROOT;
}

void await_answer(const std::string& socket)
{
    await("a box at " + socket, [&socket] {
        const int box = emu::connect_to_box(socket);
        if (box >= 0) close(box);
        return box >= 0;
    });
}

/** A terminal, of which the test is the person in front. */
class Terminal {
public:
    Terminal()
    {
        EXPECT_EQ(openpty(&person_, &program_, nullptr, nullptr, nullptr), 0);
        for (const int fd : {person_, program_}) fcntl(fd, F_SETFD, FD_CLOEXEC);
    }
    ~Terminal()
    {
        close(person_);
        close(program_);
    }
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    void type(std::string_view keys) const
    {
        EXPECT_EQ(write(person_, keys.data(), keys.size()), ssize_t(keys.size()));
    }
    /** Read on until a text has come. */
    void expect(const std::string& text)
    {
        await("'" + text + "' in '" + seen_ + "'", [this, &text] {
            pollfd wait{person_, POLLIN, 0};
            char part[512];
            const ssize_t got = poll(&wait, 1, 0) > 0 ? read(person_, part, sizeof part) : 0;
            seen_.append(part, static_cast<size_t>(std::max<ssize_t>(got, 0)));
            const size_t at = seen_.find(text);
            if (at == std::string::npos) return false;
            seen_.erase(0, at + text.size());
            return true;
        });
    }
    bool takes_whole_lines() const
    {
        termios modes{};
        return tcgetattr(program_, &modes) == 0 && (modes.c_lflag & ICANON) != 0;
    }
    int program() const { return program_; }

private:
    int person_ = -1, program_ = -1;
    std::string seen_;
};

/** In a new process: begin a session on a terminal, all three descriptors on it. */
void sit_down_at(const Terminal& terminal)
{
    setsid();
    ioctl(terminal.program(), TIOCSCTTY, 0);
    for (const int fd : {0, 1, 2}) dup2(terminal.program(), fd);
}

// Catches: a terminal without prompt and history, one that is left without echo when the box goes, answers that are
// mixed with what is being typed.
TEST(Boxemu, HasAPromptAndRemembersLines)
{
    const emu::ScratchFolder scratch("client");
    Terminal terminal;
    Process box(box_in(scratch), [&terminal] { sit_down_at(terminal); });
    terminal.expect("box> ");
    terminal.type("card path\n");
    terminal.expect(scratch.path() + "/card\r\nbox> ");
    terminal.type("\x1b[A"); // arrow up
    terminal.expect("card path");
    terminal.type("\n");
    terminal.expect(scratch.path() + "/card\r\nbox> ");
    terminal.type("help card inse\n");
    terminal.expect("card insert [KB]");
    terminal.expect("box> ");
    terminal.type("wait recording 600\n");
    terminal.type("show por");
    tell(socket_of(scratch), "key stop");
    terminal.type("t\n");
    terminal.expect("input port 0, output disabled, remote code waiting\r\nbox> ");
    terminal.type("\x04"); // the end of input is not the box's
    terminal.expect("no more commands are read here");
    EXPECT_EQ(tell(socket_of(scratch), "show port").header.number, 0);
    EXPECT_TRUE(terminal.takes_whole_lines());
    terminal.type("\x03");
    EXPECT_EQ(box.wait(), 0);
}

// Catches: a box in the background that stops at its first look at the terminal, takes lines that are meant for the
// shell, or changes the terminal under its hands.
TEST(Boxemu, LeavesTheTerminalAloneInTheBackground)
{
    const emu::ScratchFolder scratch("client");
    Terminal terminal;
    // The shell holds the terminal and starts the box as another job; a line that it reads puts the box in front.
    const std::function<void()> shell = [&] {
        sit_down_at(terminal);
        Process box(box_in(scratch), [] { setpgid(0, 0); });
        char line[64];
        if (read(0, line, sizeof line) <= 0) _exit(1);
        signal(SIGTTOU, SIG_IGN);
        tcsetpgrp(0, box.pid());
        const int status = box.wait();
        _exit(status == 0 ? 0 : 1);
    };
    Process session({"sh"}, shell);
    await_answer(socket_of(scratch));
    EXPECT_TRUE(terminal.takes_whole_lines());
    tell(socket_of(scratch), "wait recording 0.3"); // some rounds of its loop
    terminal.type("a line for the shell\n");
    terminal.expect("box> ");
    terminal.type("card insert\n");
    await("the card", [&scratch] { return std::filesystem::exists(scratch.path() + "/dev/mmcblk0p1"); });
    await("keys one by one", [&terminal] { return !terminal.takes_whole_lines(); });
    terminal.type("quit\n");
    EXPECT_EQ(session.wait(), 0);
    EXPECT_TRUE(terminal.takes_whole_lines());
}

// Catches: a box that ends with the reader of its output, and lines of a pipe that do not wait for the line before.
TEST(Boxemu, OutlivesTheReaderOfItsOutput)
{
    const emu::ScratchFolder scratch("client");
    int commands[2], output[2];
    ASSERT_EQ(pipe2(commands, O_CLOEXEC), 0);
    ASSERT_EQ(pipe2(output, O_CLOEXEC), 0);
    Process box(box_in(scratch, {"--stdin"}), [&] {
        dup2(commands[0], 0);
        dup2(output[1], 1);
        dup2(output[1], 2);
    });
    await_answer(socket_of(scratch));
    close(output[0]);
    close(output[1]);
    const std::string lines = std::string(100'000, 'x') + "\nhelp\nflurb\nwait input stable 60\ncard insert\n";
    for (size_t at = 0; at < lines.size();)
        at += static_cast<size_t>(std::max<ssize_t>(write(commands[1], &lines[at], lines.size() - at), 0));
    EXPECT_EQ(tell(socket_of(scratch), "wait recording 0.3").header.number, emu::command_result::GOES_ON);
    EXPECT_FALSE(std::filesystem::exists(scratch.path() + "/dev/mmcblk0p1")) << "before the input is stable";
    EXPECT_EQ(tell(socket_of(scratch), "source 0 plug 1080p60").header.number, 0);
    await("the card", [&scratch] { return std::filesystem::exists(scratch.path() + "/dev/mmcblk0p1"); });
    EXPECT_EQ(tell(socket_of(scratch), "quit").header.number, 0);
    EXPECT_EQ(box.wait(), 0);
    close(commands[0]);
    close(commands[1]);
}

// Catches: a loop that spins when there are no descriptors for another client, and a client that is never let in again.
TEST(Boxemu, WaitsWhereThereAreNoDescriptors)
{
    const emu::ScratchFolder scratch("client");
    const std::string log = scratch.path() + ".log";
    Process box(box_in(scratch), [&log] {
        dup2(open(log.c_str(), O_CREAT | O_TRUNC | O_WRONLY, 0600), 1);
        const rlimit few{16, 16};
        setrlimit(RLIMIT_NOFILE, &few);
    });
    await_answer(socket_of(scratch));
    std::vector<int> clients;
    for (int i = 0; i < 16; ++i) clients.push_back(emu::connect_to_box(socket_of(scratch)));
    ASSERT_TRUE(emu::send_message(clients[0], {.ask = emu::Ask::Command}, emu::as_bytes("wait recording 1")));
    const double before = box.processor_time();
    emu::Message reply;
    do ASSERT_TRUE(emu::receive_message(clients[0], reply));
    while (reply.header.number == emu::command_result::GOES_ON);
    EXPECT_LT(box.processor_time() - before, 0.5) << "in a second";
    for (const int client : clients) close(client);
    EXPECT_EQ(tell(socket_of(scratch), "quit").header.number, 0);
    EXPECT_EQ(box.wait(), 0);
    std::ifstream file(log);
    const std::string said{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    EXPECT_NE(said.find(" clients: Too many open files\n"), std::string::npos) << said;
    std::filesystem::remove(log);
}

// Catches: an exit status that a script cannot use, arguments whose blanks and quotes get lost on the way, and a box
// without a word on what it cannot do.
TEST(Boxemu, TellsScriptsHowItWent)
{
    const emu::ScratchFolder scratch("client");
    const std::string log = scratch.path() + ".log";
    const auto quietly = [&log] {
        for (const int fd : {1, 2}) dup2(open(log.c_str(), O_CREAT | O_APPEND | O_WRONLY, 0600), fd);
        setenv("PATH", "/nowhere", 1);
    };
    Process box({"boxemu", "--root", scratch.path()}, quietly);
    await_answer(socket_of(scratch));
    static const struct {
        const char* what;
        std::vector<std::string> words;
        int status;
    } cases[] = {
        {"done", {"card", "write", "a \"b\" \\ c", ""}, 0},  {"refused", {"card", "insrt"}, 1},
        {"in vain", {"wait", "recording", "0.1"}, 3},        {"no command", {}, 2},
        {"no time", {"--timeout", "soon", "show"}, 2},       {"unknown option", {"--flurb", "show"}, 2},
        {"no box", {"--socket", "/nonexistent", "show"}, 1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        std::vector<std::string> words = {"boxemu", "ctl", "--socket", socket_of(scratch)};
        words.insert(words.end(), c.words.begin(), c.words.end());
        EXPECT_EQ(Process(words, quietly).wait(), c.status);
    }
    EXPECT_TRUE(std::filesystem::exists(scratch.path() + "/card/a \"b\" \\ c"));
    kill(box.pid(), SIGSTOP);
    EXPECT_EQ(Process({"boxemu", "ctl", "--socket", socket_of(scratch), "--timeout", "1", "show"}, quietly).wait(), 1);
    kill(box.pid(), SIGCONT);
    EXPECT_EQ(Process({"boxemu", "--root", scratch.path()}, quietly).wait(), 1) << "a second box";
    std::ifstream file(log);
    const std::string said{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    for (const char* text : {"ffmpeg is not installed", "--encoder bookkeeping", "does not answer\n",
                             "in use by another box, process ", "no box at /nonexistent: No such file"})
        EXPECT_NE(said.find(text), std::string::npos) << text << " in " << said;
    std::filesystem::remove(log);
}

} // namespace
