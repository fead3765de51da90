/**
 * @file
 * What a running command works with: its output, the question before something is destroyed, and the errors that end
 * it with an exit status.
 */
#pragma once

#include <cstdio>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <stdexcept>
#include <string>

namespace boxtool {

using Json = nlohmann::ordered_json;

/** Wrong arguments, or no consent: ends the command with EXIT_USAGE. */
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/** The box refused, or what was looked at is not as it should be: ends the command with EXIT_REFUSED. */
class Refused : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/** Make a text as printf() does. */
[[gnu::format(printf, 1, 2)]] std::string format(const char* pattern, ...);

/** Sends what is printed on standard output elsewhere while it lives, child processes included. */
class PrintedAside {
public:
    explicit PrintedAside(int to = 2);
    ~PrintedAside();
    PrintedAside(const PrintedAside&) = delete;
    PrintedAside& operator=(const PrintedAside&) = delete;

    /** Descriptor of the real standard output meanwhile. */
    int real_output() const { return saved_; }

private:
    int saved_;
};

/** Keeps back what is printed on standard output while it lives; it can be shown on standard error. */
class HeldBack {
public:
    HeldBack();
    ~HeldBack();
    HeldBack(const HeldBack&) = delete;
    HeldBack& operator=(const HeldBack&) = delete;

    void show();
    /** Descriptor of the real standard output meanwhile. */
    int real_output() const { return aside_->real_output(); }

private:
    std::FILE* file_; ///< none where no file can be made: it is all shown at once then
    std::optional<PrintedAside> aside_;
};

class Session {
public:
    /**
     * @param output descriptor for the command's own text or JSON
     * @param json   the caller wants JSON
     * @param yes    the caller wants no questions
     */
    Session(int output, bool json, bool yes) : output_(output), json_(json), yes_(yes) {}

    bool json() const { return json_; }

    /** Print a text for people; nothing in JSON. */
    [[gnu::format(printf, 2, 3)]] void say(const char* pattern, ...);

    /** Print the values for programs; nothing outside JSON. */
    void report(const Json& values);

    /** Ask before something is destroyed; throws UsageError unless the answer is yes. Asks nothing with --yes. */
    void ask(const std::string& question);

    /** Throw UsageError when a question will come and nobody could answer it. */
    void need_answers() const;

private:
    void write(const std::string& text);

    int output_;
    bool json_;
    bool yes_;
};

/** Throw Refused, with errno's text, when a request's result is below 0. */
void check(int result, const std::string& what);

/** Throw Refused with errno's text. */
[[noreturn]] void refuse(const std::string& what);

/** Open the video node; throws Refused. What the search for it prints is shown only when it fails. */
void open_device();

/** Throw Refused unless the chip at a 7-bit address answers a read of its register 0. */
void need_chip(int device, const char* name);

} // namespace boxtool
