// mem test: data lines, address lines, every word.
#include "tools/memory.h"

#include "devaccess/diagnostics/diagnostics.h"

#include <cerrno>
#include <cstring>

namespace boxtool {

namespace {

constexpr Range TEST_SIZES = {8, 0x40000000, 1, true}; // the address lines are told apart by their weights

/** What a test found, in the terms of that test. */
struct Test {
    const char* name;
    const char* place; ///< what its result is, when it is not 0
    uint32_t (*run)(uint32_t base, uint32_t size, capd::MemoryTestReport* report);
};

uint32_t test_data_bus(uint32_t base, uint32_t /*size*/, capd::MemoryTestReport* report)
{
    return capd::memTestDataBus(base, report);
}

// Each relies on what the one before has shown, so the first failure is the one that means something.
constexpr Test TESTS[] = {
    {"data bus", "pattern", test_data_bus},
    {"address bus", "address", capd::memTestAddressBus},
    {"device", "address", capd::memTestDevice},
};

/** Says on a terminal how far the device test is, a hundred times in all. */
class Progress {
public:
    explicit Progress(Session& session) : session_(session) {}
    static void tell(void* self, uint32_t done, uint32_t steps) { static_cast<Progress*>(self)->at(done, steps); }

private:
    void at(uint32_t done, uint32_t steps)
    {
        const auto percent = static_cast<unsigned>(uint64_t{done} * 100 / steps);
        if (percent == shown_) return;
        shown_ = percent;
        session_.progress(done == steps ? "" : format("device test: %u %%", percent));
    }

    Session& session_;
    unsigned shown_ = 0;
};

/** A range that leaves the memory would be blamed on the memory. */
void check_range(uint32_t base, uint32_t size)
{
    const uint32_t last = base + (size - 4);
    uint32_t word = 0;
    if (capd::do_rdmem(last, 4, &word) >= 0) return;
    if (errno != EFAULT) refuse(format("mem test: the last word, at 0x%08x", last));
    const std::optional<uint32_t> end = memory_end(last);
    errno = EFAULT;
    if (!end) refuse("mem test: not even address 0");
    throw Refused(format("the memory ends at 0x%08x: the range from 0x%08x to 0x%08x is not all in it", *end, base,
                         base + (size - 1)));
}

/** Throw what a failed test has found: memory that is broken, or a transfer that was refused, which says nothing of it.
 */
[[noreturn]] void fail(const Test& test, uint32_t found, const capd::MemoryTestReport& report)
{
    if (report.error != 0)
        throw Refused(
            format("the %s test could not go on: the transfer at 0x%08x was refused: %s (errno %d); this says "
                   "nothing of the memory",
                   test.name, report.refused_at, std::strerror(report.error), report.error));
    throw Refused(format("the %s test failed at %s 0x%08x", test.name, test.place, found));
}

void test_memory(Session& session, uint32_t base, uint32_t size)
{
    check_range(base, size);
    session.ask(format("Overwrite the memory from 0x%08x to 0x%08x.", base, base + (size - 1)));
    Json tests = Json::array();
    for (const Test& test : TESTS) {
        Progress progress(session);
        capd::MemoryTestReport report{.progress = Progress::tell, .context = &progress};
        const uint32_t found = test.run(base, size, &report);
        session.progress("");
        session.row(test.name, report.passed ? "passed" : report.error != 0 ? "not finished" : "FAILED");
        tests.push_back({{"test", test.name}, {"passed", report.passed}});
        if (!report.passed && report.error == 0) tests.back()[test.place] = found;
        session.report({{"base", base}, {"size", size}, {"passed", report.passed}, {"tests", tests}});
        if (!report.passed) fail(test, found, report);
    }
}

} // namespace

void add_memory_test(Commands& commands, CLI::App& group)
{
    Command& test =
        commands.add(group, "test", "Test data lines, address lines, then every word; overwrites all", ASKS | DEVICE);
    const auto base = test.number<uint32_t>("address", WORD_ADDRESS, "start of the range");
    const auto range = test.number<uint32_t>("size", TEST_SIZES, "bytes, a power of two");
    test.verify([=] { check_end(*base, *range); });
    test.run([=](Session& session) { test_memory(session, *base, *range); });
}

} // namespace boxtool
