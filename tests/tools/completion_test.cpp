#include "tests/tools/tool.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <poll.h>
#include <pty.h>
#include <regex>
#include <set>
#include <sys/wait.h>

namespace {

using Words = std::set<std::string>;

/** What bash offers at the end of a command line. */
Words completions(const std::string& script, const std::string& line)
{
    const std::string program = line.substr(0, line.find(' '));
    const std::string commands = "source '" COMPLETION_ROOT "/" + script + "'; COMP_WORDS=(" + line +
                                 "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _" + program +
                                 "; printf '%s\\n' \"${COMPREPLY[@]}\"";
    FILE* pipe = popen(("exec bash -c \"$(cat <<'END'\n" + commands + "\nEND\n)\"").c_str(), "re");
    std::string text;
    for (int c = std::fgetc(pipe); c != EOF; c = std::fgetc(pipe)) text += static_cast<char>(c);
    EXPECT_EQ(pclose(pipe), 0);
    std::istringstream lines(text);
    Words words;
    for (std::string word; lines >> word;) words.insert(word);
    return words;
}

Words of_boxtool(const std::string& line)
{
    return completions("tools/boxtool.bash", "boxtool " + line);
}

/** Words that a help text lists: the commands, or the long options. */
Words listed(const std::string& command, const char* pattern)
{
    const std::string help = bench::tool(command + " --help").out;
    const std::regex expression(pattern, std::regex::multiline);
    Words words;
    for (std::sregex_iterator match(help.begin(), help.end(), expression), end; match != end; ++match)
        words.insert((*match)[1]);
    return words;
}

Words commands_of(const std::string& command)
{
    return listed(command, "^  ([a-z][a-z0-9-]*) {3,}[A-Z]");
}

void check_options(const std::string& command)
{
    SCOPED_TRACE(command);
    EXPECT_EQ(of_boxtool(command + " -"), listed(command, "(--[a-z][a-z-]*)(?= |,|$)"));
}

// Catches: a command or option that was added, renamed or removed in one of the two places only.
TEST(BoxtoolCompletion, OffersWhatTheHelpLists)
{
    const Words groups = commands_of("");
    EXPECT_GE(groups.size(), 16u);
    EXPECT_EQ(of_boxtool("''"), groups);
    for (const std::string& group : groups) {
        const Words commands = commands_of(group);
        EXPECT_EQ(of_boxtool(group + " ''"), commands);
        if (commands.empty()) check_options(group);
        for (const std::string& command : commands) check_options(group + " " + command);
    }
    EXPECT_EQ(of_boxtool("--json video-p"), Words{"video-property"});
}

/** A shell of its own that somebody types into. */
class TypedShell {
public:
    TypedShell()
    {
        child_ = forkpty(&fd_, nullptr, nullptr, nullptr);
        if (child_ == 0) {
            setenv("TERM", "dumb", 1);
            execlp("bash", "bash", "--norc", "--noprofile", "-i", nullptr);
            _exit(127);
        }
    }
    ~TypedShell()
    {
        close(fd_);
        waitpid(child_, nullptr, 0);
    }
    TypedShell(const TypedShell&) = delete;
    TypedShell& operator=(const TypedShell&) = delete;

    /** Type keys, and give what is shown until a mark is. */
    std::string type(const std::string& keys, const std::string& mark) const
    {
        EXPECT_EQ(write(fd_, keys.data(), keys.size()), std::ssize(keys));
        std::string shown;
        for (char c = 0; !shown.ends_with(mark) && read(fd_, &c, 1) == 1;) shown += c;
        return shown;
    }

private:
    int fd_ = -1;
    pid_t child_ = -1;
};

// Catches: a name with a blank that is offered as two words or not at all, and words in the place of names.
TEST(BoxtoolCompletion, FileNamesKeepTheirBlanks)
{
    static const struct {
        const char* typed; ///< up to the tab key
        const char* words; ///< what the program gets
    } cases[] = {
        {"edid write my\\ d", "<edid><write><my display.bin>"},
        {"edid write 'my d", "<edid><write><my display.bin>"},
        {"edid compare --display=x othe", "<edid><compare><--display=x><other.bin>"},
        {"output edid --file othe", "<output><edid><--file><other.bin>"},
        {"dma read 0 4 --file=oth", "<dma><read><0><4><--file=other.bin>"},
        {"mem dum", "<mem><dump>"},
    };
    const std::string folder = bench::scratch("completed names");
    std::filesystem::create_directories(folder);
    for (const char* name : {"my display.bin", "other.bin"}) std::ofstream(folder + "/" + name) << "x";
    const TypedShell shell;
    shell.type("cd '" + folder +
                   "'; source '" COMPLETION_ROOT "/tools/boxtool.bash'; boxtool() { printf '<%s>' \"$@\"; "
                   "echo .; }; echo rea''dy\n",
               "ready\r\n");
    for (const auto& c : cases) {
        SCOPED_TRACE(c.typed);
        const std::string shown = shell.type(std::string("boxtool ") + c.typed + "\t\n", ">.\r\n");
        EXPECT_NE(shown.find(c.words), std::string::npos) << shown;
    }
    std::filesystem::remove_all(folder);
}

// Catches: a command of the box that cannot be completed, and another's words after it.
TEST(BoxemuCompletion, OffersWhatTheBoxUnderstands)
{
    const std::string help = bench::ask("help"), folder = bench::scratch("completion");
    std::filesystem::create_directories(folder);
    std::ofstream(folder + "/help") << help;
    std::ofstream(folder + "/boxemu") << "#!/bin/sh\n[ \"$1\" = ctl ] && exec cat '" + folder +
                                             "/help'\necho '  --root DIR  root; --socket PATH'\n";
    std::filesystem::permissions(folder + "/boxemu", std::filesystem::perms::owner_all);
    setenv("PATH", (folder + ":" + std::getenv("PATH")).c_str(), 1);

    Words first;
    std::istringstream lines(help);
    for (std::string line; std::getline(lines, line);)
        if (!line.starts_with(' ')) first.insert(line.substr(0, line.find(' ')));
    EXPECT_GE(first.size(), 10u);
    const auto offered = [](const std::string& line) {
        return completions("emulator/remote/boxemu.bash", "boxemu " + line);
    };
    EXPECT_EQ(offered("ctl ''"), first);
    EXPECT_EQ(offered("ctl --socket x ''"), first);
    EXPECT_EQ(offered("''"), Words{"ctl"});
    EXPECT_EQ(offered("-"), (Words{"--root", "--socket"}));
    EXPECT_EQ(offered("--encoder f"), Words{"ffmpeg"});
    EXPECT_EQ(offered("ctl card pr"), Words{"protect"});
    EXPECT_EQ(offered("ctl card protect ''"), (Words{"on", "off"}));
    EXPECT_EQ(offered("ctl wait input ''"), (Words{"stable", "lost"}));
    EXPECT_EQ(offered("ctl source 0 s"), Words({"sync", "sync-delay"}));
    EXPECT_EQ(offered("ctl key po"), (Words{"port0", "port1", "power"}));
    EXPECT_EQ(offered("ctl memory stuck 5 ''"), (Words{"high", "low"}));
    std::filesystem::remove_all(folder);
}

} // namespace
