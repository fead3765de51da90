#include "tests/tools/tool.h"

#include <fstream>

namespace {

emu::CaptureDiagnostics& driver()
{
    return bench::box().capture().diagnostics();
}

// Catches: a command wired to another member, arguments swapped or cut, a value that is read but not shown.
TEST(BoxtoolDriver, EachCommandReachesItsRequestAndShowsItsAnswer)
{
    static const struct {
        const char* line;
        const char* shown;
        bool (*reached)();
    } cases[] = {
        {"driver version", "1.2.3\n", nullptr},
        {"driver api", "2.3.0\n", nullptr},
        {"driver debug-level 5 0x9abc", "function 5: level 39612 (0x9abc)\n",
         [] { return driver().debug_level(5) == 0x9abc; }},
        {"driver debug-level 5", "function 5: level 39612 (0x9abc)\n", nullptr},
        {"driver codec-error", "error -7\n", nullptr},
        {"video-source 3", "3\n", [] { return driver().video_source() == 3; }},
        {"video-source", "3\n", nullptr},
        {"video-frontend 2", "2\n", [] { return driver().front_end() == 2; }},
        {"video-frontend", "2\n", nullptr},
        {"video-property set 4 -20", "", [] { return driver().property(4) == -20; }},
        {"video-property get 4", " 4                            hue : min=-180 max=180 value=-20\n", nullptr},
        {"video-property set white_balance 3000", "", [] { return driver().property(9) == 3000; }},
        {"video-property get \"White Balance\"", "white_balance : min=2800 max=6500 value=3000\n", nullptr},
        {"video-property get 26", "auto_exposure_priority_range : min=0 max=1 value=0\n", nullptr},
        {"gpio set 7 1", "", [] { return driver().gpio(7).output && driver().gpio(7).level; }},
        {"gpio set 7 0", "", [] { return driver().gpio(7).output && !driver().gpio(7).level; }},
        {"reg write 0x100 0xfedcba98 --yes", "", nullptr},
        {"reg read 256", "0xfedcba98\n", nullptr},
    };
    driver().set_codec_error(-7);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.line);
        const bench::ToolRun run = bench::tool(c.line);
        EXPECT_EQ(run.status, 0) << run.err;
        EXPECT_TRUE(*c.shown == '\0' ? run.out.empty() : run.out.ends_with(c.shown)) << run.out;
        EXPECT_EQ(run.err, "");
        EXPECT_TRUE(c.reached == nullptr || c.reached());
    }
    const std::string list = bench::tool("video-property list").out;
    EXPECT_EQ(bench::count(list, "\n"), 15u);
    EXPECT_NE(list.find("\n14                       exposure : min=1 max=10000 value=156\n"), std::string::npos)
        << list;
    const bench::ToolRun verbose = bench::tool("reg read 256 --verbose");
    EXPECT_EQ(verbose.out, "0xfedcba98\n");
    EXPECT_NE(verbose.err.find("do_rdreg()-> reg 0x00000100, Val = 0xfedcba98\n"), std::string::npos) << verbose.err;
}

// Catches: a transfer that is not split at 64 words, parts that go to the wrong address, bytes in the wrong order.
TEST(BoxtoolMemory, LongTransfersArriveWhole)
{
    ASSERT_EQ(chdir(bench::scratch("").c_str()), 0);
    std::string line = "mem write 0x1000 --yes";
    for (int n = 0; n < 70; ++n) line.append(" ").append(std::to_string(1000 + n));
    const bench::ToolRun written = bench::tool(line);
    EXPECT_EQ(written.out, "70 word(s) written from 0x00001000 on\n");
    for (uint32_t n = 0; n < 70; ++n) EXPECT_EQ(driver().word(0x1000 + 4 * n), 1000 + n);

    const bench::ToolRun read = bench::tool("mem read 0x1000 600");
    EXPECT_EQ(bench::count(read.out, "\n"), 38u);
    EXPECT_NE(read.out.find("\n00001100: 00000428 00000429"), std::string::npos) << "the second request's first words";

    EXPECT_EQ(bench::tool("mem dump 0x1000 278 --yes").status, 0);
    std::ifstream file("dumpdata.dat", std::ios::binary);
    const std::string dump((std::istreambuf_iterator<char>(file)), {});
    ASSERT_EQ(dump.size(), 280u);
    EXPECT_EQ(dump.substr(4 * 69), std::string("\x2d\x04\0\0", 4));

    EXPECT_EQ(bench::tool("mem dump 0x1000 278 --file -").out, dump);

    EXPECT_EQ(bench::tool("dma read 0x1000 280 --file dma.bin --yes").status, 0);
    std::ifstream received("dma.bin", std::ios::binary);
    EXPECT_EQ(std::string((std::istreambuf_iterator<char>(received)), {}), dump);
    EXPECT_EQ(bench::tool("dma write 0x2000 --file dma.bin --yes").status, 0);
    EXPECT_EQ(driver().word(0x2000 + 4 * 69), 1069u);
    EXPECT_EQ(bench::tool("dma write 0x3000 1 0xffffffff --yes").status, 0);
    EXPECT_EQ(driver().word(0x3004), 0xffffffffu);
}

// Catches: a fault that a test passes over or places elsewhere, also at address 0, and tests that blame the memory for
// what an earlier test has found.
TEST(BoxtoolMemory, EachFaultIsFoundAtItsPlace)
{
    static const struct {
        const char* fault;
        const char* mend;
        const char* range;
        const char* verdict; ///< empty: the memory is well
    } cases[] = {
        {"", "", "0 4096", ""},
        {"memory stuck 5 low", "memory stuck off", "0 4096", "the data bus test failed at pattern 0x00000020"},
        {"memory stuck 31 low", "memory stuck off", "0x800 64", "the data bus test failed at pattern 0x80000000"},
        {"memory stuck 0 high", "memory stuck off", "0 4096", "the data bus test failed at pattern 0x00000002"},
        {"memory short 4 7", "memory short off", "0 4096", "the address bus test failed at address 0x00000010"},
        {"memory short 2 11", "memory short off", "0x4000 4096", "the address bus test failed at address 0x00004004"},
        {"memory dead 0x123c", "memory dead off", "0x1000 4096", "the device test failed at address 0x0000123c"},
        {"memory dead 0", "memory dead off", "0 8", "the data bus test failed at pattern 0x00000001"},
        {"memory dead 0x1000", "memory dead off", "0 4096", ""},
        {"memory refuse 0x60", "memory refuse off", "0 128",
         "the device test could not go on: the transfer at 0x00000060 was refused: Input/output error (errno 5); this "
         "says nothing of the memory"},
        {"", "", "0 0x200000",
         "the memory ends at 0x00100000: the range from 0x00000000 to 0x001fffff is not all in it"},
        {"", "", "0x100000 8",
         "the memory ends at 0x00100000: the range from 0x00100000 to 0x00100007 is not all in it"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.fault) + " in " + c.range);
        if (*c.fault != '\0') bench::tell(c.fault);
        const bench::ToolRun run = bench::tool(std::string("mem test --yes ") + c.range);
        EXPECT_EQ(run.status, *c.verdict == '\0' ? 0 : 1);
        EXPECT_EQ(run.err, *c.verdict == '\0' ? "" : std::string("boxtool: ") + c.verdict + "\n");
        if (*c.mend != '\0') bench::tell(c.mend);
    }
}

// Catches: megabytes of text, on the slow line of a serial console, and a test that seems to hang.
TEST(BoxtoolMemory, ATestShowsItsProgressInOneLine)
{
    const bench::Terminal terminal;
    const bench::ToolRun run = bench::tool("mem test 0 0x10000 --yes", -1, terminal.fd());
    EXPECT_EQ(run.out, "data bus            passed\naddress bus         passed\ndevice              passed\n");
    const std::string shown = terminal.shown();
    EXPECT_EQ(bench::count(shown, "\n"), 0u) << shown;
    EXPECT_NE(shown.find("device test: 50 %"), std::string::npos) << shown;
    EXPECT_LT(shown.size(), 4000u);
    EXPECT_EQ(bench::tool("mem test 0 64 --yes").err, "") << "no terminal, no progress";
}

// Catches: a request form, a register or a byte count that is not the asked one, and a scan that misses a chip.
TEST(BoxtoolI2c, TransfersAreTheOnesAskedFor)
{
    EXPECT_EQ(bench::tool("i2c write 0x1c 0x20 0x5a --yes").status, 0);
    const emu::Transfer one = bench::box().i2c().last(0);
    EXPECT_TRUE(!one.is_read && one.device == 0x1c && one.reg == 0x20 && one.length == 1 && one.data[0] == 0x5a);
    EXPECT_EQ(bench::tool("i2c write 28 0x21 1 2 3 --yes").status, 0);
    EXPECT_EQ(bench::box().i2c().last(0).length, 3);

    EXPECT_EQ(bench::tool("i2c read 0x1c 0x20").out, "0x5a\n");
    EXPECT_EQ(bench::tool("i2c read 0x1c 0x20 4").out, "0x5a 0x01 0x02 0x03\n");
    EXPECT_TRUE(bench::box().i2c().last(0).is_read);

    const std::string grid = bench::tool("i2c scan").out;
    EXPECT_EQ(grid.find("     0  1  2"), 0u) << grid;
    EXPECT_NE(grid.find("\n40: -- -- -- -- -- -- -- -- 48 -- -- -- 4c -- 4e --\n"), std::string::npos) << grid;
    EXPECT_TRUE(grid.ends_with("0x1c  board controller\n0x48  HDMI receiver\n0x4c  HDMI transmitter\n"
                               "0x4e  HDMI transmitter, second device\n"));
}

} // namespace
