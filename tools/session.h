/**
 * @file
 * What a running command works with: its output as text or JSON, the questions before something is destroyed, and the
 * errors that end it with an exit status.
 */
#pragma once

#include "tools/errors.h"
#include "tools/streams.h"
#include "tools/undisturbed.h"

#include <nlohmann/json.hpp>
#include <optional>
#include <string>

namespace boxtool {

using Json = nlohmann::ordered_json;

/** What the caller wants. */
struct Wishes {
    bool json = false;
    bool yes = false;     ///< no questions
    bool verbose = false; ///< what the box's modules print
};

/** The name that stands for standard input or output where a file is asked for. */
constexpr char PIPE[] = "-";

class Session {
public:
    /** @param document receives the values for programs */
    Session(const Streams& streams, const Wishes& wishes, Json& document)
        : streams_(streams), wishes_(wishes), document_(document)
    {
    }

    const Streams& streams() const { return streams_; }
    bool json() const { return wishes_.json; }
    bool verbose() const { return wishes_.verbose; }

    /** @name Text for people; nothing in JSON, and nothing where the bytes of a file go to standard output
     * @{ */
    [[gnu::format(printf, 2, 3)]] void say(const char* pattern, ...);
    /** A line of a table: what it is, and its value with its unit. */
    void row(const char* name, const std::string& value);
    /** @} */

    /** Add values for programs. */
    void report(const Json& values) { document_.update(values); }

    /** Tell something beside the result: on standard error, or among the values. */
    void warn(const std::string& text);

    /** Show on a terminal how far something is, in one line that the next call writes over; "" takes it away. */
    void progress(const std::string& text);

    /** Throw what went wrong with the command's own output, which no command stops for. */
    void finish() const;

    /** @name Questions
     * @{ */
    /** Ask before something is destroyed; throws UsageError unless the answer is yes. Asks nothing with --yes. */
    void ask(const std::string& question);
    /** Ask what --yes does not answer; where nobody can be asked, throws UsageError that tells what else to do. */
    void ask_in_person(const std::string& question, const char* what_else);
    /** Ask before a file that is there is written over. */
    void may_write(const std::string& path);
    /** Throw UsageError when a question will come and nobody could answer it. */
    void need_answers() const;
    /** @} */

    /** Hold the signals that end a program until the command has ended; one that comes answers a question with no. */
    HeldSignals& hold_signals();

private:
    void write(int fd, std::string_view text);
    bool is_answered_yes(const std::string& question);
    std::string read_answer();
    bool interrupted();

    const Streams& streams_;
    const Wishes wishes_;
    Json& document_;
    std::optional<HeldSignals> held_;
    bool raw_output_ = false; ///< standard output carries the bytes of a file
    int output_error_ = 0;
};

/** Open the video node; throws Refused. */
void open_device();

/** Throw Refused unless the chip at a 7-bit address answers a read of its register 0. */
void need_chip(int device, const char* name);

} // namespace boxtool
