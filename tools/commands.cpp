#include "tools/commands.h"

#include <CLI/CLI.hpp>
#include <bit>
#include <charconv>

namespace boxtool {

namespace {

/** Read a number, decimal or 0x; a leading 0 means nothing. */
std::optional<long long> parse_number(std::string_view text)
{
    const bool negative = text.starts_with('-');
    if (negative) text.remove_prefix(1);
    const bool hex = text.starts_with("0x") || text.starts_with("0X");
    if (hex) text.remove_prefix(2);
    long long value = 0;
    if (text.empty() || text.front() == '-') return std::nullopt;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, hex ? 16 : 10);
    if (end != text.data() + text.size() || error == std::errc::invalid_argument) return std::nullopt;
    if (error == std::errc::result_out_of_range) value = INT64_MAX; // outside every range
    return negative ? -value : value;
}

std::string describe(const Range& range)
{
    std::string text = range.power_of_two ? "a power of two "
                       : range.step != 1  ? format("a multiple of %lld ", range.step)
                                          : "";
    text += format("between %lld and %lld", range.low, range.high);
    if (range.low >= 0 && range.high > 9) text += format(" (0x%llx)", static_cast<unsigned long long>(range.high));
    return text;
}

bool allows(const Range& range, long long value)
{
    if (value < range.low || value > range.high || value % range.step != 0) return false;
    return !range.power_of_two || std::has_single_bit(static_cast<unsigned long long>(value));
}

long long number_in(const char* name, const Range& range, const std::string& text)
{
    const std::optional<long long> value = parse_number(text);
    if (!value) throw UsageError(format("%s: '%s' is not a number, decimal or 0x", name, text.c_str()));
    if (!allows(range, *value))
        throw UsageError(format("%s: %s is not %s", name, text.c_str(), describe(range).c_str()));
    return *value;
}

std::string type_name(const Range& range)
{
    if (range.low < 0) return format("%lld..%lld", range.low, range.high);
    return format(range.high > 99 ? "%lld..0x%llx" : "%lld..%lld", range.low, range.high);
}

void check_length(const char* name, const std::string& text, size_t shortest, size_t longest)
{
    if (text.size() >= shortest && text.size() <= longest) return;
    throw UsageError(format("%s: %zu characters are not between %zu and %zu", name, text.size(), shortest, longest));
}

bool is_option(const char* name)
{
    return name[0] == '-';
}

} // namespace

Command::Command(CLI::App& app, unsigned traits, Command*& chosen) : app_(app), traits_(traits)
{
    app.add_flag("--json", wishes_.json, "Give values and errors as JSON on standard output");
    app.add_flag("-v,--verbose", wishes_.verbose, "Show on standard error what the box's modules print");
    if (is(ASKS)) take_yes();
    app.callback([this, &chosen] {
        if (verify_) verify_();
        chosen = this;
    });
}

void Command::add_number(const char* name, const Range& range, const char* help, bool required, const Take& take)
{
    app_.add_option_function<std::string>(
            name, [=](const std::string& given) { take(number_in(name, range, given)); }, help)
        ->required(required)
        ->type_name(type_name(range));
}

void Command::add_numbers(const char* name, const Range& range, int most, const char* help, bool required,
                          const Take& take)
{
    const auto take_all = [=](const std::vector<std::string>& given) {
        if (given.size() > static_cast<size_t>(most))
            throw UsageError(format("%s: %zu are not between 1 and %d", name, given.size(), most));
        for (const std::string& one : given) take(number_in(name, range, one));
    };
    app_.add_option_function<std::vector<std::string>>(name, take_all, help)
        ->required(required)
        ->type_name(type_name(range));
}

std::shared_ptr<const std::string> Command::text(const char* name, size_t shortest, size_t longest, const char* help)
{
    auto value = std::make_shared<std::string>();
    const auto take = [=](const std::string& given) {
        check_length(name, given, shortest, longest);
        *value = given;
    };
    app_.add_option_function<std::string>(name, take, help)->required(!is_option(name))->type_name("TEXT");
    return value;
}

void Command::take_yes()
{
    if (app_.get_option_no_throw("--yes") == nullptr) app_.add_flag("-y,--yes", wishes_.yes, "Do it without asking");
}

std::shared_ptr<const std::string> Command::file(const char* name, bool required, const char* help)
{
    auto value = std::make_shared<std::string>();
    app_.add_option(name, *value, help)->required(required)->type_name("FILE");
    return value;
}

std::shared_ptr<const std::string> Command::output_file(const char* name, bool required, const char* help,
                                                        const char* left_out)
{
    auto value = std::make_shared<std::string>(left_out);
    app_.add_option(name, *value, help)->required(required)->type_name("FILE");
    outputs_.push_back(value);
    take_yes();
    return value;
}

std::shared_ptr<const bool> Command::flag(const char* name, const char* help)
{
    auto value = std::make_shared<bool>(false);
    app_.add_flag(name, *value, help);
    return value;
}

void Command::execute(Session& session) const
{
    if (is(ASKS)) session.need_answers();
    for (const auto& path : outputs_)
        if (!path->empty()) session.may_write(*path);
    if (is(DEVICE)) open_device();
    action_(session);
    session.finish();
}

CLI::App& Commands::group(const char* name, const char* help, const char* heading)
{
    CLI::App* app = root_.add_subcommand(name, help);
    app->group(heading);
    app->require_subcommand(1);
    return *app;
}

Command& Commands::add(CLI::App& group, const char* name, const char* help, unsigned traits)
{
    CLI::App* app = group.add_subcommand(name, help);
    app->group("Commands");
    return commands_.emplace_back(*app, traits, chosen_);
}

Command& Commands::add(const char* name, const char* help, const char* heading, unsigned traits)
{
    Command& command = add(root_, name, help, traits);
    root_.get_subcommand(name)->group(heading);
    return command;
}

} // namespace boxtool
