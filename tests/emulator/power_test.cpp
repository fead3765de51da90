// What the power leaves in each chip when it comes, and what it takes from nobody.
#include "emulator/chips/transmitter_registers.h"
#include "tests/support/bench.h"

#include <numeric>

namespace {

namespace at = emu::i2c_address;
using emu::tx::CLOCKS_BANK;
using emu::tx::REG_CLOCKS;

/** What the chips hold, register by register: 256 of each, of the transmitter's second bank, too. */
std::map<std::string, std::vector<uint8_t>> registers()
{
    emu::Box& box = bench::box();
    std::map<std::string, std::vector<uint8_t>> all;
    for (const auto& [name, address] :
         {std::pair{"receiver", at::RECEIVER}, {"board", at::BOARD}, {"companion", at::TRANSMITTER_COMPANION}}) {
        const uint8_t first = 0;
        all[name].resize(256);
        EXPECT_EQ(box.i2c().read(address, {&first, 1}, all[name]), 0);
    }
    for (int bank = 0; bank < 2; ++bank)
        for (int reg = 0; reg < 256; ++reg)
            all["transmitter " + std::to_string(bank)].push_back(
                box.transmitter().peek(bank, static_cast<uint8_t>(reg)));
    return all;
}

void write(uint8_t address, uint8_t reg, uint8_t value)
{
    const uint8_t bytes[] = {reg, value};
    EXPECT_EQ(bench::box().i2c().write(address, bytes), 0);
}

} // namespace

// Catches: a register that keeps what was written over a power cycle, and one whose stated value is another.
TEST(PowerOn, LeavesInEveryRegisterWhatIsStated)
{
    static constexpr struct {
        const char* chip;
        uint8_t reg, value;
    } stated[] = {
        {"receiver", 0x04, 0xA3},      {"receiver", 0x05, 0x20},      {"receiver", 0x07, 0x00},
        {"receiver", 0x10, 0x00},      {"receiver", 0x89, 0x3F},      {"receiver", 0x9A, 0xFF},
        {"board", 0x02, 0x05},         {"board", 0x05, 0x00},         {"board", 0x06, 0x00},
        {"transmitter 0", 0x04, 0x1D}, {"transmitter 0", 0x05, 0x01}, {"transmitter 0", 0x09, 0xFF},
        {"transmitter 0", 0x0F, 0x78}, {"transmitter 0", 0x16, 0x80}, {"transmitter 0", 0x61, 0x30},
        {"transmitter 0", 0xF8, 0xFF}, {"transmitter 1", 0x58, 0x00},
    };
    const auto before = registers();
    for (const auto& row : stated)
        EXPECT_EQ(int{before.at(row.chip)[row.reg]}, int{row.value}) << row.chip << " 0x" << std::hex << int{row.reg};
    for (const int value : {0x5A, 0xA5})
        for (int reg = 0; reg < 256; ++reg)
            for (const uint8_t chip : {at::RECEIVER, at::BOARD, at::TRANSMITTER, at::TRANSMITTER_COMPANION}) {
                if (chip == at::TRANSMITTER) write(chip, REG_CLOCKS, reg % 2 == 0 ? 0 : CLOCKS_BANK);
                write(chip, static_cast<uint8_t>(reg), static_cast<uint8_t>(value));
            }
    bench::tell("key record");
    EXPECT_NE(registers(), before);
    bench::tell("power-cycle");
    bench::run_for(std::chrono::seconds(1));
    EXPECT_EQ(registers(), before);
}

// Catches: what is not in a chip's registers going with the power, or staying without it; a picture that does not come
// back.
TEST(PowerOn, KeepsRomFlashCardAndCablesAndForgetsTheRest)
{
    emu::Box& box = bench::box();
    box.edid_rom().fill(0x42);
    bench::tell("nvram set KEPT 1");
    bench::tell("nvram flash KEPT 2");
    bench::tell("card insert");
    bench::tell("source 0 plug 720p60");
    bench::tell("display plug tv");
    box.capture().diagnostics().word(64) = 7;
    bench::run_for(std::chrono::seconds(1));
    bench::tell("board brown-out");
    bench::tell("power-cycle");
    bench::run_for(std::chrono::seconds(1));
    EXPECT_EQ(box.edid_rom().bytes()[255], 0x42);
    EXPECT_TRUE(box.nvram().store().empty());
    EXPECT_EQ(box.nvram().flash().at("KEPT"), "2");
    EXPECT_TRUE(box.card().present());
    EXPECT_TRUE(box.receiver().in_sync());
    EXPECT_EQ(box.transmitter().display().name(), "tv");
    EXPECT_FALSE(box.transmitter().output_enabled());
    EXPECT_EQ(box.capture().diagnostics().word(64), 0u);
}

// Catches: a board that loses its registers without its lines following.
TEST(PowerOn, ABrownOutOfTheBoardShowsInItsSwitchesAndLeds)
{
    emu::Box& box = bench::box();
    write(at::BOARD, 2, 0x0E); // port 1, output on
    write(at::BOARD, 5, 0xFF);
    EXPECT_EQ(box.receiver().selected_port(), 1);
    EXPECT_TRUE(box.transmitter().output_enabled());
    bench::tell("board brown-out");
    EXPECT_EQ(box.receiver().selected_port(), 0);
    EXPECT_FALSE(box.transmitter().output_enabled());
    EXPECT_EQ(box.board().leds(0), 0);
    EXPECT_NE(bench::ask("show port").find("output disabled"), std::string::npos);
}
