#include "emulator/world/formats.h"
#include "hdmirx/src/hdmirx/colour.h"
#include "hdmirx/src/hdmirx/video_mode.h"
#include "tests/hdmirx/receiver_bench.h"

#include <algorithm>
#include <cmath>
#include <set>
#include <string>

using namespace capd;
using namespace emu::rx;

namespace {

/** The format of the world outside that has this geometry, at a clock that the chip cannot tell from it. */
const emu::Format* format_like(const rx::VideoMode& mode)
{
    for (const emu::Format& f : emu::all_formats()) {
        const bool interlaced = (mode.flags & rx::MODE_PROGRESSIVE) == 0;
        const bool same = f.h_active == mode.HActive && f.h_total() == mode.HTotal && f.v_active == mode.VActive &&
                          f.field_lines() == mode.VTotal && f.interlaced == interlaced;
        if (same && 100 * std::abs(static_cast<double>(f.clock_khz) - mode.PCLK) < mode.PCLK) return &f;
    }
    return nullptr;
}

std::string sync_of(int front, int sync, int back, bool positive)
{
    return std::to_string(front) + " " + std::to_string(sync) + " " + std::to_string(back) + (positive ? " +" : " -");
}

} // namespace

// Catches: a figure of the table that was changed, dropped or moved to another row: most rows are formats of CTA-861
// and VESA DMT, which the box's world knows for itself; what the others say of themselves must add up.
TEST(ReceiverTables, ModesAreThoseOfTheStandards)
{
    // Kept by nobody else: single-field formats, formats of old computers, rates beyond 75 Hz, 1600x1200 at four more.
    const std::set<int> unknown = {4,  5,  16, 18, 32, 33, 34, 55, 69, 73, 75, 76,
                                   77, 78, 81, 82, 83, 84, 85, 86, 89, 90, 91, 92};
    const std::set<int> other_horizontal = {8, 9, 10};    // the chip maker's porches, which do not add up
    const std::set<int> other_vertical = {6, 13, 25, 31}; // two have the other polarity
    for (size_t i = 0; i < rx::s_VMTable.size(); ++i) {
        const rx::VideoMode& m = rx::s_VMTable[i];
        const int row = static_cast<int>(i);
        SCOPED_TRACE(testing::Message() << "row " << row << ", " << m.HActive << "x" << m.VActive);
        const int pixels = m.HActive + m.HFrontPorch + m.HSyncWidth + m.HBackPorch;
        EXPECT_EQ(pixels == m.HTotal, !other_horizontal.contains(row)) << pixels << " of " << m.HTotal;
        const int lines = m.VActive + m.VFrontPorch + m.VSyncWidth + m.VBackPorch;
        EXPECT_TRUE(lines == m.VTotal || other_vertical.contains(row)) << lines << " of " << m.VTotal;
        EXPECT_NEAR(m.xCnt, std::min(3'456'000.0 / m.PCLK, 255.0), 1.0);
        const emu::Format* f = format_like(m);
        EXPECT_EQ(f == nullptr, unknown.contains(row));
        if (f == nullptr) continue;
        const bool h_positive = (m.flags & rx::MODE_HSYNC_POSITIVE) != 0;
        const bool v_positive = (m.flags & rx::MODE_VSYNC_POSITIVE) != 0;
        EXPECT_EQ(sync_of(m.HFrontPorch, m.HSyncWidth, m.HBackPorch, h_positive) ==
                      sync_of(f->h_front, f->h_sync, f->h_back, f->h_positive),
                  !other_horizontal.contains(row))
            << f->name;
        EXPECT_EQ(sync_of(m.VFrontPorch, m.VSyncWidth, m.VBackPorch, v_positive) ==
                      sync_of(f->v_front, f->v_sync, f->v_back, f->v_positive),
                  !other_vertical.contains(row))
            << f->name;
    }
}

// Catches: a coefficient that was changed.
TEST(ReceiverTables, MatricesAreTheChipMakers)
{
    // By [RGB to YUV, YUV to RGB][ITU601, ITU709][16 to 235, 0 to 255].
    static constexpr rx::Matrix matrices[2][2][2] = {
        {{{{0x04B2, 0x0264, 0x00E9, 0x3C93, 0x0418, 0x3F56, 0x3D49, 0x3E9F, 0x0418}},
          {{0x0409, 0x020E, 0x00C8, 0x3D0E, 0x0384, 0x3F6E, 0x3DAC, 0x3ED0, 0x0384}}},
         {{{0x05B8, 0x01B4, 0x0093, 0x3C49, 0x0418, 0x3F9F, 0x3CD9, 0x3F10, 0x0418}},
          {{0x04E5, 0x0178, 0x0081, 0x3CCE, 0x0384, 0x3FAE, 0x3D49, 0x3F33, 0x0384}}}},
        {{{{0x0800, 0x3A6A, 0x3D4F, 0x0800, 0x0AF7, 0x0000, 0x0800, 0x0000, 0x0DDB}},
          {{0x094F, 0x3981, 0x3CDF, 0x094F, 0x0CC2, 0x0000, 0x094F, 0x0000, 0x101E}}},
         {{{0x0800, 0x3C53, 0x3E89, 0x0800, 0x0C51, 0x0000, 0x0800, 0x0000, 0x0E87}},
          {{0x094F, 0x3BBA, 0x3E4B, 0x094F, 0x0E56, 0x0000, 0x094F, 0x0000, 0x10E7}}}},
    };
    for (const int to_rgb : {0, 1})
        for (const int itu709 : {0, 1})
            for (const int full : {0, 1})
                EXPECT_EQ(rx::CONVERTER_MATRICES[to_rgb][itu709][full], matrices[to_rgb][itu709][full])
                    << to_rgb << itu709 << full;
}

// Catches: a start-up write that is missing, doubled or in another place, and a step of another chip revision.
TEST(ReceiverStartUp, WritesItsRegistersInOrderForEachRevision)
{
    using Writes = std::vector<std::pair<int, int>>;
    static const Writes head = {{REG_OUTPUT, 0x3F}, {REG_PORT, 0x0C}, {0x06, 0x00}, {REG_RESET, 0x10},
                                {REG_RESET, 0xA1},  {REG_PORT, 0x0C}, {0x16, 0x0F}, {0x17, 0x85},
                                {REG_MASK3, 0x07},  {0x8C, 0x00}};
    static const Writes first_table = {{REG_BANK, 0x00},      {0x08, 0xCE},      {0x3B, 0x40}, {0x68, 0x03},
                                       {0x6B, 0x11},          {0x6C, 0x00},      {0x93, 0x43}, {0x94, 0x4F},
                                       {0x95, 0x87},          {0x96, 0x33},      {0x56, 0x01}, {0x97, 0x0E},
                                       {REG_CONVERTER, 0x20}, {REG_OUTPUT, 0x5F}};
    static const Writes second_table = {{0x1D, 0x20}, {0x75, 0x60}, {0x3D, 0x40},
                                        {0x1B, 0x00}, {0x1C, 0x00}, {0x78, 0xC1}};
    static const Writes tail = {{REG_RESET, 0x21}, {REG_OUTPUT, 0x7F}, {REG_RESET, 0x20},
                                {REG_PORT, 0x0C},  {REG_OUTPUT, 0x7F}, {0x73, 0x00}};
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
        const Writes writes = bench::writes_since(from);

        Writes expected = head;
        expected.insert(expected.end(), first_table.begin(), first_table.end());
        expected.insert(expected.end(), row.between.begin(), row.between.end());
        expected.insert(expected.end(), second_table.begin(), second_table.end());
        expected.insert(expected.end(), {{REG_OUTPUT, 0x7F}, {REG_RESET, 0x20}});
        expected.insert(expected.end(), row.after.begin(), row.after.end());
        expected.insert(expected.end(), tail.begin(), tail.end());
        if (&row != rows) {
            // Not the first run: the state is SWReset already, and the output was left blanked.
            expected[0] = {REG_OUTPUT, 0x7F};
            expected.erase(expected.end() - 2);
        }
        EXPECT_EQ(writes, expected);
    }
}
