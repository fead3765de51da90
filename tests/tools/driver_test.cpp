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
        {"driver version", "do_getdriverversion()-> ret val=0x10203", nullptr},
        {"driver api", "do_getapiversion()-> ret val=0x20300", nullptr},
        {"driver debug-level 5 0x9abc", "ret func=5  val=39612", [] { return driver().debug_level(5) == 0x9abc; }},
        {"driver debug-level 5", "do_getdriverdbglevel()-> ret func=5  val=39612", nullptr},
        {"driver codec-error", "do_checkcodecerror()-> ret val=-7", nullptr},
        {"video-source 3", "do_setvideosource()-> val=3", [] { return driver().video_source() == 3; }},
        {"video-source", "do_getvideosource()-> ret val=3", nullptr},
        {"video-frontend 2", "do_setvideofrontend()-> val=2", [] { return driver().front_end() == 2; }},
        {"video-frontend", "do_getvideofrontend()-> ret val=2", nullptr},
        {"video-property set 4 -20", "Func=Set 4 (Hue), val=-20", [] { return driver().property(4) == -20; }},
        {"video-property get 4", "Func=Get 4 (Hue), ret val=-20 min=-180 max=180", nullptr},
        {"video-property get 26", "(Auto Exposure Priority range)", nullptr},
        {"gpio set 7 1", "do_setgpio()-> return 0", [] { return driver().gpio(7).output && driver().gpio(7).level; }},
        {"gpio set 7 0", "do_setgpio()-> return 0", [] { return driver().gpio(7).output && !driver().gpio(7).level; }},
        {"reg write 0x100 0xfedcba98 --yes", "reg 0x00000100, Val = 0xfedcba98", nullptr},
        {"reg read 256", "do_rdreg()-> reg 0x00000100, Val = 0xfedcba98", nullptr},
    };
    driver().set_codec_error(-7);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.line);
        const bench::ToolRun run = bench::tool(c.line);
        EXPECT_EQ(run.status, 0) << run.err;
        EXPECT_NE(run.out.find(c.shown), std::string::npos) << run.out;
        EXPECT_TRUE(c.reached == nullptr || c.reached());
    }
}

// Catches: a transfer that is not split at 64 words, parts that go to the wrong address, bytes in the wrong order.
TEST(BoxtoolMemory, LongTransfersArriveWhole)
{
    ASSERT_EQ(chdir(bench::scratch("").c_str()), 0);
    std::string line = "mem write 0x1000 --yes";
    for (int n = 0; n < 70; ++n) line.append(" ").append(std::to_string(1000 + n));
    const bench::ToolRun written = bench::tool(line);
    EXPECT_EQ(bench::count(written.out, "do_wrmem()-> return 0"), 2u);
    for (uint32_t n = 0; n < 70; ++n) EXPECT_EQ(driver().word(0x1000 + 4 * n), 1000 + n);

    const bench::ToolRun read = bench::tool("mem read 0x1000 600");
    EXPECT_EQ(bench::count(read.out, "do_rdmem()-> mem addr="), 3u);
    EXPECT_NE(read.out.find("00001100: 00000428 "), std::string::npos) << "the second request's first words";

    EXPECT_EQ(bench::tool("mem dump 0x1000 278").status, 0);
    std::ifstream file("dumpdata.dat", std::ios::binary);
    const std::string dump((std::istreambuf_iterator<char>(file)), {});
    ASSERT_EQ(dump.size(), 280u);
    EXPECT_EQ(dump.substr(4 * 69), std::string("\x2d\x04\0\0", 4));

    EXPECT_EQ(bench::tool("dma read 0x1000 280 --file dma.bin").status, 0);
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

// Catches: a request form, a register or a byte count that is not the asked one, and a scan that misses a chip.
TEST(BoxtoolI2c, TransfersAreTheOnesAskedFor)
{
    EXPECT_EQ(bench::tool("i2c write 0x1c 0x20 0x5a --yes").status, 0);
    const emu::Transfer one = bench::box().i2c().last(0);
    EXPECT_TRUE(!one.is_read && one.device == 0x1c && one.reg == 0x20 && one.length == 1 && one.data[0] == 0x5a);
    EXPECT_EQ(bench::tool("i2c write 28 0x21 1 2 3 --yes").status, 0);
    EXPECT_EQ(bench::box().i2c().last(0).length, 3);

    EXPECT_NE(bench::tool("i2c read 0x1c 0x20").out.find("do_rdi2c()-> i2c dev=1c, reg=20, val=5a"), std::string::npos);
    EXPECT_EQ(bench::tool("i2c read 0x1c 0x20 4").out, "20: 5a 01 02 03\n");
    EXPECT_TRUE(bench::box().i2c().last(0).is_read);

    EXPECT_EQ(bench::tool("i2c scan").out, "0x1c  board controller\n0x48  HDMI receiver\n0x4c  HDMI transmitter\n"
                                           "0x4e  HDMI transmitter, second device\n");
}

} // namespace
