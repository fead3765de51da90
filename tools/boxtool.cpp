#include "tools/boxtool.h"

#include "tools/commands.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <sstream>
#include <unistd.h>

namespace boxtool {

namespace {

constexpr int EXIT_HELP = -1; // nothing was run: the text is an answer

constexpr char FOOTER[] =
    "Numbers are decimal or 0x; the file '-' is standard input or output. Commands that destroy\n"
    "something ask first, unless --yes is given. --json gives values and errors as JSON, --verbose\n"
    "shows what the box's modules print.\n"
    "Exit status: 0 done; 1 the box refused, or what was looked at is not right; 2 wrong arguments\n"
    "or no consent: nothing was changed. 'boxtool COMMAND --help' tells more.";

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

/** The document that --json promises, in the end and whatever came of the command. */
int print_document(const Json& document)
{
    // A name or value from nvram need not be UTF-8; what is not shows as a replacement character.
    const std::string text = document.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
    std::fflush(stdout);
    return write_all(STDOUT_FILENO, text);
}

void execute(const Command& command, const Wishes& wishes, Json& document)
{
    const Streams streams(wishes.verbose);
    Session session(streams, wishes, document);
    command.execute(session);
}

/** A word that is no command shows up as left over; the library then only says that a command is missing. */
std::string describe(const CLI::ParseError& error, const CLI::App& app)
{
    const std::vector<std::string> left = app.remaining(true);
    const bool no_command = dynamic_cast<const CLI::RequiredError*>(&error) != nullptr && !left.empty();
    return (no_command ? "no such command: " + left.front() : error.what()) + "; --help shows what there is";
}

void parse_and_execute(CLI::App& app, const Commands& commands, int argc, const char* const* argv, Json& document)
{
    Wishes wishes;
    app.add_flag("--json", wishes.json, "Give values and errors as JSON on standard output");
    app.add_flag("-y,--yes", wishes.yes, "Do not ask");
    app.add_flag("-v,--verbose", wishes.verbose, "Show on standard error what the box's modules print");
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success&) {
        throw;
    } catch (const CLI::ParseError& error) {
        throw UsageError(describe(error, app));
    }
    const Wishes& own = commands.chosen()->wishes();
    execute(*commands.chosen(), {wishes.json || own.json, wishes.yes || own.yes, wishes.verbose || own.verbose},
            document);
}

/** Run the command and put what went wrong into words. @return an ExitStatus */
int run_command(int argc, const char* const* argv, Json& document, std::string& error)
{
    CLI::App app("Bench tool of the recorder box: look at everything, change anything, update the firmware.",
                 "boxtool");
    try {
        app.require_subcommand(1);
        Commands commands(app);
        add_all(commands);
        app.footer(FOOTER); // afterwards: the commands would take it over
        parse_and_execute(app, commands, argc, argv, document);
        return EXIT_DONE;
    } catch (const CLI::Success& help) {
        std::ostringstream text;
        app.exit(help, text, text);
        error = text.str();
        return EXIT_HELP;
    } catch (const UsageError& wrong) {
        error = wrong.what();
        return EXIT_USAGE;
    } catch (const std::exception& refused) {
        error = refused.what();
        return EXIT_REFUSED;
    }
}

} // namespace

int run(int argc, const char* const* argv)
{
    // Looked for by hand: a line that cannot be parsed gets its answer as JSON, too.
    const auto is_json = [](const char* word) { return std::string_view(word) == "--json"; };
    const bool json = std::any_of(argv, argv + argc, is_json);
    Json document = Json::object();
    std::string text;
    int status = run_command(argc, argv, document, text);
    if (status == EXIT_HELP) {
        std::fputs(text.c_str(), stdout);
        status = EXIT_DONE;
    } else if (json) {
        if (status != EXIT_DONE) document["error"] = text;
        if (print_document(document) != 0) status = EXIT_REFUSED;
    } else if (status != EXIT_DONE) {
        std::fflush(stdout);
        std::fprintf(stderr, "boxtool: %s\n", text.c_str());
    }
    if (std::fflush(stdout) != 0) status = EXIT_REFUSED;
    return status;
}

} // namespace boxtool
