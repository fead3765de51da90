/**
 * @file
 * The one-line commands by which people and scenarios tell the box what happens to it and ask what they would see.
 * A handler takes its words from Args, which refuses what is missing, malformed or left over with an error that names
 * the word and its place; a handler acts only after it has taken all of its words, so a refused command changes
 * nothing. Whatever a handler throws becomes the text of a refusal: no command ends the box.
 */
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace emu {

using Json = nlohmann::ordered_json;

/** What a command answers. */
struct Reply {
    enum class Kind : uint8_t {
        Final,   ///< done or refused
        NotNow,  ///< refused, but only because of what the box is doing
        TooLate, ///< refused: what it waited for did not come in time
        More,    ///< not the last answer: others follow; one without text is a sign of life
    };

    bool ok = true;
    std::string text; ///< what to print; the error when not ok
    Kind kind = Kind::Final;
};

/** Takes the answers that come after the first one. Whoever stops listening empties it, which ends the command. */
struct Listener {
    std::function<void(const Reply&)> take;
};

/** Who gives a command. */
struct Caller {
    std::string folder;                 ///< where relative names of this machine's files begin; empty: the process's
    bool rehearsal = false;             ///< nothing is waited for, and no file of this machine is written
    std::shared_ptr<Listener> listener; ///< nullptr where nobody takes later answers
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
    /** Of these words, the first `taken` are the command's name. */
    Args(std::vector<std::string> words, size_t taken, std::string_view line, const Caller& caller)
        : words_(std::move(words)), next_(taken), line_(line), caller_(caller)
    {
    }

    const Caller& caller() const { return caller_; }
    /** The line as it is quoted in errors. */
    const std::string& line() const { return line_; }

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
    /** Take the name of a file of this machine. @return it as seen from the caller's folder */
    std::string file(std::string_view what);
    /** Refuse words that are left. */
    void end() const;

    /** Read a word that was taken last as a number in a range. */
    long long as_number(const std::string& word, long long low, long long high) const;
    /** The name of a file as seen from the caller's folder. */
    std::string in_folder(const std::string& name) const;
    /** Read a file of this machine whose name was taken last, of at most `limit` bytes. */
    std::string read_file(const std::string& name, size_t limit) const;
    /** Write a file of this machine, but for a rehearsal. */
    void write_file(const std::string& name, std::string_view bytes) const;
    /** Refuse the word that was taken last. */
    [[noreturn]] void refuse(const std::string& why) const;
    /** The same, as none of those that were expected. */
    [[noreturn]] void refuse_unknown(const std::vector<std::string>& expected) const;

private:
    std::vector<std::string> words_;
    size_t next_;
    std::string line_;
    const Caller& caller_;
};

class CommandTable {
public:
    using Handler = std::function<Reply(Args&)>;

    CommandTable();

    /** Add a command of one or two words; usage is shown by help behind its name. */
    void add(const std::string& name, const std::string& usage, Handler handler);
    /** Add a command without further words. */
    void add_action(const std::string& name, const std::string& usage, const std::function<void()>& action);
    /** Add a command that takes "on" or "off". */
    void add_switch(const std::string& name, const std::string& usage, const std::function<void(bool)>& action);
    /** Add a command that takes a number. */
    struct Range {
        const char* what;
        long long low, high;
    };
    void add_number(const std::string& name, const std::string& usage, const Range& range,
                    const std::function<void(long long)>& action);

    /** Add a section of "show"; "show" alone prints all of them in the order they were added. */
    void add_show(const std::string& section, std::function<std::string()> text);
    /** Add what "show --json" has of a section. */
    void add_facts(const std::string& section, std::function<Json()> facts);

    /**
     * Run one line. Empty lines and lines that begin with '#' do nothing. Never throws.
     * @return the answer; of kind More when the caller's listener gets the others
     */
    Reply run(std::string_view line, const Caller& caller = {}) const;

    /** Usage of all commands, or of those whose name begins with these words. */
    std::string help(const std::string& begin = "") const;
    /** The names of all commands. */
    std::vector<std::string> names() const;

private:
    struct Command {
        std::string usage;
        Handler handler;
    };
    struct Section {
        std::string name;
        std::function<std::string()> text;
    };
    Reply help_command(Args& args) const;
    Reply show(Args& args) const;
    Json facts(const std::string& section) const;
    Reply dispatch(std::vector<std::string> words, const std::string& line, const Caller& caller) const;
    std::string owner_of(const std::string& word) const;
    [[noreturn]] void refuse_unknown(const std::vector<std::string>& words) const;

    std::map<std::string, Command> commands_;
    std::vector<Section> sections_;
    std::map<std::string, std::function<Json()>> facts_;
};

/**
 * Split a line into words; "quoted words" may hold blanks, and \" and \\ for a quote and a backslash.
 * Throws CommandError on an open quote.
 */
std::vector<std::string> split_words(std::string_view line);
/** A word as split_words() reads it: quoted where that is needed. */
std::string quote_word(const std::string& word);

/** The nearest of some words to one that was probably misspelt; empty when none is near. */
std::string nearest_word(std::string_view word, const std::vector<std::string>& words);

} // namespace emu
