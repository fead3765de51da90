// mem read, write, dump, test: the memory behind the video node.
#include "tools/commands.h"

#include "devaccess/diagnostics.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <span>

namespace boxtool {

namespace {

constexpr uint32_t WORD_SIZE = 4;
constexpr uint32_t REQUEST_SIZE = capd::MEMORY_REQUEST_WORDS * WORD_SIZE;
constexpr Range READ_SIZES = {WORD_SIZE, 0x100000, WORD_SIZE};
constexpr Range DUMP_SIZES = {1, 0x40000000};
constexpr Range TEST_SIZES = {2 * WORD_SIZE, 0x40000000, 1, true}; // the address lines are told apart by their weights
constexpr Range WORD_ADDRESS = {0, 0xfffffffcLL, WORD_SIZE};
constexpr int MOST_WORDS = 1024;

void check_end(uint32_t address, uint64_t size)
{
    constexpr uint64_t SPACE = 0x100000000ULL;
    if (address + size <= SPACE) return;
    throw UsageError(format("size: from address 0x%x on it is between 1 and %llu", address,
                            static_cast<unsigned long long>(SPACE - address)));
}

void read_memory(Session& session, uint32_t address, uint32_t size)
{
    std::vector<uint32_t> words(size / WORD_SIZE);
    for (uint32_t done = 0; done < size; done += REQUEST_SIZE) {
        const uint32_t part = std::min(REQUEST_SIZE, size - done);
        check(capd::do_rdmem(address + done, part, &words[done / WORD_SIZE]), format("mem read 0x%x", address + done));
    }
    session.report({{"address", address}, {"words", words}});
}

void write_memory(Session& session, uint32_t address, std::span<const uint32_t> words)
{
    session.ask(format("Write %zu word(s) to memory from 0x%08x on.", words.size(), address));
    while (!words.empty()) {
        const auto part = words.first(std::min<size_t>(words.size(), capd::MEMORY_REQUEST_WORDS));
        const auto count = static_cast<uint32_t>(part.size());
        check(capd::do_wrmem(address, count, part.data()), format("mem write 0x%x", address));
        address += count * WORD_SIZE;
        words = words.subspan(count);
    }
}

void dump_memory(Session& session, uint32_t address, uint32_t size)
{
    check(capd::do_dumpmem(address, size), "mem dump to ./dumpdata.dat");
    session.report({{"address", address}, {"file", "./dumpdata.dat"}, {"bytes", (uint64_t{size} + 3) / 4 * 4}});
}

/** Each test relies on what the one before has shown, so the first failure is the one that means something. */
void test_memory(Session& session, uint32_t base, uint32_t size)
{
    session.ask(format("Overwrite the memory from 0x%08x to 0x%08x.", base, base + (size - 1)));
    bool passed = false;
    Json tests = Json::array();
    uint32_t found = capd::memTestDataBus(base, &passed);
    tests.push_back({{"test", "data bus"}, {"passed", passed}});
    if (!passed) tests.back()["pattern"] = found;
    if (passed) {
        found = capd::memTestAddressBus(base, size, &passed);
        tests.push_back({{"test", "address bus"}, {"passed", passed}});
        if (!passed) tests.back()["address"] = found;
    }
    if (passed) {
        found = capd::memTestDevice(base, size, &passed);
        tests.push_back({{"test", "device"}, {"passed", passed}});
        if (!passed) tests.back()["address"] = found;
    }
    session.report({{"base", base}, {"size", size}, {"passed", passed}, {"tests", tests}});
    const bool is_pattern = tests.size() == 1;
    if (!passed)
        throw Refused(format("the %s test failed at %s 0x%08x", tests.back()["test"].get<std::string>().c_str(),
                             is_pattern ? "pattern" : "address", found));
}

} // namespace

void add_memory_commands(Commands& commands)
{
    CLI::App& group = commands.group("mem", "Memory behind the video node", HEADING_HARDWARE);

    Command& read = commands.add(group, "read", "Show memory", REPORTS | DEVICE);
    const auto address = read.number<uint32_t>("address", WORD_ADDRESS, "address of the first word");
    const auto size = read.number<uint32_t>("size", READ_SIZES, "bytes, in whole words of 4");
    read.verify([=] { check_end(*address, *size); });
    read.run([=](Session& session) { read_memory(session, *address, *size); });

    Command& write = commands.add(group, "write", "Write words to memory", ASKS | DEVICE);
    const auto to = write.number<uint32_t>("address", WORD_ADDRESS, "address of the first word");
    const auto words = write.numbers<uint32_t>("word", WORD, MOST_WORDS, true, "32-bit words");
    write.verify([=] { check_end(*to, words->size() * WORD_SIZE); });
    write.run([=](Session& session) { write_memory(session, *to, *words); });

    Command& dump = commands.add(group, "dump", "Write memory to the file ./dumpdata.dat", REPORTS | DEVICE);
    const auto from = dump.number<uint32_t>("address", WORD_ADDRESS, "address of the first word");
    const auto length = dump.number<uint32_t>("size", DUMP_SIZES, "bytes; the file is rounded up to whole words");
    dump.verify([=] { check_end(*from, *length); });
    dump.run([=](Session& session) { dump_memory(session, *from, *length); });

    Command& test = commands.add(group, "test", "Test data lines, address lines, then every word; overwrites all",
                                 REPORTS | ASKS | DEVICE);
    const auto base = test.number<uint32_t>("address", WORD_ADDRESS, "start of the range");
    const auto range = test.number<uint32_t>("size", TEST_SIZES, "bytes, a power of two");
    test.verify([=] { check_end(*base, *range); });
    test.run([=](Session& session) { test_memory(session, *base, *range); });
}

} // namespace boxtool
