/**
 * @file
 * boxemu: the emulated box as a process of its own, and its remote hand, "boxemu ctl".
 */
#include "emulator/protocol.h"
#include "emulator/scenario.h"
#include "emulator/server/server.h"

#include <csignal>
#include <cstdio>
#include <cstring>
#include <getopt.h>
#include <stdexcept>
#include <string>
#include <sys/signalfd.h>
#include <unistd.h>

namespace {

constexpr int DONE = 0, FAILED = 1, USAGE = 2;

constexpr const char* HELP =
    "boxemu [OPTIONS]                   be the box\n"
    "  --root DIR                       its root file system, filled when it is empty; /tmp/capd-box\n"
    "  --socket PATH                    where clients find it; run/box.sock in the root\n"
    "  --scenario FILE                  let happen what the file says: SECONDS COMMAND in each line\n"
    "  --check FILE                     only check such a file\n"
    "  --encoder ffmpeg|bookkeeping     write real files, or files that only have a size; ffmpeg\n"
    "  --stdin                          take commands from standard input even where it is no terminal\n"
    "boxemu ctl [--socket PATH] COMMAND...   give a box a command; \"help\" lists them. The box is that of $CAPD_BOX.\n"
    "Exit status: 0 done, 1 failed or refused, 2 wrong usage.\n";

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

int be_the_box(const Options& options)
{
    if (!options.check.empty()) {
        load_and_check(options.check);
        return DONE;
    }
    std::vector<emu::ScenarioStep> steps;
    if (!options.scenario.empty()) steps = load_and_check(options.scenario);
    emu::Box box({.root = options.root, .encoder = options.encoder});
    const std::string socket = options.socket.empty() ? box.root().path() + emu::SOCKET_IN_ROOT : options.socket;
    emu::Server server(box, socket);
    emu::schedule_scenario(box, steps, [](bool ok, const std::string& text) {
        std::FILE* out = ok ? stdout : stderr;
        std::fprintf(out, "%s%s", text.c_str(), text.empty() || text.ends_with('\n') ? "" : "\n");
        std::fflush(out);
    });
    if (options.use_stdin) server.read_commands(STDIN_FILENO);
    std::printf("box in %s, clients find it with CAPD_BOX=%s\n", box.root().path().c_str(), socket.c_str());
    std::fflush(stdout);
    server.run(termination_fd());
    box.encoder().die();
    return DONE;
}

/** Words as one command line; those with blanks are quoted again. */
std::string join(char** words, int count)
{
    std::string line;
    for (int i = 0; i < count; ++i) {
        const std::string word = words[i];
        const bool quote = word.empty() || word.find_first_of(" \t") != std::string::npos;
        line += (i == 0 ? "" : " ") + (quote ? '"' + word + '"' : word);
    }
    return line;
}

int control(int argc, char** argv)
{
    std::string socket = emu::default_socket();
    int first = 1;
    if (argc > 2 && std::strcmp(argv[1], "--socket") == 0) {
        socket = argv[2];
        first = 3;
    }
    if (first >= argc) {
        std::fprintf(stderr, "boxemu ctl: a command is missing; try help\n");
        return USAGE;
    }
    const int box = emu::connect_to_box(socket);
    if (box < 0) {
        std::fprintf(stderr, "boxemu ctl: no box at %s: %s\n", socket.c_str(), std::strerror(-box));
        return FAILED;
    }
    emu::Message reply;
    const std::string line = join(argv + first, argc - first);
    if (!emu::send_message(box, {.ask = emu::Ask::Command}, emu::as_bytes(line)) || !emu::receive_message(box, reply)) {
        std::fprintf(stderr, "boxemu ctl: the box is gone\n");
        return FAILED;
    }
    const std::string text(reply.text());
    std::fprintf(reply.header.number == 0 ? stdout : stderr, "%s%s", text.c_str(),
                 text.empty() || text.ends_with('\n') ? "" : "\n");
    return reply.header.number == 0 ? DONE : FAILED;
}

} // namespace

int main(int argc, char** argv)
{
    try {
        if (argc > 1 && std::strcmp(argv[1], "ctl") == 0) return control(argc - 1, argv + 1);
        Options options;
        if (!read_options(argc, argv, options)) return USAGE;
        return be_the_box(options);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "boxemu: %s\n", error.what());
        return FAILED;
    }
}
