#include "tools/session.h"

#include "devaccess/i2c.h"
#include "devaccess/video_device.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <nlohmann/json.hpp>
#include <unistd.h>

namespace boxtool {

namespace {

[[gnu::format(printf, 1, 0)]] std::string vformat(const char* pattern, va_list args)
{
    va_list again;
    va_copy(again, args);
    const int length = std::vsnprintf(nullptr, 0, pattern, args);
    std::string text(static_cast<size_t>(length) + 1, '\0');
    std::vsnprintf(text.data(), text.size(), pattern, again);
    va_end(again);
    text.pop_back();
    return text;
}

bool is_yes(std::string answer)
{
    while (!answer.empty() && (answer.back() == '\n' || answer.back() == '\r')) answer.pop_back();
    return answer == "y" || answer == "Y" || answer == "yes" || answer == "Yes" || answer == "YES";
}

/** Read a line straight from the descriptor: nothing is taken that a later command should get. */
std::string read_answer()
{
    std::string line;
    char c = 0;
    while (read(STDIN_FILENO, &c, 1) == 1 && c != '\n') line += c;
    return line;
}

} // namespace

std::string format(const char* pattern, ...)
{
    va_list args;
    va_start(args, pattern);
    std::string text = vformat(pattern, args);
    va_end(args);
    return text;
}

PrintedAside::PrintedAside(int to)
{
    std::fflush(stdout);
    saved_ = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3);
    dup2(to, STDOUT_FILENO);
}

PrintedAside::~PrintedAside()
{
    std::fflush(stdout);
    dup2(saved_, STDOUT_FILENO);
    close(saved_);
}

HeldBack::HeldBack() : file_(std::tmpfile())
{
    aside_.emplace(file_ != nullptr ? fileno(file_) : STDERR_FILENO);
}

HeldBack::~HeldBack()
{
    aside_.reset();
    if (file_ != nullptr) std::fclose(file_);
}

void HeldBack::show()
{
    char part[512];
    std::fflush(stdout);
    if (file_ == nullptr) return;
    lseek(fileno(file_), 0, SEEK_SET);
    for (ssize_t got; (got = read(fileno(file_), part, sizeof(part))) > 0;)
        std::fwrite(part, 1, static_cast<size_t>(got), stderr);
}

void Session::write(const std::string& text)
{
    std::fflush(stdout);
    for (size_t done = 0; done < text.size();) {
        const ssize_t written = ::write(output_, text.data() + done, text.size() - done);
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) refuse("standard output");
        done += static_cast<size_t>(written);
    }
}

void Session::say(const char* pattern, ...)
{
    if (json_) return;
    va_list args;
    va_start(args, pattern);
    const std::string text = vformat(pattern, args);
    va_end(args);
    write(text);
}

void Session::report(const Json& values)
{
    // A name or value from nvram need not be UTF-8; what is not shows as a replacement character.
    if (json_) write(values.dump(2, ' ', false, Json::error_handler_t::replace) + "\n");
}

void Session::need_answers() const
{
    if (!yes_ && isatty(STDIN_FILENO) == 0)
        throw UsageError("this destroys something and nobody is here to be asked: give --yes to do it");
}

void Session::ask(const std::string& question)
{
    if (yes_) return;
    need_answers();
    std::fflush(stdout);
    std::fprintf(stderr, "%s Go on? [y/N] ", question.c_str());
    if (!is_yes(read_answer())) throw UsageError("nothing was changed");
}

void refuse(const std::string& what)
{
    const int error = errno;
    throw Refused(format("%s: %s (errno %d)", what.c_str(), std::strerror(error), error));
}

void check(int result, const std::string& what)
{
    if (result < 0) refuse(what);
}

void open_device()
{
    HeldBack messages;
    if (capd::video_device_open() == 0) return;
    const int error = errno;
    messages.show();
    errno = error;
    refuse("no video node of the capture driver answers");
}

void need_chip(int device, const char* name)
{
    const PrintedAside aside;
    const unsigned int reg = 0;
    unsigned int value = 0;
    check(capd::do_rdi2cnb(1, device, 1, &reg, 1, &value), format("%s (I2C 0x%02x)", name, device));
}

} // namespace boxtool
