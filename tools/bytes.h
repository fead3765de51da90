/**
 * @file
 * Bytes as people and files have them: grids of hexadecimal digits, files of this machine, words.
 */
#pragma once

#include "tools/session.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace boxtool {

using Bytes = std::vector<uint8_t>;

/** Bytes as `i2cget` prints them, one or many: "0x5a 0x01". */
template<typename T>
std::string hex_values(std::span<const T> bytes)
{
    std::string text;
    for (T byte : bytes) text += format("%s0x%02x", text.empty() ? "" : " ", unsigned{byte});
    return text;
}

/** One cell of a grid; two characters, of a byte or in its place. */
using Cell = std::string;
constexpr char CELL_MISSING[] = "--";
constexpr char CELL_LEFT_OUT[] = "  ";
Cell cell(uint8_t byte);

/** A grid as `i2cdetect` prints it: 16 cells to a line, below a line of column numbers. */
std::string hex_grid(std::span<const Cell> cells, unsigned first = 0);
std::string hex_grid(std::span<const uint8_t> bytes);

/** Lines of four words, each begun by the address of its first. */
std::string word_lines(std::span<const uint32_t> words, uint32_t address);

/** All bytes as one word of lower-case hex digits. */
std::string hex_digits(std::span<const uint8_t> bytes);

/** Read a file, or standard input for PIPE, of at most so many bytes; throws UsageError. */
Bytes read_file(const std::string& path, size_t most);

/** A file that is being written, or standard output for PIPE; every failure throws Refused. */
class OutputFile {
public:
    OutputFile(const Session& session, const std::string& path);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    void write(std::span<const uint8_t> bytes) const;
    /** What was written is in the file now. */
    void close();

private:
    std::string path_;
    bool is_pipe_;
    int fd_;
};

/** Write a whole file; throws Refused. */
void write_file(const Session& session, const std::string& path, std::span<const uint8_t> bytes);

/** The words as the memory behind the node has them: low byte first. */
Bytes bytes_of(std::span<const uint32_t> words);
std::vector<uint32_t> words_of(std::span<const uint8_t> bytes);

} // namespace boxtool
