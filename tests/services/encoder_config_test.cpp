#include "services/encoder_config.h"

#include "tests/support/bench.h"

#include <unistd.h>

namespace capd {
namespace {

constexpr hdmirx_info FULL_HD = {0, 1920, 1080, 0, 60, 48000, 2, 0, 0, 0};

constexpr char BEFORE[] = "# size of the picture\n"
                          "PictureResolution-InPicWidth \t 640\n"
                          "PictureResolution-InPicHeight\t480\n"
                          "InputControl-InFrameRate   25\n"
                          "InputControl-OutFrameRate  25\n"
                          "InputControl-ScanFormat    progressive\n"
                          "InputControl-Fmt           progressive\n"
                          "AudioControlParam-SampleRate  32k\n"
                          "AudioControlParam-ChNum    2   # both\n"
                          "XAudioControlParam-ChNum   7\n"
                          "RateControl-AvgBitRate     8000000\n";

std::string with_values(const char* width, const char* height, const char* rate, const char* scan, const char* sampling,
                        const char* channels)
{
    return std::string("# size of the picture\nPictureResolution-InPicWidth \t ") + width +
           "\nPictureResolution-InPicHeight\t" + height + "\nInputControl-InFrameRate   " + rate +
           "\nInputControl-OutFrameRate  30\nInputControl-ScanFormat    " + scan + "\nInputControl-Fmt           " +
           scan + "\nAudioControlParam-SampleRate  " + sampling + "\nAudioControlParam-ChNum    " + channels +
           "\nXAudioControlParam-ChNum   7\nRateControl-AvgBitRate     8000000\n";
}

/** The daemon is started where the encoder's files lie. */
void enter_script_folder()
{
    const std::string folder = bench::box().root().map("/kxbin");
    ASSERT_EQ(chdir(folder.c_str()), 0);
    bench::box().root().write("/kxbin/low.cfg", BEFORE);
    bench::box().root().write("/kxbin/high.cfg", BEFORE);
}

// Catches: a value in another key's line, keys or comments that are lost, the wrong file, a scan format, rate or
// channel count that the encoder would misread.
TEST(EncoderConfig, AnInputIsWrittenIntoTheChosenFileOnly)
{
    static const struct {
        const char* what;
        int config_no;
        hdmirx_info info;
        std::string after;
    } cases[] = {
        {"1080p60", 0, FULL_HD, with_values("1920", "1080", "60", "progressive", "48k", "2")},
        {"1080i, 44.1 kHz mono",
         1,
         {0, 1920, 1080, 1, 30, 44100, 1, 2, 0, 1},
         with_values("1920", "1080", "30", "interlace", "44.1k", "1")},
        {"720p, rates unknown, a stored configuration 2",
         2,
         {0, 1280, 720, 0, -1, 0, 0, 0, 0, 0},
         with_values("1280", "720", "-1", "progressive", "0k", "2")},
        {"highest sample rate",
         0,
         {0, 1280, 720, 0, 50, 192000, 2, 0, 0, 0},
         with_values("1280", "720", "50", "progressive", "192k", "2")},
    };
    bench::Output output;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        enter_script_folder();
        EXPECT_EQ(av_rec_configure(c.config_no, &c.info), 0);
        const std::string text = output.take();
        EXPECT_TRUE(text.starts_with("sed -ie \"{\ns/\\(^PictureResolution-InPicWidth[ \t]*\\).*$/\\1"));
        EXPECT_TRUE(text.ends_with(c.config_no == 0 ? ";\n }\" low.cfg\nsystem return: 0\n"
                                                    : ";\n }\" high.cfg\nsystem return: 0\n"));
        EXPECT_EQ(bench::box().root().read(c.config_no == 0 ? "/kxbin/low.cfg" : "/kxbin/high.cfg"), c.after);
        EXPECT_EQ(bench::box().root().read(c.config_no == 0 ? "/kxbin/high.cfg" : "/kxbin/low.cfg"), BEFORE);
    }
}

// Catches: an input that the encoder cannot take, a check in the wrong order, an unreadable channel count that passes.
TEST(EncoderConfig, WhatTheEncoderCannotTakeIsRefusedBeforeTheFileIsTouched)
{
    static constexpr struct {
        const char* what;
        hdmirx_info info;
        int result;
    } cases[] = {
        {"sample rate", {0, 1920, 1080, 0, 60, 192001, 3, 0, 0, 1}, -2},
        {"channels", {0, 1920, 1080, 0, 60, 48000, 3, 0, 0, 1}, -3},
        {"channels unreadable", {0, 1920, 1080, 0, 60, 48000, -1, 0, 0, 0}, -3},
        {"compressed without word length, and the format", {0, 720, 576, 0, 50, 48000, 2, 0, 0, 1}, -4},
        {"576p", {0, 720, 576, 0, 50, 48000, 2, 0, 0, 0}, -5},
        {"720 interlaced", {0, 1280, 720, 1, 30, 48000, 2, 0, 0, 0}, -5},
        {"width of one, height of the other", {0, 1920, 720, 0, 60, 48000, 2, 0, 0, 0}, -5},
        {"no such scan", {0, 1920, 1080, 2, 60, 48000, 2, 0, 0, 0}, -5},
        {"no such scan either", {0, 1920, 1080, -1, 60, 48000, 2, 0, 0, 0}, -5},
    };
    enter_script_folder();
    bench::Output output;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(av_rec_configure(0, &c.info), c.result);
    }
    EXPECT_EQ(output.take(), "");
    EXPECT_EQ(bench::box().root().read("/kxbin/low.cfg"), BEFORE);
}

// Catches: a bit rate in the other file, one that is cut to 32 bits where long has more, a failed edit taken for done.
TEST(EncoderConfig, TheBitRateIsEditedAlone)
{
    enter_script_folder();
    bench::Output output;
    EXPECT_EQ(av_rec_set_bitrate(1, 2147483647), 0);
    EXPECT_EQ(output.take(), "sed -ie \"{\ns/\\(^RateControl-AvgBitRate[ \t]*\\).*$/\\12147483647/;\n }\" high.cfg\n"
                             "system return: 0\n");
    std::string after = BEFORE;
    after.replace(after.find("8000000"), 7, "2147483647");
    EXPECT_EQ(bench::box().root().read("/kxbin/high.cfg"), after);

    bench::box().root().remove("/kxbin/low.cfg");
    EXPECT_NE(av_rec_set_bitrate(0, 1), 0);
    EXPECT_NE(av_rec_configure(0, &FULL_HD), 0);
}

} // namespace
} // namespace capd
