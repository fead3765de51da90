#include "emulator/base/host_files.h"
#include "emulator/commands/commands.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <numeric>
#include <utility>

namespace emu {

std::vector<std::string> split_words(std::string_view line)
{
    std::vector<std::string> words;
    bool in_word = false, quoted = false;
    for (size_t at = 0; at < line.size(); ++at) {
        const char c = line[at];
        const bool blank = c == ' ' || c == '\t' || c == '\r' || c == '\n';
        if (blank && !quoted) {
            in_word = false;
            continue;
        }
        if (!in_word) words.emplace_back();
        in_word = true;
        const bool escapes = quoted && c == '\\' && at + 1 < line.size() && (line[at + 1] == '"' || line[at + 1] == c);
        if (escapes)
            words.back() += line[++at];
        else if (c == '"')
            quoted = !quoted;
        else
            words.back() += c;
    }
    if (quoted) throw CommandError("a quote is not closed");
    return words;
}

std::string quote_word(const std::string& word)
{
    if (!word.empty() && word.find_first_of(" \t\r\n\"") == std::string::npos) return word;
    std::string quoted = "\"";
    for (const char c : word) {
        if (c == '"' || c == '\\') quoted += '\\';
        quoted += c;
    }
    return quoted + '"';
}

namespace {

/** Letters to change, add or take away to make one word of another. */
size_t distance(std::string_view a, std::string_view b)
{
    std::vector<size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), size_t{0});
    for (size_t i = 1; i <= a.size(); ++i) {
        size_t diagonal = std::exchange(row[0], i);
        for (size_t j = 1; j <= b.size(); ++j) {
            const size_t swapped = diagonal + (a[i - 1] == b[j - 1] ? 0 : 1);
            diagonal = row[j];
            row[j] = std::min({swapped, row[j] + 1, row[j - 1] + 1});
        }
    }
    return row.back();
}

std::string listed(const std::vector<std::string>& words)
{
    std::string list;
    for (const std::string& one : words) list += (list.empty() ? "" : ", ") + one;
    return list;
}

} // namespace

std::string nearest_word(std::string_view word, const std::vector<std::string>& words)
{
    constexpr size_t longest = 30;
    if (word.size() > longest) return {};
    std::string nearest;
    size_t best = word.size() < 4 ? 2 : 3; // more than one or two letters wrong is another word
    for (const std::string& one : words) {
        const size_t wrong = distance(word, one);
        if (wrong >= best || wrong >= one.size()) continue;
        best = wrong;
        nearest = one;
    }
    return nearest;
}

void Args::refuse(const std::string& why) const
{
    throw CommandError("word " + std::to_string(next_) + " '" + words_.at(next_ - 1) + "': " + why);
}

void Args::refuse_unknown(const std::vector<std::string>& expected) const
{
    const std::string near = expected.size() > 4 ? nearest_word(words_.at(next_ - 1), expected) : std::string();
    refuse((near.empty() ? "" : "did you mean '" + near + "'? ") + "expected " + listed(expected));
}

std::string Args::word(std::string_view what)
{
    if (!more()) throw CommandError("word " + std::to_string(next_ + 1) + " is missing: " + std::string(what));
    return words_[next_++];
}

long long Args::as_number(const std::string& word, long long low, long long high) const
{
    const size_t digits = word.starts_with('-') ? 1 : 0;
    const bool hex = word.compare(digits, 2, "0x") == 0 || word.compare(digits, 2, "0X") == 0;
    const size_t first = digits + (hex ? 2 : 0);
    if (word.find_first_not_of(hex ? "0123456789abcdefABCDEF" : "0123456789", first) != std::string::npos ||
        first >= word.size())
        refuse("is not a number");
    errno = 0;
    const long long value = std::strtoll(word.c_str(), nullptr, hex ? 16 : 10);
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
    if (text.find_first_not_of("0123456789.-") != std::string::npos || end == text.c_str() || *end != '\0')
        refuse("is not a number");
    if (!(value >= low && value <= high)) {
        char range[80];
        std::snprintf(range, sizeof range, "is not between %g and %g", low, high);
        refuse(range);
    }
    return value;
}

std::string Args::choice(const std::vector<std::string>& allowed)
{
    std::string text = word(listed(allowed));
    if (std::find(allowed.begin(), allowed.end(), text) == allowed.end()) refuse_unknown(allowed);
    return text;
}

bool Args::optional(std::string_view expected)
{
    if (peek() != expected || !more()) return false;
    ++next_;
    return true;
}

std::string Args::in_folder(const std::string& name) const
{
    if (name.empty()) refuse("is no file name");
    return (std::filesystem::path(caller_.folder) / name).string();
}

std::string Args::file(std::string_view what)
{
    return in_folder(word(what));
}

std::string Args::read_file(const std::string& name, size_t limit) const
{
    try {
        return read_host_file(name, limit);
    } catch (const HostFileError& error) {
        refuse(error.what());
    }
}

void Args::write_file(const std::string& name, std::string_view bytes) const
{
    if (!caller_.rehearsal) write_host_file(name, bytes);
}

void Args::end() const
{
    if (more()) throw CommandError("word " + std::to_string(next_ + 1) + " '" + words_[next_] + "' is one too many");
}

} // namespace emu
