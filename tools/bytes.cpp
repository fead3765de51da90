#include "tools/bytes.h"

#include "tools/session.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <numeric>

namespace boxtool {

namespace {

constexpr size_t BYTES_PER_LINE = 16;
constexpr std::array<uint8_t, 8> EDID_HEADER = {0x00, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0x00};

struct CloseFile {
    void operator()(FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<FILE, CloseFile>;

} // namespace

std::string hex_dump(std::span<const uint8_t> bytes, unsigned first_offset)
{
    std::string text;
    for (size_t i = 0; i < bytes.size(); ++i) {
        if (i % BYTES_PER_LINE == 0) text += format(i == 0 ? "%02zx:" : "\n%02zx:", first_offset + i);
        text += format(" %02x", bytes[i]);
    }
    return text + "\n";
}

std::string hex_digits(std::span<const uint8_t> bytes)
{
    std::string text;
    for (uint8_t byte : bytes) text += format("%02x", byte);
    return text;
}

Bytes read_file(const std::string& path, size_t least, size_t most)
{
    const File file(std::fopen(path.c_str(), "rbe"));
    Bytes bytes(most + 1);
    if (file == nullptr) throw UsageError(path + ": " + std::strerror(errno));
    bytes.resize(std::fread(bytes.data(), 1, bytes.size(), file.get()));
    if (std::ferror(file.get()) != 0) throw UsageError(path + ": " + std::strerror(errno));
    if (bytes.size() > most) throw UsageError(format("%s: has more than %zu bytes", path.c_str(), most));
    if (bytes.size() < least)
        throw UsageError(format("%s: has %zu bytes, %zu are needed", path.c_str(), bytes.size(), least));
    return bytes;
}

void write_file(const std::string& path, std::span<const uint8_t> bytes)
{
    File file(std::fopen(path.c_str(), "wbe"));
    if (file == nullptr) refuse(path);
    if (std::fwrite(bytes.data(), 1, bytes.size(), file.get()) != bytes.size()) refuse(path);
    if (std::fclose(file.release()) != 0) refuse(path);
}

Bytes bytes_of(std::span<const uint32_t> words)
{
    Bytes bytes;
    for (uint32_t word : words)
        for (unsigned shift = 0; shift < 32; shift += 8) bytes.push_back(static_cast<uint8_t>(word >> shift));
    return bytes;
}

std::vector<uint32_t> words_of(std::span<const uint8_t> bytes)
{
    std::vector<uint32_t> words(bytes.size() / 4);
    for (size_t i = 0; i < words.size() * 4; ++i) words[i / 4] |= static_cast<uint32_t>(bytes[i]) << (i % 4 * 8);
    return words;
}

std::string edid_faults(std::span<const uint8_t> edid)
{
    std::string faults;
    if (edid.size() < EDID_HEADER.size() || !std::equal(EDID_HEADER.begin(), EDID_HEADER.end(), edid.begin()))
        faults = "no EDID header";
    for (size_t block = 0; (block + 1) * EDID_BLOCK_SIZE <= edid.size(); ++block) {
        const auto bytes = edid.subspan(block * EDID_BLOCK_SIZE, EDID_BLOCK_SIZE);
        if (std::accumulate(bytes.begin(), bytes.end(), 0U) % 256 != 0)
            faults += format("%sblock %zu has a wrong checksum", faults.empty() ? "" : ", ", block);
    }
    return faults;
}

} // namespace boxtool
