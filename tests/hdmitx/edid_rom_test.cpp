#include "devaccess/board.h"
#include "devaccess/i2c.h"
#include "hdmitx/edid_rom.h"
#include "tests/hdmitx/output_bench.h"

#include <algorithm>
#include <numeric>

using namespace capd;
using namespace output_bench;

namespace {

using emu::i2c_address::BOARD, emu::i2c_address::EDID_ROM;
constexpr int CONTROL = 2;

emu::EdidRom& rom()
{
    return bench::box().edid_rom();
}

std::array<unsigned char, 2> scratch;

std::array<unsigned char, 256> numbered()
{
    std::array<unsigned char, 256> bytes;
    std::iota(bytes.begin(), bytes.end(), static_cast<unsigned char>(1));
    return bytes;
}

} // namespace

// Catches: bits of the control register that a port selection or the output enable loses.
TEST(Board, PortAndOutputSwitchesKeepTheOtherBits)
{
    static constexpr struct {
        const char* what;
        int before;
        int (*step)();
        int after, port;
    } steps[] = {
        {"port 1", 0x09, [] { return board_select_hdmirx_port(1); }, 0x0E, 1},
        {"port 0", 0xF2, [] { return board_select_hdmirx_port(0); }, 0xF5, 0},
        {"port 2", 0x0A, [] { return board_select_hdmirx_port(2); }, 0x0E, 1},
        {"port -1, none before", 0x40, [] { return board_select_hdmirx_port(-1); }, 0x44, -1},
        {"output on", 0xC3, board_enable_hdmitx, 0xCB, 0}, // both ports: the first counts
        {"output off", 0xCE, board_disable_hdmitx, 0xC6, 1},
    };
    edidrom_init();
    for (const auto& s : steps) {
        SCOPED_TRACE(s.what);
        i2c_write_board(CONTROL, s.before);
        EXPECT_EQ(s.step(), 0);
        EXPECT_EQ(bench::box().board().control(), s.after);
        EXPECT_EQ(board_get_hdmirx_port(), s.port);
    }
}

// Catches: a lost read of the control register that is written back as 0: no port, and an output that is off for good.
TEST(Board, ALostReadSwitchesNothingOff)
{
    static constexpr struct {
        const char* what;
        void (*step)();
        std::initializer_list<uint64_t> reads; // transfers before each of them
        int after;
    } steps[] = {
        {"ROM read", [] { edidrom_read(scratch.data(), 0, 2); }, {0, 1, 3}, 0x0D},
        {"ROM write", [] { edidrom_write(scratch.data(), 0, 2); }, {0, 2}, 0x0D},
        {"port 1", [] { board_select_hdmirx_port(1); }, {0}, 0x0E},
        {"output on", [] { board_enable_hdmitx(); }, {0}, 0x0D},
    };
    edidrom_init();
    for (const auto& s : steps) {
        for (const uint64_t skip : s.reads) {
            SCOPED_TRACE(std::string(s.what) + " after " + std::to_string(skip));
            i2c_write_board(CONTROL, 0x0D);
            bench::box().i2c().fail(BOARD, skip, 3, EIO);
            bench::Output output;
            s.step();
            EXPECT_EQ(bench::count(output.take(), "do_rdi2cnb() ioctl failed"), 1u);
            EXPECT_EQ(bench::box().board().control(), s.after);
        }
    }
    EXPECT_EQ(bench::box().edid_rom().lost_writes(), 0u);
}

// Catches: an access without the ROM's switch, a control register that is not put back, bytes at the wrong place, and
// a LED write between two transfers that disturbs the access.
TEST(EdidRom, BytesArriveAndTheControlRegisterComesBack)
{
    edidrom_init();
    const auto image = numbered();
    std::array<unsigned char, 256> back{};
    for (const int control : {0x0D, 0x0E, 0x3F, 0x00, 0xC4}) {
        SCOPED_TRACE(control);
        i2c_write_board(CONTROL, control);
        rom().fill(0);
        EXPECT_EQ(edidrom_write(image.data(), 0, 256), 0);
        EXPECT_TRUE(std::ranges::equal(rom().bytes(), image));
        EXPECT_EQ(bench::box().board().control(), control);
        static constexpr unsigned int led[] = {5, 0xFF};
        do_wri2cnb(1, BOARD, 2, led);
        EXPECT_EQ(edidrom_read(back.data(), 0, 256), 0);
        EXPECT_EQ(back, image);
        EXPECT_EQ(bench::box().board().control(), control);
    }
    EXPECT_EQ(edidrom_write(image.data(), 16, 2), 0);
    EXPECT_EQ(rom().bytes()[16], 1);
    EXPECT_EQ(rom().bytes()[18], 19);
    EXPECT_EQ(rom().lost_writes() + rom().refused_reads(), 0u);
    EXPECT_EQ(edidrom_close(), 0);
}

// Catches: a copy that goes on after a byte failed, a failure that goes unreported or leaves the ROM taken away, and
// an access that goes on although the board did not give the ROM.
TEST(EdidRom, FailuresStopTheCopyAndAlwaysGiveTheRomBack)
{
    static constexpr struct {
        const char* what;
        uint8_t device;
        uint64_t skip; // transfers that pass first; three attempts fail
        bool write;
        int ok;           // result is 0
        unsigned written; // bytes
        const char* text;
    } failures[] = {
        {"first byte", EDID_ROM, 0, true, false, 0, "### errror writing edid info\n"},
        {"half-way", EDID_ROM, 128, true, false, 128, "### errror writing edid info\n"},
        {"last byte", EDID_ROM, 255, true, false, 255, "### errror writing edid info\n"},
        {"prepare of a write", BOARD, 3, true, false, 0, nullptr},
        {"prepare of a read", BOARD, 4, false, true, 0, nullptr},
        {"read of a byte", EDID_ROM, 7, false, true, 0, nullptr},
    };
    edidrom_init();
    const auto image = numbered();
    for (const auto& f : failures) {
        SCOPED_TRACE(f.what);
        i2c_write_board(CONTROL, 0x0D);
        rom().fill(0xEE);
        const uint64_t written = rom().writes();
        std::array<unsigned char, 256> back;
        back.fill(0x55);
        bench::box().i2c().fail(f.device, f.skip, 3, EIO);
        int result = 0;
        const std::string text = bench::printed(
            [&] { result = f.write ? edidrom_write(image.data(), 0, 256) : edidrom_read(back.data(), 0, 256); });
        bench::box().i2c().mend(f.device);
        EXPECT_EQ(result == 0, f.ok);
        EXPECT_EQ(rom().writes() - written, f.written);
        EXPECT_EQ(bench::box().board().control(), 0x0D);
        EXPECT_EQ(bench::count(text, "### errror writing edid info\n"), f.text != nullptr ? 1u : 0u);
        if (f.write) continue;
        const bool prepared = f.device == EDID_ROM;
        EXPECT_EQ(back[7], prepared ? 0x00 : 0x55); // the byte whose transfer failed
        EXPECT_EQ(back[8], prepared ? 0xEE : 0x55);
    }
}
