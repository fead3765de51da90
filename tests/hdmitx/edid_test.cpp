#include "emulator/world/edids.h"
#include "hdmitx/ddc.h"
#include "hdmitx/display_edid.h"
#include "hdmitx/hdmitx_corrections.h"
#include "tests/hdmitx/edid_facts.h"
#include "tests/hdmitx/output_bench.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <set>
#include <string>

using namespace capd;
using namespace output_bench;

namespace {

int callbacks;
emu::EdidImage delivered;

int take_edid(const unsigned char* image)
{
    ++callbacks;
    delivered.assign(image, image + EDID_IMAGE_SIZE);
    return -1; // which nobody looks at
}

/** Parse a display's EDID; what it returned and printed. */
struct Parsed {
    int result = -1;
    std::string text;
};

Parsed parse(emu::EdidImage edid)
{
    chip().plug({"test", std::move(edid)});
    callbacks = 0;
    Parsed parsed;
    parsed.text = bench::printed([&] { parsed.result = ParseEDID(); });
    return parsed;
}

void start()
{
    start_output();
    hdmitx_set_edid_callback(take_edid);
}

const RxCapability& found()
{
    return hdmitx_rx_capability();
}

std::set<int> vics()
{
    std::set<int> all;
    for (int vic = 0; vic < 64; ++vic)
        if ((found().VDOMode[static_cast<size_t>(vic) / 8] >> vic % 8 & 1) != 0) all.insert(vic);
    return all;
}

/** A good base block with these extensions; each is filled up to a block and gets its checksum. */
emu::EdidImage with_extensions(std::initializer_list<emu::EdidBytes> extensions, uint8_t count = 0)
{
    emu::EdidImage image = emu::find_edid("dvi");
    for (const emu::EdidBytes& bytes : extensions) {
        image.insert(image.end(), bytes.begin(), bytes.end());
        image.resize((image.size() + emu::EDID_BLOCK - 1) / emu::EDID_BLOCK * emu::EDID_BLOCK);
        emu::edid_fix_checksum(image, image.size() / emu::EDID_BLOCK - 1);
    }
    image[0x7E] = count != 0 ? count : static_cast<uint8_t>(extensions.size());
    emu::edid_fix_checksum(image, 0);
    return image;
}

void compare_with_edid_decode(const emu::EdidImage& edid)
{
    const RxCapability before = found();
    const Parsed parsed = parse(edid);
    const EdidFacts facts = ask_edid_decode(edid);
    EXPECT_EQ(parsed.result, 1);
    EXPECT_EQ((found().flags & RX_VALID_CEA) != 0, facts.cea);
    EXPECT_EQ((found().flags & RX_VALID_HDMI) != 0, facts.oui == HDMI_OUI);
    EXPECT_EQ(callbacks, facts.oui == HDMI_OUI ? 1 : 0);
    EXPECT_EQ(found().IEEEOUI, facts.oui);
    EXPECT_EQ(found().DCFlags, facts.deep_colour);
    EXPECT_EQ((found().flags & RX_VALID_3D) != 0, facts.has_3d);
    EXPECT_EQ(int{found().MaxTMDSClock}, facts.tmds_mhz ? *facts.tmds_mhz / 5 : int{before.MaxTMDSClock});
    EXPECT_EQ(int{found().AUDDesCount}, facts.descriptors.value_or(before.AUDDesCount));
    if (!facts.cea) return;
    EXPECT_EQ(found().CEAFlags & 0x70, facts.flags);
    EXPECT_EQ(vics(), facts.vics);
    EXPECT_EQ(int{found().NativeVIC}, facts.native.value_or(NO_NATIVE_VIC));
    EXPECT_EQ(found().PhysAddr[0], facts.address[0] << 4 | facts.address[1]);
    EXPECT_EQ(found().PhysAddr[1], facts.address[2] << 4 | facts.address[3]);
}

/**
 * Good EDIDs by name: those of the emulator, and when CAPD_EDID_DIR names a folder of binary EDID files, real
 * displays'.
 */
std::map<std::string, emu::EdidImage> displays()
{
    std::map<std::string, emu::EdidImage> images;
    for (const emu::ShippedEdid& shipped : emu::shipped_edids())
        if (shipped.good) images[shipped.name] = shipped.image;
    const size_t shipped = images.size();
    const char* folder = std::getenv("CAPD_EDID_DIR");
    if (folder == nullptr) return images;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        if (entry.path().extension() != ".bin") continue;
        const emu::EdidImage image = emu::find_edid(entry.path().string());
        if (emu::edid_checksum_right(image, 0)) images[entry.path().string()] = image;
    }
    EXPECT_GT(images.size(), shipped) << "no EDID in " << folder;
    return images;
}

} // namespace

// Catches: anything that the driver makes of a good EDID and that edid-decode makes otherwise.
TEST(Edid, DisplaysAreReadAsEdidDecodeReadsThem)
{
    if (!have_edid_decode()) GTEST_SKIP() << "edid-decode is not installed";
    start();
    for (const auto& [name, image] : displays()) {
        SCOPED_TRACE(name);
        compare_with_edid_decode(image);
    }
}

// Catches: an HDMI display that the correction misses or a DVI one that it invents, and an EDID for the source that is
// worse than the display's own.
TEST(Edid, CorrectedDisplaysAreHdmiWhereverTheBlockStandsAndTheSourceGetsAValidEdid)
{
    if (!have_edid_decode()) GTEST_SKIP() << "edid-decode is not installed";
    hdmitx_corrections.displays = true;
    start();
    for (const auto& [name, image] : displays()) {
        SCOPED_TRACE(name);
        const EdidVerdict own = judge_with_edid_decode(image);
        parse(image);
        EXPECT_EQ((found().flags & RX_VALID_HDMI) != 0, own.hdmi);
        ASSERT_EQ(callbacks, own.hdmi ? 1 : 0);
        if (!own.hdmi) continue;
        EXPECT_EQ(int{delivered[0x7E]}, 1);
        const EdidVerdict passed_on = judge_with_edid_decode(delivered);
        EXPECT_TRUE(passed_on.hdmi);
        EXPECT_LE(passed_on.failures, own.failures);
    }
}

// Catches: lengths, offsets and counts that lead the parser out of the block, into what is not there, or nowhere.
TEST(Edid, LyingLengthsGiveNothingThatIsNotThere)
{
    const emu::EdidBytes hdmi = {0x03, 0x0C, 0x00};
    const auto at_end = [](const emu::EdidBytes& last) { // data blocks up to the byte before the checksum, these last
        emu::EdidBytes x = {2, 3, 0xFF, 0x40};
        const size_t to = 127 - last.size();
        while (x.size() < to) {
            const size_t length = std::min<size_t>(32, to - x.size());
            x.push_back(static_cast<uint8_t>(0xE0 | (length - 1)));
            x.resize(x.size() + length - 1);
        }
        x.insert(x.end(), last.begin(), last.end());
        return x;
    };
    struct Want {
        bool hdmi;
        std::set<int> vics;
        int audio, address, deep_colour;
        bool has_3d;
    };
    const struct {
        const char* what;
        emu::EdidBytes extension;
        Want want;
    } traps[] = {
        {"no data blocks: offset 0", {2, 3, 0, 0x40, 0x65, 3, 12, 0, 0x10, 0x20}, {false, {}, 9, 0, 0, false}},
        {"offset inside the header", {2, 3, 3, 0x40, 0x65, 3, 12, 0, 0x10, 0x20}, {false, {}, 9, 0, 0, false}},
        {"vendor block without identifier", {2, 3, 7, 0x40, 0x62, 3, 12}, {false, {}, 9, 0, 0, false}},
        {"block past a low offset", {2, 3, 5, 0x40, 0x65, 3, 12, 0, 0x10, 0x20}, {true, {}, 9, 0x1020, 0, false}},
        {"identifier alone", {2, 3, 8, 0x40, 0x63, 3, 12, 0, 0xFF, 0xFF}, {true, {}, 9, 0, 0, false}},
        {"half an address", {2, 3, 9, 0x40, 0x64, 3, 12, 0, 0x10, 0x20}, {true, {}, 9, 0, 0, false}},
        {"no deep colour", {2, 3, 10, 0x40, 0x65, 3, 12, 0, 0x10, 0x20, 0x70}, {true, {}, 9, 0x1020, 0, false}},
        {"3D byte behind the end",
         {2, 3, 13, 0x40, 0x68, 3, 12, 0, 0x10, 0x20, 0x70, 60, 0x20, 0xFF},
         {true, {}, 9, 0x1020, 0x70, false}},
        {"3D byte behind both latencies",
         {2, 3, 18, 0, 0x6D, 3, 12, 0, 0x10, 0x20, 0, 60, 0xE0, 0, 0, 0, 0, 0x80},
         {true, {}, 9, 0x1020, 0, true}},
        {"3D byte without latencies",
         {2, 3, 14, 0, 0x69, 3, 12, 0, 0x10, 0x20, 0, 60, 0x20, 0x80},
         {true, {}, 9, 0x1020, 0, true}},
        {"empty blocks", {2, 3, 12, 0, 0x00, 0x20, 0x40, 0x60, 0xE0, 0x41, 0x90, 0x40}, {false, {16}, 0, 0, 0, false}},
        {"video at the end", at_end({0x5F, 0x90}), {false, {16}, 9, 0, 0, false}},
        {"audio at the end", at_end({0x3F, 9, 7, 7, 15, 7}), {false, {}, 1, 0, 0, false}},
        {"speakers at the end", at_end({0x83, 0x55}), {false, {}, 9, 0, 0, false}},
        {"vendor at the end", at_end({0x7F, 3, 12}), {false, {}, 9, 0, 0, false}},
        {"address at the end", at_end({0x7F, 3, 12, 0, 0x10}), {true, {}, 9, 0, 0, false}},
        {"3D at the end", at_end({0x7F, 3, 12, 0, 0x10, 0x20, 0x70, 60, 0x20}), {true, {}, 9, 0x1020, 0x70, false}},
        {"header at the end", at_end({0x7F}), {false, {}, 9, 0, 0, false}},
        {"speaker block of another length", {2, 3, 10, 0, 0x81, 1, 2, 3, 0x41, 0x04}, {false, {4}, 9, 0, 0, false}},
        {"codes that have no bit", {2, 3, 9, 0, 0x44, 0x40, 0xFF, 0xC1, 0x3F}, {false, {63}, 9, 0, 0, false}},
    };
    start();
    for (const auto& t : traps) {
        SCOPED_TRACE(t.what);
        emu::EdidBytes audio(28, 7); // nine descriptors
        audio[0] = 0x20 | 27;
        parse(with_extensions({emu::edid_cta(3, 0xF0, {audio, emu::cta_hdmi({0x30, 0, 0x70, 60, 0x20, 0x80})}, {})}));
        ASSERT_EQ(found().flags, RX_VALID_CEA | RX_VALID_HDMI | RX_VALID_3D); // of the display before
        const Parsed parsed = parse(with_extensions({t.extension}));
        EXPECT_EQ(parsed.result, 1);
        EXPECT_EQ(found().flags, RX_VALID_CEA | (t.want.hdmi ? RX_VALID_HDMI : 0) | (t.want.has_3d ? RX_VALID_3D : 0));
        EXPECT_EQ(callbacks, t.want.hdmi ? 1 : 0);
        EXPECT_EQ(vics(), t.want.vics);
        EXPECT_EQ(int{found().AUDDesCount}, t.want.audio);
        EXPECT_EQ(found().PhysAddr[0] << 8 | found().PhysAddr[1], t.want.address);
        EXPECT_EQ(int{found().DCFlags}, t.want.deep_colour);
    }
    quietly([] { parse(emu::find_edid("hostile")); });
    EXPECT_EQ(callbacks, 1); // its fourth extension has a good vendor block
}

// Catches: values of a data block at the wrong place, or said in another form.
TEST(Edid, DataBlocksAreTakenAndPrinted)
{
    start();
    const Parsed parsed = parse(with_extensions({emu::edid_cta(
        3, 0x40,
        {emu::cta_audio({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15}), emu::cta_video({0x05, 0x90, 0x84}),
         emu::cta_speakers(0x0F), emu::cta_hdmi({0x12, 0x34, 0xFF, 45, 0x60, 1, 2, 0x80})},
        {})}));
    const std::string text = "RxCapability.AUDDesCount = 5\n"
                             "VIC = 5, RxCapability.VDOMode[0]=20\n"
                             "VIC = 16, RxCapability.VDOMode[2]=01\nnative = 16\n"
                             "VIC = 4, RxCapability.VDOMode[0]=30\n"
                             "IEEEOUI = 00 0C 03 c03next offset = 10err = SUCCESS\n"
                             "RxCapability.IEEEOUI = c03\n";
    ASSERT_GE(parsed.text.size(), text.size());
    EXPECT_EQ(parsed.text.substr(parsed.text.size() - text.size()), text);
    EXPECT_EQ(found().AUDDes[0], (std::array<uint8_t, 3>{1, 2, 3}));
    EXPECT_EQ(found().AUDDes[3], (std::array<uint8_t, 3>{10, 11, 12}));
    EXPECT_EQ(found().SpeakerAlloc, (std::array<uint8_t, 3>{0x0F, 0, 0}));
    EXPECT_EQ(found().MaxTMDSClock, 45);
    EXPECT_EQ(found().NativeVIC, 16);
}

// Catches: too many or too few blocks read, the wrong segment, a block that is parsed twice or should not be, and an
// image that is not what the source has to get.
TEST(Edid, BlocksAreReadByCountAndTheImageHoldsTheLastOne)
{
    const emu::EdidBytes none = emu::edid_cta(3, 0x40, {emu::cta_video({1})}, {});
    const emu::EdidBytes hdmi = emu::edid_cta(3, 0x60, {emu::cta_video({2}), emu::cta_hdmi({0x10, 0})}, {});
    const emu::EdidBytes other = emu::edid_cta(3, 0x10, {{0x63, 0xD8, 0x5D, 0xC4}, emu::cta_video({3})}, {});
    const emu::EdidBytes old = emu::edid_cta(1, 0, {}, {emu::edid_timing("720p60")});
    const struct {
        const char* what;
        emu::EdidImage edid;
        int blocks, callbacks; // blocks read, block 0 included
        std::set<int> vics;
    } cases[] = {
        {"no extension", with_extensions({}), 1, 0, {}},
        {"count of 7", with_extensions({none, none, none, hdmi, other}, 7), 5, 1, {2}},
        {"HDMI in the first", with_extensions({hdmi, other}), 3, 1, {2}},
        {"HDMI in the third", with_extensions({old, none, hdmi, other}), 5, 1, {2}},
        {"HDMI beyond the fourth", with_extensions({none, none, none, none, hdmi}), 5, 0, {1}},
        {"revision 1 alone", with_extensions({old}), 2, 0, {}},
        {"no HDMI", with_extensions({other}), 2, 0, {3}},
    };
    start();
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const uint64_t before = chip().ddc().transactions();
        const Parsed parsed = parse(c.edid);
        EXPECT_EQ(parsed.result, 1);
        EXPECT_EQ(chip().ddc().transactions() - before, static_cast<uint64_t>(c.blocks) * 128);
        EXPECT_EQ(callbacks, c.callbacks);
        if ((found().flags & RX_VALID_CEA) != 0) {
            EXPECT_EQ(vics(), c.vics);
        }
        if (callbacks == 0) continue;
        emu::EdidImage want(c.edid.begin(), c.edid.begin() + 128);
        want.insert(want.end(), c.edid.begin() + (c.blocks - 1) * 128, c.edid.begin() + c.blocks * 128);
        EXPECT_EQ(delivered, want);
    }
    hdmitx_set_edid_callback(nullptr);
    EXPECT_EQ(parse(emu::find_edid("tv")).result, 1);
    EXPECT_EQ(callbacks, 0);
}

// Catches: a failing bus that hangs the daemon, an EDID pieced together from two displays, a failure said otherwise,
// and a bus that stays dead after the trouble has gone.
TEST(Ddc, EveryFailureEndsInTimeAndTheNextPlugInWorks)
{
    using emu::DdcFault;
    static constexpr struct {
        const char* what;
        DdcFault fault;
        const char* text;
    } faults[] = {
        {"no acknowledge", DdcFault::NoAcknowledge, "getHDMITX_EDIDBytes(): DDC_STATUS = 08,fail.\n"},
        {"arbitration", DdcFault::Arbitration, "getHDMITX_EDIDBytes(): DDC_STATUS = 20,fail.\n"},
        {"hang", DdcFault::Hang, "getHDMITX_EDIDBytes(): DDC_STATUS = 10,fail.\n"},
        {"never", DdcFault::Never, "getHDMITX_EDIDBytes(): DDC TimeOut. \n"},
    };
    start();
    for (const auto& f : faults) {
        for (const uint32_t byte : {0u, 64u, 127u, 128u, 200u, 255u}) {
            SCOPED_TRACE(testing::Message() << f.what << " at byte " << byte);
            parse(emu::find_edid("rgb"));
            chip().ddc().make_trouble({.fault = f.fault, .from_byte = byte, .times = 1});
            const auto start_time = bench::now();
            const Parsed failed = parse(emu::find_edid("tv"));
            EXPECT_EQ(failed.result, 0);
            EXPECT_EQ(callbacks, 0);
            EXPECT_EQ(found().flags, 0);
            EXPECT_EQ(bench::count(failed.text, f.text), 1u) << failed.text;
            EXPECT_EQ(bench::count(failed.text, "getHDMITX_EDIDBlock return(1=success): 0\n"), byte < 128 ? 1u : 0u);
            EXPECT_LT(bench::now() - start_time, std::chrono::seconds(2));
            if (f.fault == DdcFault::Never) chip().hang_ddc_bus(); // the chip's own way out of it
            const Parsed next = parse(emu::find_edid("tv"));
            EXPECT_EQ(next.result, 1);
            EXPECT_EQ(callbacks, 1);
        }
    }
    uint8_t byte = 0;
    EXPECT_EQ(getHDMITX_EDIDBytes(nullptr, 0, 0, 1), 1);
    EXPECT_EQ(getHDMITX_EDIDBlock(0, nullptr), 0);
    quietly([&] { EXPECT_EQ(getHDMITX_EDIDBytes(&byte, 0, 0x81, 1), 0); });
    EXPECT_EQ(byte, emu::find_edid("tv")[0x81]);
}

// Catches: a second wait per byte, which a person notices as a late picture.
TEST(Ddc, ReadingTwoBlocksTakesOneMillisecondPerByte)
{
    start();
    const auto start_time = bench::now();
    parse(emu::find_edid("tv"));
    EXPECT_EQ(bench::now() - start_time, std::chrono::milliseconds(256));
}

// Catches: an EDID that is not read, or not in the time that is known of it, where every transfer takes its time: five
// of them and a poll of a millisecond for a byte. The bus is the board's of 100 kHz.
TEST(Ddc, ReadingTwoBlocksTakesAboutASecondOnARealBus)
{
    start();
    bench::tell("i2c speed 100000");
    const auto start_time = bench::now();
    parse(emu::find_edid("tv"));
    EXPECT_NEAR(std::chrono::duration<double>(bench::now() - start_time).count(), 1.2, 0.1);
}
