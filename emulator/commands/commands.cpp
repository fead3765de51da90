#include "emulator/commands/commands.h"

#include "emulator/base/host_files.h"

#include <algorithm>
#include <cctype>
#include <nlohmann/json.hpp>

namespace emu {

CommandTable::CommandTable()
{
    add("help", "[COMMAND]   list the commands, or say what one does",
        [this](Args& args) { return help_command(args); });
    add("show", "[SECTION] [--json]   what a person would see; all sections, or one",
        [this](Args& args) { return show(args); });
}

void CommandTable::add(const std::string& name, const std::string& usage, Handler handler)
{
    commands_[name] = {usage, std::move(handler)};
}

void CommandTable::add_action(const std::string& name, const std::string& usage, const std::function<void()>& action)
{
    add(name, usage, [action](Args& args) {
        args.end();
        action();
        return Reply{};
    });
}

void CommandTable::add_switch(const std::string& name, const std::string& usage,
                              const std::function<void(bool)>& action)
{
    add(name, usage, [action](Args& args) {
        const bool on = args.on_off();
        args.end();
        action(on);
        return Reply{};
    });
}

void CommandTable::add_number(const std::string& name, const std::string& usage, const Range& range,
                              const std::function<void(long long)>& action)
{
    add(name, usage, [range, action](Args& args) {
        const long long number = args.number(range.what, range.low, range.high);
        args.end();
        action(number);
        return Reply{};
    });
}

void CommandTable::add_show(const std::string& section, std::function<std::string()> text)
{
    sections_.push_back({section, std::move(text)});
}

void CommandTable::add_facts(const std::string& section, std::function<Json()> facts)
{
    facts_[section] = std::move(facts);
}

Json CommandTable::facts(const std::string& section) const
{
    const auto found = facts_.find(section);
    return found == facts_.end() ? Json() : found->second();
}

Reply CommandTable::show(Args& args) const
{
    std::vector<std::string> names;
    for (const Section& section : sections_) names.push_back(section.name);
    bool json = args.optional("--json");
    const std::string wanted = args.more() ? args.choice(names) : std::string();
    json = args.optional("--json") || json;
    args.end();
    std::string text;
    Json all = Json::object();
    for (const Section& section : sections_) {
        if (!wanted.empty() && section.name != wanted) continue;
        if (json)
            all[section.name] = facts(section.name);
        else
            text += (wanted.empty() ? "-- " + section.name + "\n" : "") + section.text();
    }
    // A name on the card need not be UTF-8; what is not shows as a replacement character.
    if (json) text = (wanted.empty() ? all : all[wanted]).dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
    return {true, text};
}

Reply CommandTable::dispatch(std::vector<std::string> words, const std::string& line, const Caller& caller) const
{
    auto found = words.size() > 1 ? commands_.find(words[0] + " " + words[1]) : commands_.end();
    const size_t taken = found != commands_.end() ? 2 : 1;
    if (found == commands_.end()) found = commands_.find(words[0]);
    if (found == commands_.end()) refuse_unknown(words);
    Args args(std::move(words), taken, line, caller);
    return found->second.handler(args);
}

Reply CommandTable::run(std::string_view line, const Caller& caller) const
{
    constexpr size_t quoted = 200; // letters of the line that an error repeats
    while (!line.empty() && std::isspace(static_cast<unsigned char>(line.back())) != 0) line.remove_suffix(1);
    const std::string place = std::string(line.substr(0, quoted)) + (line.size() > quoted ? "..." : "");
    try {
        if (line.find('\0') != std::string_view::npos) throw CommandError("holds a byte 0");
        std::vector<std::string> words = split_words(line);
        if (words.empty() || words[0].starts_with("#")) return {};
        return dispatch(std::move(words), place, caller);
    } catch (const NotNow& error) {
        return {false, place + ": " + error.what(), Reply::Kind::NotNow};
    } catch (const std::filesystem::filesystem_error& error) {
        return {false, place + ": " + file_error(error)};
    } catch (const std::exception& error) {
        return {false, place + ": " + error.what()};
    }
}

std::vector<std::string> CommandTable::names() const
{
    std::vector<std::string> names;
    for (const auto& [name, command] : commands_) names.push_back(name);
    return names;
}

std::string CommandTable::help(const std::string& begin) const
{
    std::string text;
    for (const auto& [name, command] : commands_)
        if (begin.empty() || name == begin || name.starts_with(begin + " ")) text += name + " " + command.usage + "\n";
    return text;
}

Reply CommandTable::help_command(Args& args) const
{
    std::vector<std::string> words;
    while (args.more()) words.push_back(args.word(""));
    if (words.empty()) return {true, help()};
    std::string text = words.size() > 1 ? help(words[0] + " " + words[1]) : std::string();
    if (text.empty()) text = help(words[0]);
    if (text.empty()) refuse_unknown({words[0]});
    return {true, text};
}

namespace {

/** The words of a usage that are typed as they stand; on each of its lines a description follows behind three blanks.
 */
std::vector<std::string> literal_words(std::string_view usage)
{
    std::vector<std::string> words(1);
    while (!usage.empty()) {
        const std::string_view line = usage.substr(0, usage.find('\n'));
        usage.remove_prefix(std::min(usage.size(), line.size() + 1));
        const size_t from = std::min(line.size(), line.find_first_not_of(' '));
        for (const char c : line.substr(from, line.find("   ", from) - from)) {
            const bool part = std::islower(static_cast<unsigned char>(c)) != 0 || std::isdigit(c) != 0 || c == '-';
            if (part)
                words.back() += c;
            else if (!words.back().empty())
                words.emplace_back();
        }
        words.emplace_back();
    }
    return words;
}

} // namespace

/** Say to which command a word belongs, or the nearest one that belongs to any; empty when none is near. */
std::string CommandTable::owner_of(const std::string& word) const
{
    const auto explain = [](const std::string& part, const std::string& name) {
        return "'" + part + "' is part of " + name + "; try help " + name;
    };
    std::string nearest;
    for (const auto& [name, command] : commands_) {
        const std::vector<std::string> words = literal_words(command.usage);
        if (std::find(words.begin(), words.end(), word) != words.end()) return explain(word, name);
        const std::string near = nearest_word(word, words);
        if (nearest.empty() && !near.empty()) nearest = explain(near, name);
    }
    return nearest;
}

/** Say what there is instead, and where a word belongs that is part of another command. */
void CommandTable::refuse_unknown(const std::vector<std::string>& words) const
{
    std::vector<std::string> first, second;
    for (const auto& [name, command] : commands_) {
        const size_t blank = name.find(' ');
        if (first.empty() || first.back() != name.substr(0, blank)) first.push_back(name.substr(0, blank));
        if (blank != std::string::npos && name.substr(0, blank) == words[0]) second.push_back(name.substr(blank + 1));
    }
    const Caller nobody;
    Args args(words, second.empty() ? 0 : 1, {}, nobody);
    if (!second.empty()) args.choice(second);
    args.word("a command");
    const std::string near = nearest_word(words[0], first), owner = near.empty() ? owner_of(words[0]) : "";
    std::string hint = "there are";
    for (const std::string& name : first) hint += (name == first.front() ? " " : ", ") + name;
    if (!near.empty()) hint = "did you mean '" + near + "'?";
    if (!owner.empty()) hint = owner;
    args.refuse("no such command; " + hint);
}

} // namespace emu
