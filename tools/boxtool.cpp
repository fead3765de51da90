#include "tools/boxtool.h"

#include "tools/commands.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <sstream>
#include <unistd.h>

namespace boxtool {

namespace {

constexpr char FOOTER[] =
    "Numbers are decimal or 0x. Commands that destroy something ask first, unless --yes is given.\n"
    "Exit status: 0 done; 1 the box refused, or a test or comparison failed; 2 wrong arguments or\n"
    "no consent. 'boxtool COMMAND --help' tells more.";

void add_all(Commands& commands)
{
    add_input_commands(commands);
    add_output_commands(commands);
    add_edid_commands(commands);
    add_i2c_commands(commands);
    add_register_commands(commands);
    add_memory_commands(commands);
    add_dma_commands(commands);
    add_video_commands(commands);
    add_driver_commands(commands);
    add_nvram_commands(commands);
    add_panel_commands(commands);
    add_update_commands(commands);
}

void print_error(const char* what)
{
    std::fflush(stdout);
    std::fprintf(stderr, "boxtool: %s\n", what);
}

void execute_quietly(const Command& command, bool json, bool yes)
{
    HeldBack messages;
    Session session(messages.real_output(), json, yes);
    try {
        command.execute(session);
    } catch (const Refused&) {
        messages.show();
        throw;
    }
}

void execute(const Command& command, bool json, bool yes)
{
    if (json && !command.is(REPORTS)) throw UsageError("--json: this command gives no values");
    if (command.is(OWN_TEXT)) {
        execute_quietly(command, json, yes);
        return;
    }
    std::optional<PrintedAside> aside;
    if (json || command.is(LIVE)) aside.emplace();
    Session session(aside ? aside->real_output() : STDOUT_FILENO, json, yes);
    command.execute(session);
}

/** A word that is no command shows up as left over; the library then only says that a command is missing. */
std::string describe(const CLI::ParseError& error, const CLI::App& app)
{
    const std::vector<std::string> left = app.remaining(true);
    const bool no_command = dynamic_cast<const CLI::RequiredError*>(&error) != nullptr && !left.empty();
    return (no_command ? "no such command: " + left.front() : error.what()) + "; --help shows what there is";
}

int parse_and_execute(CLI::App& app, const Commands& commands, int argc, const char* const* argv)
{
    bool json = false, yes = false;
    app.add_flag("--json", json, "Give values as JSON on standard output");
    app.add_flag("-y,--yes", yes, "Do not ask");
    try {
        app.parse(argc, argv);
        const Command& command = *commands.chosen();
        execute(command, json || command.json(), yes || command.yes());
        return EXIT_DONE;
    } catch (const CLI::Success& help) {
        std::ostringstream text;
        app.exit(help, text, text);
        std::fputs(text.str().c_str(), stdout);
        return EXIT_DONE;
    } catch (const CLI::ParseError& error) {
        throw UsageError(describe(error, app));
    }
}

} // namespace

int run(int argc, const char* const* argv)
{
    int status = EXIT_DONE;
    try {
        CLI::App app("Bench tool of the recorder box: look at everything, change anything, update the firmware.",
                     "boxtool");
        app.require_subcommand(1);
        Commands commands(app);
        add_all(commands);
        app.footer(FOOTER); // afterwards: the commands would take it over
        status = parse_and_execute(app, commands, argc, argv);
    } catch (const UsageError& error) {
        print_error(error.what());
        status = EXIT_USAGE;
    } catch (const std::exception& error) {
        print_error(error.what());
        status = EXIT_REFUSED;
    }
    std::fflush(stdout);
    return status;
}

} // namespace boxtool
