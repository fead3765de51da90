#include "tests/hdmitx/edid_facts.h"

#include "emulator/world/edids.h"
#include "tests/support/bench.h"

#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>

namespace {

std::string output_of(const std::string& line)
{
    std::string text;
    FILE* pipe = popen(line.c_str(), "r");
    if (pipe == nullptr) return text;
    char buffer[4096];
    while (const size_t got = std::fread(buffer, 1, sizeof buffer, pipe)) text.append(buffer, got);
    pclose(pipe);
    return text;
}

class Reader {
public:
    void line(const std::string& text)
    {
        int number = 0;
        if (std::sscanf(text.c_str(), "Block %d,", &number) == 1) begin_block(number, text);
        if (!in_extension_) return;
        if (text == "  Revision: 3") {
            in_cta_ = true;
            facts.cea = true;
            facts.flags = 0;
            facts.vics.clear();
            facts.native.reset();
            std::fill(std::begin(facts.address), std::end(facts.address), 0);
        }
        if (!in_cta_) return;
        if (text.starts_with("  ") && text[2] != ' ') begin_section(text);
        if (section_.starts_with("  Video Data Block")) video(text);
        if (section_.starts_with("  Audio Data Block")) audio(text);
        if (section_.find("Vendor-Specific Data Block (HDMI), OUI") != std::string::npos) vendor(text);
    }
    EdidFacts facts;

private:
    void begin_block(int number, const std::string& text)
    {
        const bool found = facts.oui == 0x000C03;
        in_extension_ = number >= 1 && number <= 4 && !found && text.find("CTA-861") != std::string::npos;
        in_cta_ = false;
        section_.clear();
    }
    void begin_section(const std::string& text)
    {
        section_ = text;
        if (text == "  Basic audio support") facts.flags |= 0x40;
        if (text == "  Supports YCbCr 4:4:4") facts.flags |= 0x20;
        if (text == "  Supports YCbCr 4:2:2") facts.flags |= 0x10;
        if (text == "  Audio Data Block:") facts.descriptors = 0;
        unsigned a = 0, b = 0, c = 0;
        const size_t oui = text.find("OUI ");
        const bool vendor = text.starts_with("  Vendor-Specific Data Block");
        if (vendor && oui != std::string::npos && std::sscanf(&text[oui], "OUI %x-%x-%x", &a, &b, &c) == 3)
            facts.oui = a << 16 | b << 8 | c;
    }
    void video(const std::string& text)
    {
        int vic = 0;
        if (std::sscanf(text.c_str(), "    VIC %d:", &vic) != 1 || vic > 63) return;
        facts.vics.insert(vic);
        if (text.find("native") != std::string::npos && !facts.native) facts.native = vic;
    }
    void audio(const std::string& text)
    {
        if (text.starts_with("    ") && text[4] != ' ') ++*facts.descriptors;
    }
    void vendor(const std::string& text)
    {
        int* a = facts.address;
        const char* line = text.c_str();
        if (std::sscanf(line, "    Source physical address: %d.%d.%d.%d", a, a + 1, a + 2, a + 3) == 4) return;
        if (text == "    DC_48bit") facts.deep_colour |= 0x40;
        if (text == "    DC_36bit") facts.deep_colour |= 0x20;
        if (text == "    DC_30bit") facts.deep_colour |= 0x10;
        int mhz = 0;
        if (std::sscanf(line, "    Maximum TMDS clock: %d MHz", &mhz) == 1) facts.tmds_mhz = mhz;
        if (text == "      3D present") facts.has_3d = true;
    }

    bool in_extension_ = false, in_cta_ = false;
    std::string section_;
};

} // namespace

bool have_edid_decode()
{
    return !output_of("command -v edid-decode").empty();
}

EdidFacts ask_edid_decode(const emu::EdidImage& edid)
{
    const std::string file = bench::scratch("edid.bin");
    emu::save_edid(edid, file);
    std::istringstream text(output_of("edid-decode " + file + " 2>&1"));
    Reader reader;
    for (std::string line; std::getline(text, line);) reader.line(line);
    return reader.facts;
}

EdidVerdict judge_with_edid_decode(const emu::EdidImage& edid)
{
    const std::string file = bench::scratch("judged.bin");
    emu::save_edid(edid, file);
    EdidVerdict verdict;
    bool failures = false, revision_3 = false;
    std::istringstream lines(output_of("edid-decode --check " + file + " 2>&1"));
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with("Block ")) revision_3 = false;
        revision_3 |= line == "  Revision: 3";
        failures |= line == "Failures:";
        if (failures && line.starts_with("  ")) ++verdict.failures;
        if (!failures && revision_3 && line.find("(HDMI), OUI 00-0C-03:") != std::string::npos && line[3] != ' ')
            verdict.hdmi = true;
    }
    return verdict;
}
