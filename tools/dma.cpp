// dma read and write: the same memory, moved by the DMA engine.
#include "tools/bytes.h"
#include "tools/commands.h"

#include "devaccess/diagnostics/diagnostics.h"

#include <cerrno>

namespace boxtool {

namespace {

constexpr uint32_t WORD_SIZE = 4;
constexpr uint32_t MOST_BYTES = 0x1000000;
constexpr Range SIZES = {WORD_SIZE, MOST_BYTES, WORD_SIZE};
constexpr int MOST_WORDS = 1024;

void read_by_dma(Session& session, uint32_t address, uint32_t size, const std::string& path)
{
    std::vector<uint32_t> words(size / WORD_SIZE);
    errno = 0;
    const int result = capd::do_dmard(address, size, words.data());
    if (result < 0 || errno == ENOMEM) refuse(format("dma read 0x%x", address));
    if (path.empty()) {
        session.say("%s", word_lines(words, address).c_str());
        session.report({{"address", address}, {"words", words}});
        return;
    }
    write_file(session, path, bytes_of(words));
    session.say("%u bytes written to %s\n", size, path.c_str());
    session.report({{"address", address}, {"file", path}, {"bytes", size}});
}

void write_by_dma(Session& session, uint32_t address, const std::vector<uint32_t>& words)
{
    session.ask(format("Write %zu word(s) by DMA to memory from 0x%08x on.", words.size(), address));
    check(capd::do_dmawr(address, static_cast<uint32_t>(words.size()), words.data()),
          format("dma write 0x%x", address));
    session.say("%zu word(s) written from 0x%08x on\n", words.size(), address);
    session.report({{"address", address}, {"words", words.size()}});
}

/** The words come from the command line or from a file, not from both. */
void take_words(std::vector<uint32_t>& words, const std::string& path)
{
    if (words.empty() == path.empty()) throw UsageError("give either words or --file");
    if (path.empty()) return;
    const Bytes bytes = read_file(path, MOST_BYTES);
    if (bytes.empty() || bytes.size() % WORD_SIZE != 0) throw UsageError(path + ": is not made of whole 4-byte words");
    words = words_of(bytes);
}

} // namespace

void add_dma_commands(Commands& commands)
{
    CLI::App& group = commands.group("dma", "DMA to and from the memory behind the video node", HEADING_HARDWARE);

    Command& read = commands.add(group, "read", "Receive memory by DMA and show it", DEVICE);
    const auto address = read.number<uint32_t>("address", WORD, "address");
    const auto size = read.number<uint32_t>("size", SIZES, "bytes, in whole words of 4");
    const auto into = read.output_file("--file", false, "write the bytes to a file instead");
    read.run([=](Session& session) { read_by_dma(session, *address, *size, *into); });

    Command& write = commands.add(group, "write", "Send words by DMA", ASKS | DEVICE);
    const auto to = write.number<uint32_t>("address", WORD, "address");
    const auto words = write.numbers<uint32_t>("word", WORD, MOST_WORDS, false, "32-bit words");
    const auto from = write.file("--file", false, "take the words from a file");
    write.verify([=] { take_words(*words, *from); });
    write.run([=](Session& session) { write_by_dma(session, *to, *words); });
}

} // namespace boxtool
