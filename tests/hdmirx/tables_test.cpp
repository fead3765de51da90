// Checksums were computed from the chip maker's tables by a program that shares nothing with this one.
#include "hdmirx/src/hdmirx/colour.h"
#include "hdmirx/src/hdmirx/video_mode.h"
#include "tests/hdmirx/receiver_bench.h"

using namespace capd;

namespace {

/** FNV-1a over 64 bits. */
class Checksum {
public:
    void add(uint32_t value, int bytes)
    {
        for (; bytes > 0; --bytes, value >>= 8) sum_ = (sum_ ^ (value & 0xFF)) * 0x100000001b3u;
    }
    uint64_t sum() const { return sum_; }

private:
    uint64_t sum_ = 0xcbf29ce484222325u;
};

} // namespace

// Catches: a figure of a table that was changed, dropped or moved to another row. Little-endian, in the tables' order.
TEST(ReceiverTables, HoldTheChipMakersFigures)
{
    Checksum modes;
    for (const rx::VideoMode& m : rx::s_VMTable) {
        for (uint16_t v : {m.HActive, m.VActive, m.HTotal, m.VTotal}) modes.add(v, 2);
        modes.add(m.PCLK, 4);
        modes.add(m.xCnt, 1);
        for (uint16_t v : {m.HFrontPorch, m.HSyncWidth, m.HBackPorch}) modes.add(v, 2);
        for (uint8_t v : {m.VFrontPorch, m.VSyncWidth, m.VBackPorch, m.flags}) modes.add(v, 1);
    }
    EXPECT_EQ(modes.sum(), 0xcd0318ac44056d62u);

    Checksum matrices;
    for (const auto& direction : rx::CONVERTER_MATRICES)
        for (const auto& colorimetry : direction)
            for (const rx::Matrix& matrix : colorimetry)
                for (uint16_t word : matrix) matrices.add(word, 2);
    EXPECT_EQ(matrices.sum(), 0x000d40a44f11d6fau);
}

// Catches: a start-up write that is missing, doubled or in another place, and a step of another chip revision.
TEST(ReceiverStartUp, WritesItsRegistersInOrderForEachRevision)
{
    using Writes = std::vector<std::pair<int, int>>;
    static const Writes head = {{0x89, 0x3F}, {0x07, 0x0C}, {0x06, 0x00}, {0x05, 0x10}, {0x05, 0xA1},
                                {0x07, 0x0C}, {0x16, 0x0F}, {0x17, 0x85}, {0x18, 0x07}, {0x8C, 0x00}};
    static const Writes tail = {{0x05, 0x21}, {0x89, 0x7F}, {0x05, 0x20}, {0x07, 0x0C}, {0x89, 0x7F}, {0x73, 0x00}};
    const struct {
        const char* what;
        uint8_t revision;
        Writes between, after;
    } rows[] = {
        {"0xA1", 0xA1, {}, {}},
        {"0xA2 has a step of its own", 0xA2, {}, {{0x11, 0x09}, {0x11, 0x19}}},
        {"later ones have another", 0xA3, {{0x9B, 0x01}}, {}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        bench::box().receiver().set_revision(row.revision);
        const uint64_t from = bench::box().i2c().count();
        hdmirx_init();
        Writes writes = bench::writes_since(from);

        Writes expected = head;
        ASSERT_GE(writes.size(), head.size() + 20);
        Checksum first, second;
        const auto take = [&](Checksum& sum, size_t count) {
            for (; count > 0; --count) {
                const auto [reg, value] = writes[expected.size()];
                expected.emplace_back(reg, value);
                sum.add(static_cast<uint32_t>(reg), 1);
                sum.add(static_cast<uint32_t>(value), 1);
            }
        };
        take(first, 14);
        expected.insert(expected.end(), row.between.begin(), row.between.end());
        take(second, 6);
        EXPECT_EQ(first.sum(), 0x1064d1b6c4a5bdf6u);
        EXPECT_EQ(second.sum(), 0xaa310e6e6bdd9c9cu);
        expected.insert(expected.end(), {{0x89, 0x7F}, {0x05, 0x20}});
        expected.insert(expected.end(), row.after.begin(), row.after.end());
        expected.insert(expected.end(), tail.begin(), tail.end());
        if (&row != rows) {
            // Not the first run: the state is SWReset already, and the output was left blanked.
            expected[0] = {0x89, 0x7F};
            expected.erase(expected.end() - 2);
        }
        EXPECT_EQ(writes, expected);
    }
}
