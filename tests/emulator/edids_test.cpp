// The EDIDs that displays come with, against the standards, and EDIDs from files.
#include "emulator/world/display.h"
#include "emulator/world/edids.h"
#include "tests/support/bench.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <tuple>
#include <utility>

namespace {

/** What a shell line prints, and how it ends. */
std::pair<std::string, int> shell(const std::string& line)
{
    std::string text;
    FILE* pipe = popen(line.c_str(), "r");
    if (pipe == nullptr) return {"", -1};
    char part[512];
    while (fgets(part, sizeof part, pipe) != nullptr) text += part;
    return {text, pclose(pipe)};
}

// Catches: a shipped EDID whose bytes break the standards, so that a driver is tested against nonsense.
TEST(ShippedEdids, KeepTheStandardsUnlessBrokenOnPurpose)
{
    const bool checker = shell("edid-decode --version 2>/dev/null").second == 0;
    const std::string file = bench::scratch("edid.bin");
    for (const emu::ShippedEdid& edid : emu::shipped_edids()) {
        SCOPED_TRACE(edid.name);
        ASSERT_EQ(edid.image.size() % 128, 0u);
        EXPECT_EQ(edid.image.size() / 128, edid.image[126] + 1u);
        for (size_t block = 0; block < edid.image.size() / 128; ++block)
            EXPECT_EQ(emu::edid_checksum_right(edid.image, block), edid.name != "bad-sum" || block != 0) << block;
        if (!checker) continue;
        emu::save_edid(edid.image, file);
        const std::string report = shell("edid-decode --check " + file + " 2>&1").first;
        const size_t failures = report.find("\nFailures:\n");
        if (edid.name == "rev1") {
            // An extension of revision 1 cannot have the data block that the checker asks for; nothing else may fail.
            const std::string rest = failures == std::string::npos ? report : report.substr(failures);
            EXPECT_EQ(std::count(rest.begin(), rest.end(), '.'), 1) << rest;
            EXPECT_NE(rest.find("Missing VCDB"), std::string::npos) << rest;
        } else {
            EXPECT_EQ(report.find("EDID conformity: PASS") != std::string::npos, edid.good) << report;
        }
    }
}

// Catches: displays that do not have what their names promise, and an ability read out of a broken or hostile EDID.
TEST(ShippedEdids, HaveTheAbilitiesTheirNamesPromise)
{
    static constexpr struct {
        const char *name, *product;
        bool hdmi, audio, yuv444, yuv422;
        size_t blocks;
    } displays[] = {{"dvi", "Emu Desk 19", false, false, false, false, 1},
                    {"tv", "Emu TV 42", true, true, true, true, 2},
                    {"yuv444", "Emu TV 444", true, true, true, false, 2},
                    {"yuv422", "Emu TV 422", true, true, false, true, 2},
                    {"rgb", "Emu TV RGB", true, true, false, false, 2},
                    {"noaudio", "Emu Silent 24", true, false, true, true, 2},
                    {"rev1", "Emu Panel 1", false, false, false, false, 2},
                    {"two-cea", "Emu Wall 55", true, true, true, true, 4},
                    {"five-blocks", "Emu Studio 32", true, true, true, true, 5},
                    {"projector", "Emu Beam 800", true, true, true, true, 2},
                    {"dvi-165", "Emu Desk 20", false, false, false, false, 1},
                    {"forum", "Emu TV 40", true, true, true, true, 2},
                    {"vendors", "Emu TV 32", true, true, true, true, 2},
                    {"uhd", "Emu UHD 65", true, true, true, true, 2},
                    {"y420", "Emu UHD 49", true, true, true, true, 2},
                    {"hdr", "Emu HDR 27", true, true, true, true, 2},
                    {"displayid", "Emu Wide 29", true, true, true, true, 4},
                    {"amplifier", "Emu Amp 7.1", true, true, true, true, 2},
                    {"basic-audio", "Emu Kitchen", true, true, false, false, 2},
                    {"late-hdmi", "Emu Wall 75", true, true, true, true, 4},
                    {"no-map", "Emu Wall 43", true, true, true, true, 3},
                    {"bad-header", "", false, false, false, false, 2}};
    for (const auto& d : displays) {
        SCOPED_TRACE(d.name);
        const emu::Display display(d.name, emu::find_edid(d.name));
        const emu::DisplayAbilities& can = display.abilities();
        EXPECT_EQ(can.product, d.product);
        EXPECT_EQ(display.edid().size(), d.blocks * 128);
        EXPECT_EQ(std::tuple(can.hdmi, can.basic_audio, can.yuv444, can.yuv422),
                  std::tuple(d.hdmi, d.audio, d.yuv444, d.yuv422));
    }
}

// 1080p60 and 720p60 as the standard's examples encode them.
TEST(ShippedEdids, EncodeTimingsAsTheStandardDoes)
{
    static constexpr uint8_t p1080[] = {0x02, 0x3A, 0x80, 0x18, 0x71, 0x38, 0x2D, 0x40, 0x58, 0x2C, 0x45, 0x00};
    static constexpr uint8_t p720[] = {0x01, 0x1D, 0x00, 0x72, 0x51, 0xD0, 0x1E, 0x20, 0x6E, 0x28, 0x55, 0x00};
    const emu::EdidImage tv = emu::find_edid("tv");
    EXPECT_TRUE(std::equal(std::begin(p1080), std::end(p1080), tv.begin() + 54));
    EXPECT_TRUE(std::equal(std::begin(p720), std::end(p720), tv.begin() + 72));
}

TEST(EdidFiles, AreTakenInBinaryAndTextAndRefusedWithTheReason)
{
    const emu::EdidImage tv = emu::find_edid("tv");
    std::string text = "# a comment, zz\n";
    for (size_t i = 0; i < tv.size(); ++i) {
        char byte[8];
        std::snprintf(byte, sizeof byte, i < 128 ? "%02x " : "0x%02X,\n", tv[i]);
        text += byte;
    }
    EXPECT_EQ(emu::parse_edid_file(text), tv);
    EXPECT_EQ(emu::parse_edid_file(std::string(tv.begin(), tv.end())), tv);
    const struct {
        std::string content;
        const char* reason;
    } broken[] = {
        {"", "no bytes"},     {"00 ff\n0g", "line 2: '0g'"},         {"00ff0", "'00ff0'"},
        {"00 ff", "2 bytes"}, {std::string(129, '\0'), "129 bytes"}, {std::string(257 * 128, '\0'), "257 blocks"}};
    for (const auto& b : broken) {
        SCOPED_TRACE(b.reason);
        try {
            emu::parse_edid_file(b.content);
            ADD_FAILURE() << "taken";
        } catch (const emu::EdidError& error) {
            EXPECT_NE(std::string(error.what()).find(b.reason), std::string::npos) << error.what();
        }
    }
}

} // namespace
