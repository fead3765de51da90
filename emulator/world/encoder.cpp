#include "emulator/world/encoder.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <poll.h>
#include <sstream>
#include <stdexcept>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace emu {

namespace {

constexpr std::string_view SCRIPT = "/kxbin/enc.sh";
constexpr std::string_view SCRIPT_PUT_ASIDE = "/kxbin/enc.sh.missing";
constexpr std::string_view LOG = "/run/encoder/log";
constexpr std::string_view BEHAVIOUR = "/run/encoder/behaviour";
constexpr std::string_view WRITING = "/run/encoder/writing"; // the script's pid while its file is open
constexpr std::string_view HOLD = "/run/encoder/hold";       // while it is there the script waits at its beginning
constexpr std::string_view KIND = "/run/encoder/kind";
constexpr std::string_view INPUT = "/run/encoder/input"; // port and format of what is recorded

constexpr uint64_t FILE_LIMIT = UINT32_MAX; ///< vfat has no larger files
constexpr std::chrono::minutes PATIENCE{2}; ///< for a process to do what it does in milliseconds on an idle machine

/** Whether a process runs; one that has ended and waits for its parent to notice does not. */
bool runs(pid_t pid)
{
    char name[32], text[256] = {};
    std::snprintf(name, sizeof name, "/proc/%d/stat", pid);
    const int file = ::open(name, O_RDONLY | O_CLOEXEC);
    if (file < 0) return false;
    const bool got = ::read(file, text, sizeof text - 1) > 0;
    ::close(file);
    const char* state = std::strrchr(text, ')'); // behind the program's name
    return got && state != nullptr && std::strncmp(state, ") Z", 3) != 0 && std::strncmp(state, ") X", 3) != 0;
}

/** Whether a process is about to end by a signal: it is on its way, or the process is on its way out. */
bool is_being_killed(pid_t pid)
{
    constexpr uint64_t KILL_AND_TERM = uint64_t{1} << (SIGKILL - 1) | uint64_t{1} << (SIGTERM - 1);
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    for (std::string line; std::getline(status, line);) {
        const bool pending = line.starts_with("SigPnd:") || line.starts_with("ShdPnd:");
        if (pending && (std::stoull(line.substr(7), nullptr, 16) & KILL_AND_TERM) != 0) return true;
    }
    constexpr uint64_t EXITING = 0x4; // of the seventh field behind the program's name
    std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
    std::string text;
    std::getline(stat, text);
    std::istringstream fields(text.substr(std::min(text.size(), text.rfind(')') + 1)));
    std::string field;
    for (int i = 0; i < 7; ++i) fields >> field;
    return !field.empty() && (std::stoull(field) & EXITING) != 0;
}

/** Whether whoever could tell a process to stop has let go of its standard input. */
bool was_told_to_stop(pid_t pid)
{
    char name[32];
    std::snprintf(name, sizeof name, "/proc/%d/fd/0", pid);
    pollfd input{::open(name, O_RDONLY | O_NONBLOCK | O_CLOEXEC), POLLIN, 0};
    if (input.fd < 0) return false;
    const bool told = ::poll(&input, 1, 0) > 0 && (input.revents & POLLHUP) != 0;
    ::close(input.fd);
    return told;
}

/** Whether a child of this process has ended that nobody has collected, or there is no child. */
bool a_child_has_ended()
{
    siginfo_t ended{};
    return ::waitid(P_ALL, 0, &ended, WEXITED | WNOHANG | WNOWAIT) != 0 || ended.si_pid != 0;
}

/** Wait in real time until something is so. Throws when patience ends: whatever came next would be of another run. */
template<typename Condition>
void wait_until(const std::string& what, Condition condition)
{
    const auto end = std::chrono::steady_clock::now() + PATIENCE;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end)
            throw std::runtime_error("waited for two minutes, and still not so: " + what);
        std::this_thread::sleep_for(std::chrono::microseconds(500));
    }
}

void wait_for_end(pid_t pid)
{
    wait_until("process " + std::to_string(pid) + " has ended", [pid] { return !runs(pid); });
}

} // namespace

Encoder::Encoder(const RootFs& root, Timeline& time, const Card& card, EncoderKind kind)
    : root_(root), time_(time), card_(card), kind_(kind)
{
    set_missing(false);
    root_.make_empty("/run/encoder");
    root_.write(LOG, "");
    root_.write(KIND, kind == EncoderKind::Ffmpeg ? "ffmpeg\n" : "bookkeeping\n");
    behave();
    show_input(-1, "");
    log_ = ::open(root_.map(LOG).c_str(), O_RDONLY | O_CLOEXEC);
}

Encoder::~Encoder()
{
    ::close(log_);
}

/** The script appends each line in one write, so what is there ends with a line. */
void Encoder::read_log()
{
    char text[4096];
    for (;;) {
        const ssize_t got = ::pread(log_, text, sizeof text, log_read_);
        const std::string_view seen(text, got > 0 ? static_cast<size_t>(got) : 0);
        const size_t whole = seen.rfind('\n');
        if (whole == std::string_view::npos) return;
        log_read_ += static_cast<off_t>(whole + 1);
        std::istringstream lines{std::string(seen.substr(0, whole))};
        for (std::string line; std::getline(lines, line);) take_line(line);
    }
}

void Encoder::take_line(const std::string& line)
{
    std::istringstream words(line);
    std::string what;
    Recording said;
    words >> what >> said.pid;
    if (what == "running") {
        words >> said.writer >> said.width >> said.height >> said.frame_rate >> said.sample_rate >> said.channels >>
            said.bit_rate;
        std::getline(words >> std::ws, said.file);
        said.start = said.written_until = time_.now();
        recording_ = said;
        ++recordings_;
        starting_ = false;
        watch_card();
    } else if (what == "ended") {
        grow();
        if (recording_ && recording_->pid == said.pid) recording_.reset();
    } else if (what == "refused") {
        wait_for_end(said.pid);
        starting_ = false;
    }
}

/** Bytes that the card takes of the file that is written. */
uint64_t Encoder::room() const
{
    const CardTrouble& trouble = card_.trouble();
    uint64_t room = FILE_LIMIT;
    if (trouble.broken_at != 0) room = std::min(room, trouble.broken_at * 1024);
    struct stat file {};
    if (trouble.full_at == 0 || ::stat(recording_->file.c_str(), &file) != 0) return room;
    const uint64_t others = card_.used_kb() * 1024 - std::min(card_.used_kb() * 1024, uint64_t(file.st_size));
    return std::min(room, trouble.full_at * 1024 - std::min(trouble.full_at * 1024, others));
}

void Encoder::grow_within(uint64_t room)
{
    Recording& now = *recording_;
    const uint64_t rate = rate_override_ != 0 ? rate_override_ : now.bit_rate;
    const auto seconds = [this](Micros since) { return static_cast<double>(time_.now() - since) / 1e6; };
    double bytes = static_cast<double>(rate) / 8 * seconds(now.start);
    if (const uint64_t slow_kb = card_.trouble().slow_kb; slow_kb != 0)
        bytes = std::min(bytes, now.bytes + static_cast<double>(slow_kb) * 1024 * seconds(now.written_until));
    now.bytes = std::max(now.bytes, bytes);
    now.written_until = time_.now();
    const auto size = static_cast<off_t>(std::min(now.bytes, static_cast<double>(room)));
    struct stat file {};
    if (::stat(now.file.c_str(), &file) != 0 || size <= file.st_size) return;
    // A file that has been removed since stays removed; any other failure shows as a file that does not grow.
    if (::truncate(now.file.c_str(), size) != 0) return;
}

void Encoder::grow()
{
    if (!recording_) return;
    const uint64_t room = this->room();
    if (kind_ == EncoderKind::Bookkeeping) grow_within(room);
    struct stat file {};
    const bool there = ::stat(recording_->file.c_str(), &file) == 0;
    if (room < FILE_LIMIT && there && static_cast<uint64_t>(file.st_size) >= room) fail_write();
}

/** The script ends as if its writer had: with an error, whatever it is to do when it is told to stop. */
void Encoder::fail_write()
{
    const pid_t script = recording_->pid;
    if (!runs(script)) return;
    ::kill(script, SIGHUP);
    wait_for_end(script);
    recording_.reset();
}

/** A write fails when it is made, not when somebody looks. */
void Encoder::watch_card()
{
    constexpr Micros LOOK = 100'000;
    time_.cancel(watch_);
    if (card_.trouble() == CardTrouble{} || !recording_) return;
    watch_ = time_.after(LOOK, [this] {
        catch_up();
        watch_card();
    });
}

/** How far a script gets before the daemon looks is a matter of the PC's load: in virtual time it has not begun yet. */
void Encoder::expect_start()
{
    starting_ = true;
    root_.write(HOLD, "");
}

void Encoder::settle()
{
    if (!starting_) return;
    root_.remove(HOLD);
    wait_until("the encoder's script has said that it runs or refuses, or ended without a word", [this] {
        const bool ended = a_child_has_ended(); // one that finds no script says nothing
        read_log();
        return ended || !starting_;
    });
    starting_ = false;
}

void Encoder::settle_stop()
{
    catch_up();
    const std::string what = behaviour();
    if (!recording_) return;
    const bool goes_on = what.starts_with("hang") || what.starts_with("deaf");
    if (goes_on ? is_being_killed(recording_->pid) : was_told_to_stop(recording_->pid)) wait_for_end(recording_->pid);
}

void Encoder::catch_up()
{
    read_log();
    notice_death();
    grow();
}

/** A script that is killed says nothing, and what writes for it would go on for ever. */
void Encoder::notice_death()
{
    if (!recording_ || runs(recording_->pid)) return;
    read_log(); // it may have ended well since
    if (!recording_) return;
    if (recording_->writer > 0) ::kill(recording_->writer, SIGKILL);
    recording_.reset();
}

bool Encoder::die()
{
    settle();
    catch_up();
    if (!recording_) return false;
    for (pid_t pid : {recording_->pid, recording_->writer}) {
        if (pid <= 0) continue;
        ::kill(pid, SIGKILL);
        wait_for_end(pid);
    }
    root_.write(WRITING, "");
    recording_.reset();
    return true;
}

void Encoder::hang(unsigned milliseconds)
{
    root_.write(BEHAVIOUR, "hang " + std::to_string(milliseconds) + "\n");
}

void Encoder::be_deaf(unsigned milliseconds)
{
    root_.write(BEHAVIOUR, "deaf " + std::to_string(milliseconds) + "\n");
}

void Encoder::refuse()
{
    root_.write(BEHAVIOUR, "refuse\n");
}

void Encoder::behave()
{
    root_.write(BEHAVIOUR, "ok\n");
}

void Encoder::set_missing(bool missing)
{
    const std::string_view from = missing ? SCRIPT : SCRIPT_PUT_ASIDE;
    if (root_.exists(from)) std::filesystem::rename(root_.map(from), root_.map(missing ? SCRIPT_PUT_ASIDE : SCRIPT));
}

void Encoder::show_input(int port, std::string_view format)
{
    const std::string text = std::to_string(port) + " " + (format.empty() ? "no picture" : std::string(format)) + "\n";
    if (text == input_) return;
    input_ = text;
    root_.write(INPUT, text);
}

void Encoder::lose_card()
{
    catch_up();
    if (recording_ && recording_->writer > 0) ::kill(recording_->writer, SIGKILL);
}

bool Encoder::script_there() const
{
    return root_.exists(SCRIPT);
}

std::string Encoder::behaviour() const
{
    const std::string line = root_.read(BEHAVIOUR);
    return line.substr(0, line.find('\n'));
}

std::string Encoder::describe() const
{
    std::string text = script_there() ? "behaviour: " + behaviour() + "\n" : "the script is missing\n";
    if (!recording_) return text + "idle, " + std::to_string(recordings_) + " recordings so far\n";
    const Recording& now = *recording_;
    return text + "writes " + now.file + ", " + std::to_string(now.width) + "x" + std::to_string(now.height) + " at " +
           std::to_string(now.frame_rate) + " Hz, " + std::to_string(now.sample_rate) + " Hz in " +
           std::to_string(now.channels) + " channels, " + std::to_string(now.bit_rate / 1000) + " kbit/s, for " +
           std::to_string((time_.now() - now.start) / 1'000'000) + " s\n";
}

} // namespace emu
