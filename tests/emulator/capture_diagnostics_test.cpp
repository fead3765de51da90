#include "tests/support/bench.h"

#include <cerrno>

namespace {

constexpr uint32_t GET_PROPERTY = 0xC0104420, SET_PROPERTY = 0x4010441F;
constexpr uint32_t WRITE_REGISTER = 0x40084406, READ_REGISTER = 0xC0084405;
constexpr uint32_t WRITE_MEMORY = 0x41084404, READ_MEMORY = 0xC1084403;
constexpr uint32_t DMA_WRITE = 0x400C4412, DMA_READ = 0xC00C4411;
constexpr uint32_t SET_DEBUG = 0x4004442A, GET_DEBUG = 0xC004442B;

emu::CaptureDiagnostics& diagnostics()
{
    return bench::box().capture().diagnostics();
}

struct MemoryRecord {
    uint32_t address, count, words[64];
};

int write_word(uint32_t address, uint32_t value)
{
    MemoryRecord record{address, 1, {value}};
    return diagnostics().request(WRITE_MEMORY, &record);
}

uint32_t read_word(uint32_t address)
{
    MemoryRecord record{address, 1, {}};
    EXPECT_EQ(diagnostics().request(READ_MEMORY, &record), 0);
    return record.words[0];
}

// Catches: a fault that shows at another bit or address than the one that was broken, or stays after it was mended.
TEST(CaptureMemory, FaultsShowWhereTheyAre)
{
    ASSERT_EQ(write_word(0x40, 0x0000FFFF), 0);
    bench::tell("memory stuck 4 low");
    EXPECT_EQ(read_word(0x40), 0x0000FFEFu);
    bench::tell("memory stuck 31 high");
    EXPECT_EQ(read_word(0x40), 0x8000FFFFu);
    bench::tell("memory stuck off");
    EXPECT_EQ(read_word(0x40), 0x0000FFFFu);

    bench::tell("memory short 4 8");
    ASSERT_EQ(write_word(0x010, 1), 0);
    ASSERT_EQ(write_word(0x100, 2), 0);
    EXPECT_EQ(read_word(0x010), 2u) << "both reach one cell";
    EXPECT_EQ(read_word(0x004), 0u);
    bench::tell("memory short off");
    EXPECT_EQ(read_word(0x110), 2u) << "that of both lines";
    EXPECT_EQ(read_word(0x010), 0u);

    bench::tell("memory dead 0x42");
    ASSERT_EQ(write_word(0x40, 7), 0);
    ASSERT_EQ(write_word(0x44, 8), 0);
    EXPECT_EQ(read_word(0x40), 0u);
    EXPECT_EQ(read_word(0x44), 8u);
    bench::tell("memory dead off");
    EXPECT_EQ(read_word(0x40), 0x0000FFFFu);
}

// Catches: requests past the memory's end, past the record's words, or that touch more than they were asked to.
TEST(CaptureMemory, RequestsKeepToTheirBounds)
{
    constexpr uint32_t end = emu::CaptureDiagnostics::MEMORY_SIZE;
    static const struct {
        const char* what;
        uint32_t address, count;
        int result;
    } cases[] = {
        {"the last words", end - 256, 64, 0}, {"one past the end", end - 252, 64, -EFAULT},
        {"far away", 0xFFFFFFFC, 1, -EFAULT}, {"odd address", 2, 1, -EINVAL},
        {"too many words", 0, 65, -EINVAL},   {"none", 0, 0, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        MemoryRecord record{c.address, c.count, {}};
        EXPECT_EQ(diagnostics().request(READ_MEMORY, &record), c.result);
        EXPECT_EQ(diagnostics().request(WRITE_MEMORY, &record), c.result);
    }
    struct {
        uint32_t address, size;
        uint8_t* buffer;
    } dma{};
    uint8_t buffer[] = {1, 2, 3, 4, 5, 6, 0xEE};
    ASSERT_EQ(write_word(0x104, 0xAABBCCDD), 0);
    dma = {0x100, 6, buffer};
    ASSERT_EQ(diagnostics().request(DMA_WRITE, &dma), 0);
    EXPECT_EQ(read_word(0x100), 0x04030201u);
    EXPECT_EQ(read_word(0x104), 0xAABB0605u) << "the rest of the last word stays";
    uint8_t back[7] = {0, 0, 0, 0, 0, 0, 0xEE};
    dma = {0x100, 6, back};
    ASSERT_EQ(diagnostics().request(DMA_READ, &dma), 0);
    EXPECT_TRUE(std::equal(buffer, buffer + 7, back));
    dma = {end - 4, 8, back};
    EXPECT_EQ(diagnostics().request(DMA_READ, &dma), -EFAULT);
    dma = {0, 8, nullptr};
    EXPECT_EQ(diagnostics().request(DMA_WRITE, &dma), -EFAULT);
}

// Catches: a property that answers for its neighbour, a range that is another property's, values that pass a range.
TEST(CaptureProperties, AnswerUnderTheirOwnNumbers)
{
    static const struct {
        int id, value, result;
    } sets[] = {{2, 255, 0}, {2, 256, -EINVAL}, {2, -1, -EINVAL}, {4, -180, 0},
                {15, 1, 0},  {0, 0, -EINVAL},   {16, 1, -EINVAL}};
    for (const auto& c : sets) {
        int32_t record[4] = {c.id, c.value, 0, 0};
        EXPECT_EQ(diagnostics().request(SET_PROPERTY, record), c.result) << c.id << " = " << c.value;
    }
    static const struct {
        int id, result, value, low, high;
    } gets[] = {{102, 0, 255, 0, 255}, {104, 0, -180, -180, 180}, {117, 0, 255, 0, 255},   {122, 0, 4600, 2800, 6500},
                {126, 0, 1, 0, 1},     {127, -EINVAL, 0, 0, 0},   {100, -EINVAL, 0, 0, 0}, {2, -EINVAL, 0, 0, 0}};
    for (const auto& c : gets) {
        SCOPED_TRACE(c.id);
        int32_t record[4] = {c.id, 0, 0, 0};
        EXPECT_EQ(diagnostics().request(GET_PROPERTY, record), c.result);
        EXPECT_EQ(record[1], c.value);
        EXPECT_EQ(record[2], c.low);
        EXPECT_EQ(record[3], c.high);
    }
}

// Catches: one-word settings that share a place, read-only registers that can be written, codes that are nearly right.
TEST(CaptureDiagnostics, SettingsAndRegistersKeepApart)
{
    const auto word = [](uint32_t code, uint32_t value) {
        const int result = diagnostics().request(code, &value);
        return result < 0 ? static_cast<uint32_t>(result) : value;
    };
    EXPECT_EQ(word(SET_DEBUG, 0x0003'0007), 0x0003'0007u);
    EXPECT_EQ(word(GET_DEBUG, 0x0003'FFFF), 0x0003'0007u);
    EXPECT_EQ(word(GET_DEBUG, 0x0004'0000), 0x0004'0000u);
    EXPECT_EQ(word(0x40044421, 2), 2u);                             // source
    EXPECT_EQ(word(0x40044419, 4), static_cast<uint32_t>(-EINVAL)); // front end
    EXPECT_EQ(word(0xC0044422, 0), 2u);
    EXPECT_EQ(word(0xC0044428, 9), 0u);
    bench::tell("codec error -5");
    EXPECT_EQ(word(0xC00443B4, 0), static_cast<uint32_t>(-5));
    EXPECT_EQ(word(0xC00443B5, 0), static_cast<uint32_t>(-ENOTTY));

    const auto reg = [](uint32_t code, uint32_t address, uint32_t value) {
        uint32_t record[2] = {address, value};
        const int result = diagnostics().request(code, record);
        return result < 0 ? static_cast<uint32_t>(result) : record[1];
    };
    const uint32_t id = reg(READ_REGISTER, 0, 0xDEADBEEF);
    EXPECT_NE(id, 0xDEADBEEFu);
    reg(WRITE_REGISTER, 0, ~id);
    EXPECT_EQ(reg(READ_REGISTER, 0, 0), id);
    reg(WRITE_REGISTER, 0x10, 5);
    EXPECT_EQ(reg(READ_REGISTER, 0x10, 0), 5u);
    EXPECT_EQ(reg(READ_REGISTER, 0x14, 7), 0u);
    EXPECT_EQ(reg(READ_REGISTER, 0x11, 0), static_cast<uint32_t>(-EINVAL));
    EXPECT_EQ(reg(READ_REGISTER, 0x100000, 0), static_cast<uint32_t>(-EFAULT));
    const uint32_t before = reg(READ_REGISTER, 4, 0);
    bench::run_for(std::chrono::seconds(2));
    EXPECT_EQ(reg(READ_REGISTER, 4, 0), before + 2000);

    uint8_t gpio[5] = {12, 1, 0, 0, 0};
    EXPECT_EQ(diagnostics().request(0x4005433C, gpio), 0);
    EXPECT_EQ(diagnostics().request(0x4005433D, gpio), 0);
    EXPECT_NE(bench::ask("show diagnostics").find("gpio 12: output, high"), std::string::npos);
    gpio[4] = 1;
    EXPECT_EQ(diagnostics().request(0x4005433D, gpio), -EINVAL);
}

} // namespace
