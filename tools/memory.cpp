// mem read, write, dump: the memory behind the video node.
#include "tools/memory.h"

#include "tools/bytes.h"
#include "tools/commands.h"

#include "devaccess/diagnostics/diagnostics.h"

#include <algorithm>
#include <cerrno>

namespace boxtool {

namespace {

constexpr uint32_t WORD_SIZE = 4;
constexpr uint32_t REQUEST_SIZE = capd::MEMORY_REQUEST_WORDS * WORD_SIZE;
constexpr uint64_t ADDRESS_SPACE = 0x100000000ULL;
constexpr Range READ_SIZES = {WORD_SIZE, 0x100000, WORD_SIZE};
constexpr Range DUMP_SIZES = {1, 0x40000000};
constexpr int MOST_WORDS = 1024;

bool answers(uint32_t address)
{
    uint32_t word = 0;
    return capd::do_rdmem(address, WORD_SIZE, &word) >= 0;
}

/** Throw Refused with errno's text, and with the end of the memory where the last word is behind it. */
[[noreturn]] void refuse_transfer(const char* command, uint32_t address, uint32_t words)
{
    const std::string what = format("%s 0x%x", command, address);
    if (errno != EFAULT) refuse(what);
    const std::optional<uint32_t> end = memory_end(address + (words - 1) * WORD_SIZE);
    errno = EFAULT;
    refuse(end ? format("%s: the memory ends at 0x%08x", what.c_str(), *end) : what);
}

/** Read words in as many requests as it takes and hand on each part. */
template<typename Take>
void read_words(const char* what, uint32_t address, uint32_t size, Take take)
{
    std::vector<uint32_t> words(capd::MEMORY_REQUEST_WORDS);
    for (uint32_t done = 0; done < size; done += REQUEST_SIZE) {
        const uint32_t part = std::min(REQUEST_SIZE, size - done);
        if (capd::do_rdmem(address + done, part, words.data()) < 0)
            refuse_transfer(what, address + done, part / WORD_SIZE);
        take(std::span(words).first(part / WORD_SIZE));
    }
}

void read_memory(Session& session, uint32_t address, uint32_t size)
{
    std::vector<uint32_t> words;
    read_words("mem read", address, size, [&](auto part) { words.insert(words.end(), part.begin(), part.end()); });
    session.say("%s", word_lines(words, address).c_str());
    session.report({{"address", address}, {"words", words}});
}

void write_memory(Session& session, uint32_t address, std::span<const uint32_t> words)
{
    session.ask(format("Write %zu word(s) to memory from 0x%08x on.", words.size(), address));
    for (size_t done = 0; done < words.size();) {
        const auto part = words.subspan(done, std::min<size_t>(words.size() - done, capd::MEMORY_REQUEST_WORDS));
        const uint32_t to = address + static_cast<uint32_t>(done) * WORD_SIZE;
        if (capd::do_wrmem(to, static_cast<uint32_t>(part.size()), part.data()) < 0)
            refuse_transfer("mem write", to, static_cast<uint32_t>(part.size()));
        done += part.size();
    }
    session.say("%zu word(s) written from 0x%08x on\n", words.size(), address);
    session.report({{"address", address}, {"words", words.size()}});
}

void dump_memory(Session& session, uint32_t address, uint32_t size, const std::string& path)
{
    const uint32_t whole = (size + WORD_SIZE - 1) / WORD_SIZE * WORD_SIZE;
    OutputFile file(session, path);
    read_words("mem dump", address, whole, [&](auto part) { file.write(bytes_of(part)); });
    file.close();
    session.say("%u bytes written to %s\n", whole, path.c_str());
    session.report({{"address", address}, {"file", path}, {"bytes", whole}});
}

} // namespace

std::optional<uint32_t> memory_end(uint32_t missing)
{
    if (!answers(0)) return std::nullopt;
    uint32_t there = 0;
    while (missing - there > WORD_SIZE) {
        const uint32_t middle = there + (missing - there) / 2 / WORD_SIZE * WORD_SIZE;
        (answers(middle) ? there : missing) = middle;
    }
    return missing;
}

void check_end(uint32_t address, uint64_t size)
{
    if (address + size <= ADDRESS_SPACE) return;
    throw UsageError(format("size: from address 0x%x on it is between 1 and %llu", address,
                            static_cast<unsigned long long>(ADDRESS_SPACE - address)));
}

void add_memory_commands(Commands& commands)
{
    CLI::App& group = commands.group("mem", "Memory behind the video node", HEADING_HARDWARE);

    Command& read = commands.add(group, "read", "Show memory", DEVICE);
    const auto address = read.number<uint32_t>("address", WORD_ADDRESS, "address of the first word");
    const auto size = read.number<uint32_t>("size", READ_SIZES, "bytes, in whole words of 4");
    read.verify([=] { check_end(*address, *size); });
    read.run([=](Session& session) { read_memory(session, *address, *size); });

    Command& write = commands.add(group, "write", "Write words to memory", ASKS | DEVICE);
    const auto to = write.number<uint32_t>("address", WORD_ADDRESS, "address of the first word");
    const auto words = write.numbers<uint32_t>("word", WORD, MOST_WORDS, true, "32-bit words");
    write.verify([=] { check_end(*to, words->size() * WORD_SIZE); });
    write.run([=](Session& session) { write_memory(session, *to, *words); });

    Command& dump = commands.add(group, "dump", "Write memory to a file", DEVICE);
    const auto from = dump.number<uint32_t>("address", WORD_ADDRESS, "address of the first word");
    const auto length = dump.number<uint32_t>("size", DUMP_SIZES, "bytes; the file is rounded up to whole words");
    const auto path = dump.output_file("--file", false, "file to write, ./dumpdata.dat if left out", "./dumpdata.dat");
    dump.verify([=] { check_end(*from, *length); });
    dump.run([=](Session& session) { dump_memory(session, *from, *length, *path); });

    add_memory_test(commands, group);
}

} // namespace boxtool
