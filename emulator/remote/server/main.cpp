/**
 * @file
 * boxemu: the emulated box as a process of its own, and its remote hand, "boxemu ctl".
 */
#include "emulator/commands/commands.h"
#include "emulator/remote/protocol.h"
#include "emulator/remote/server/edited_input.h"
#include "emulator/remote/server/server.h"
#include "emulator/scenario.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <getopt.h>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <sys/signalfd.h>
#include <unistd.h>

namespace {

constexpr int DONE = 0, FAILED = 1, USAGE = 2, TOO_LATE = 3;

constexpr const char* HELP =
    "boxemu [OPTIONS]                   be the box\n"
    "  --root DIR                       its root file system, filled when it is empty; /tmp/capd-box\n"
    "  --socket PATH                    where clients find it; run/box.sock in the root\n"
    "  --scenario FILE                  let happen what the file says: SECONDS COMMAND in each line\n"
    "  --check FILE                     only check such a file\n"
    "  --encoder ffmpeg|bookkeeping     write real files, or files that only have a size; ffmpeg\n"
    "  --stdin                          take commands from standard input even where it is no terminal\n"
    "boxemu ctl [OPTIONS] COMMAND...    give a box a command; \"help\" lists them\n"
    "  --socket PATH                    where the box is; $CAPD_BOX\n"
    "  --timeout SECONDS                give up when the box is silent for so long; $CAPD_BOX_TIMEOUT, or 10\n"
    "Exit status: 0 done, 1 failed or refused, 2 wrong usage, 3 what \"wait\" waited for did not come.\n";

struct Options {
    std::string root = emu::DEFAULT_ROOT;
    std::string socket, scenario, check;
    emu::EncoderKind encoder = emu::EncoderKind::Ffmpeg;
    bool use_stdin = isatty(STDIN_FILENO) == 1;
};

/** @return whether the options make sense; what is wrong has been said. */
bool read_options(int argc, char** argv, Options& options)
{
    static constexpr option known[] = {
        {"root", required_argument, nullptr, 'r'},     {"socket", required_argument, nullptr, 's'},
        {"scenario", required_argument, nullptr, 'f'}, {"check", required_argument, nullptr, 'c'},
        {"encoder", required_argument, nullptr, 'e'},  {"stdin", no_argument, nullptr, 'i'},
        {"help", no_argument, nullptr, 'h'},           {nullptr, 0, nullptr, 0}};
    for (int letter; (letter = getopt_long(argc, argv, "h", known, nullptr)) != -1;) {
        switch (letter) {
        case 'r': options.root = optarg; break;
        case 's': options.socket = optarg; break;
        case 'f': options.scenario = optarg; break;
        case 'c': options.check = optarg; break;
        case 'i': options.use_stdin = true; break;
        case 'e':
            if (std::strcmp(optarg, "ffmpeg") != 0 && std::strcmp(optarg, "bookkeeping") != 0) {
                std::fprintf(stderr, "boxemu: --encoder '%s' is neither ffmpeg nor bookkeeping\n", optarg);
                return false;
            }
            options.encoder = *optarg == 'f' ? emu::EncoderKind::Ffmpeg : emu::EncoderKind::Bookkeeping;
            break;
        case 'h': std::fputs(HELP, stdout); std::exit(DONE);
        default: return false;
        }
    }
    if (optind < argc) std::fprintf(stderr, "boxemu: '%s' is no option; try --help\n", argv[optind]);
    return optind == argc;
}

std::vector<emu::ScenarioStep> load_and_check(const std::string& name)
{
    auto steps = emu::load_scenario(name);
    emu::check_scenario(steps);
    return steps;
}

/** A descriptor that can be read when the process is asked to end. */
int termination_fd()
{
    sigset_t signals;
    sigemptyset(&signals);
    for (int signal : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&signals, signal);
    sigprocmask(SIG_BLOCK, &signals, nullptr);
    return signalfd(-1, &signals, SFD_CLOEXEC);
}

/** Standard input, with a prompt where somebody sits in front of it. */
std::unique_ptr<emu::LineInput> standard_input()
{
    if (isatty(STDIN_FILENO) == 1 && isatty(STDOUT_FILENO) == 1) return std::make_unique<emu::EditedInput>();
    return std::make_unique<emu::PlainInput>(STDIN_FILENO);
}

/** Whether a program is in one of the folders that a shell looks in. */
bool is_installed(const std::string& program)
{
    const char* path = std::getenv("PATH");
    std::istringstream folders(path != nullptr ? path : "/usr/bin:/bin");
    for (std::string folder; std::getline(folders, folder, ':');)
        if (::access((folder + "/" + program).c_str(), X_OK) == 0) return true;
    return false;
}

int be_the_box(const Options& options)
{
    if (!options.check.empty()) {
        load_and_check(options.check);
        return DONE;
    }
    ::signal(SIGPIPE, SIG_IGN); // whoever read the box's output may be gone: the box goes on
    ::signal(SIGTTIN, SIG_IGN); // in the background it leaves the terminal alone
    ::signal(SIGTTOU, SIG_IGN);
    std::vector<emu::ScenarioStep> steps;
    if (!options.scenario.empty()) steps = load_and_check(options.scenario);
    emu::Box box({.root = options.root, .encoder = options.encoder});
    const std::string socket = options.socket.empty() ? box.root().path() + emu::SOCKET_IN_ROOT : options.socket;
    emu::Server server(box, socket);
    if (options.use_stdin) server.read_commands(standard_input());
    bool refused = false;
    emu::schedule_scenario(box, steps, [&server, &refused](bool ok, const std::string& text) {
        server.print(text);
        refused = refused || !ok;
    });
    server.print("box in " + box.root().path() + ", clients find it with CAPD_BOX=" + socket);
    if (options.encoder == emu::EncoderKind::Ffmpeg && !is_installed("ffmpeg"))
        server.print(
            "ffmpeg is not installed, so nothing can be recorded: install it (apt-get install ffmpeg), or start\n"
            "the box with --encoder bookkeeping, whose recordings only have a size");
    server.run(termination_fd());
    box.encoder().die();
    return refused ? FAILED : DONE;
}

/** Words as one command line. */
std::string join(char** words, int count)
{
    std::string line;
    for (int i = 0; i < count; ++i) {
        if (i > 0) line += ' ';
        line += emu::quote_word(words[i]);
    }
    return line;
}

/** A box gives a sign of life every half second. */
constexpr std::chrono::milliseconds SHORTEST_PATIENCE{1000};

struct ControlOptions {
    std::string socket = emu::default_socket();
    std::chrono::milliseconds patience = emu::default_patience();
};

/** Options stand before the command. @return whether they make sense; what is wrong has been said. */
bool read_control_options(int argc, char** argv, ControlOptions& options)
{
    static constexpr option known[] = {{"socket", required_argument, nullptr, 's'},
                                       {"timeout", required_argument, nullptr, 't'},
                                       {"help", no_argument, nullptr, 'h'},
                                       {nullptr, 0, nullptr, 0}};
    for (int letter; (letter = getopt_long(argc, argv, "+h", known, nullptr)) != -1;) {
        char* end = nullptr;
        switch (letter) {
        case 's': options.socket = optarg; break;
        case 't':
            options.patience = std::chrono::milliseconds(static_cast<long>(1000 * std::strtod(optarg, &end)));
            if (*end == '\0' && options.patience >= SHORTEST_PATIENCE && options.patience < std::chrono::hours(24))
                break;
            std::fprintf(stderr, "boxemu ctl: --timeout '%s' is no number of seconds from 1 on\n", optarg);
            return false;
        case 'h': std::fputs(HELP, stdout); std::exit(DONE);
        default: return false;
        }
    }
    options.patience = std::max(options.patience, SHORTEST_PATIENCE);
    if (optind == argc) std::fprintf(stderr, "boxemu ctl: a command is missing; try help\n");
    return optind < argc;
}

/** Print an answer. @return the exit status that it stands for */
int print_answer(const emu::Message& reply)
{
    namespace result = emu::command_result;
    const bool good = reply.header.number == result::DONE || reply.header.number == result::GOES_ON;
    const std::string text(reply.text());
    std::fprintf(good ? stdout : stderr, "%s%s", text.c_str(), text.empty() || text.ends_with('\n') ? "" : "\n");
    std::fflush(stdout);
    if (good) return DONE;
    return reply.header.number == result::TOO_LATE ? TOO_LATE : FAILED;
}

int control(int argc, char** argv)
{
    ControlOptions options;
    if (!read_control_options(argc, argv, options)) return USAGE;
    const int box = emu::connect_to_box(options.socket, options.patience);
    if (box < 0) {
        std::fprintf(stderr, "boxemu ctl: no box at %s: %s\n", options.socket.c_str(), std::strerror(-box));
        return FAILED;
    }
    emu::Message reply;
    std::error_code unknown; // a folder that is gone: names are then the box's
    const std::string folder = std::filesystem::current_path(unknown).string();
    bool heard =
        emu::send_message(box, {.ask = emu::Ask::Folder}, emu::as_bytes(folder)) && emu::receive_message(box, reply) &&
        emu::send_message(box, {.ask = emu::Ask::Command}, emu::as_bytes(join(argv + optind, argc - optind))) &&
        emu::receive_message(box, reply);
    while (heard && reply.header.number == emu::command_result::GOES_ON) {
        print_answer(reply);
        heard = emu::receive_message(box, reply);
    }
    if (heard) return print_answer(reply);
    std::fprintf(stderr, "boxemu ctl: the box at %s %s\n", options.socket.c_str(),
                 errno == ETIMEDOUT ? "does not answer" : "is gone");
    return FAILED;
}

} // namespace

int main(int argc, char** argv)
{
    try {
        if (argc > 1 && std::strcmp(argv[1], "ctl") == 0) {
            static char name[] = "boxemu ctl";
            argv[1] = name; // as getopt's messages call it
            return control(argc - 1, argv + 1);
        }
        Options options;
        if (!read_options(argc, argv, options)) return USAGE;
        return be_the_box(options);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "boxemu: %s\n", error.what());
        return FAILED;
    }
}
