#include "tests/tools/tool.h"

#include "emulator/world/edids.h"

#include <array>
#include <fstream>
#include <nlohmann/json.hpp>

namespace {

using namespace std::chrono_literals;

std::string text_of(std::span<const uint8_t> bytes)
{
    return {bytes.begin(), bytes.end()};
}

uint8_t as_byte(char c)
{
    return static_cast<uint8_t>(c);
}

std::string save(const std::string& name, const std::string& text)
{
    std::string path = bench::scratch(name);
    std::ofstream(path, std::ios::binary) << text;
    return path;
}

std::string save(const std::string& name, std::span<const uint8_t> bytes)
{
    return save(name, text_of(bytes));
}

std::string contents(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string hex_lines(std::span<const uint8_t> bytes)
{
    std::string text;
    for (size_t i = 0; i < bytes.size(); ++i) {
        char digits[8];
        std::snprintf(digits, sizeof digits, "%02x%s", bytes[i], i % 16 == 15 ? "\n" : " ");
        text += i % 128 == 0 ? std::string("\n") + digits : digits;
    }
    return text;
}

// Catches: a ROM that is written shifted, cut or without access and reported as done; a comparison that sees nothing;
// the board's control register left as an access has set it; a file written over unasked.
TEST(BoxtoolEdid, RomIsCopiedBothWaysAndCompared)
{
    bench::tool("i2c write 0x1c 2 0x0d --yes");
    emu::EdidImage image = emu::find_edid("tv");
    const std::string path = save("rom-in.bin", image), copy = save("rom-out.bin", std::array<uint8_t, 1>{'x'});

    EXPECT_EQ(bench::tool("edid compare " + path).status, 1);
    EXPECT_EQ(bench::tool("edid write " + path + " --yes").status, 0);
    EXPECT_TRUE(std::ranges::equal(bench::box().edid_rom().bytes(), image));
    EXPECT_EQ(bench::tool("edid compare " + path).status, 0);
    EXPECT_EQ(bench::tool("edid read " + copy).err,
              "boxtool: " + copy + " is there already: give --yes to write over it\n");
    EXPECT_EQ(contents(copy), "x");
    EXPECT_EQ(bench::tool("edid read --yes " + copy).status, 0);
    EXPECT_EQ(bench::tool("edid compare " + copy).status, 0);
    EXPECT_EQ(bench::box().board().control(), 0x0d);

    image[0xfe] ^= 1;
    EXPECT_NE(bench::tool("edid compare " + save("rom-in.bin", image)).err.find("from byte 0xfe on"),
              std::string::npos);
    const std::string shown = bench::tool("edid show").out;
    EXPECT_NE(shown.find("\n80: 02 03 "), std::string::npos) << shown;

    bench::box().i2c().fail(emu::i2c_address::EDID_ROM, 40, 1, EIO); // the transfer is tried again
    EXPECT_EQ(bench::tool("edid write " + copy + " --yes").status, 0);
    bench::box().i2c().fail(emu::i2c_address::EDID_ROM, 100, 3, EIO);
    EXPECT_EQ(bench::tool("edid write " + copy + " --yes").status, 1);
}

// Catches: noise in the ROM of which no source can make anything, an EDID that is refused for its form, and one that
// leaves half of another behind it.
TEST(BoxtoolEdid, OnlyAnEdidIsWrittenInWhateverFormItComes)
{
    const emu::EdidImage tv = emu::find_edid("tv"), dvi = emu::find_edid("dvi");
    emu::EdidImage padded = dvi, bad = tv, noise(256);
    padded.resize(256);
    bad[200] ^= 1;
    for (size_t i = 0; i < noise.size(); ++i) noise[i] = static_cast<uint8_t>(i * 167);
    const std::string digits = hex_lines(tv);
    const struct {
        const char* what;
        std::string file;
        const char* options;
        const emu::EdidImage* rom; ///< none: it is refused
        const char* error;
    } cases[] = {
        {"two blocks", text_of(tv), "", &tv, ""},
        {"one block", text_of(dvi), "", &padded, ""},
        {"digits", digits, "", &tv, ""},
        {"what edid-decode prints", "edid-decode (hex):\n\n" + digits + "\n----------------\n\nBlock 0, Base EDID:\n",
         "", &tv, ""},
        {"first half of two", text_of(tv).substr(0, 128), "", nullptr, "block 1 is missing; --force writes it"},
        {"wrong checksum", text_of(bad), "", nullptr, "block 1 has a wrong checksum; --force writes it"},
        {"noise", text_of(noise), "", nullptr, "no EDID header, block 0 has a wrong checksum, block 1"},
        {"noise that is wanted", text_of(noise), "--force", &noise, ""},
        {"another text", "Display: 00 ff", "", nullptr, "'Display:' in it is no hexadecimal byte"},
        {"half a byte", digits + "f", "", nullptr, "'f' in it is no hexadecimal byte"},
        {"three blocks", text_of(tv) + text_of(dvi), "", nullptr, "has 384 bytes; an EDID of 128 or 256 is needed"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const std::string path = save("edid.bin", c.file);
        bench::box().edid_rom().fill(0x55);
        const bench::ToolRun run = bench::tool("edid write --yes " + path + " " + c.options);
        EXPECT_EQ(run.status == 0, c.rom != nullptr);
        EXPECT_NE(run.err.find(c.error), std::string::npos) << run.err;
        const emu::EdidImage untouched(256, 0x55);
        EXPECT_TRUE(std::ranges::equal(bench::box().edid_rom().bytes(), c.rom != nullptr ? *c.rom : untouched));
        const bool good = c.rom == &tv || c.rom == &padded;
        EXPECT_EQ(bench::tool("edid show").status, good ? 0 : 1);

        // The same bytes through pipes.
        const int in = open(path.c_str(), O_RDONLY | O_CLOEXEC);
        EXPECT_EQ(bench::tool(std::string("edid write --file - --yes ") + c.options, in).status, run.status);
        close(in);
        const bench::ToolRun read = bench::tool("edid read --file -");
        EXPECT_EQ(read.status, good ? 0 : 1);
        EXPECT_TRUE(std::ranges::equal(read.out, bench::box().edid_rom().bytes(), {}, as_byte));
    }
}

// Catches: a display's blocks out of order or not all read, a comparison with other blocks than the ROM gets.
TEST(BoxtoolOutput, DisplayIsReadAndComparedWithTheRom)
{
    const std::string path = bench::scratch("display.bin");
    for (const emu::ShippedEdid& display : emu::shipped_edids()) {
        if (!display.good || display.image.size() > 5 * 128) continue;
        SCOPED_TRACE(display.name);
        bench::tell("display plug " + display.name);
        const bench::ToolRun run = bench::tool("output edid --yes --file " + path);
        EXPECT_EQ(run.status, 0) << run.err;
        EXPECT_NE(run.out.find("header and checksums are right"), std::string::npos);
        EXPECT_EQ(contents(path), text_of(display.image));
        EXPECT_EQ(bench::tool("output edid --file -").out, text_of(display.image));

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

// Catches: an EDID that is wrong for one command and right for the other, or that is wrong and ends with 0.
TEST(BoxtoolOutput, AnEdidIsJudgedAlikeWhereverItIsShown)
{
    const struct {
        const char* what;
        const char* display;
        const char* ddc;
        const char* fault; ///< empty: nothing is wrong
    } cases[] = {
        {"good", "tv", "ok", ""},
        {"one block, and none counted", "dvi", "ok", ""},
        {"block 0 broken", "bad-sum", "ok", "block 0 has a wrong checksum"},
        {"no header", "bad-header", "ok", "no EDID header"},
        {"an extension is missing", "tv", "nack at 128", "block 1 is missing"},
        {"the last of four is cut short", "five-blocks", "nack at 560", "block 4 is missing"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        bench::tell(std::string("display plug ") + c.display);
        bench::tell(std::string("display ddc ") + c.ddc);
        const std::string error =
            *c.fault == '\0' ? "" : std::string("boxtool: the display's EDID is wrong: ") + c.fault + "\n";
        for (const char* command : {"output edid", "output display"}) {
            const bench::ToolRun run = bench::tool(command);
            EXPECT_EQ(run.status, error.empty() ? 0 : 1) << command;
            EXPECT_EQ(run.err, error) << command;
        }
        bench::tell("display unplug");
    }
    bench::tell("display plug tv");
    bench::tell("display ddc nack");
    for (const char* command : {"output edid", "output display"})
        EXPECT_EQ(bench::tool(command).err, "boxtool: the display does not give block 0 of its EDID\n");
}

// Catches: codes in the place of names, names of other codes, units that are missing or wrong.
TEST(BoxtoolOutput, ShowsWhatADisplayTakesInWords)
{
    bench::tell("display plug tv");
    const std::string shown = bench::tool("output display").out;
    for (const char* line :
         {"VIC 16  1920x1080p60, 16:9, native\n", "VIC 17  720x576p50, 4:3\n", "VIC 20  1920x1080i50, 16:9\n",
          "LPCM, 2 channels, 32 44.1 48 kHz, 16 20 24 bits\n", "AC-3, 6 channels, 32 44.1 48 kHz, up to 640 kbit/s\n",
          "speakers            FL/FR, LFE, FC, BL/BR\n", "colours             RGB, YCbCr 4:4:4, YCbCr 4:2:2\n",
          "deep colour         30, 36 bits\n", "highest TMDS clock  225 MHz\n", "physical address    1.0.0.0\n"})
        EXPECT_NE(shown.find(line), std::string::npos) << line << shown;
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

    EXPECT_NE(bench::tool("input video").out.find("horizontal          1920 active of 2200 pixels"), std::string::npos);
    EXPECT_NE(bench::tool("input infoframes").out.find("avi                 0x82 0x02 0x0d "), std::string::npos);
    EXPECT_NE(bench::tool("input audio").out.find("word length         24 bits\n"), std::string::npos);
    EXPECT_NE(bench::tool("input info").out.find("sample rate         48000 Hz\n"), std::string::npos);
    EXPECT_NE(bench::tool("input audio -v").err.find("IEC 60958 linear PCM"), std::string::npos);

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
    EXPECT_EQ(info["audio_word_length_bits"], 24);
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
