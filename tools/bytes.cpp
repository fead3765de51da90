#include "tools/bytes.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace boxtool {

namespace {

constexpr size_t PER_LINE = 16;
constexpr size_t WORDS_PER_LINE = 4;

[[noreturn]] void refuse_file(const std::string& path)
{
    throw UsageError(path + ": " + std::strerror(errno));
}

} // namespace

Cell cell(uint8_t byte)
{
    return format("%02x", byte);
}

std::string hex_grid(std::span<const Cell> cells, unsigned first)
{
    std::string text = "   ";
    for (unsigned column = 0; column < PER_LINE; ++column) text += format("  %x", column);
    for (size_t i = 0; i < cells.size(); ++i) {
        if (i % PER_LINE == 0) text += format("\n%02zx:", first + i);
        text += " " + cells[i];
    }
    return text + "\n";
}

std::string hex_grid(std::span<const uint8_t> bytes)
{
    std::vector<Cell> cells;
    for (uint8_t byte : bytes) cells.push_back(cell(byte));
    return hex_grid(cells);
}

std::string word_lines(std::span<const uint32_t> words, uint32_t address)
{
    std::string text;
    for (size_t i = 0; i < words.size(); ++i) {
        const bool begins = i % WORDS_PER_LINE == 0;
        if (begins) text += format("%s%08x:", i == 0 ? "" : "\n", address + static_cast<uint32_t>(4 * i));
        text += format(" %08x", words[i]);
    }
    return text + "\n";
}

std::string hex_digits(std::span<const uint8_t> bytes)
{
    std::string text;
    for (uint8_t byte : bytes) text += format("%02x", byte);
    return text;
}

Bytes read_file(const std::string& path, size_t most)
{
    const bool is_pipe = path == PIPE;
    const int fd = is_pipe ? STDIN_FILENO : open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) refuse_file(path);
    Bytes bytes(most + 1);
    size_t done = 0;
    ssize_t got = 0;
    do {
        got = read(fd, bytes.data() + done, bytes.size() - done);
        if (got > 0) done += static_cast<size_t>(got);
    } while ((got > 0 && done < bytes.size()) || (got < 0 && errno == EINTR));
    const int error = got < 0 ? errno : 0;
    if (!is_pipe) close(fd);
    errno = error;
    if (error != 0) refuse_file(path);
    if (done > most) throw UsageError(format("%s: has more than %zu bytes", path.c_str(), most));
    bytes.resize(done);
    return bytes;
}

OutputFile::OutputFile(const Session& session, const std::string& path)
    : path_(path), is_pipe_(path == PIPE),
      fd_(is_pipe_ ? session.streams().output() : open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666))
{
    if (fd_ < 0) refuse(path);
}

OutputFile::~OutputFile()
{
    if (!is_pipe_ && fd_ >= 0) ::close(fd_);
}

void OutputFile::write(std::span<const uint8_t> bytes) const
{
    errno = write_all(fd_, {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    if (errno != 0) refuse(path_);
}

void OutputFile::close()
{
    const int fd = std::exchange(fd_, -1);
    if (!is_pipe_ && ::close(fd) != 0) refuse(path_);
}

void write_file(const Session& session, const std::string& path, std::span<const uint8_t> bytes)
{
    OutputFile file(session, path);
    file.write(bytes);
    file.close();
}

Bytes bytes_of(std::span<const uint32_t> words)
{
    Bytes bytes;
    bytes.reserve(words.size() * 4);
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

} // namespace boxtool
