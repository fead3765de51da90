// Memory tests behind the video node, one word at a time.
#include "devaccess/diagnostics/answer.h"
#include "devaccess/diagnostics/diagnostics.h"
#include "devaccess/diagnostics/memory_request.h"

namespace capd {

namespace {

constexpr uint32_t WORD_SIZE = 4;
constexpr uint32_t PATTERN = 0xAAAAAAAA;
constexpr uint32_t ANTIPATTERN = 0x55555555;

/** The last transfer: what the tests take for a mismatch may be one that was refused. */
struct Transfer {
    uint32_t address;
    int error; ///< errno, 0 when it was done
};
Transfer last_transfer;

bool transfer(uint32_t request_code, MemoryRequest& request)
{
    const Answer answer = ask(request_code, &request);
    last_transfer = {request.address, answer.ok() ? 0 : answer.error};
    return answer.ok();
}

bool write_word(uint32_t address, uint32_t value)
{
    MemoryRequest request{};
    request.address = address;
    request.count = 1;
    request.words[0] = value;
    return transfer(WRITE_MEMORY, request);
}

/** Whether a word can be read and holds a value. */
bool word_is(uint32_t address, uint32_t value)
{
    MemoryRequest request{};
    request.address = address;
    request.count = 1;
    request.words[0] = ~value; // a driver that fills in nothing is a mismatch too
    return transfer(READ_MEMORY, request) && request.words[0] == value;
}

/** A range of whole words. The offsets are in words; the last one of the largest range is below 2^30. */
struct Range {
    uint32_t base;
    uint32_t words;

    uint32_t address(uint32_t offset) const { return base + offset * WORD_SIZE; }
    uint32_t mask() const { return words - 1; }
};

/** First failure of a test; its address may be 0. */
struct Outcome {
    bool passed;
    uint32_t at;
};
constexpr Outcome PASSED = {true, 0};

uint32_t finish_test(const char* function, const Outcome& outcome, MemoryTestReport* report)
{
    if (outcome.passed)
        printf("\n%s()--> pass\n", function);
    else
        printf("\n%s()--> fail(0x%08x)\n", function, outcome.at);
    if (report != nullptr) {
        report->passed = outcome.passed;
        report->error = outcome.passed ? 0 : last_transfer.error;
        report->refused_at = last_transfer.address;
    }
    return outcome.at;
}

void announce(const char* function, uint32_t base, uint32_t size)
{
    const uint32_t last = size == 0 ? base : base + (size - 1);
    printf("%s()--> test range (0x%08x - 0x%08x)\n", function, base, last);
}

void print_writing(const char* function, uint32_t value, uint32_t address)
{
    printf("\r%s()--> writing 0x%08x to 0x%08x", function, value, address);
}

/** Give the pattern to every power-of-two offset. */
Outcome fill_offsets(const char* function, const Range& range)
{
    for (uint32_t offset = 1; offset <= range.mask(); offset <<= 1) {
        print_writing(function, PATTERN, range.address(offset));
        if (!write_word(range.address(offset), PATTERN)) return {false, range.address(offset)};
    }
    return PASSED;
}

/** A line stuck high: what is written to offset 0 shows at another offset. */
Outcome check_stuck_high(const char* function, const Range& range)
{
    if (!write_word(range.base, ANTIPATTERN)) return {false, range.base};
    for (uint32_t offset = 1; offset <= range.mask(); offset <<= 1) {
        printf("\r%s()--> reading 0x%08x\t\t\t", function, range.address(offset));
        if (!word_is(range.address(offset), PATTERN)) return {false, range.address(offset)};
    }
    if (!write_word(range.base, PATTERN)) return {false, range.base};
    return PASSED;
}

bool others_keep_pattern(const Range& range, uint32_t test_offset)
{
    if (!word_is(range.base, PATTERN)) return false;
    for (uint32_t offset = 1; offset <= range.mask(); offset <<= 1)
        if (offset != test_offset && !word_is(range.address(offset), PATTERN)) return false;
    return true;
}

/** A line stuck low or tied to another: what is written to an offset shows at offset 0 or at another offset. */
Outcome check_shorted(const Range& range)
{
    for (uint32_t offset = 1; offset <= range.mask(); offset <<= 1) {
        const uint32_t address = range.address(offset);
        if (!write_word(address, ANTIPATTERN)) return {false, address};
        if (!others_keep_pattern(range, offset)) return {false, address};
        if (!write_word(address, PATTERN)) return {false, address};
    }
    return PASSED;
}

Outcome test_address_bus(const char* function, const Range& range)
{
    if (range.words == 0) return PASSED;
    Outcome outcome = fill_offsets(function, range);
    if (outcome.passed) outcome = check_stuck_high(function, range);
    if (outcome.passed) outcome = check_shorted(range);
    return outcome;
}

/** Counts the steps of the device test for whoever wants to know. */
class Steps {
public:
    Steps(const Range& range, const MemoryTestReport* report) : report_(report), steps_(3 * range.words) {}
    void step()
    {
        ++done_;
        if (report_ != nullptr && report_->progress != nullptr) report_->progress(report_->context, done_, steps_);
    }

private:
    const MemoryTestReport* report_;
    uint32_t done_ = 0, steps_;
};

Outcome test_device(const char* function, const Range& range, Steps steps)
{
    for (uint32_t n = 0; n < range.words; ++n, steps.step()) {
        print_writing(function, n + 1, range.address(n));
        if (!write_word(range.address(n), n + 1)) return {false, range.address(n)};
    }
    for (uint32_t n = 0; n < range.words; ++n, steps.step()) {
        printf("\r%s()--> reading 0x%08x", function, range.address(n));
        if (!word_is(range.address(n), n + 1)) return {false, range.address(n)};
        if (!write_word(range.address(n), ~(n + 1))) return {false, range.address(n)};
    }
    for (uint32_t n = 0; n < range.words; ++n, steps.step())
        if (!word_is(range.address(n), ~(n + 1))) return {false, range.address(n)};
    return PASSED;
}

} // namespace

uint32_t memTestDataBus(uint32_t addr, MemoryTestReport* report)
{
    for (uint32_t pattern = 1; pattern != 0; pattern <<= 1)
        if (!write_word(addr, pattern) || !word_is(addr, pattern))
            return finish_test(__func__, {false, pattern}, report);
    return finish_test(__func__, PASSED, report);
}

uint32_t memTestAddressBus(uint32_t base, uint32_t size, MemoryTestReport* report)
{
    announce(__func__, base, size);
    return finish_test(__func__, test_address_bus(__func__, {base, size / WORD_SIZE}), report);
}

uint32_t memTestDevice(uint32_t base, uint32_t size, MemoryTestReport* report)
{
    announce(__func__, base, size);
    const Range range = {base, size / WORD_SIZE};
    return finish_test(__func__, test_device(__func__, range, Steps(range, report)), report);
}

} // namespace capd
