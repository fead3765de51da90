#include "hdmitx/access.h"
#include "hdmitx/audio_output.h"
#include "hdmitx/state.h"
#include "tests/hdmitx/output_bench.h"

using namespace capd;
using namespace output_bench;
using namespace emu::tx;

namespace {

struct Want {
    uint32_t n;
    uint8_t control, mode, source, type_0, type_1; // registers 0xE0, 0xE1, 0xE3, 0xE4, 0xE5
    uint8_t status[6];                             // registers 0x91 to 0x94, 0x98, 0x99
};

void expect_audio(const Want& want)
{
    const Held held[] = {
        {0, REG_AUDIO_ENABLE, want.control},
        {0, REG_AUDIO_MODE, want.mode},
        {0, REG_AUDIO_MAP, 0xE4},
        {0, REG_AUDIO_SOURCE, want.source},
        {0, REG_AUDIO_TYPE, want.type_0},
        {0, REG_AUDIO_TYPE + 1, want.type_1},
        {0, REG_RESET, 0x01},
        {1, REG_CTS, 0x00},
        {1, REG_STATUS_MODE, want.status[0]},
        {1, REG_STATUS_CATEGORY, want.status[1]},
        {1, REG_STATUS_SOURCE, want.status[2]},
        {1, REG_STATUS_CHANNEL, want.status[3]},
        {1, REG_STATUS_RATE, want.status[4]},
        {1, REG_STATUS_WORD, want.status[5]},
    };
    expect_held(held);
    EXPECT_EQ(chip().view().sound.n, want.n);
    EXPECT_TRUE(chip().view().sound.cts_measured);
    EXPECT_EQ(chip().peek(0, REG_MASK_1) & 0x80, 0); // the overflow interrupt
}

} // namespace

// Catches: a wrong N, channel status, channel enable or input register for any of the types that are offered, and a
// type whose channels end switched off.
TEST(AudioOutput, EveryTypeRateAndChannelCountIsSetUp)
{
    static constexpr HdmitxChannelStatus own = {0x06, 0x12, 0x3F, 0xF4, 0x81};
    static const struct {
        const char* what;
        uint8_t type, spdif;
        uint32_t rate;
        uint8_t channels;
        const HdmitxChannelStatus* status;
        Want want;
    } cases[] = {
        {"the box's", 0x80, 0, 48000, 2, nullptr, {6144, 0xC1, 0x01, 0, 0, 0, {0, 0, 1, 0, 0x02, 0xDB}}},
        {"CD", 0x80, 0, 44100, 2, nullptr, {6272, 0xC1, 0x01, 0, 0, 0, {0, 0, 1, 0, 0x00, 0xFB}}},
        {"mono", 0x80, 0, 32000, 1, nullptr, {4096, 0xC1, 0x01, 0, 0, 0, {0, 0, 1, 0, 0x03, 0xCB}}},
        {"4 channels", 0x80, 0, 88200, 4, nullptr, {12544, 0xC3, 0x41, 0, 0, 0, {0, 0, 2, 0, 0x08, 0x7B}}},
        {"5.1", 0x80, 0, 96000, 6, nullptr, {12288, 0xC7, 0x41, 0, 0, 0, {0, 0, 3, 0, 0x0A, 0x5B}}},
        {"7.1", 0x80, 0, 192000, 8, nullptr, {24576, 0xCF, 0x41, 0, 0, 0, {0, 0, 4, 0, 0x0E, 0x1B}}},
        {"unknown rate", 0x80, 0, 22050, 2, nullptr, {6144, 0xC1, 0x01, 0, 0, 0, {0, 0, 1, 0, 0x02, 0xDB}}},
        {"S/PDIF", 0x80, 1, 176400, 8, nullptr, {25088, 0xD1, 0x01, 0x10, 0, 0, {0, 0, 4, 0, 0x0C, 0x3B}}},
        {"status given", 0x80, 0, 48000, 2, &own, {6144, 0xC1, 0x01, 0, 0, 0, {0x08, 0x12, 0x0F, 3, 0xF4, 0x81}}},
        {"compressed", 0x90, 0, 48000, 2, nullptr, {6144, 0xD1, 0x01, 0x10, 0, 0, {0x04, 0, 1, 0, 0x02, 0xDB}}},
        {"HBR", 0xC0, 0, 768000, 8, nullptr, {24576, 0xCF, 0x47, 0, 8, 8, {0x04, 0, 0, 0, 0x09, 0x6B}}},
        {"HBR S/PDIF", 0xC0, 1, 768000, 8, &own, {24576, 0xD1, 0x47, 0x10, 8, 8, {0x0C, 0x12, 0, 0, 0xF9, 0xEB}}},
        {"one-bit", 0xA0, 0, 48000, 2, nullptr, {24576, 0xCF, 0x41, 0, 0, 2, {0x0C, 0x12, 0, 0, 0xF9, 0xEB}}},
    };
    start_output();
    drive("tv");
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        quietly([&] { HDMITX_EnableAudioOutput(c.type, c.spdif, c.rate, c.channels, c.status, 74250000); });
        expect_audio(c.want);
        EXPECT_EQ(chip().peek(0, REG_AUDIO_CLOCK), c.spdif != 0 && c.type == 0xC0 ? 0x81 : 0x15);
        EXPECT_EQ(hdmitx_instance.bSPDIF, c.spdif);
        EXPECT_EQ(hdmitx_instance.ulTMDSClock, 74250000u);
    }
    hdmitx_SetNCTS(10); // after one-bit audio: the channel status says 768 kHz until it is set
    const Held unset[] = {
        {1, REG_N, 0x00}, {1, REG_N + 1, 0x30}, {1, REG_STATUS_RATE, 0x09}, {1, REG_STATUS_WORD, 0x6B}};
    expect_held(unset);
    hdmitx_WriteReg(REG_AUDIO_TYPE + 1, 0x08); // high bit rate: it stays
    hdmitx_SetChannelStatus(own);
    hdmitx_SetNCTS(10);
    const Held kept[] = {{1, REG_STATUS_RATE, 0xF4}, {1, REG_STATUS_WORD, 0x81}};
    expect_held(kept);
    EXPECT_FALSE(chip().unlocked());
    EXPECT_EQ(chip().locked_writes(), 0u);
}

// Catches: word lengths and pair counts that land on the wrong code, and what an impossible pair count does.
TEST(AudioOutput, WordLengthAndPairsDecideTheControlRegister)
{
    quietly([] { hdmitx_init(); });
    static constexpr struct {
        uint8_t pairs, bits, spdif, stored, mode;
    } cases[] = {
        {1, 16, 0, 0x01, 0x01}, {2, 18, 0, 0x43, 0x41}, {3, 20, 0, 0x87, 0x41}, {4, 24, 0, 0xCF, 0x41},
        {5, 17, 0, 0xC1, 0x01}, {1, 16, 1, 0x11, 0x01}, {2, 18, 1, 0x51, 0x01}, {4, 20, 1, 0x91, 0x01},
    };
    for (const auto& c : cases) {
        quietly([&] { hdmitx_SetLPCMAudio(c.pairs, c.bits, c.spdif); });
        EXPECT_EQ(int{hdmitx_instance.bAudioChannelEnable}, int{c.stored});
        EXPECT_EQ(int{chip().peek(0, REG_AUDIO_ENABLE)},
                  c.stored & 0xF0); // its channels are enabled at the end of the set-up
        EXPECT_EQ(int{chip().peek(0, REG_AUDIO_MODE)}, int{c.mode});
    }
}

// Catches: an option that programs nothing, the wrong type, count or rate, a message for the option that has none.
TEST(AudioOptions, ChangeReachesTheDisplayOnTheNextStep)
{
    static constexpr struct {
        uint8_t option, channels, code;
        const char* text;
        const char* type_text;
    } options[] = {
        {0x80, 0, 0,
         "HDMITX_ChangeAudioOption():bOutputAudioType = 80, ulAudioSampleFS =    44100, bOutputAudioChannel = 1\n",
         "T_AUDIO_LPCM\n"},
        {0x77, 9, 14,
         "HDMITX_ChangeAudioOption():bOutputAudioType = 80, ulAudioSampleFS =   192000, bOutputAudioChannel = 8\n",
         "T_AUDIO_LPCM\n"},
        {0x90, 6, 5,
         "HDMITX_ChangeAudioOption():bOutputAudioType = 90, ulAudioSampleFS =    48000, bOutputAudioChannel = 2\n",
         "T_AUDIO_NLPCM\n"},
        {0xC0, 2, 2, "", nullptr}, // takes effect with the next change of mode
    };
    start_output();
    drive("tv");
    for (const auto& o : options) {
        EXPECT_EQ(bench::printed([&] { HDMITX_ChangeAudioOption(o.option, o.channels, o.code); }), o.text);
        EXPECT_EQ(run_once(), o.type_text == nullptr ? "" : std::string("ConfigAudioInfoFrm(2)\n") + o.type_text);
    }
    hdmitx_video.bChangeMode = 1;
    EXPECT_NE(run_once().find("T_AUDIO_HBR\n"), std::string::npos);
    EXPECT_EQ(chip().view().sound.n, 24576u);
    EXPECT_EQ(int{hdmitx_audio.bOutputAudioChannel}, 8);
}
