#include "tools/edid_image.h"

#include <algorithm>
#include <cctype>
#include <charconv>

namespace boxtool {

namespace {

constexpr size_t LONGEST_TEXT = 65536;

// Between these two edid-decode repeats the bytes that it was given.
constexpr std::string_view DECODE_HEADING = "edid-decode (hex):";
constexpr std::string_view DECODE_RULE = "----";

bool is_text(std::span<const uint8_t> bytes)
{
    return std::all_of(bytes.begin(), bytes.end(),
                       [](uint8_t c) { return std::isprint(c) != 0 || std::isspace(c) != 0; });
}

bool is_between(char c)
{
    return c == ',' || std::isspace(static_cast<unsigned char>(c)) != 0;
}

/** Append the bytes of a word of hexadecimal digits. @return whether it is one */
bool append_word(Bytes& bytes, std::string_view word)
{
    if (word.starts_with("0x") || word.starts_with("0X")) word.remove_prefix(2);
    if (word.size() % 2 != 0) return false;
    for (; !word.empty(); word.remove_prefix(2)) {
        uint8_t byte = 0;
        const auto [end, error] = std::from_chars(word.data(), word.data() + 2, byte, 16);
        if (error != std::errc() || end != word.data() + 2) return false;
        bytes.push_back(byte);
    }
    return true;
}

Bytes parse_text(const std::string& path, std::string_view text)
{
    if (const size_t heading = text.find(DECODE_HEADING); heading != std::string_view::npos) {
        text.remove_prefix(heading + DECODE_HEADING.size());
        text = text.substr(0, text.find(DECODE_RULE));
    }
    Bytes bytes;
    while (!text.empty()) {
        const auto length = static_cast<size_t>(std::find_if(text.begin(), text.end(), is_between) - text.begin());
        const std::string_view word = text.substr(0, length);
        if (!append_word(bytes, word))
            throw UsageError(format("%s: is text, and '%s' in it is no hexadecimal byte", path.c_str(),
                                    std::string(word.substr(0, 20)).c_str()));
        text.remove_prefix(std::min(text.size(), length + 1));
    }
    return bytes;
}

} // namespace

Bytes read_edid_file(const std::string& path)
{
    Bytes bytes = read_file(path, LONGEST_TEXT);
    if (is_text(bytes)) bytes = parse_text(path, {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    if (bytes.size() != EDID_BLOCK_SIZE && bytes.size() != 2 * EDID_BLOCK_SIZE)
        throw UsageError(format("%s: has %zu bytes; an EDID of 128 or 256 is needed", path.c_str(), bytes.size()));
    return bytes;
}

size_t edid_blocks(std::span<const uint8_t> edid, size_t most)
{
    return std::min<size_t>(1U + edid[capd::EDID_EXTENSION_COUNT], most);
}

std::string edid_faults(std::span<const uint8_t> edid, size_t most)
{
    std::string faults;
    const auto add = [&faults](const std::string& fault) { faults += (faults.empty() ? "" : ", ") + fault; };
    if (!std::equal(capd::EDID_HEADER.begin(), capd::EDID_HEADER.end(), edid.begin())) add("no EDID header");
    const size_t there = edid.size() / EDID_BLOCK_SIZE;
    const size_t counted = edid_blocks(edid, most);
    for (size_t block = 0; block < std::min(there, counted); ++block)
        if (!capd::edid_sum_is_right(edid.subspan(block * EDID_BLOCK_SIZE).first<EDID_BLOCK_SIZE>()))
            add(format("block %zu has a wrong checksum", block));
    for (size_t block = there; block < counted; ++block) add(format("block %zu is missing", block));
    return faults;
}

std::string edid_verdict(const std::string& faults)
{
    return faults.empty() ? "header and checksums are right" : faults;
}

} // namespace boxtool
