#include "hdmirx/src/hdmirx/access.h"
#include "hdmirx/src/hdmirx/audio.h"
#include "hdmirx/src/hdmirx/audio_status.h"
#include "hdmirx/src/hdmirx/video_state.h"
#include "tests/hdmirx/receiver_bench.h"

using namespace capd;
using bench::box;
using bench::picture;
using emu::AudioKind;

namespace {

std::string events;

int note_event(int event, int argument)
{
    events += std::to_string(event) + (argument == 0 ? " " : "? ");
    return 77;
}

emu::AudioSignal lpcm(uint32_t rate_hz, uint8_t channels = 2, uint8_t bits = 24)
{
    return {.rate_hz = rate_hz,
            .channels = channels,
            .word_bits = bits,
            .allocation = emu::AudioSignal::usual_allocation(channels),
            .channel_number = channels};
}

} // namespace

// Catches: a kind of audio that never comes up, is told to the daemon too early or at all, or is described wrongly.
TEST(ReceiverAudio, ComesUpForEachKind)
{
    static const struct {
        const char* what;
        emu::AudioSignal audio;
        int type, rate, channels, word, compressed;
        const char* told;
    } rows[] = {
        {"none", {.kind = AudioKind::None}, 0x00, 48000, 0, 0, 0, "3 "},
        {"stereo 48 kHz", lpcm(48000), 0x81, 48000, 2, 0xB, 0, "3 0 "},
        {"stereo 44.1 kHz 16 bits", lpcm(44100, 2, 16), 0x81, 44100, 2, 0x2, 0, "3 0 "},
        {"stereo 32 kHz", lpcm(32000), 0x81, 32000, 2, 0xB, 0, "3 0 "},
        {"stereo 88.2 kHz", lpcm(88200), 0x81, 88200, 2, 0xB, 0, "3 0 "},
        {"stereo 96 kHz", lpcm(96000), 0x81, 96000, 2, 0xB, 0, "3 0 "},
        {"stereo 176.4 kHz", lpcm(176400), 0x81, 176400, 2, 0xB, 0, "3 0 "},
        {"5.1 at 48 kHz", lpcm(48000, 6), 0x8B, 48000, 6, 0xB, 0, "3 0 "},
        {"7.1 at 192 kHz", lpcm(192000, 8), 0x8C, 192000, 8, 0xB, 0, "3 0 "},
        {"a rate nobody has", lpcm(0), 0x81, 0, 2, 0xB, 0, "3 0 "},
        {"compressed", {.kind = AudioKind::Compressed, .word_bits = 16}, 0x91, 48000, 2, 0x2, 1, "3 0 "},
        {"high bit rate",
         {.kind = AudioKind::Hbr, .rate_hz = 768000, .word_bits = 16},
         0xC0,
         768000,
         2,
         0x2,
         1,
         "3 0 "},
        {"one-bit", {.kind = AudioKind::Dsd}, 0xA0, 48000, 0, 0, 0, "3 "},
    };
    hdmirx_set_callback(note_event);
    bench::start_receiver();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        box().source(0).unplug();
        bench::ticks(20);
        events.clear();
        bench::show(picture("1080p60", row.audio), 31);
        EXPECT_EQ(events, "3 ") << "the daemon is told after 32 ticks, not before";
        bench::tick();
        EXPECT_EQ(events, row.told);
        EXPECT_EQ(box().receiver().lets_audio_out(), row.audio.kind != AudioKind::None);

        EXPECT_EQ(rx::GetAudioType(), row.type);
        hdmirx_info info = {};
        EXPECT_EQ(hdmirx_get_info(0, &info, 1), 0);
        EXPECT_EQ(info.audio_sample_rate, row.rate);
        EXPECT_EQ(info.audio_channels, row.channels);
        EXPECT_EQ(info.audio_word_length, row.word);
        EXPECT_EQ(info.audio_iec61937, row.compressed);
    }
}

// Catches: a source that starts or changes its sound under a running picture and stays silent, or is heard half
// switched.
TEST(ReceiverAudio, FollowsChangesUnderTheRunningPicture)
{
    static const struct {
        const char* what;
        emu::AudioSignal audio;
    } steps[] = {
        {"sound begins", lpcm(48000)},
        {"more channels", lpcm(48000, 6)},
        {"compressed", {.kind = AudioKind::Compressed}},
        {"one-bit", {.kind = AudioKind::Dsd}},
        {"high bit rate", {.kind = AudioKind::Hbr, .rate_hz = 768000}},
        {"stereo again", lpcm(44100)},
    };
    bench::start_receiver();
    bench::show(picture("1080p60", {.kind = AudioKind::None}), 50);
    EXPECT_EQ(rx::AState(), rx::ASTATE_RequestAudio);
    for (const auto& step : steps) {
        SCOPED_TRACE(step.what);
        box().source(0).change(picture("1080p60", step.audio), true);
        bench::ticks(8);
        EXPECT_FALSE(box().receiver().lets_audio_out()) << "the sound path settles";
        bench::tick();
        EXPECT_EQ(rx::AState(), rx::ASTATE_AudioOn);
        EXPECT_TRUE(box().receiver().lets_audio_out());
        EXPECT_EQ(rx::VState(), rx::VSTATE_VideoOn);
    }
}

// Catches: errors that are not counted or counted for sound that has no sampling frequency to force, and a cycle of
// frequencies in another order.
TEST(ReceiverAudio, ForcesAnotherFrequencyAfterEveryEleventhRequest)
{
    bench::start_receiver();
    bench::show(picture("1080p60", lpcm(48000)), 60);
    hdmirx_set_callback(note_event);
    events.clear();
    box().receiver().repeat_fault(emu::ReceiverChip::Fault::Audio, bench::TICK_US);
    bench::tick();
    const auto forced = [] { return (rx::ReadRxReg(0x77) & 0x40) != 0 ? rx::ReadRxReg(0x7E) & 0x0F : -1; };
    std::vector<std::pair<int, int>> turns; ///< request and the frequency forced from it on
    int now = -1;
    for (int request = 1; request <= 122; ++request) {
        bench::tick();
        if (forced() == now) continue;
        now = forced();
        turns.emplace_back(request, now);
    }
    const std::vector<std::pair<int, int>> expected = {{11, 2},  {22, -1}, {33, 0},  {44, -1},  {55, 3}, {66, -1},
                                                       {77, 10}, {88, -1}, {99, 14}, {110, -1}, {121, 2}};
    EXPECT_EQ(turns, expected);
    EXPECT_EQ(bench::count(events, "2 "), 122u);

    box().receiver().repeat_fault(emu::ReceiverChip::Fault::Audio, 0);
    bench::ticks(60);
    EXPECT_TRUE(box().receiver().lets_audio_out());
    box().source(0).change(picture("1080p60", {.kind = AudioKind::Dsd}), true);
    box().receiver().repeat_fault(emu::ReceiverChip::Fault::Audio, bench::TICK_US);
    EXPECT_EQ(bench::count(bench::printed([] { bench::ticks(40); }), "===[Audio FS Error ]==="), 0u)
        << "one-bit audio has no frequency to force";
}

// Catches: sound that is let out at the start while the chip still reports an error.
TEST(ReceiverAudio, WaitsAtTheStartWhileTheChipReportsAnError)
{
    bench::start_receiver();
    box().receiver().repeat_fault(emu::ReceiverChip::Fault::Audio, 1'000);
    bench::show(picture("1080p60"));
    EXPECT_EQ(rx::AState(), rx::ASTATE_RequestAudio);
    EXPECT_FALSE(box().receiver().lets_audio_out());
    box().receiver().repeat_fault(emu::ReceiverChip::Fault::Audio, 0);
    bench::ticks(10);
    EXPECT_TRUE(box().receiver().lets_audio_out());
}
