// What sources do besides sending a plain picture, held against CTA-861, HDMI and IEC 60958.
#include "tests/emulator/receiver_desk.h"

#include <algorithm>
#include <map>
#include <numeric>
#include <set>

namespace {

using namespace emu;
using namespace emu::rx;

// Catches: a second clock that is not CTA-861's, one for a format that has none, and a receiver that tells the two
// apart.
TEST(Formats, HaveBothClocksOfTheStandard)
{
    static constexpr struct {
        const char* name;
        uint32_t clock_khz, h_total, lines;
        double rate_hz;
        int vic;
        const char* like; // as the receiver counts it; clocks within one part in a thousand
    } printed[] = {
        {"1080p59.94", 148'352, 2200, 1125, 59.94, 16, "1080p60"},
        {"1080i59.94", 74'176, 2200, 1125, 59.94, 5, "1080i60"},
        {"720p59.94", 74'176, 1650, 750, 59.94, 4, "720p60"},
        {"1080p23.98", 74'176, 2750, 1125, 23.976, 32, "1080p24"},
        {"720p47.95", 89'910, 2500, 750, 47.952, 108, "720p48"},
        {"480p60.00", 27'027, 858, 525, 60.00, 2, "480p60"},
        {"480i60.00", 27'027, 1716, 525, 60.00, 6, "480i60"},
        {"240p60.00-263", 27'027, 1716, 263, 59.886, 8, "240p60-263"},
        {"1440x480p60.00", 54'054, 1716, 525, 60.00, 14, "1440x480p60"},
        {"2880x480p60.00", 108'108, 3432, 525, 60.00, 35, "2880x480p60"},
        {"480i240.00", 108'108, 1716, 525, 240.00, 58, "480i240"},
        {"640x480p60.00", 25'200, 800, 525, 60.00, 1, "640x480p60"},
        {"1080p48", 148'500, 2750, 1125, 48.00, 111, "vic111"},
        {"1680x720p48", 99'000, 2750, 750, 48.00, 110, "vic110"},
        {"2560x1080p24", 99'000, 3750, 1100, 24.00, 86, "vic86"},
        {"2560x1080p25", 90'000, 3200, 1125, 25.00, 87, "vic87"},
        {"2560x1080p30", 118'800, 3520, 1125, 30.00, 88, "vic88"},
    };
    for (const auto& row : printed) {
        SCOPED_TRACE(row.name);
        const auto f = find_format(row.name);
        ASSERT_TRUE(f);
        EXPECT_EQ(f->clock_khz, row.clock_khz);
        EXPECT_EQ(f->h_total(), row.h_total);
        EXPECT_EQ(f->lines, row.lines);
        EXPECT_NEAR(f->field_rate(), row.rate_hz, 0.001);
        EXPECT_EQ(f->vic != 0 ? f->vic : f->vic_wide, row.vic);
        Desk desk, other;
        desk.settle(std::string("source 0 plug ") + row.name);
        other.settle(std::string("source 0 plug ") + row.like);
        EXPECT_EQ(desk.get(REG_TIMING, 13), other.get(REG_TIMING, 13));
    }
    for (const char* none : {"480p59.94", "720p60.00", "dmt-640x480-60.00", "240p59.94-263"})
        EXPECT_FALSE(find_format(none)) << none;
}

// Catches: a frame that tells other repetitions or codes than HDMI asks for or than was commanded, counts that follow
// the claim and not the cable, and a sum that no claim is right with.
TEST(Source, SaysWhatItIsToldOfThePictureThatIsThere)
{
    static constexpr struct {
        const char* plug;
        unsigned vic, aspect, repetitions, h_total, v_total; // in the frame, the last two as counted
        bool interlaced, sound_sum = true;
    } rows[] = {
        {"480i60", 7, 2, 1, 1716, 262, true},
        {"576i50 aspect 4:3", 21, 1, 1, 1728, 312, true},
        {"1440x480p60", 15, 2, 1, 1716, 525, false},
        {"1440x480p60 avi repetition 1", 15, 2, 0, 1716, 525, false}, // 1440 pixels of its own
        {"1440x576p50", 30, 2, 1, 1728, 625, false},
        {"2880x480i60", 11, 2, 3, 3432, 262, true},
        {"2880x288p50-314", 28, 2, 3, 3456, 314, false},
        {"2880x480p60 avi repetition 2", 36, 2, 1, 3432, 525, false},
        {"240p60", 9, 2, 1, 1716, 262, false},
        {"480i60 fields equal", 7, 2, 1, 1716, 262, false},
        {"1080i60 fields equal", 5, 2, 0, 2200, 562, false},
        {"1080p60 fields equal", 16, 2, 0, 2200, 1125, false},
        {"1080p60 avi vic 4", 4, 2, 0, 2200, 1125, false},
        {"720p50 avi vic 0", 0, 2, 0, 1980, 750, false},
        {"1080p60 avi vic 4 avi on", 16, 2, 0, 2200, 1125, false},
        {"1080p48", 111, 2, 0, 2750, 1125, false},
        {"2560x1080p24", 86, 0, 0, 3750, 1100, false},
        {"1080p60 avi bad-checksum", 16, 2, 0, 2200, 1125, false, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.plug);
        Desk desk;
        desk.settle(std::string("source 0 plug ") + row.plug);
        const auto frame = desk.get(REG_AVI, 15);
        EXPECT_EQ(frame[5], row.vic);
        EXPECT_EQ(frame[3] >> 4 & 3, row.aspect);
        EXPECT_EQ(frame[6], row.repetitions);
        EXPECT_EQ(std::accumulate(frame.begin(), frame.end(), 0x82 + 13) % 256 == 0, row.sound_sum);
        const auto timing = desk.get(REG_TIMING, 13);
        EXPECT_EQ(timing[1] | (timing[2] & 0x0Fu) << 8, row.h_total);
        EXPECT_EQ(timing[7] | (timing[8] & 0x0Fu) << 8, row.v_total);
        EXPECT_EQ(timing[0] == 0x02, row.interlaced);
    }
}

// Catches: a jitter that moves something else, more than a unit or not at all, that no run repeats, that the chip takes
// for a change of mode, or that stays when it is switched off.
TEST(Source, JittersByOneUnitAndNowhereElse)
{
    static const struct {
        const char* setting;
        uint8_t reg;
        std::set<int> seen; // the counts of 1080i60: 2200 pixels, 562 lines, 47 of the clock
    } rows[] = {
        {"jitter pixels", REG_TIMING + 1, {0x97, 0x98, 0x99}}, {"jitter lines", REG_TIMING + 7, {0x31, 0x32, 0x33}},
        {"jitter clock", REG_TIMING + 12, {46, 47, 48}},       {"jitter clock", REG_LINK_COUNT, {46, 47, 48}},
        {"fields irregular", REG_TIMING, {0x00, 0x02}},        {"fields irregular", REG_TIMING + 7, {0x32, 0x33}}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.setting);
        Desk desk, again;
        for (Desk* one : {&desk, &again}) {
            one->settle("source 0 plug 1080i60");
            one->tell(std::string("source 0 ") + row.setting);
        }
        const auto steady = desk.get(REG_TIMING, 13);
        std::set<int> seen;
        std::map<size_t, std::set<int>> others;
        for (int look = 0; look < 200; ++look) {
            desk.run_ms(20);
            again.run_ms(20);
            seen.insert(desk.get(row.reg));
            EXPECT_EQ(desk.get(row.reg), again.get(row.reg));
            const auto now = desk.get(REG_TIMING, 13);
            for (size_t i = 0; i < now.size(); ++i) others[i].insert(now[i]);
        }
        EXPECT_EQ(seen, row.seen);
        const auto moved = std::ranges::count_if(others, [](const auto& other) { return other.second.size() > 1; });
        EXPECT_EQ(moved, row.setting == std::string("fields irregular") ? 2 : 1);
        EXPECT_EQ(desk.get(REG_INT1), 0);
        for (const char* steady_again : {"source 0 jitter off", "source 0 fields regular"}) desk.settle(steady_again);
        EXPECT_EQ(desk.get(REG_TIMING, 13), steady);
    }
}

// Catches: something that comes too early, too late or never: the lock, 5 V, the AVI frame, what is said of the sound,
// the end of a vain wait for HDCP.
TEST(Source, TakesItsTime)
{
    struct Look {
        Micros ms; ///< after the last command
        uint8_t reg, mask, value;
    };
    static const struct {
        const char* plug;
        std::vector<const char*> then; // a second after each other
        std::vector<Look> looks;
    } rows[] = {
        {"late-lock 2000", {}, {{2100, REG_STATUS, STATUS_SCDT, 0}, {2120, REG_STATUS, STATUS_SCDT, 6}}},
        {"", {"5v flap 3 200"}, {{100, REG_STATUS, 1, 0}, {300, REG_STATUS, 1, 1}, {1250, REG_STATUS, 0xB7, 0xB7}}},
        {"avi late 3000", {}, {{3090, REG_AVI, 0xFF, 0}, {3200, REG_AVI, 0xFF, 2}}},
        {"", {"avi late 500", "colour yuv444"}, {{490, REG_AVI + 2, 0x60, 0}, {510, REG_AVI + 2, 0x60, 0x40}}},
        {"avi late 500", {"format 1080p60 seamless"}, {{490, REG_AVI + 5, 0xFF, 4}, {510, REG_AVI + 5, 0xFF, 16}}},
        {"avi late 5000", {"mute on"}, {{4000, REG_AVI, 0xFF, 0}, {4200, REG_AVI, 0xFF, 2}}},
        {"avi late 5000", {"avi on"}, {{1, REG_AVI, 0xFF, 2}}},
        // The sound's own change is there at once, what is said of it comes later: rate, kind, channels.
        {"audio-late 500",
         {"audio lpcm 44100"},
         {{1, REG_INT3, 0xFF, INT3_FIFO | INT3_AUDIO}, {490, REG_FS_DEPTH, 0x0F, 2}, {510, REG_FS_DEPTH, 0x0F, 0}}},
        {"audio-late 500",
         {"audio compressed"},
         {{490, REG_CHANNEL_STATUS, 0xFF, 0x04}, {510, REG_CHANNEL_STATUS, 0xFF, 0x06}}},
        {"audio-late 500",
         {"audio lpcm 48000 8"},
         {{1, REG_AUDIO, 0x1F, 0x1F}, {490, REG_AUDIO_FRAME + 2, 7, 1}, {510, REG_AUDIO_FRAME + 2, 7, 7}}},
        {"audio none audio-late 500", {"audio lpcm 32000"}, {{1, REG_FS_DEPTH, 0x0F, 3}}},
        {"",
         {"audio-status compressed"},
         {{1, REG_CHANNEL_STATUS, 0xFF, 0x06}, {3, REG_AUDIO, 0xFF, 0x81}, {4, REG_INT3, 0xFF, 0}}},
        {"audio-status lpcm 44100", {"audio-status true"}, {{0, REG_FS_DEPTH, 0x0F, 2}}},
        {"audio-status lpcm 44100", {}, {{1000, REG_FS_DEPTH, 0x0F, 0}}},
        {"", {"audio-frame lpcm 48000 6"}, {{1, REG_AUDIO_FRAME + 2, 7, 5}, {2, REG_AUDIO, 0x1F, 0x01}}},
        {"audio-frame off", {}, {{1000, REG_AUDIO_FRAME, 0xFF, 0}, {1001, REG_AUDIO, 0x80, 0x80}}},
        {"hdcp muted 3000", {}, {{3090, REG_MUTE, MUTE_SET, MUTE_SET}, {3110, REG_MUTE, MUTE_SET, 0}}},
        {"hdcp dark 3000", {}, {{3090, REG_STATUS, STATUS_SCDT, 0}, {3200, REG_STATUS, STATUS_SCDT, 6}}},
        {"hdcp dark forever", {}, {{600'000, REG_STATUS, STATUS_SCDT, 0}}},
        {"", {"hdcp dark 2000"}, {{1990, REG_STATUS, STATUS_SCDT, 0}, {2100, REG_STATUS, STATUS_SCDT, 6}}},
        {"hdcp dark forever", {"hdcp off"}, {{100, REG_STATUS, STATUS_SCDT, 6}}},
        {"hdcp muted 2000",
         {"mute off", "mute off", "format 1080p60"}, // which asks again
         {{2900, REG_MUTE, MUTE_SET, MUTE_SET}, {3100, REG_MUTE, MUTE_SET, 0}}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.plug << ", " << (row.then.empty() ? "" : row.then.back()));
        Desk desk;
        desk.tell(std::string("source 0 plug 720p60 ") + row.plug);
        for (const char* line : row.then) {
            desk.run_ms(1000);
            desk.clear_latches();
            desk.tell(std::string("source 0 ") + line);
        }
        const Micros start = desk.time.now();
        for (const Look& look : row.looks) {
            desk.time.advance_to(start + look.ms * 1000);
            EXPECT_EQ(desk.get(look.reg) & look.mask, look.value) << look.ms << " ms, register " << int{look.reg};
        }
    }
}

} // namespace
