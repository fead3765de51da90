#include "recorder/edid_passthrough.h"

#include "hdmitx/hdmitx.h"
#include "recorder/daemon_settings.h"
#include "recorder/state.h"
#include "tests/support/bench.h"

#include <algorithm>
#include <functional>
#include <regex>

namespace capd {

using Image = std::array<unsigned char, EDID_IMAGE_SIZE>;

using emu::i2c_address::BOARD;
using emu::i2c_address::EDID_ROM;
constexpr int ATTEMPTS = 3; // of each transfer
constexpr int ROM_READ_BOARD_TRANSFERS = 6;

namespace {

Image display_edid()
{
    Image image;
    for (size_t i = 0; i < image.size(); ++i) image[i] = static_cast<unsigned char>(i ^ 0xA5);
    return image;
}

/** Lines of eight bytes in hexadecimal, as the dumps have them. */
size_t dumped_lines(const std::string& text)
{
    static const std::regex line("(^|\n)([0-9A-F]{2} ){7}[0-9A-F]{2}(?=\n)");
    return static_cast<size_t>(
        std::distance(std::sregex_iterator(text.begin(), text.end(), line), std::sregex_iterator()));
}

struct Case {
    const char* what;
    int differs_at; // byte of the ROM that differs; -1 none
    std::function<void(emu::Box&)> prepare;
    bool succeeds;
    size_t rom_writes;
    size_t dumped; // lines
    const char* logged;
};

void PrintTo(const Case& c, std::ostream* out)
{
    *out << c.what;
}

void nothing(emu::Box& /*box*/) {}

class EdidPassThrough : public testing::TestWithParam<Case> {};

} // namespace

// Catches: a ROM that is written although it is right or must not be, one that is not written because the difference
// is at an end, and access bits that stay behind after a failure.
TEST_P(EdidPassThrough, WritesTheRomOnlyWhenItDiffersAndMay)
{
    const Case& row = GetParam();
    emu::Box& box = bench::box();
    const Image edid = display_edid();
    Image rom = edid;
    if (row.differs_at >= 0) rom[static_cast<size_t>(row.differs_at)] ^= 0xFF;
    box.edid_rom().load(rom);
    const uint8_t control = box.board().control();
    row.prepare(box);
    std::string text;
    {
        bench::Output output;
        EXPECT_EQ(edid_data_callback(edid.data()) == 0, row.succeeds);
        text = output.take();
    }
    EXPECT_NE(text.find(std::string(":edid_data_callback->") + row.logged), std::string::npos) << text;
    EXPECT_EQ(bench::count(text, ":edid_data_callback->Got edid data in callback\n"), 1u);
    EXPECT_EQ(dumped_lines(text), row.dumped);
    if (row.dumped > 0) {
        EXPECT_NE(text.find("A5 A4 A7 A6 A1 A0 A3 A2\nAD "), std::string::npos);
    }
    EXPECT_EQ(box.edid_rom().writes(), row.rom_writes);
    EXPECT_EQ(box.edid_rom().lost_writes(), 0u);
    EXPECT_EQ(box.edid_rom().refused_reads(), 0u);
    EXPECT_EQ(box.i2c().count(EDID_ROM) > 0, row.dumped > 0);
    EXPECT_EQ(std::ranges::equal(box.edid_rom().bytes(), edid), row.differs_at == -1 || row.rom_writes == 256);
    if (row.dumped != 32) {
        EXPECT_EQ(box.board().control(), control);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Cases, EdidPassThrough,
    testing::Values(
        Case{"equal", -1, nothing, true, 0, 64, "Result: \n"},
        Case{"first byte", 0, nothing, true, 256, 64,
             "Found a difference in edidrom and output edid, writing edidrom\n"},
        Case{"last byte", 255, nothing, true, 256, 64, "Found a difference"},
        Case{"write fails half-way", 200, [](emu::Box& box) { box.i2c().fail(EDID_ROM, 256 + 100, ATTEMPTS, ENXIO); },
             false, 100, 64, "Error writing edid data in callback\n"},
        Case{"ROM cannot be given back after the read", 7,
             [](emu::Box& box) { box.i2c().fail(BOARD, ROM_READ_BOARD_TRANSFERS - 1, ATTEMPTS, ENXIO); }, false, 0, 32,
             "Error when reading edidrom, not writing \n"},
        Case{"recording", 7, [](emu::Box&) { enter_state(STATE_RECORDING); }, true, 0, 0,
             "Busy recording, not setting edid data\n"},
        Case{"standby", 7, [](emu::Box&) { enter_state(STATE_POWER_OFF); }, true, 256, 64, "Found a difference"},
        Case{"switched off", 7, [](emu::Box&) { settings.edid_write_disabled = 1; }, true, 0, 0,
             "Edid write disabled\n"}));

} // namespace capd
