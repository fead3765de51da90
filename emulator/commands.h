/**
 * @file
 * The one-line commands by which people and scenarios tell the box what happens to it and ask what they would see.
 * A handler takes its words from Args, which refuses what is missing, malformed or left over with an error that names
 * the word and its place; a handler acts only after it has taken all of its words, so a refused command changes
 * nothing.
 */
#pragma once

#include <functional>
#include <initializer_list>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace emu {

/** What a command answers. */
struct Reply {
    bool ok = true;
    std::string text;     ///< what to print; the error when not ok
    bool not_now = false; ///< not ok, but only because of what the box is doing
};

/** Thrown by Args and handlers; becomes the Reply of a refused command. */
class CommandError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/** Thrown for a command that is right but not possible at the moment, as when nobody records. */
class NotNow : public CommandError {
public:
    using CommandError::CommandError;
};

/** The words of a command line that a handler has not taken yet. */
class Args {
public:
    Args(std::vector<std::string> words, size_t taken) : words_(std::move(words)), next_(taken) {}

    bool more() const { return next_ < words_.size(); }
    /** The next word without taking it, empty at the end. */
    std::string peek() const { return more() ? words_[next_] : std::string(); }
    /** Take the next word; `what` says in an error what was expected. */
    std::string word(std::string_view what);
    /** Take a number, decimal or 0x, in a range. */
    long long number(std::string_view what, long long low, long long high);
    /** Take a decimal fraction in a range. */
    double fraction(std::string_view what, double low, double high);
    /** Take one of some words. */
    std::string choice(const std::vector<std::string>& allowed);
    /** Take "on" or "off". */
    bool on_off() { return choice({"on", "off"}) == "on"; }
    /** Take exactly this word. */
    void keyword(std::string_view expected) { choice({std::string(expected)}); }
    /** Take the next word if it is this one. */
    bool optional(std::string_view expected);
    /** Refuse words that are left. */
    void end() const;
    /** Read a word that was taken last as a number in a range. */
    long long as_number(const std::string& word, long long low, long long high) const;
    /** Refuse the word that was taken last. */
    [[noreturn]] void refuse(const std::string& why) const;

private:
    std::vector<std::string> words_;
    size_t next_;
};

class CommandTable {
public:
    using Handler = std::function<Reply(Args&)>;

    CommandTable();

    /** Add a command of one or two words; usage is shown by help behind its name. */
    void add(const std::string& name, const std::string& usage, Handler handler);
    /** Add a section of "show"; "show" alone prints all of them in the order they were added. */
    void add_show(const std::string& section, std::function<std::string()> text);

    /** Run one line. Empty lines and lines that begin with '#' do nothing. */
    Reply run(std::string_view line) const;

    std::string help() const;

private:
    struct Command {
        std::string usage;
        Handler handler;
    };
    Reply show(Args& args) const;

    std::map<std::string, Command> commands_;
    std::vector<std::pair<std::string, std::function<std::string()>>> sections_;
};

/** Split a line into words; "quoted words" may hold blanks. Throws CommandError on an open quote. */
std::vector<std::string> split_words(std::string_view line);

} // namespace emu
