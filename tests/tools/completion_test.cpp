#include "tests/tools/tool.h"

#include <algorithm>
#include <regex>
#include <set>

namespace {

using Words = std::set<std::string>;

/** What bash offers at the end of a command line. */
Words completions(const std::string& line)
{
    const std::string script = "source '" BOXTOOL_COMPLETION "'; COMP_WORDS=(boxtool " + line +
                               "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _boxtool; printf '%s\\n' \"${COMPREPLY[@]}\"";
    FILE* pipe = popen(("exec bash -c \"$(cat <<'END'\n" + script + "\nEND\n)\"").c_str(), "re");
    std::string text;
    for (int c = std::fgetc(pipe); c != EOF; c = std::fgetc(pipe)) text += static_cast<char>(c);
    EXPECT_EQ(pclose(pipe), 0);
    std::istringstream lines(text);
    Words words;
    for (std::string word; lines >> word;) words.insert(word);
    return words;
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
    EXPECT_EQ(completions(command + " -"), listed(command, "(--[a-z]+)(?= |$)"));
}

// Catches: a command or option that was added, renamed or removed in one of the two places only.
TEST(BoxtoolCompletion, OffersWhatTheHelpLists)
{
    const Words groups = commands_of("");
    EXPECT_GE(groups.size(), 16u);
    EXPECT_EQ(completions("''"), groups);
    for (const std::string& group : groups) {
        const Words commands = commands_of(group);
        EXPECT_EQ(completions(group + " ''"), commands);
        if (commands.empty()) check_options(group);
        for (const std::string& command : commands) check_options(group + " " + command);
    }
    EXPECT_EQ(completions("--json video-p"), Words{"video-property"});
    EXPECT_EQ(completions("edid compare --display d"), completions("edid write d")) << "file names";
}

} // namespace
