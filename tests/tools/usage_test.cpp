#include "tests/tools/tool.h"

#include <fstream>
#include <nlohmann/json.hpp>

namespace {

/** What a command that must not do anything could have changed. */
struct Footprint {
    uint64_t transfers = bench::box().i2c().count();
    uint32_t word = bench::box().capture().diagnostics().word(0);
    uint64_t rom_writes = bench::box().edid_rom().writes();
    size_t nvram_entries = bench::box().nvram().store().size();
    std::string update_log = bench::box().root().read("/run/update/log");
    bool operator==(const Footprint&) const = default;
};

nlohmann::json values_in(const bench::ToolRun& run)
{
    const nlohmann::json values = nlohmann::json::parse(run.out, nullptr, false);
    EXPECT_FALSE(values.is_discarded()) << run.out;
    return values.is_discarded() ? nlohmann::json::object() : values;
}

// Catches: a value that is cut to fit instead of refused, a range that is off by one, an error that does not help, and
// something sent before all arguments were looked at.
TEST(BoxtoolUsage, WrongArgumentsAreRefusedWithTheAllowedRange)
{
    static const struct {
        const char* line;
        const char* error;
    } cases[] = {
        {"i2c read 128 0", "device: 128 is not between 0 and 127 (0x7f)"},
        {"i2c read 0x1c 256", "register: 256 is not between 0 and 255 (0xff)"},
        {"i2c read 0x1c 0 0", "count: 0 is not between 1 and 72 (0x48)"},
        {"i2c write 0x1c 0 1 300 --yes", "value: 300 is not between 0 and 255"},
        {"i2c read one 0", "device: 'one' is not a number, decimal or 0x"},
        {"i2c read 0x 0", "device: '0x' is not a number"},
        {"i2c read 1c 0", "device: '1c' is not a number"},
        {"reg read 0x100000000", "register: 0x100000000 is not between 0 and 4294967295 (0xffffffff)"},
        {"reg read -1", "register: -1 is not between"},
        {"reg read 99999999999999999999", "is not between 0 and 4294967295"},
        {"mem read 2 4", "address: 2 is not a multiple of 4"},
        {"mem read 0 6", "size: 6 is not a multiple of 4"},
        {"mem read 0xfffffffc 8", "size: from address 0xfffffffc on it is between 1 and 4"},
        {"mem test 0 12 --yes", "size: 12 is not a power of two"},
        {"mem write 0 --yes", "word"},
        {"dma write 0 --yes", "give either words or --file"},
        {"dma write 0 1 --file x --yes", "give either words or --file"},
        {"gpio set 256 0", "gpio: 256 is not between 0 and 255"},
        {"gpio set 1 2", "level: 2 is not between 0 and 1"},
        {"video-property get 0", "property: there is no '0'"},
        {"video-property get 27", "with numbers from 1 to 26"},
        {"video-property set 16 1", "with numbers from 1 to 15"},
        {"video-property set brightness_range 1", "there is no 'brightness_range'"},
        {"video-property set 1 2147483648", "value: 2147483648 is not between -2147483648 and 2147483647"},
        {"driver debug-level 65536", "function: 65536 is not between 0 and 65535"},
        {"nvram set 0123456789012345678901234567890123456789012345678901234567890123 v", "64 characters"},
        {"nvram get \"\"", "name: 0 characters are not between 1 and 63"},
        {"edid write /dev/null --yes", "/dev/null: has 0 bytes; an EDID of 128 or 256 is needed"},
        {"edid write /nowhere --yes", "/nowhere: No such file or directory"},
        {"edid compare", "give either a file or --display"},
        {"key --peek --raw", "give either --peek or --raw"},
        {"dma write 0 --file - --yes", "-: is not made of whole 4-byte words"},
        {"reg read", "register is required"},
        {"reg read 1 2", "2"},
        {"reg erase 1", "no such command: erase"},
        {"", "A subcommand is required"},
    };
    bench::tool("reg read 0"); // opens the node
    const Footprint before;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.line);
        const bench::ToolRun run = bench::tool(c.line);
        EXPECT_EQ(run.status, 2);
        EXPECT_NE(run.err.find(c.error), std::string::npos) << run.err;
        EXPECT_EQ(run.out, "");
        const bench::ToolRun as_json = bench::tool(std::string(c.line) + " --json");
        EXPECT_EQ(as_json.status, 2);
        EXPECT_EQ(as_json.err, "");
        EXPECT_EQ("boxtool: " + values_in(as_json).value("error", "") + "\n", run.err) << as_json.out;
    }
    EXPECT_EQ(before, Footprint());
    EXPECT_EQ(bench::tool("i2c read 010 0").err.find("between"), std::string::npos) << "a leading 0 is no octal number";
}

// Catches: a destroying command that does not ask, or takes no answer, an empty one or "no" for a yes.
TEST(BoxtoolUsage, NothingIsDestroyedWithoutConsent)
{
    const std::string edid = bench::scratch("rom.bin");
    ASSERT_EQ(bench::tool("edid read " + edid).status, 0);
    bench::tell("nvram set NAME value");
    bench::tell("card insert");
    bench::box().card().write("update/kernel.bin", "\x7f"
                                                   "image");
    const std::string lines[] = {"i2c write 0x1c 0x20 1", "reg write 0x100 1", "mem write 0 1", "mem test 0 8",
                                 "dma write 0 1",         "nvram empty",       "update run",    "edid write " + edid};
    for (const std::string& line : lines) {
        SCOPED_TRACE(line);
        for (const char* answer : {"", "\n", "n\n", "yesterday\n"}) {
            const Footprint before;
            const bench::Terminal terminal(answer);
            const bench::ToolRun run = *answer == '\0' ? bench::tool(line) : bench::tool(line, terminal.fd());
            EXPECT_EQ(run.status, 2) << "answer " << answer;
            EXPECT_EQ(before, Footprint());
        }
        const bench::Terminal terminal("y\n");
        const bench::ToolRun run = bench::tool(line, terminal.fd());
        EXPECT_EQ(run.status, 0) << run.err;
        EXPECT_NE(run.err.find("Go on? [y/N]"), std::string::npos);
    }
}

// Catches: a refusal that ends with 0, and one that does not say why.
TEST(BoxtoolUsage, WhatTheBoxRefusesEndsWithOneAndTheReason)
{
    static const struct {
        const char* fault;
        const char* line;
        const char* reason;
    } cases[] = {
        {"", "i2c read 0x30 0", "No such device or address"},
        {"", "i2c read 0x30 0 2", "No such device or address"},
        {"", "i2c write 0x30 0 1 --yes", "No such device or address"},
        {"", "reg read 0x100000", "Bad address"},
        {"", "reg write 0x100000 1 --yes", "Bad address"},
        {"", "mem read 0x100000 4", "Bad address"},
        {"", "mem write 0xffffc 1 2 --yes", "Bad address"},
        {"", "dma read 0x100000 4", "Bad address"},
        {"", "dma write 2 1 --yes", "Invalid argument"},
        {"", "gpio set 64 1", "Invalid argument"},
        {"", "video-property set 2 256", "Invalid argument"},
        {"", "video-source 4", "Invalid argument"},
        {"", "nvram get X", "nvram get: there is no entry 'X'"},
        {"nvram refuse all", "nvram get X", "Input/output error"},
        {"", "nvram commit", "Input/output error"},
        {"", "nvram load", "Input/output error"},
        {"", "nvram list", "Input/output error"},
        {"nvram missing on", "nvram set X 1", "/dev/qvnvram"},
        {"i2c fail receiver all", "input info", "HDMI receiver"},
        {"i2c fail board all", "leds", "board controller"},
        {"", "edid show", "board controller"},
        {"i2c fail transmitter all", "output display", "HDMI transmitter"},
        {"", "output edid", "HDMI transmitter"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.line);
        if (*c.fault != '\0') bench::tell(c.fault);
        const bench::ToolRun run = bench::tool(c.line);
        EXPECT_EQ(run.status, 1);
        EXPECT_NE(run.err.find(c.reason), std::string::npos) << run.err;
    }
}

// Catches: a module's message among the JSON, and a value under the wrong name.
TEST(BoxtoolUsage, JsonIsAllThatStandsOnStandardOutput)
{
    static const struct {
        const char* line;
        const char* pointer;
        nlohmann::json value;
    } cases[] = {
        {"driver version --json", "/version", "1.2.3"},
        {"--json driver debug-level 3 7", "/level", 7},
        {"video-property get 4 --json", "/minimum", -180},
        {"video-property list --json", "/properties/3/name", "hue"},
        {"video-property set hue -1 --json", "/value", -1},
        {"gpio set 1 1 --json", "/level", 1},
        {"reg write 0x100 5 --yes --json", "/value", 5},
        {"mem write 0x3000 5 --yes --json", "/words", 1},
        {"nvram commit --json", "", nlohmann::json::object()},
        {"video-source --json", "/value", 0},
        {"reg read 0 --json", "/value", 0x20C40011},
        {"mem read 0 264 --json", "/words/65", 77},
        {"mem dump 0 10 --json", "/bytes", 12},
        {"mem test 0x2000 64 --yes --json", "/tests/2/passed", true},
        {"dma read 0x104 4 --json", "/words/0", 77},
        {"i2c read 0x1c 2 2 --json", "/values/0", 2},
        {"i2c scan --json", "/devices/1/name", "HDMI receiver"},
        {"nvram get NAME --json", "/value", "a \"quoted\" \xef\xbf\xbd"},
        {"leds --json", "/lit/1/3", true},
        {"key --peek --json", "/waiting", true},
        {"key --json", "/name", "power"},
        {"key --raw --json", "/code", nullptr},
        {"edid show --json", "/faults", ""},
        {"edid read rom.bin --yes --json", "/bytes", 256},
        {"edid write rom.bin --yes --json", "/bytes", 256},
        {"input info --json", "/port", 1},
        {"input video --json", "/mode", "DVI"},
        {"output regs --json", "/bank0/23", nullptr},
        {"output display --json", "/connected", false},
        {"update list --json", "/items/0/present", false},
    };
    ASSERT_EQ(chdir(bench::scratch("").c_str()), 0);
    bench::box().capture().diagnostics().word(0x104) = 77;
    bench::box().nvram().set("NAME", "a \"quoted\" \xff"); // not UTF-8
    bench::tell("card insert");
    bench::tell("key power");
    bench::tool("i2c write 0x1c 2 2 --yes");
    bench::tool("i2c write 0x1c 6 8 --yes");
    for (const auto& c : cases) {
        SCOPED_TRACE(c.line);
        const bench::ToolRun run = bench::tool(c.line);
        EXPECT_EQ(run.status, 0) << run.out;
        EXPECT_EQ(run.err, "");
        const nlohmann::json values = values_in(run);
        EXPECT_EQ(values.value(nlohmann::json::json_pointer(c.pointer), nlohmann::json("missing")), c.value);
    }
}

} // namespace
