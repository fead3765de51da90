#include "devaccess/diagnostics/diagnostics.h"

#include "tests/support/bench.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <numeric>

namespace capd {
namespace {

emu::CaptureDiagnostics& driver()
{
    return bench::box().capture().diagnostics();
}

void mend_memory()
{
    for (const char* fault : {"stuck", "short", "dead", "refuse"}) bench::tell(std::string("memory ") + fault + " off");
}

uint32_t test_data_bus(uint32_t addr, uint32_t /*size*/, MemoryTestReport* report)
{
    return memTestDataBus(addr, report);
}

/** Opens the node and forgets what that printed. */
class Diagnostics : public testing::Test {
protected:
    Diagnostics() { do_getapiversion(); }

    /** Run a command from a clean slate. @return what it printed */
    template<typename Command>
    std::string printed(Command command)
    {
        output_.take();
        errno = 0;
        command();
        error_ = errno;
        return output_.take();
    }

    int error_ = 0; ///< errno behind the last command

private:
    bench::Output output_;
};

// Catches: a wrong request code or record (the driver refuses it), a value that does not reach the driver or the
// caller, a text that is not the command's own.
TEST_F(Diagnostics, DriverSettingsAreSetReadAndTold)
{
    // clang-format off
    static const struct {
        int (*run)(int*);
        const char* name;
        const char* told; ///< behind the name
        int result, value; ///< value: as given to the caller
    } cases[] = {
        {[](int* v) { return do_getapiversion(v); }, "do_getapiversion", "ret val=0x20300\n", 0, 0x20300},
        {[](int* v) { return do_getdriverversion(v); }, "do_getdriverversion", "ret val=0x10203\n", 0, 0x10203},
        {[](int* v) { return do_checkcodecerror(v); }, "do_checkcodecerror", "ret val=-7\n", 0, -7},
        {[](int*) { return do_setdriverdbglevel(0xFFFE, 0x1FFFF); }, "do_setdriverdbglevel", "ret func=65534  val=65535 \n", 0, 77},
        {[](int* v) { return do_getdriverdbglevel(0xFFFE, v); }, "do_getdriverdbglevel", "ret func=65534  val=65535 \n", 0, 65535},
        {[](int*) { return do_setvideosource(3); }, "do_setvideosource", "val=3 \n", 0, 77},
        {[](int*) { return do_setvideofrontend(2); }, "do_setvideofrontend", "val=2\n", 0, 77},
        {[](int* v) { return do_getvideosource(v); }, "do_getvideosource", "ret val=3\n", 0, 3},
        {[](int* v) { return do_getvideofrontend(v); }, "do_getvideofrontend", "ret val=2\n", 0, 2},
        {[](int*) { return do_setvideosource(4); }, "do_setvideosource", "val=4 \n", -1, 77},
    };
    // clang-format on
    bench::tell("codec error -7");
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        int value = 77;
        const std::string text = printed([&] { EXPECT_EQ(c.run(&value), c.result); });
        const std::string arrow = std::string(c.name) + "()-> ";
        EXPECT_EQ(text, arrow + c.told + arrow + "return " + std::to_string(c.result) + "\n\n");
        EXPECT_EQ(value, c.value);
        EXPECT_EQ(error_, c.result == 0 ? 0 : EINVAL) << "printing may not lose the reason";
    }
    for (const int level : {5, 0}) {
        EXPECT_EQ(printed([&] { do_setgpio(9, level); }), "do_setgpio()-> return 0\n\n");
        EXPECT_TRUE(driver().gpio(9).output);
        EXPECT_EQ(driver().gpio(9).level, level != 0);
    }
    EXPECT_EQ(do_setgpio(64, 1), -1);
}

// Catches: an id sent without the offset of the reads, names that are shifted, a refused read that gives values.
TEST_F(Diagnostics, VideoPropertiesAreReadAndSetByNumber)
{
    VideoProperty property{};
    EXPECT_EQ(printed([] { do_setvideoprop(4, -90); }),
              "do_setvideoprop()-> Func=Set 4 (Hue), val=-90 \ndo_setvideoprop()-> return 0\n\n");
    EXPECT_EQ(printed([&] { do_getvideoprop(4, &property); }),
              "do_getvideoprop()->  Func=Get 4 (Hue), ret val=-90 min=-180 max=180 \ndo_getvideoprop()-> return 0\n\n");
    EXPECT_EQ(property.value, -90);
    EXPECT_EQ(property.maximum, 180);
    EXPECT_EQ(printed([&] { EXPECT_EQ(do_getvideoprop(27, &property), -1); }),
              "do_getvideoprop()->  Func=Get 27 (UnKnown), ret val=0 min=0 max=0 \ndo_getvideoprop()-> return -1\n\n");
    EXPECT_EQ(property.value, -90) << "only a success gives values";
    for (const int id : {0, -1, 27, INT32_MAX, INT32_MIN}) EXPECT_STREQ(video_property_name(id), "UnKnown");

    const std::string readable = printed(getvidprop_help);
    EXPECT_TRUE(readable.starts_with("\ngetvidprop 1 : for PowerLine Freq\ngetvidprop 2 : for Brightness\n"));
    EXPECT_TRUE(readable.ends_with("getvidprop 26 : for Auto Exposure Priority range\n\n"));
    EXPECT_TRUE(printed(setvidprop_help).ends_with("setvidprop 15 <value_in_dec> : for Auto Exposure Priority\n\n"));
}

// Catches: three attempts where one is meant, a byte or a register told after a failure.
TEST_F(Diagnostics, I2cAndChipRegisters)
{
    const uint64_t before = bench::box().i2c().count();
    EXPECT_EQ(printed([] { do_wri2c(0x4E, 0xF0, 0xAB); }),
              "do_wri2c()-> i2c dev=4e, reg=f0, val=ab \ndo_wri2c()-> return 0\n\n");
    EXPECT_EQ(printed([] { EXPECT_EQ(do_rdi2c(0x4E, 0xF0), 0xAB); }),
              "do_rdi2c()-> i2c dev=4e, reg=f0, val=ab \ndo_rdi2c()-> return 0\n\n");
    int result = 0;
    EXPECT_EQ(printed([&] { EXPECT_EQ(do_rdi2c(0x22, 7, &result), 0); }),
              "do_rdi2c()-> i2c dev=22, reg=07, val=00 \ndo_rdi2c()-> return -1\n\n");
    EXPECT_EQ(result, -1);
    EXPECT_EQ(bench::box().i2c().count() - before, 3U);

    uint32_t value = 0;
    EXPECT_EQ(printed([] { do_wrreg(0x10, 0xC0FFEE); }),
              "\ndo_wrreg()-> reg 0x00000010, Val = 0x00c0ffee\ndo_wrreg()-> return 0\n\n");
    EXPECT_EQ(printed([&] { do_rdreg(0x10, &value); }),
              "\ndo_rdreg()-> reg 0x00000010, Val = 0x00c0ffee\ndo_rdreg()-> return 0\n\n");
    EXPECT_EQ(value, 0xC0FFEEU);
    EXPECT_EQ(printed([] { do_wrreg(0x11, 1); }), "do_wrreg()-> return -1\n\n");
    EXPECT_EQ(printed([&] { do_rdreg(0x11, &value); }), "do_rdreg()-> return -1\n\n");
    EXPECT_EQ(value, 0xC0FFEEU);
}

// Catches: words that overrun the record, a size in bytes taken for one in words, a dump with lines of another length.
TEST_F(Diagnostics, MemoryIsWrittenReadAndDumpedInWords)
{
    std::array<uint32_t, 70> words{};
    std::iota(words.begin(), words.end(), 0xF0000000U);
    EXPECT_EQ(printed([&] { do_wrmem(0x100, 5, words.data()); }),
              "\ndo_wrmem()-> mem addr=0x100, size=0x5\n\n00000100: F0000000 F0000001 F0000002 F0000003 \n"
              "00000110: F0000004 \n\ndo_wrmem()-> return 0\n\n");
    std::array<uint32_t, 70> got{};
    EXPECT_EQ(printed([&] { do_rdmem(0x104, 15, got.data()); }),
              "\ndo_rdmem()-> mem addr=0x104, size=0x3\n\n00000104: F0000001 F0000002 F0000003 \n\n"
              "do_rdmem()-> return 0\n\n");
    EXPECT_EQ(got[2], words[3]);
    EXPECT_EQ(got[3], 0U);

    driver().word(0x200) = 7;
    EXPECT_EQ(printed([&] { do_wrmem(0x200, 65, words.data()); }), "do_wrmem()-> return -1\n\n");
    EXPECT_EQ(error_, EINVAL);
    EXPECT_EQ(do_rdmem(0x200, 65 * 4, got.data()), -1);
    EXPECT_EQ(do_wrmem(0x200, 0, words.data()), 0);
    EXPECT_EQ(driver().word(0x200), 7U);
    EXPECT_EQ(do_wrmem(0x200, 64, words.data()), 0);
    EXPECT_EQ(do_rdmem(0x200, 64 * 4, got.data()), 0);
    EXPECT_TRUE(std::equal(got.begin(), got.begin() + 64, words.begin()));
    EXPECT_EQ(printed([] { do_rdmem(1 << 20, 4); }),
              "\ndo_rdmem()-> mem addr=0x100000, size=0x1\ndo_rdmem()-> return -1\n\n");
}

// Catches: a byte count that wraps or is one of words, a buffer of ours that is too small, a size that no machine has.
TEST_F(Diagnostics, DmaMovesTheCallersBuffer)
{
    const uint32_t sent[] = {1, 2, 3};
    char expected[160];
    snprintf(expected, sizeof(expected),
             "\ndo_dmawr()-> mem addr=0x40, size=0xc, buff=0x%lx\n\n00000040: 00000001 00000002 00000003 \n\n"
             "do_dmawr()-> return 0\n\n",
             static_cast<unsigned long>(reinterpret_cast<uintptr_t>(sent)));
    EXPECT_EQ(printed([&] { do_dmawr(0x40, 3, sent); }), expected);
    EXPECT_EQ(driver().word(0x48), 3U);
    uint32_t got[2] = {};
    EXPECT_TRUE(printed([&] {
                    EXPECT_EQ(do_dmard(0x40, 11, got), 0);
                }).ends_with("\n\n00000040: 00000001 00000002 \n\ndo_dmard()-> return 0\n\n"));
    EXPECT_EQ(got[1], 2U);
    EXPECT_EQ(do_dmawr(0x40, 0, sent), 0);
    EXPECT_EQ(do_dmawr(0x40, 0x40000000, sent), -1);
    EXPECT_EQ(do_dmard(1 << 20, 4, got), -1);
}

// Catches: a last chunk that is too long or lost, a dump that goes on after a refused request, an endless one at the
// top of the address space.
TEST_F(Diagnostics, DumpsMemoryToAFileInChunks)
{
    namespace fs = std::filesystem;
    fs::current_path(bench::box().root().path());
    for (uint32_t at = 0; at < 1024; at += 4) driver().word(0x80 + at) = at;
    static const struct {
        const char* what;
        uint32_t addr, size;
        int result;
        uint64_t written;
    } cases[] = {
        {"nothing", 0x80, 0, 0, 0},
        {"a part of a word", 0x80, 1, 0, 4},
        {"whole chunks", 0x80, 512, 0, 512},
        {"a part of the last", 0x80, 600, 0, 600},
        {"odd", 0x80, 601, 0, 604},
        {"a word more than a chunk", 0x80, 260, 0, 260},
        {"past the memory", (1 << 20) - 256, 600, -1, 256},
        {"largest size", (1 << 20) - 512, 0xFFFFFFFF, -1, 512},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(do_dumpmem(c.addr, c.size), c.result);
        EXPECT_EQ(fs::file_size("dumpdata.dat"), c.written);
    }
    do_dumpmem(0x80, 600);
    const std::string dump = bench::box().root().read("/dumpdata.dat");
    EXPECT_EQ(dump.substr(596, 4), std::string("\x54\x02\0\0", 4)) << "word of offset 596";
    fs::remove("dumpdata.dat");
    fs::create_directory("dumpdata.dat");
    EXPECT_EQ(printed([] { EXPECT_EQ(do_dumpmem(0x80, 4), -1); }),
              "\ndo_dumpmem()-> mem addr=0x80, size=0x4 dump to ./dumpdata.dat\n"
              "\ndo_dumpmem()-> can not open output file to ./dumpdata.dat\ndo_dumpmem()-> return -1\n\n");
}

// Catches: a test that misses its fault, blames another address, runs past its range or does not end.
TEST_F(Diagnostics, MemoryTestsFindTheirFaultsAtTheRightPlace)
{
    static const struct {
        const char* what;
        const char* fault;
        uint32_t (*run)(uint32_t, uint32_t, MemoryTestReport*);
        uint32_t base, size, at;
        bool passed;
        int error = 0; ///< of the transfer; 0 is a fault of the memory
    } cases[] = {
        {"data, well", "", test_data_bus, 0, 0, 0, true},
        {"data, stuck high", "memory stuck 31 high", test_data_bus, 8, 0, 1, false},
        {"data, stuck low", "memory stuck 31 low", test_data_bus, 8, 0, 0x80000000, false},
        {"data, no memory", "", test_data_bus, 1 << 20, 0, 1, false, EFAULT},
        {"address, well", "", memTestAddressBus, 0x1000, 0x1000, 0, true},
        {"address, shorted lines", "memory short 4 6", memTestAddressBus, 0, 0x1000, 0x10, false},
        {"address, shorted outside", "memory short 14 15", memTestAddressBus, 0, 0x1000, 0, true},
        {"address, dead first word", "memory dead 0", memTestAddressBus, 0, 0x1000, 4, false},
        {"address, no word", "", memTestAddressBus, 0, 3, 0, true},
        {"address, odd size", "memory dead 0x20", memTestAddressBus, 0, 0x27, 0x20, false},
        {"address, behind an odd size", "memory dead 0x20", memTestAddressBus, 0, 0x22, 0, true},
        {"address, largest size", "", memTestAddressBus, 0, 0xFFFFFFFF, 1 << 20, false, EFAULT},
        {"device, well", "", memTestDevice, 0x40, 0x103, 0, true},
        {"device, no word", "memory dead 0x40", memTestDevice, 0x40, 3, 0, true},
        {"device, dead last word", "memory dead 0x13c", memTestDevice, 0x40, 0x100, 0x13C, false},
        {"device, dead behind it", "memory dead 0x140", memTestDevice, 0x40, 0x103, 0, true},
        {"device, dead word 0", "memory dead 0", memTestDevice, 0, 0x100, 0, false},
        {"device, refused last word", "memory refuse 0x13c", memTestDevice, 0x40, 0x100, 0x13C, false, EIO},
        {"device, end of memory", "", memTestDevice, (1 << 20) - 8, 0xFFFFFFF0, 1 << 20, false, EFAULT},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        mend_memory();
        if (*c.fault != '\0') bench::tell(c.fault);
        MemoryTestReport report{.passed = !c.passed};
        const std::string text = printed([&] { EXPECT_EQ(c.run(c.base, c.size, &report), c.at); });
        EXPECT_EQ(report.passed, c.passed);
        EXPECT_EQ(report.error, c.error);
        char last[40];
        snprintf(last, sizeof(last), c.passed ? "()--> pass\n" : "()--> fail(0x%08x)\n", c.at);
        EXPECT_TRUE(text.ends_with(last)) << text.substr(text.size() - std::min<size_t>(text.size(), 80));
    }
    mend_memory();
    EXPECT_EQ(printed([] { memTestDevice(0x40, 4); }),
              "memTestDevice()--> test range (0x00000040 - 0x00000043)\n\rmemTestDevice()--> writing 0x00000001 to "
              "0x00000040\rmemTestDevice()--> reading 0x00000040\nmemTestDevice()--> pass\n");
}

} // namespace
} // namespace capd
