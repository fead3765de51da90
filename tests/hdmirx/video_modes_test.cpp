#include "hdmirx/hdmirx_corrections.h"
#include "hdmirx/hdmirx_picture.h"
#include "hdmirx/src/hdmirx/video_mode.h"
#include "hdmirx/src/hdmirx/video_state.h"
#include "tests/hdmirx/receiver_bench.h"

#include <map>

using namespace capd;
using bench::box;
using bench::picture;

namespace {

constexpr uint8_t PROGRESSIVE = 0x01;

/** The nominal timing of a row of the mode table, as a source sends it. */
emu::Format nominal(const rx::VideoMode& row)
{
    emu::Format f;
    f.name = "row";
    f.clock_khz = row.PCLK;
    f.interlaced = (row.flags & PROGRESSIVE) == 0;
    f.h_active = row.HActive, f.h_front = row.HFrontPorch, f.h_sync = row.HSyncWidth;
    f.h_back = static_cast<uint16_t>(row.HTotal - row.HActive - row.HFrontPorch - row.HSyncWidth);
    f.v_active = row.VActive, f.v_front = row.VFrontPorch, f.v_sync = row.VSyncWidth, f.v_back = row.VBackPorch;
    f.lines = static_cast<uint16_t>(f.interlaced ? 2 * row.VTotal + 1 : row.VTotal);
    return f;
}

int row_taken()
{
    const auto same = [](const rx::VideoMode& a, const rx::VideoMode& b) {
        return a.HActive == b.HActive && a.VActive == b.VActive && a.HTotal == b.HTotal && a.VTotal == b.VTotal &&
               a.PCLK == b.PCLK && a.xCnt == b.xCnt && a.HFrontPorch == b.HFrontPorch && a.flags == b.flags &&
               a.VFrontPorch == b.VFrontPorch && a.HBackPorch == b.HBackPorch && a.HSyncWidth == b.HSyncWidth;
    };
    for (size_t i = 0; i < rx::s_VMTable.size(); ++i)
        if (same(rx::s_VMTable[i], rx::CurrentVideoMode())) return static_cast<int>(i);
    return -1;
}

void send(const emu::Format& format)
{
    emu::Signal signal;
    signal.format = format;
    bench::show_afresh(signal);
}

} // namespace

// Catches: a format that is not recognised, or as another one. The rows listed differ from an earlier one by less than
// a measurement does, so that the earlier one stands for them.
TEST(ReceiverModes, EveryFormatOfTheTableIsRecognisedFromItsNominalTiming)
{
    const std::map<int, int> covered = {{10, 9}, {20, 19}, {23, 22}, {24, 22}, {36, 0}};
    bench::start_receiver();
    for (size_t i = 0; i < rx::s_VMTable.size(); ++i) {
        const int row = static_cast<int>(i);
        SCOPED_TRACE(row);
        send(nominal(rx::s_VMTable[i]));
        EXPECT_EQ(row_taken(), covered.contains(row) ? covered.at(row) : row);
    }
}

// Catches: a rate that is taken for the next class because the clock is counted coarsely, and a picture that the output
// would tell the display as another one. Computers' formats of other rates count as the class next to them.
TEST(ReceiverModes, CorrectedEveryFormatIsDescribedAtItsRateAndByItsCode)
{
    hdmirx_corrections.formats = true;
    bench::start_receiver();
    for (const emu::Format& f : emu::all_formats()) {
        SCOPED_TRACE(std::string(f.name));
        send(f);
        for (const int rate : {24, 25, 30, 50, 60}) {
            if (std::abs(f.field_rate() - rate) > 0.012 * rate) continue;
            hdmirx_info info{};
            EXPECT_EQ(hdmirx_get_info(0, &info, 0), 0);
            EXPECT_EQ(info.frame_rate, f.interlaced ? rate / 2 : rate);
        }
        hdmirx_picture shown{};
        ASSERT_TRUE(hdmirx_get_picture(shown));
        const bool vga = f.name == "dmt-640x480-60"; // television has it, too, as 1
        EXPECT_TRUE(shown.vic == (vga ? 1 : 0) || shown.vic == f.vic || shown.vic == f.vic_wide) << int{shown.vic};
        const bool high_definition = f.v_active >= 720 && f.vic != 0 && f.vic <= 34;
        EXPECT_TRUE(!high_definition || shown.vic != 0);
        EXPECT_NEAR(shown.pixel_clock_hz, 1000.0 * f.clock_khz, 0.03 * 1000 * f.clock_khz);
    }
}

// Catches: a tolerance that is off by one or a comparison that wraps, and a scan test that is too strict or too lax.
TEST(ReceiverModes, TolerancesHoldAtTheirEdges)
{
    using Change = void (*)(emu::Format&);
    static const struct {
        const char* what;
        Change change;
        int row; ///< -1: used as measured
    } rows[] = {
        {"clock 3 % fast", [](emu::Format& f) { f.clock_khz = 3456000 / 124; }, 1},
        {"clock 4 % fast", [](emu::Format& f) { f.clock_khz = 3456000 / 123; }, -1},
        {"clock 3 % slow", [](emu::Format& f) { f.clock_khz = 3456000 / 133; }, 1},
        {"clock 4 % slow", [](emu::Format& f) { f.clock_khz = 3456000 / 134; }, -1},
        {"4 pixels more", [](emu::Format& f) { f.h_back += 4; }, 1},
        {"5 pixels more", [](emu::Format& f) { f.h_back += 5; }, -1},
        {"4 pixels less", [](emu::Format& f) { f.h_back -= 4; }, 1},
        {"5 pixels less", [](emu::Format& f) { f.h_back -= 5; }, -1},
        {"another active width", [](emu::Format& f) { f.h_active += 1, f.h_back -= 1; }, -1},
        {"10 active lines less", [](emu::Format& f) { f.v_active -= 10; }, 1},
        {"11 active lines less", [](emu::Format& f) { f.v_active -= 11; }, -1},
        {"10 active lines more", [](emu::Format& f) { f.v_active += 10; }, 1},
        {"11 active lines more", [](emu::Format& f) { f.v_active += 11; }, -1},
        {"40 lines more", [](emu::Format& f) { f.lines += 40; }, 1},
        {"41 lines more", [](emu::Format& f) { f.lines += 41; }, -1},
        {"40 lines less", [](emu::Format& f) { f.lines -= 40; }, 1},
        {"41 lines less", [](emu::Format& f) { f.lines -= 41; }, -1},
        {"the other scan, for want of a better row", [](emu::Format& f) { f.interlaced = true, f.lines = 1051; }, 1},
    };
    bench::start_receiver();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        emu::Format format = nominal(rx::s_VMTable[1]);
        row.change(format);
        send(format);
        EXPECT_EQ(row_taken(), row.row);
        EXPECT_LE(abs(rx::CurrentVideoMode().HTotal - static_cast<int>(format.h_total())), row.row < 0 ? 0 : 4);
        EXPECT_TRUE(box().receiver().lets_video_out());
    }
}

// Catches: a wide or tall picture whose top bit is lost, a frame height or rate halved wrongly, a class edge off by
// one.
TEST(ReceiverInfo, DescribesTheFrameAndItsRateClass)
{
    static const struct {
        const char* format;
        int width, height, interlaced, rate;
    } rows[] = {
        {"1080i60", 1920, 1080, 1, 30},        {"1080i50", 1920, 1080, 1, 25},
        {"480i60", 1440, 480, 1, 30},          {"576i50", 1440, 576, 1, 25},
        {"2880x480i60", 2880, 480, 1, 30},     {"480p60", 720, 480, 0, 60},
        {"1080p24", 1920, 1080, 0, 24},        {"1080p25", 1920, 1080, 0, 24},
        {"1080p29.97", 1920, 1080, 0, 30},     {"720p50", 1280, 720, 0, 50},
        {"1080p60", 1920, 1080, 0, 60},        {"dmt-1600x1200-60", 1600, 1200, 0, 60},
        {"dmt-1366x768-60", 1366, 768, 0, 60}, {"dmt-1280x1024-85", 1280, 1024, 0, 60},
    };
    bench::start_receiver();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.format);
        send(picture(row.format).format);
        hdmirx_info info = {};
        info.reserved0 = 11, info.audio_sample_rate = 12, info.reserved8 = 13, info.audio_iec61937 = 14;
        EXPECT_EQ(hdmirx_get_info(0, &info, 0), 0);
        EXPECT_EQ(info.active_width, row.width);
        EXPECT_EQ(info.active_height, row.height);
        EXPECT_EQ(info.interlaced, row.interlaced);
        EXPECT_EQ(info.frame_rate, row.rate);
        EXPECT_EQ(info.reserved0 + info.audio_sample_rate + info.reserved8 + info.audio_iec61937, 11 + 12 + 13 + 14);
    }
}

// Catches: an edge of a rate class that is off by one, or a half that is rounded down.
TEST(ReceiverInfo, RateClassesBeginWhereTheyShould)
{
    static const struct {
        uint16_t lines; ///< at 33.423 kHz
        int rate;
    } rows[] = {{1262, 24}, {1261, 30}, {942, 30}, {941, 36}, {614, 54}, {613, 60}}; // 26.48, 26.50, 35.48, 35.51 ...
    bench::start_receiver();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.lines);
        emu::Format format = picture("720p60").format;
        format.clock_khz = 73532;
        format.h_back = static_cast<uint16_t>(2200 - format.h_active - format.h_front - format.h_sync);
        format.v_active = 500;
        format.lines = row.lines;
        send(format);
        EXPECT_EQ(hdmirx_get_frame_rate(), row.rate);
    }
}

// Catches: a stable test that looks at the state machine instead of the chip, or at the timing of a picture that is
// gone.
TEST(ReceiverInfo, StabilityFollowsTheChip)
{
    bench::start_receiver();
    EXPECT_EQ(hdmirx_is_stable(0), 1);
    box().source(0).plug(picture("1080p60"));
    bench::ticks(12);
    EXPECT_NE(rx::VState(), rx::VSTATE_VideoOn);
    EXPECT_EQ(hdmirx_is_stable(0), 0);
    box().source(0).set_sync(false);
    const uint64_t before = box().i2c().count(bench::RECEIVER);
    EXPECT_EQ(hdmirx_is_stable(0), 1);
    EXPECT_EQ(box().i2c().count(bench::RECEIVER) - before, 1u);
    hdmirx_info info = {};
    box().i2c().fail_all(bench::RECEIVER, EIO);
    EXPECT_EQ(hdmirx_get_info(0, &info, 1), -1);
    EXPECT_EQ(info.frame_rate, -1);
}

// Catches: a change of the clock that is reported too early or too late; none of them may disturb the picture.
TEST(ReceiverVideo, ClockDriftIsReportedBeyondItsToleranceAndIgnored)
{
    static const struct {
        const char* what;
        const char* format;
        int count; ///< pixel-clock count to drift to
        const char* message;
    } rows[] = {
        {"slow clock, 6", "480p60", 134, ""},
        {"slow clock, 7", "480p60", 135,
         "\nXcnt changed. 87 -> 80 diff = 7\r\n\nIgnoring video change. Setting to false\r\n"},
        {"4 faster", "480p60", 124, ""},
        {"5 faster", "480p60", 123,
         "\nXcnt changed. 7b -> 80 diff = 5\r\n\nIgnoring video change. Setting to false\r\n"},
        {"2 faster", "1440x480p60", 62, ""},
        {"3 faster", "1440x480p60", 61,
         "\nXcnt changed. 3d -> 40 diff = 3\n\r\nIgnoring video change. Setting to false\r\n"},
        {"1 slower", "1080p50", 24, ""},
        {"2 slower", "1080p50", 25,
         "\nXcnt changed. 19 -> 17 diff = 2\r\n\nIgnoring video change. Setting to false\r\n"},
    };
    bench::start_receiver();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        emu::Signal signal = picture(row.format);
        bench::show_afresh(signal, 120);
        signal.clock_error_percent = 100.0 * (3456000.0 / row.count / signal.format.clock_khz - 1);
        box().source(0).change(signal, true);
        bench::ticks(3); // it is measured over two fields
        EXPECT_EQ(bench::printed(bench::tick), row.message);
        EXPECT_EQ(rx::VState(), rx::VSTATE_VideoOn);
    }
}

// Catches: a picture that is compared with a timing taken before it had settled.
TEST(ReceiverVideo, ReferenceIsTakenAgainWhenThePictureHasSettled)
{
    bench::start_receiver();
    emu::Signal signal = picture("480p60");
    bench::show(signal, 20);
    signal.clock_error_percent = 10;
    box().source(0).change(signal, true);
    EXPECT_EQ(bench::count(bench::printed([] { bench::ticks(200); }), "Xcnt changed"), 0u);
    EXPECT_EQ(rx::CurrentVideoMode().xCnt, 116);
}
