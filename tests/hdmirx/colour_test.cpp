#include "hdmirx/src/hdmirx/access.h"
#include "hdmirx/src/hdmirx/colour.h"
#include "tests/hdmirx/receiver_bench.h"

using namespace capd;
using namespace emu::rx;
using bench::box;
using bench::picture;
using emu::AviSending;
using emu::Colorimetry;
using emu::Colour;

namespace {

emu::Signal coloured(const char* format, Colour colour, Colorimetry colorimetry, AviSending avi = AviSending::On)
{
    emu::Signal signal = picture(format);
    signal.colour = colour;
    signal.colorimetry = colorimetry;
    signal.avi = avi;
    return signal;
}

emu::Signal dvi(const char* format)
{
    emu::Signal signal = picture(format);
    signal.hdmi = false;
    return signal;
}

int chroma()
{
    return rx::ReadRxReg(0x1C) & 0xB0;
}

bool is_forced()
{
    return (rx::ReadRxReg(REG_CONVERTER) & 0x10) != 0;
}

} // namespace

// Catches: a picture whose colours are wrong on the card. Each row begins with a new picture; the order matters where a
// source says nothing and the earlier decision stays.
TEST(ReceiverColour, ConvertsWhatTheSourceSends)
{
    const struct {
        const char* what;
        emu::Signal signal;
        const char* conversion;
        int chroma;
        bool forced;
    } rows[] = {
        {"DVI, television size", dvi("1080p60"), "RGB to YUV, BT.709, 16-235", 0x10, true},
        {"DVI, 1280 wide but not 720 high", dvi("dmt-1280x1024-60"), "RGB to YUV, BT.601, 16-235", 0x10, true},
        {"DVI, 1280x720", dvi("720p60"), "RGB to YUV, BT.709, 16-235", 0x10, true},
        {"HDMI without AVI frames", coloured("480p60", Colour::Yuv444, Colorimetry::Bt709, AviSending::Off),
         "RGB to YUV, BT.601, 16-235", 0x10, true},
        {"YUV 4:4:4", coloured("1080p60", Colour::Yuv444, Colorimetry::Bt709), "none", 0x10, false},
        {"YUV 4:2:2", coloured("1080p60", Colour::Yuv422, Colorimetry::Bt709), "none", 0x00, false},
        {"RGB, says BT.601", coloured("1080p60", Colour::Rgb, Colorimetry::Bt601), "RGB to YUV, BT.601, 16-235", 0x10,
         false},
        {"RGB, says nothing", coloured("1080p60", Colour::Rgb, Colorimetry::None), "RGB to YUV, BT.601, 16-235", 0x10,
         false},
        {"RGB, says BT.709", coloured("480p60", Colour::Rgb, Colorimetry::Bt709), "RGB to YUV, BT.709, 16-235", 0x10,
         false},
        {"RGB, extended", coloured("480p60", Colour::Rgb, Colorimetry::XvYcc601), "RGB to YUV, BT.709, 16-235", 0x10,
         false},
        {"a colour code nobody has", coloured("480p60", Colour::Yuv444, Colorimetry::None, AviSending::WrongColour),
         "RGB to YUV, BT.709, 16-235", 0x10, false},
    };
    bench::start_receiver();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        bench::show_afresh(row.signal, 100);
        EXPECT_EQ(box().receiver().conversion(), row.conversion);
        EXPECT_EQ(chroma(), row.chroma);
        EXPECT_EQ(is_forced(), row.forced);
    }
}

// Catches: a changed info frame that is missed or acted upon twice, and texts that bench scripts look for.
TEST(ReceiverColour, FollowsInfoFramesUnderTheRunningPicture)
{
    static constexpr char SEEN[] = "\nNew AVI Info Frame Change interrupt\n"
                                   "\nSetVideoInputFormatWithInfoFrame(): REG_RX_AVI_DB1 AE get uc ";
    static const struct {
        const char* what;
        Colour colour;
        Colorimetry colorimetry;
        AviSending avi;
        const char *printed, *conversion;
    } rows[] = {
        {"other colour", Colour::Yuv444, Colorimetry::Bt601, AviSending::On,
         "50 input YUV444 mode Input Video mode changed."
         "\nSetColorimetryByInfoFrame: NewAVIInfoFrameF = TRUE F_MODE_ITU601\n"
         "\nOutput mode is YUV422\n\nSetting the hdmirx CSC associated registers \n",
         "none"},
        {"invalid colour", Colour::Yuv444, Colorimetry::None, AviSending::WrongColour,
         "70 Invalid input color mode, ignore.\n"
         "\nSetColorimetryByInfoFrame: NewAVIInfoFrameF = TRUE "
         "\nOutput mode is YUV422\n\nSetting the hdmirx CSC associated registers \n"
         "\nCSC = RGB2YUV ITU601  16-235\n",
         "RGB to YUV, BT.601, 16-235"},
        {"same colour, other colorimetry", Colour::Rgb, Colorimetry::Bt709, AviSending::On,
         "10 input RGB24 mode "
         "\nSetColorimetryByInfoFrame: NewAVIInfoFrameF = TRUE F_MODE_ITU709\n"
         "\nOutput mode is YUV422\n\nSetting the hdmirx CSC associated registers \n"
         "\nCSC = RGB2YUV ITU709  16-235\n",
         "RGB to YUV, BT.709, 16-235"},
    };
    bench::start_receiver();
    bench::show(picture("720p60"), 120);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        box().source(0).change(coloured("720p60", row.colour, row.colorimetry, row.avi), true);
        EXPECT_EQ(bench::printed(bench::tick), std::string(SEEN) + row.printed);
        EXPECT_EQ(box().receiver().conversion(), row.conversion);
        EXPECT_EQ(bench::printed([] { bench::ticks(5); }), "");
    }
}

// Catches: a matrix, range or chroma setting taken from another cell of the choice.
TEST(ReceiverColour, EveryOutputFormatHasItsConversion)
{
    static const struct {
        const char* what;
        uint8_t output;
        Colour input;
        uint8_t flags; ///< output flags besides the colour
        const char* conversion;
        int chroma;
    } rows[] = {
        {"YUV422 from YUV422, filtered", 1, Colour::Yuv422, 0x80, "none", 0x90},
        {"YUV422 from RGB, not sub-sampled", 1, Colour::Rgb, 0x00, "RGB to YUV, BT.709, 16-235", 0x00},
        {"YUV444 from RGB", 2, Colour::Rgb, 0xC0, "RGB to YUV, BT.709, 16-235", 0x00},
        {"YUV444 from YUV422, filtered", 2, Colour::Yuv422, 0xC0, "none", 0x90},
        {"YUV444 from YUV422, sub-sampled", 2, Colour::Yuv422, 0x40, "none", 0x10},
        {"YUV444 from YUV444", 2, Colour::Yuv444, 0xC0, "none", 0x00},
        {"RGB from YUV422, full range", 0, Colour::Yuv422, 0x40, "YUV to RGB, BT.709, 0-255", 0x10},
        {"RGB from YUV422, limited range", 0, Colour::Yuv422, 0xE0, "YUV to RGB, BT.709, 16-235", 0x90},
        {"RGB from YUV444", 0, Colour::Yuv444, 0xC0, "YUV to RGB, BT.709, 0-255", 0x00},
        {"RGB from RGB", 0, Colour::Rgb, 0xC0, "none", 0x00},
        {"no such output", 3, Colour::Rgb, 0xC0, "none", 0x00},
    };
    bench::start_receiver();
    bench::show(picture("1080p60"), 100);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        box().source(0).change(coloured("1080p60", row.input, Colorimetry::Bt709), true);
        bench::ticks(2);
        rx::SetOutputFormatFlags(row.flags); // nothing in the box's world changes the output format
        rx::SetHDMIRXVideoOutputFormat(0x00, 0x4F, row.output);
        EXPECT_EQ(box().receiver().conversion(), row.conversion);
        EXPECT_EQ(rx::ReadRxReg(0x1C), 0x4D | row.chroma) << "the other bits stay, but the pulsed one";
        EXPECT_EQ(rx::ReadRxReg(0x3D) >> 6, row.output == 3 ? 0 : row.output);
        EXPECT_TRUE(box().receiver().lets_video_out());
    }
}
