#include "emulator/commands.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdlib>

namespace emu {

std::vector<std::string> split_words(std::string_view line)
{
    std::vector<std::string> words;
    bool in_word = false, quoted = false;
    for (char c : line) {
        const bool blank = c == ' ' || c == '\t' || c == '\r' || c == '\n';
        if (blank && !quoted) {
            in_word = false;
            continue;
        }
        if (!in_word) words.emplace_back();
        in_word = true;
        if (c == '"')
            quoted = !quoted;
        else
            words.back() += c;
    }
    if (quoted) throw CommandError("a quote is not closed");
    return words;
}

void Args::refuse(const std::string& why) const
{
    throw CommandError("word " + std::to_string(next_) + " '" + words_.at(next_ - 1) + "': " + why);
}

std::string Args::word(std::string_view what)
{
    if (!more()) throw CommandError("word " + std::to_string(next_ + 1) + " is missing: " + std::string(what));
    return words_[next_++];
}

long long Args::as_number(const std::string& word, long long low, long long high) const
{
    errno = 0;
    char* end = nullptr;
    const long long value = std::strtoll(word.c_str(), &end, 0);
    if (word.empty() || *end != '\0') refuse("is not a number");
    if (errno != 0 || value < low || value > high)
        refuse("is not between " + std::to_string(low) + " and " + std::to_string(high));
    return value;
}

long long Args::number(std::string_view what, long long low, long long high)
{
    return as_number(word(what), low, high);
}

double Args::fraction(std::string_view what, double low, double high)
{
    const std::string text = word(what);
    char* end = nullptr;
    const double value = std::strtod(text.c_str(), &end);
    if (text.empty() || *end != '\0' || !std::isfinite(value)) refuse("is not a number");
    if (value < low || value > high) refuse("is not between " + std::to_string(low) + " and " + std::to_string(high));
    return value;
}

std::string Args::choice(const std::vector<std::string>& allowed)
{
    std::string list;
    for (const std::string& one : allowed) list += (list.empty() ? "" : ", ") + one;
    std::string text = word(list);
    if (std::find(allowed.begin(), allowed.end(), text) == allowed.end()) refuse("expected " + list);
    return text;
}

bool Args::optional(std::string_view expected)
{
    if (peek() != expected) return false;
    ++next_;
    return true;
}

void Args::end() const
{
    if (more()) throw CommandError("word " + std::to_string(next_ + 1) + " '" + words_[next_] + "' is one too many");
}

CommandTable::CommandTable()
{
    add("help", "  list the commands", [this](Args& args) {
        args.end();
        return Reply{true, help()};
    });
    add("show", "[SECTION]   what a person would see; all sections, or one", [this](Args& args) { return show(args); });
}

void CommandTable::add(const std::string& name, const std::string& usage, Handler handler)
{
    commands_[name] = {usage, std::move(handler)};
}

void CommandTable::add_show(const std::string& section, std::function<std::string()> text)
{
    sections_.emplace_back(section, std::move(text));
}

Reply CommandTable::show(Args& args) const
{
    if (!args.more()) {
        std::string text;
        for (const auto& [name, section] : sections_) text += "-- " + name + "\n" + section();
        return {true, text};
    }
    std::vector<std::string> names;
    for (const auto& section : sections_) names.push_back(section.first);
    const std::string wanted = args.choice(names);
    args.end();
    const auto found = std::find(names.begin(), names.end(), wanted);
    return {true, sections_[static_cast<size_t>(found - names.begin())].second()};
}

Reply CommandTable::run(std::string_view line) const
{
    try {
        std::vector<std::string> words = split_words(line);
        if (words.empty() || words[0].starts_with("#")) return {};
        auto found = words.size() > 1 ? commands_.find(words[0] + " " + words[1]) : commands_.end();
        const size_t taken = found != commands_.end() ? 2 : 1;
        if (found == commands_.end()) found = commands_.find(words[0]);
        if (found == commands_.end()) throw CommandError("word 1 '" + words[0] + "': no such command; try help");
        Args args(std::move(words), taken);
        return found->second.handler(args);
    } catch (const NotNow& error) {
        return {false, std::string(line) + ": " + error.what(), true};
    } catch (const CommandError& error) {
        return {false, std::string(line) + ": " + error.what()};
    }
}

std::string CommandTable::help() const
{
    std::string text;
    for (const auto& [name, command] : commands_) text += name + " " + command.usage + "\n";
    return text;
}

} // namespace emu
