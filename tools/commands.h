/**
 * @file
 * The command tree: how a command declares its name, arguments and what it does. All of a command's arguments are
 * looked at before anything is sent to the box.
 */
#pragma once

#include "tools/session.h"

#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace boxtool {

/** Numbers that an argument may take. */
struct Range {
    long long low, high;
    long long step = 1;        ///< allowed are its multiples only
    bool power_of_two = false; ///< allowed are powers of two only
};

constexpr Range BYTE = {0, 0xff};
constexpr Range WORD = {0, 0xffffffffLL};
constexpr Range I2C_ADDRESS = {0, 0x7f};
constexpr Range SIGNED_WORD = {-2147483648LL, 2147483647LL};

/** What a command is like. */
enum Traits : unsigned {
    PLAIN = 0,
    ASKS = 1,   ///< destroys something: asks first, takes --yes
    DEVICE = 2, ///< needs the video node
};

/** One operation on the command line. All of them take --json and --verbose. */
class Command {
public:
    using Action = std::function<void(Session&)>;

    Command(CLI::App& app, unsigned traits, Command*& chosen);

    /** Take a number, decimal or 0x. The range is checked while the arguments are read. */
    template<typename T>
    std::shared_ptr<const T> number(const char* name, const Range& range, const char* help)
    {
        auto value = std::make_shared<T>();
        add_number(name, range, help, true, [value](long long given) { *value = static_cast<T>(given); });
        return value;
    }
    /** Take a number that may be left out. */
    template<typename T>
    std::shared_ptr<const std::optional<T>> optional_number(const char* name, const Range& range, const char* help)
    {
        auto value = std::make_shared<std::optional<T>>();
        add_number(name, range, help, false, [value](long long given) { *value = static_cast<T>(given); });
        return value;
    }
    /** Take up to `most` numbers; at least one where required. */
    template<typename T>
    std::shared_ptr<std::vector<T>> numbers(const char* name, const Range& range, int most, bool required,
                                            const char* help)
    {
        auto values = std::make_shared<std::vector<T>>();
        add_numbers(name, range, most, help, required,
                    [values](long long given) { values->push_back(static_cast<T>(given)); });
        return values;
    }
    /** Take a text of so many characters; a name that begins with -- makes it an option. */
    std::shared_ptr<const std::string> text(const char* name, size_t shortest, size_t longest, const char* help);
    /** Take the name of a file of this machine to read. "file,--file" makes it an argument and an option. */
    std::shared_ptr<const std::string> file(const char* name, bool required, const char* help);
    /** Take the name of a file to write. What is there is written over only after a question, or with --yes. */
    std::shared_ptr<const std::string> output_file(const char* name, bool required, const char* help,
                                                   const char* left_out = "");
    /** Take a flag. */
    std::shared_ptr<const bool> flag(const char* name, const char* help);

    /** Check arguments against each other; throws UsageError. Runs after they are all read, before anything is sent. */
    void verify(std::function<void()> check) { verify_ = std::move(check); }
    void run(Action action) { action_ = std::move(action); }

    /** @name For whoever runs the command
     * @{ */
    /** What its own options say. */
    const Wishes& wishes() const { return wishes_; }
    void execute(Session& session) const;
    /** @} */

private:
    using Take = std::function<void(long long)>;
    void add_number(const char* name, const Range& range, const char* help, bool required, const Take& take);
    void add_numbers(const char* name, const Range& range, int most, const char* help, bool required, const Take& take);

    bool is(Traits trait) const { return (traits_ & trait) != 0; }
    void take_yes();

    CLI::App& app_;
    unsigned traits_;
    Wishes wishes_;
    std::vector<std::shared_ptr<const std::string>> outputs_;
    std::function<void()> verify_;
    Action action_;
};

/** The tree under construction. */
class Commands {
public:
    explicit Commands(CLI::App& root) : root_(root) {}

    /** Commands of two words share a group; the heading is what the help lists it under. */
    CLI::App& group(const char* name, const char* help, const char* heading);
    Command& add(CLI::App& group, const char* name, const char* help, unsigned traits);
    /** A command of one word. */
    Command& add(const char* name, const char* help, const char* heading, unsigned traits);

    /** The command that the arguments named. */
    Command* chosen() const { return chosen_; }

private:
    CLI::App& root_;
    std::deque<Command> commands_;
    Command* chosen_ = nullptr;
};

constexpr char HEADING_HDMI[] = "HDMI";
constexpr char HEADING_HARDWARE[] = "Buses, registers, memory";
constexpr char HEADING_DRIVER[] = "Capture driver";
constexpr char HEADING_BOX[] = "Box";

/** @name The tree's parts, in the order in which the help lists them
 * @{ */
void add_input_commands(Commands& commands);
void add_output_commands(Commands& commands);
void add_edid_commands(Commands& commands);
void add_i2c_commands(Commands& commands);
void add_register_commands(Commands& commands);
void add_memory_commands(Commands& commands);
void add_dma_commands(Commands& commands);
void add_video_commands(Commands& commands);
void add_driver_commands(Commands& commands);
void add_nvram_commands(Commands& commands);
void add_panel_commands(Commands& commands);
void add_update_commands(Commands& commands);
/** @} */

} // namespace boxtool
