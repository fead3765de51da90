#include "hdmitx/display_edid.h"
#include "hdmitx/info_frames.h"
#include "hdmitx/state.h"
#include "hdmitx/supervision.h"
#include "hdmitx/video_output.h"
#include "tests/hdmitx/output_bench.h"

using namespace capd;
using namespace output_bench;
using namespace emu::tx;
using emu::Colour;
using emu::Picture;
using Signal = emu::OutputSignal;

// Catches: any display kind that ends with the wrong signal, colours that it does not take, wrong info frames, or
// sound where none may be.
TEST(HotPlug, EveryDisplayGetsThePictureAndSoundThatItTakes)
{
    static constexpr struct {
        const char* edid;
        Signal signal;
        Colour cable;
        Picture picture;
        bool sound;
        uint8_t avi_1;
    } displays[] = {
        {"dvi", Signal::Dvi, Colour::Rgb, Picture::Good, false, 0},
        {"rev1", Signal::Dvi, Colour::Rgb, Picture::Good, false, 0},
        {"bad-sum", Signal::Dvi, Colour::Rgb, Picture::Good, false, 0},
        {"bad-header", Signal::Dvi, Colour::Rgb, Picture::Good, false, 0},
        {"rgb", Signal::Hdmi, Colour::Rgb, Picture::Good, true, 0x10},
        {"yuv422", Signal::Hdmi, Colour::Yuv422, Picture::Good, true, 0x30},
        // Those that take 4:4:4 are told that they get it; on the cable is what came in.
        {"yuv444", Signal::Hdmi, Colour::Yuv422, Picture::WrongColours, true, 0x50},
        {"tv", Signal::Hdmi, Colour::Yuv422, Picture::WrongColours, true, 0x50},
        {"noaudio", Signal::Hdmi, Colour::Yuv422, Picture::WrongColours, false, 0x50}, // after one with audio
        {"two-cea", Signal::Hdmi, Colour::Yuv422, Picture::WrongColours, true, 0x50},
        {"five-blocks", Signal::Hdmi, Colour::Yuv422, Picture::WrongColours, true, 0x50},
        {"projector", Signal::Hdmi, Colour::Yuv422, Picture::WrongColours, true, 0x50},
    };
    start_output();
    for (const auto& d : displays) {
        SCOPED_TRACE(d.edid);
        drive(d.edid);
        const emu::DisplayView seen = chip().view();
        const bool hdmi = d.signal == Signal::Hdmi;
        EXPECT_EQ(seen.signal, d.signal);
        EXPECT_EQ(seen.picture, d.picture) << seen.why;
        EXPECT_EQ(seen.path.cable.colour, d.cable);
        EXPECT_EQ(seen.path.matrix,
                  d.cable == Colour::Rgb ? (emu::Matrix{emu::MatrixKind::YuvToRgb, false, false}) : emu::Matrix{});
        EXPECT_EQ(seen.afe_range, emu::AfeRange::Low);
        EXPECT_EQ(seen.avi.sent, hdmi);
        EXPECT_TRUE(!hdmi || (seen.avi.checksum_right() && seen.avi.body[1] == d.avi_1 && seen.avi.body[2] == 0x58));
        EXPECT_EQ(seen.sound.plays, d.sound);
        EXPECT_EQ(seen.sound.held, !hdmi || !d.sound);
        EXPECT_FALSE(seen.vendor.sent);
    }
    EXPECT_EQ(chip().locked_writes() + chip().stray_writes(), 0u);
}

// Catches: a register that the two steps of a plug-in leave wrong, or write in the wrong step.
TEST(HotPlug, TwoStepsProgramTheOutputRegisterForRegister)
{
    start_output();
    plug("tv");
    const std::string first = run_once();
    EXPECT_NE(first.find("Running getHDMITX_EDIDBlock\n"), std::string::npos);
    EXPECT_TRUE(first.ends_with("HPD change HDMITX_SetOutput();\n"));
    static constexpr Held powered[] = {
        {0, REG_POWER, 0x40},     {0, REG_CLOCKS, 0x18},    {0, REG_AFE_DRIVER, 0x00},
        {0, REG_AFE_PLL_1, 0x08}, {0, REG_AFE_PLL_2, 0x04}, {0, REG_INPUT, 0x00},
    };
    expect_held(powered);

    const std::string second = run_once();
    EXPECT_TRUE(second.starts_with("Mode change HDMITX_SetOutput();\n"
                                   "level = 0, ,bInputColorMode=1,bOutputColorMode=2,bHDMIMode=1\n"
                                   "hdmitx_SetCSCScale(BYTE bInputMode = 1,BYTE bOutputMode = 2)\n"
                                   "Input mode is YUV422\nOutput mode is YUV444\n"
                                   "hdmitx_SetupAFE()===================LOW\n"
                                   "ConfigAudioInfoFrm(2)\n"
                                   "T_AUDIO_LPCM\n"
                                   "        00 01 02 03   04 05 06 07   08 09 0A 0B   0C 0D 0E 0F\n"))
        << second;
    static constexpr Held programmed[] = {
        {0, REG_RESET, 0x01},
        {0, REG_MASK_1, 0x7C},
        {0, REG_CLOCKS, 0x08},
        {0, REG_AUDIO_CLOCK, 0x15},
        {0, REG_AFE_DRIVER, 0x00},
        {0, REG_AFE_PLL_1, 0x18},
        {0, REG_AFE_PLL_2, 0x0D},
        {0, REG_AFE_SWING, 0x10},
        {0, REG_INPUT, 0x41},
        {0, REG_CONVERTER, 0x00},
        {0, REG_HDMI, 0x01},
        {0, REG_GENERAL, 0x02},
        {0, REG_CTS_SOURCE, 0x00},
        {0, 0xC6, 0x03},
        {0, REG_SEND_AVI, 0x03},
        {0, REG_SEND_AUDIO, 0x03},
        {0, REG_SEND_VENDOR, 0x00},
        {0, REG_AUDIO_ENABLE, 0xC1},
        {0, REG_AUDIO_MODE, 0x01},
        {0, REG_AUDIO_MAP, 0xE4},
        {0, REG_AUDIO_SOURCE, 0x00},
        {0, REG_AUDIO_TYPE, 0x00},
        {0, REG_AUDIO_TYPE + 1, 0x00},
        {1, REG_CTS, 0x00},
        {1, REG_N, 0x00},
        {1, REG_N + 1, 0x18},
        {1, REG_N + 2, 0x00},
        {1, REG_AVI, 0x50},
        {1, REG_AVI + 1, 0x58},
        {1, REG_AVI + 2, 0x00},
        {1, REG_AVI + 3, 0x00},
        {1, REG_AVI + 4, 0x00},
        {1, REG_AVI + 5, 0xC7},
        {1, REG_AVI + 6, 0x00},
        {1, REG_AVI + 13, 0x00},
        {1, REG_AUDIO_FRAME, 0x01},
        {1, REG_AUDIO_FRAME + 1, 0x00},
        {1, REG_AUDIO_FRAME + 5, 0x70},
        {1, REG_STATUS_MODE, 0x00},
        {1, REG_STATUS_CATEGORY, 0x00},
        {1, REG_STATUS_SOURCE, 0x01},
        {1, REG_STATUS_CHANNEL, 0x00},
        {1, REG_STATUS_RATE, 0x02},
        {1, REG_STATUS_WORD, 0xDB},
    };
    expect_held(programmed);
    EXPECT_FALSE(chip().unlocked());
    EXPECT_EQ(run_once(), "");
    EXPECT_EQ(transfers_of([] { hdmitx_run(); }).size(), 1u); // nothing pending: the status alone is read
}

// Catches: an output that stays on without its display, a second plug-in that is not handled, a pending programming
// that gets lost or runs without a display.
TEST(HotPlug, UnplugReplugAndSwapsAreHandledAtAnyMoment)
{
    start_output();
    drive("tv");
    chip().unplug();
    const auto off = transfers_of([] { hdmitx_run(); });
    EXPECT_EQ(written(off, REG_AFE_DRIVER),
              (std::vector<int>{0x30, 0x30, 0x30, 0x30})); // twice, then the power table's masks
    static constexpr Held down[] = {{0, REG_RESET, 0x09},
                                    {0, REG_POWER, 0x41},
                                    {0, REG_CLOCKS, 0x48},
                                    {0, REG_AFE_PLL_1, 0x44},
                                    {0, REG_AFE_PLL_2, 0x40}};
    expect_held(down);
    EXPECT_EQ(run_once(), "");

    plug("dvi");
    run_once();
    chip().unplug(); // between the two steps
    EXPECT_EQ(run_once(), "HPD OFF HDMITX_DisableVideoOutput()\n");
    EXPECT_EQ(run_once(), "");
    EXPECT_EQ(hdmitx_audio.bChangeAudio, 0u);
    EXPECT_EQ(hdmitx_video.bChangeMode, 1u);

    plug("tv");
    run_once();
    plug("rgb"); // swapped while the TV's output was to be programmed
    EXPECT_NE(run_once().find("HPD change"), std::string::npos);
    EXPECT_NE(run_once().find("bOutputColorMode=0,bHDMIMode=1"), std::string::npos);
    EXPECT_EQ(chip().view().picture, Picture::Good) << chip().view().why;

    chip().pulse_hot_plug(); // the level is the same as before
    EXPECT_NE(run_once().find("HPD change"), std::string::npos);
    EXPECT_NE(run_once().find("Mode change"), std::string::npos);
    EXPECT_EQ(run_once(), "");
    EXPECT_TRUE(chip().view().sound.plays);
}

// Catches: an interrupt that is not served, served for ever, served by half, or another that is touched for nothing.
TEST(ErrorInterrupts, EachIsServedOnceAndSaidOnce)
{
    static const struct {
        const char* what;
        void (*happen)();
        const char* text;
        std::vector<int> reset, command; // writes to the reset and to the DDC command register
    } interrupts[] = {
        {"audio overflow", [] { chip().overflow_audio(); }, "B_TX_INT_AUD_OVERFLOW.\n", {0x15, 0x01}, {}},
        {"DDC FIFO",
         [] {
             chip().fail_ddc_fifo();
             chip().pulse_hot_plug();
         },
         "DDC FIFO Error.\n",
         {},
         {9}},
        {"DDC hang", [] { chip().hang_ddc_bus(); }, "DDC BUS HANG.\nDDC bus hang \n", {}, {0x0F, 0x0F}},
        {"extended",
         [] { chip().raise_extended(0x4D); },
         "video parameter change DDC bus hang Video input FIFO auto reset Audio decode error interrupt \n",
         {},
         {}},
        {"extended, nothing known",
         [] {
             chip().raise_extended(0x80);
             chip().pulse_hot_plug();
         },
         "\n",
         {},
         {}},
        {"no audio", [] { chip().raise_extended(0x0A); }, "DDC bus hang No audio input interrupt  \n", {}, {}},
    };
    start_output();
    drive("yuv422");
    for (const auto& i : interrupts) {
        SCOPED_TRACE(i.what);
        i.happen();
        std::string text;
        const auto made = transfers_of([&] { text = bench::printed([] { CheckHDMITX(nullptr, nullptr); }); });
        EXPECT_EQ(text, i.text);
        EXPECT_EQ(written(made, REG_RESET), i.reset);
        EXPECT_EQ(written(made, REG_DDC_COMMAND), i.command);
        EXPECT_EQ(written(made, REG_CLEAR_1), std::vector<int>{0xFF});
        EXPECT_EQ(written(made, REG_CLEAR_2), std::vector<int>{0xFF});
        EXPECT_EQ(written(made, REG_SYSTEM).size(), 2u);
        EXPECT_EQ(chip().peek(0, REG_SYSTEM), 0x42); // nothing pending any more
        EXPECT_EQ(transfers_of([] { CheckHDMITX(nullptr, nullptr); }).size(), 1u);
    }
    EXPECT_TRUE(chip().view().sound.plays);
    EXPECT_EQ(chip().view().picture, Picture::Good);
}

// Catches: the wrong front end setting around its limit, video options that do not reach the AVI info frame.
TEST(VideoOptions, ClockDecidesTheFrontEndAndTheVicReachesTheDisplay)
{
    start_output();
    drive("tv");
    static constexpr struct {
        uint8_t vic, mode;
        emu::AfeRange range;
        Colour colour;
        uint8_t avi_2, sent_vic, repetition, input;
    } options[] = {
        {1, 1, emu::AfeRange::Low, Colour::Yuv444, 0x58, 1, 0, 0x01},
        {17, 2, emu::AfeRange::Low, Colour::Yuv422, 0x58, 17, 0, 0x21},
        {7, 2, emu::AfeRange::Low, Colour::Yuv444, 0x68, 7, 1, 0x21},
        {61, 1, emu::AfeRange::Low, Colour::Yuv444, 0xA8, 0, 0, 0x31},
        {34, 2, emu::AfeRange::Low, Colour::Yuv422, 0xA8, 34, 0, 0x31},
        {16, 1, emu::AfeRange::High, Colour::Yuv444, 0xA8, 16, 0, 0x31},
        {31, 0, emu::AfeRange::High, Colour::Rgb, 0xA8, 31, 0, 0x31},
        {4, 1, emu::AfeRange::Low, Colour::Rgb, 0xA8, 4, 0, 0x31}, // once RGB, always RGB
    };
    for (const auto& o : options) {
        SCOPED_TRACE(int{o.vic});
        if (o.vic == 7) hdmitx_video.bOutputColorMode = COLOUR_YUV422;
        HDMITX_ChangeDisplayOption(o.vic, o.vic == 7 ? 1 : o.mode);
        EXPECT_EQ(int{hdmitx_video.bInputColorMode}, int{o.input});
        EXPECT_NE(run_once().find("Mode change"), std::string::npos);
        const emu::AviFrame avi = chip().view().avi;
        EXPECT_EQ(chip().view().afe_range, o.range);
        EXPECT_TRUE(avi.checksum_right());
        EXPECT_EQ(avi.colour(), o.colour);
        EXPECT_EQ(int{avi.body[2]}, int{o.avi_2});
        EXPECT_EQ(avi.vic(), o.sent_vic);
        EXPECT_EQ(avi.repetition(), o.repetition);
    }
    HDMITX_ChangeDisplayOption(16, 0);
    HDMITX_ChangeDisplayOption(99, 2); // unknown: withdraws the order, changes nothing else
    EXPECT_EQ(run_once(), "");
    EXPECT_EQ(hdmitx_video.bVIC, 16);
    static constexpr struct {
        uint32_t clock_hz;
        const char* level;
    } clocks[] = {{20000000, "level = 0"}, {20000001, "level = 1"}, {80000000, "level = 1"}, {80000001, "level = 2"}};
    for (const auto& c : clocks) {
        hdmitx_video.ulPixelClock = c.clock_hz;
        EXPECT_EQ(bench::printed(HDMITX_SetOutput).substr(0, 9), c.level);
        EXPECT_EQ(chip().view().afe_range, c.level[8] == '2' ? emu::AfeRange::High : emu::AfeRange::Low);
    }
}

// Catches: a wrong checksum of the short or the long form, a missing buffer that is used all the same.
TEST(InfoFrames, VendorFrameSumsToZeroAndAMissingBufferChangesNothing)
{
    start_output();
    drive("tv");
    drive("tv");
    for (const uint8_t format : std::array<uint8_t, 2>{0x20, 0x80}) { // HDMI format alone, then with an extension byte
        HdmitxInfoFrame frame = {
            .type = 0x81, .version = 1, .length = 6, .checksum = 0, .data = {0, 0, 0, 0x40, format, 9}};
        EXPECT_EQ(hdmitx_SetVSInfoFrame(1, &frame), 1);
        EXPECT_TRUE(chip().view().vendor.sent);
        const bool extended = format > 127;
        const unsigned sum = 0x81u + 1 + (extended ? 6 : 5) + 0x0F + 0x40 + format + (extended ? 9 : 0);
        EXPECT_EQ((sum + frame.checksum) % 256, 0u);
        EXPECT_EQ(chip().peek(1, REG_VENDOR_FRAME + 3), frame.checksum);
        EXPECT_EQ(chip().peek(1, REG_VENDOR_FRAME + 2), extended ? 9 : 0);
    }
    const auto made = transfers_of([] {
        EXPECT_EQ(hdmitx_SetVSInfoFrame(1, nullptr) + hdmitx_SetAVIInfoFrame(1, nullptr), 0);
        EXPECT_EQ(hdmitx_SetAudioInfoFrame(nullptr), 0);
    });
    EXPECT_TRUE(made.empty());
    EXPECT_EQ(hdmitx_SetVSInfoFrame(0, nullptr), 1);
    EXPECT_FALSE(chip().view().vendor.sent);
}
