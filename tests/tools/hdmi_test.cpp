#include "tests/tools/tool.h"

#include "emulator/edids.h"

#include <fstream>
#include <nlohmann/json.hpp>

namespace {

using namespace std::chrono_literals;

std::string save(const std::string& name, std::span<const uint8_t> bytes)
{
    std::string path = bench::scratch(name);
    std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(bytes.data()), std::ssize(bytes));
    return path;
}

// Catches: a ROM that is written shifted, cut or without access and reported as done; a comparison that sees nothing;
// the board's control register left as an access has set it.
TEST(BoxtoolEdid, RomIsCopiedBothWaysAndCompared)
{
    bench::tool("i2c write 0x1c 2 0x0d --yes");
    std::vector<uint8_t> image(256);
    for (size_t i = 0; i < image.size(); ++i) image[i] = static_cast<uint8_t>(255 - i);
    const std::string path = save("rom-in.bin", image), copy = bench::scratch("rom-out.bin");

    EXPECT_EQ(bench::tool("edid compare " + path).status, 1);
    EXPECT_EQ(bench::tool("edid write " + path + " --yes").status, 0);
    EXPECT_TRUE(std::ranges::equal(bench::box().edid_rom().bytes(), image));
    EXPECT_EQ(bench::tool("edid compare " + path).status, 0);
    EXPECT_EQ(bench::tool("edid read " + copy).status, 0);
    EXPECT_EQ(bench::tool("edid compare " + copy).status, 0);
    EXPECT_EQ(bench::box().board().control(), 0x0d);

    image[0xfe] ^= 1;
    EXPECT_NE(bench::tool("edid compare " + save("rom-in.bin", image)).err.find("from byte 0xfe on"),
              std::string::npos);
    const std::string shown = bench::tool("edid show").out;
    EXPECT_NE(shown.find("f0: 0f 0e 0d"), std::string::npos) << shown;
    EXPECT_NE(shown.find("no EDID header"), std::string::npos) << shown;

    bench::box().i2c().fail(0x50, 40, 1, EIO); // the transfer is tried again
    EXPECT_EQ(bench::tool("edid write " + path + " --yes").status, 0);
    bench::box().i2c().fail(0x50, 100, 3, EIO);
    EXPECT_EQ(bench::tool("edid write " + path + " --yes").status, 1);
}

// Catches: a display's blocks out of order or not all read, a comparison with other blocks than the ROM gets, and a
// capability shown under the wrong name.
TEST(BoxtoolOutput, DisplayIsReadAndComparedWithTheRom)
{
    for (const emu::ShippedEdid& display : emu::shipped_edids()) {
        if (!display.good || display.image.size() > 5 * 128) continue;
        SCOPED_TRACE(display.name);
        bench::tell("display plug " + display.name);
        const std::string path = bench::scratch("display.bin");
        const bench::ToolRun run = bench::tool("output edid --file " + path);
        EXPECT_EQ(run.status, 0) << run.err;
        EXPECT_NE(run.out.find("header and checksums are right"), std::string::npos);
        std::ifstream file(path, std::ios::binary);
        const std::string bytes((std::istreambuf_iterator<char>(file)), {});
        EXPECT_TRUE(std::ranges::equal(bytes, display.image, {}, [](char c) { return static_cast<uint8_t>(c); }));

        std::vector<uint8_t> rom(display.image.begin(), display.image.begin() + 128);
        if (display.image.size() > 128) rom.insert(rom.end(), display.image.end() - 128, display.image.end());
        bench::box().edid_rom().load(rom);
        EXPECT_EQ(bench::tool("edid compare --display").status, 0);
        bench::box().edid_rom().fill(0);
        EXPECT_EQ(bench::tool("edid compare --display").status, 1);
        bench::tell("display unplug");
    }
    EXPECT_EQ(bench::tool("output edid").err, "boxtool: no display is connected\n");
}

/** Run a command with --json and take its values. */
nlohmann::json values_of(const std::string& line)
{
    const bench::ToolRun run = bench::tool(line + " --json");
    EXPECT_EQ(run.status, 0) << run.err;
    return nlohmann::json::parse(run.out, nullptr, false);
}

// Catches: a value under another's name or in another unit, and a look that disturbs the daemon's picture.
TEST(BoxtoolInput, ShowsWhatTheDaemonSees)
{
    bench::tell("source 0 plug 1080i60");
    bench::tell("display plug tv");
    bench::Output quiet;
    const bench::Daemon daemon;
    bench::run_for(10s);

    EXPECT_NE(bench::tool("input video").out.find("Mode - 1920x540@"), std::string::npos);
    EXPECT_NE(bench::tool("input infoframes").out.find("GetAVIInfoFrame(): 82 02 0D"), std::string::npos);
    EXPECT_NE(bench::tool("input audio").out.find("IEC 60958 linear PCM"), std::string::npos);

    const nlohmann::json video = values_of("input video"), info = values_of("input info");
    EXPECT_EQ(video["mode"], "HDMI");
    EXPECT_EQ(video["horizontal"]["total"], 2200);
    EXPECT_EQ(video["vertical"]["active"], 540);
    EXPECT_NEAR(video["field_rate_hz"].get<double>(), 60, 1.5);
    EXPECT_EQ(values_of("input infoframes")["avi"].get<std::string>().substr(0, 6), "82020d");
    EXPECT_EQ(values_of("input audio")["kind"], "LPCM");
    EXPECT_EQ(info["height"], 1080);
    EXPECT_EQ(info["frame_rate"], 30);
    EXPECT_EQ(info["interlaced"], true);
    EXPECT_EQ(info["audio_sample_rate"], 48000);
    const nlohmann::json display = values_of("output display");
    EXPECT_EQ(display["output_mode"], "HDMI");
    EXPECT_EQ(display["blanked"], false);
    EXPECT_EQ(display["ycbcr444"], true);
    EXPECT_EQ(display["physical_address"], "1.0.0.0");

    bench::tell("source 0 unplug");
    bench::run_for(2s);
    EXPECT_EQ(values_of("input info")["stable"], false);
}

} // namespace
