#include "tools/session.h"

#include "devaccess/i2c.h"
#include "devaccess/video_device.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace boxtool {

namespace {

bool is_yes(std::string answer)
{
    while (!answer.empty() && (answer.back() == '\n' || answer.back() == '\r')) answer.pop_back();
    return answer == "y" || answer == "Y" || answer == "yes" || answer == "Yes" || answer == "YES";
}

constexpr int ROW_LABEL_WIDTH = 20;

bool is_regular_file(const std::string& path)
{
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

} // namespace

/** An output that fails, because nobody reads any more or a disk is full, must not stop a command half way. */
void Session::write(int fd, std::string_view text)
{
    const int error = write_all(fd, text);
    if (fd == streams_.output() && output_error_ == 0) output_error_ = error;
}

void Session::say(const char* pattern, ...)
{
    if (json() || raw_output_) return;
    va_list args;
    va_start(args, pattern);
    const std::string text = vformat(pattern, args);
    va_end(args);
    write(streams_.output(), text);
}

void Session::row(const char* name, const std::string& value)
{
    say("%-*s%s\n", ROW_LABEL_WIDTH, name, value.c_str());
}

void Session::warn(const std::string& text)
{
    if (json())
        document_["warnings"].push_back(text);
    else
        write(streams_.error(), "boxtool: " + text + "\n");
}

void Session::progress(const std::string& text)
{
    constexpr char CLEAR_LINE[] = "\r\033[K";
    if (!json() && isatty(streams_.error()) == 1) write(streams_.error(), CLEAR_LINE + text);
}

void Session::finish() const
{
    errno = output_error_;
    if (output_error_ != 0) refuse("standard output");
}

void Session::need_answers() const
{
    if (!wishes_.yes && isatty(streams_.input()) != 1)
        throw UsageError("this destroys something and nobody is here to be asked: give --yes to do it");
}

void Session::ask(const std::string& question)
{
    if (wishes_.yes) return;
    need_answers();
    if (!is_answered_yes(question)) throw UsageError("nothing was changed");
}

void Session::ask_in_person(const std::string& question, const char* what_else)
{
    if (wishes_.yes || isatty(streams_.input()) != 1) throw UsageError(question + " " + what_else);
    if (!is_answered_yes(question)) throw UsageError("nothing was changed");
}

void Session::may_write(const std::string& path)
{
    if (path == PIPE) {
        if (json()) throw UsageError("--json and the file '-' both want standard output");
        if (isatty(streams_.output()) == 1) throw UsageError("raw bytes do not go to a terminal: use a pipe");
        raw_output_ = true;
        return;
    }
    if (wishes_.yes || !is_regular_file(path)) return;
    if (isatty(streams_.input()) != 1) throw UsageError(path + " is there already: give --yes to write over it");
    if (!is_answered_yes("Write over " + path + ".")) throw UsageError("nothing was changed");
}

bool Session::is_answered_yes(const std::string& question)
{
    write(streams_.error(), question + " Go on? [y/N] ");
    return is_yes(read_answer());
}

/** Read a line straight from the descriptor: nothing is taken that a later command should get. */
std::string Session::read_answer()
{
    constexpr int LOOK_MS = 100; // a held signal does not wake the poll up
    std::string line;
    char c = 0;
    pollfd ready = {streams_.input(), POLLIN, 0};
    while (!interrupted()) {
        const int found = poll(&ready, 1, LOOK_MS);
        if (found == 0 || (found < 0 && errno == EINTR)) continue;
        if (found < 0 || read(streams_.input(), &c, 1) != 1 || c == '\n') return line;
        line += c;
    }
    write(streams_.error(), "\n");
    return "";
}

bool Session::interrupted()
{
    return held_ && held_->came() != 0;
}

HeldSignals& Session::hold_signals()
{
    if (!held_) held_.emplace();
    return *held_;
}

void open_device()
{
    if (capd::video_device_open() != 0) refuse("no video node of the capture driver answers");
}

void need_chip(int device, const char* name)
{
    unsigned int value = 0;
    check(capd::i2c_read_register(device, 0, &value), format("%s (I2C 0x%02x)", name, device));
}

} // namespace boxtool
