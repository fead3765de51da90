#include "hdmirx/status_report.h"
#include "tests/hdmirx/receiver_bench.h"

using namespace capd;
using bench::box;
using bench::picture;

namespace {

const std::string LINE = std::string(72, '=') + "\n";

std::string video_report()
{
    std::string text = bench::printed(ShowVideoStatus);
    EXPECT_EQ(text.substr(0, 74), "\n" + LINE);
    EXPECT_TRUE(text.ends_with("\n" + LINE));
    return text.substr(74, text.size() - 74 - 73);
}

} // namespace

// Catches: a figure, a unit or a blank in another place; bench scripts cut these lines.
TEST(ReceiverReport, ShowsTheVideoOfEachFormat)
{
    static const struct {
        const char* format;
        bool hdmi;
        uint8_t depth;
        const char* text;
    } rows[] = {
        {"1080p60", true, 24,
         "HDMI mode\nMode - 1920x1080@60.71Hz@24bits, PCLK = 150.26MHz,xCnt= 23.00\n"
         "<2200x1125>,H:(88,44,148),V:(4,5,36), VSyncToDE = 41\n"},
        {"480i60", true, 30,
         "HDMI mode\nMode - 1440x240@60.05Hz@30bits, PCLK = 27.00MHz,xCnt= 128.00\n"
         "<1716x 262>,H:(38,124,114),V:(4,3,15), VSyncToDE = 18\n"},
        {"dmt-800x600-72", false, 24,
         "DVI mode\nMode - 800x600@72.31Hz@No def(24bits), PCLK = 50.08MHz,xCnt= 69.00\n"
         "<1040x 666>,H:(56,120,64),V:(37,5,24), VSyncToDE = 29\n"},
        {"720p50", true, 48,
         "HDMI mode\nMode - 1280x720@49.51Hz@48bits, PCLK = 73.53MHz,xCnt= 47.00\n"
         "<1980x 750>,H:(440,40,220),V:(5,5,20), VSyncToDE = 25\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.format);
        hdmirx_init(); // the average starts anew
        emu::Signal signal = picture(row.format);
        signal.hdmi = row.hdmi;
        signal.depth_bits = row.depth;
        bench::show_afresh(signal);
        EXPECT_EQ(video_report(), row.text + LINE);
    }
}

// Catches: an average that forgets samples, and one that overflows after some hours at the bench.
TEST(ReceiverReport, AveragesThePixelClockOverItsSamples)
{
    bench::start_receiver();
    bench::show(picture("1080p60"));
    video_report();
    bench::show_afresh(picture("720p60"));
    EXPECT_NE(video_report().find("PCLK = 98.74MHz,xCnt= 35.00\n"), std::string::npos);
    EXPECT_NE(video_report().find("PCLK = 88.61MHz,xCnt= 39.00\n"), std::string::npos);
    VideoReport report = {};
    for (int sample = 0; sample < 3000; ++sample) ASSERT_TRUE(read_video_report(&report));
    EXPECT_EQ(report.xcnt_whole, 46u);
    EXPECT_EQ(report.xcnt_hundredths, 99u); // (23 + 3002 * 47) / 3003
    EXPECT_EQ(report.pixel_clock_hz, 73'544'000u);
}

// Catches: a division by zero while nothing is plugged in.
TEST(ReceiverReport, WithoutASignalItSaysSo)
{
    bench::start_receiver();
    EXPECT_EQ(video_report(), "No video signal.\n");
    VideoReport report;
    EXPECT_FALSE(read_video_report(&report));
}

// Catches: a frame that is cut short, read from another place, or shown when none is held.
TEST(ReceiverReport, ShowsTheInfoFramesThatTheSourceSends)
{
    bench::start_receiver();
    emu::Signal signal = picture("1080p60");
    bench::show(signal);
    EXPECT_EQ(bench::printed(ShowInfoFrames), "GetAVIInfoFrame(): 82 02 0D 27 10 28 00 10 00 00 00 00 00 00 00 00 00\n"
                                              "GetAudioInfoFrame(): 84 01 0A 70 01 00 00 00 00 00 00 00 00 00\n"
                                              "Cannot GetVENDORSPECInfoFrame()\n");
    signal.vendor = {emu::VendorFields::Kind::ThreeD, 8};
    signal.audio.channels = 8;
    signal.audio.allocation = 0x13;
    box().source(0).change(signal, true);
    const std::string text = bench::printed(ShowInfoFrames);
    EXPECT_NE(text.find("\nGetAudioInfoFrame(): 84 01 0A 57 07 00 00 13 00 00 00 00 00 00\n"), std::string::npos)
        << text;
    EXPECT_TRUE(text.ends_with("\nGetVENDORSPECInfoFrame(): 81 01 06 A9 03 0C 00 40 80 00\n")) << text;
}

// Catches: a kind of audio under another's name, and a channel status whose bytes are swapped.
TEST(ReceiverReport, ShowsTheAudioOfEachKind)
{
    using emu::AudioKind;
    static const struct {
        const char* what;
        emu::AudioSignal audio;
        const char* text;
    } rows[] = {
        {"none", {.kind = AudioKind::None}, "No Audio.\n"},
        {"stereo",
         {},
         "Audio input is IEC 60958 linear PCM audio.\nlayout 0, 1 source\nChannel Status: 04 00 20 02 DB\n"},
        {"7.1",
         {.rate_hz = 192000, .channels = 8, .word_bits = 16, .allocation = 0x13, .channel_number = 8},
         "Audio input is IEC 60958 linear PCM audio.\nlayout 1, 4 source\nChannel Status: 04 00 80 0E 12\n"},
        {"compressed",
         {.kind = AudioKind::Compressed},
         "Audio input is IEC 61937 compressed audio.\nlayout 0, 1 source\nChannel Status: 06 00 20 02 DB\n"},
        {"HBR", {.kind = AudioKind::Hbr, .rate_hz = 768000}, "Audio input is HBR (High Bit Rate) audio.\n"},
        {"DSD", {.kind = AudioKind::Dsd}, "Audio input is DSD (One Bit Audio) audio.\n"},
    };
    bench::start_receiver();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        bench::show_afresh(picture("1080p60", row.audio), 20);
        EXPECT_EQ(bench::printed(ShowAudioStatus), "\n" + LINE + row.text + LINE);
    }
}

// Catches: the debug block of the recorder's log in another order, or the stable test taken after the port.
TEST(ReceiverReport, DebugBlockShowsTheInput)
{
    bench::start_receiver();
    hdmirx_select_port(0);
    bench::show(picture("1080i60"));
    int count = 0;
    const std::string text = bench::printed([&] { count = hdmirx_debug(0); });
    EXPECT_EQ(count, static_cast<int>(text.size()));
    EXPECT_EQ(text, "---HDMI_RX debug----\nport 0\nstable? 0\ninterlaced? 1\nactive width 1920px\nactive height 540px\n"
                    "frame rate 60\n---HDMI_RX debug done---\n");
}
