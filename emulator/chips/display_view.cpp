#include "emulator/chips/display_view.h"

#include "emulator/chips/transmitter_registers.h"
#include "emulator/world/iec60958.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <tuple>

namespace emu {

namespace {

using namespace tx;

// ---------------------------------------------------------------- signal and picture

/** The chip's description: the front end's PLLs have a range for clocks up to this one and a range above it. */
constexpr uint32_t LOW_RANGE_UP_TO_KHZ = 80'000;

constexpr const char *IN_STANDBY = "the display is in standby", *LOCKING = "the display is locking to the signal";

/** Without a clock from the picture that comes in nothing leaves. */
OutputSignal signal_of(const TransmitterOutput& out, AfeState afe)
{
    if (!out.enabled || out.input.timing.clock_khz == 0 || afe != AfeState::Running) return OutputSignal::None;
    return (out.bank0[REG_HDMI] & HDMI_MODE) != 0 ? OutputSignal::Hdmi : OutputSignal::Dvi;
}

AfeState afe_state(const TransmitterOutput& out)
{
    const auto& r = out.bank0;
    const bool off = (r[REG_POWER] & POWER_DOWN) != 0 || (r[REG_CLOCKS] & CLOCKS_GATED) != 0 ||
                     (r[REG_AFE_DRIVER] & DRIVER_OFF) != 0 || (r[REG_AFE_PLL_1] & PLL_1_OFF) != 0 ||
                     (r[REG_AFE_PLL_2] & PLL_2_OFF) != 0;
    if (off) return AfeState::Off;
    const bool runs = (r[REG_AFE_DRIVER] & DRIVER_RESET) == 0 && (r[REG_AFE_PLL_1] & PLL_1_RUN) != 0 &&
                      (r[REG_AFE_PLL_2] & PLL_2_RUN) != 0;
    return runs ? AfeState::Running : AfeState::SetUp;
}

AfeRange afe_range(const TransmitterOutput& out)
{
    const uint8_t pll_1 = out.bank0[REG_AFE_PLL_1] & PLL_1_RANGE, pll_2 = out.bank0[REG_AFE_PLL_2] & PLL_2_RANGE;
    const bool swing_low = (out.bank0[REG_AFE_SWING] & SWING_LOW) != 0;
    if (pll_1 == PLL_1_HIGH && pll_2 == PLL_2_HIGH && !swing_low) return AfeRange::High;
    if (pll_1 == PLL_1_LOW && pll_2 == PLL_2_LOW && swing_low) return AfeRange::Low;
    return AfeRange::None;
}

/** What a display takes the picture's colours for: what a right AVI frame says, and CTA-861's defaults where it does
 * not.
 */
PictureColours expected_colours(const DisplayView& view)
{
    const bool told = view.signal == OutputSignal::Hdmi && view.avi.sent && view.avi.checksum_right();
    const bool high_definition = view.timing.width >= 1280;
    if (!told) return {.colour = Colour::Rgb, .itu709 = high_definition, .limited = false};
    const AviFrame& avi = view.avi;
    const bool rgb = avi.colour() == Colour::Rgb, television = avi.vic() > 1;
    return {.colour = avi.colour(),
            .itu709 = avi.colorimetry() == 0 ? high_definition : avi.itu709(),
            .limited = !rgb || (avi.quantization() == 0 ? television : avi.quantization() == 1)};
}

/** Why the colours come out wrong; empty when they are right. */
std::string colour_fault(const DisplayView& view)
{
    const PictureColours &cable = view.path.cable, expected = expected_colours(view);
    if (!cable.fault.empty()) return cable.fault;
    if (view.path.depth_bits > view.display.depth_bits)
        return "the cable carries " + std::to_string(view.path.depth_bits) + " bits a colour, the display takes " +
               std::to_string(view.display.depth_bits);
    if (expected.colour != cable.colour)
        return std::string("the cable carries ") + colour_name(cable.colour) + ", the display takes it for " +
               colour_name(expected.colour);
    const bool taken = cable.colour == Colour::Rgb || (cable.colour == Colour::Yuv422 && view.display.yuv422) ||
                       (cable.colour == Colour::Yuv444 && view.display.yuv444);
    return taken ? "" : std::string("the display does not take ") + colour_name(cable.colour);
}

/** What makes the colours a shade off; empty when nothing does. */
std::string colour_shade(const DisplayView& view)
{
    const PictureColours &cable = view.path.cable, expected = expected_colours(view);
    if (!cable.shade.empty()) return cable.shade;
    const bool rgb = cable.colour == Colour::Rgb;
    if (rgb && cable.limited != expected.limited)
        return std::string("the display takes levels of ") + levels_name(cable.limited) + " for " +
               levels_name(expected.limited);
    if (!rgb && cable.itu709 != expected.itu709)
        return std::string("the display takes ") + weights_name(cable.itu709) + " for " + weights_name(expected.itu709);
    return "";
}

/** Whether the AVI frame's format is another one than the picture's. */
bool names_another_format(const DisplayView& view)
{
    const uint8_t vic = view.avi.vic();
    if (!view.avi.sent || vic == 0 || view.timing.width == 0) return false;
    const auto formats = all_formats();
    const bool known =
        std::ranges::any_of(formats, [vic](const Format& f) { return f.vic == vic || f.vic_wide == vic; });
    return known && std::ranges::none_of(formats, [&](const Format& f) {
               return (f.vic == vic || f.vic_wide == vic) && is_same_picture(timing_of(f), view.timing);
           });
}

std::string megahertz(uint32_t khz)
{
    return std::to_string(khz / 1000) + " MHz";
}

/** Why a display cannot lock to the timing; empty when it can. One whose EDID lists nothing shows what it gets. */
std::string range_fault(const DisplayView& view, const DisplayLimits& limits)
{
    if (limits.max_clock_khz != 0 && view.tmds_khz > limits.max_clock_khz)
        return megahertz(view.tmds_khz) + ", the display takes " + megahertz(limits.max_clock_khz);
    if (view.timing.width == 0 || limits.timings.empty() || limits.lists(view.timing)) return "";
    return std::to_string(view.timing.width) + "x" + std::to_string(view.timing.height) +
           (view.timing.interlaced ? " interlaced" : "") + " at " + std::to_string(std::lround(view.timing.rate_hz)) +
           " Hz is none of its timings";
}

/** What keeps a good picture from being a safe and true one. */
std::string reservations(const DisplayView& view)
{
    const bool fast = view.tmds_khz > LOW_RANGE_UP_TO_KHZ;
    std::string text;
    const auto add = [&text](const std::string& reason) {
        if (!reason.empty()) text += (text.empty() ? "" : "; ") + reason;
    };
    if (fast && view.afe_range != AfeRange::High) add("the front end is in its low range");
    if (!fast && view.afe_range != AfeRange::Low) add("the front end is in its high range");
    add(colour_shade(view));
    if (names_another_format(view)) add("the AVI frame names another format");
    return text;
}

void judge_picture(DisplayView& view, const TransmitterOutput& out, const DisplayLimits& limits)
{
    const auto verdict = [&view](Picture picture, std::string why) {
        view.picture = picture;
        view.why = std::move(why);
    };
    if (!view.plugged) return verdict(Picture::NoSignal, "nothing is plugged in");
    if (view.standby) return verdict(Picture::NoSignal, IN_STANDBY);
    if (!out.enabled) return verdict(Picture::NoSignal, "the board keeps the output off");
    if (out.input.timing.clock_khz == 0) return verdict(Picture::NoSignal, "no picture comes in");
    if (view.signal == OutputSignal::None) return verdict(Picture::NoSignal, "the output stage does not run");
    if (view.signal == OutputSignal::Hdmi && !view.display.hdmi)
        return verdict(Picture::NoSignal, "the display knows DVI only and gets HDMI");
    if (out.locking) return verdict(Picture::NoSignal, LOCKING);
    const std::string out_of_range = range_fault(view, limits);
    if (!out_of_range.empty()) return verdict(Picture::OutOfRange, out_of_range);
    if (view.muted) return verdict(Picture::Blanked, "AV mute is set");
    if (view.video_held) return verdict(Picture::Frozen, "the video path is held");
    if (out.input.black) return verdict(Picture::Blanked, "the receiver holds the picture back");
    const std::string fault = colour_fault(view);
    verdict(fault.empty() ? Picture::Good : Picture::WrongColours, fault);
    if (fault.empty()) view.but = reservations(view);
}

// ---------------------------------------------------------------- info frames

bool sends(const TransmitterOutput& out, uint8_t control, OutputSignal signal)
{
    return signal == OutputSignal::Hdmi && (out.bank0[control] & SEND) != 0;
}

AviFrame avi_frame(const TransmitterOutput& out, OutputSignal signal)
{
    AviFrame frame{{{.type = FRAME_AVI, .version = 2, .length = 13}, sends(out, REG_SEND_AVI, signal)}};
    const auto first = out.bank1.begin() + REG_AVI;
    std::copy_n(first, 5, frame.body.begin() + 1);
    frame.body[0] = first[5];
    std::copy_n(first + 6, 8, frame.body.begin() + 6);
    return frame;
}

ReceivedFrame audio_frame(const TransmitterOutput& out, OutputSignal signal)
{
    ReceivedFrame frame{{.type = FRAME_AUDIO, .version = 1, .length = 10}, sends(out, REG_SEND_AUDIO, signal)};
    const auto first = out.bank1.begin() + REG_AUDIO_FRAME;
    std::copy_n(first, 5, frame.body.begin() + 1);
    frame.body[0] = first[5];
    return frame;
}

/** HDMI's vendor frame: its identifier, the format, the 3D structure and, for half-size structures, their kind. */
ReceivedFrame vendor_frame(const TransmitterOutput& out, OutputSignal signal)
{
    const auto first = out.bank1.begin() + REG_VENDOR_FRAME;
    const bool half_size = first[1] > 0x7F;
    const uint8_t length = half_size ? 6 : 5;
    ReceivedFrame frame{{.type = FRAME_VENDOR, .version = 1, .length = length}, sends(out, REG_SEND_VENDOR, signal)};
    frame.body = {first[3], 0x03, 0x0C, 0x00, first[0], first[1], half_size ? first[2] : uint8_t{0}};
    return frame;
}

// ---------------------------------------------------------------- sound

ChannelStatus channel_status(const std::array<uint8_t, 256>& r)
{
    ChannelStatus status;
    status.bytes = {static_cast<uint8_t>((r[REG_STATUS_MODE] & 0x7C) >> 1), r[REG_STATUS_CATEGORY],
                    static_cast<uint8_t>((r[REG_STATUS_SOURCE] & 0x0F) | (r[REG_STATUS_CHANNEL] & 0x0F) << 4),
                    r[REG_STATUS_RATE], r[REG_STATUS_WORD]};
    status.pcm = (status.bytes[0] & 0x02) == 0;
    status.rate_hz = sampling_rate_of(status.bytes[3] & 0x0F);
    status.word_bits = word_length_of(status.bytes[4] & 0x0F);
    return status;
}

uint32_t twenty_bits(const std::array<uint8_t, 256>& r, uint8_t reg)
{
    return r[reg] | static_cast<uint32_t>(r[reg + 1]) << 8 | (r[reg + 2] & 0x0Fu) << 16;
}

/** Audio clock regeneration: 128 x rate = TMDS clock x N / CTS. */
void regenerate_clock(Sound& sound, const TransmitterOutput& out)
{
    const uint64_t clock = uint64_t{1000} * out.input.timing.clock_khz,
                   wanted = uint64_t{128} * out.input.audio_rate_hz;
    sound.n = twenty_bits(out.bank1, REG_N);
    sound.cts_measured = (out.bank0[REG_CTS_SOURCE] & CTS_FROM_REGISTERS) == 0;
    sound.cts = sound.cts_measured && wanted != 0 ? static_cast<uint32_t>((clock * sound.n + wanted / 2) / wanted)
                                                  : twenty_bits(out.bank1, REG_CTS);
    sound.n_allowed = uint64_t{300} * sound.n <= wanted && uint64_t{1500} * sound.n >= wanted;
    const uint64_t divisor = uint64_t{128} * sound.cts;
    if (divisor != 0) sound.heard_rate_hz = static_cast<uint32_t>((clock * sound.n + divisor / 2) / divisor);
}

/** Why nothing is heard of what the transmitter takes in; empty when it arrives as it should. */
std::string transport_fault(const DisplayView& view, const Sound& sound)
{
    if (view.muted) return "AV mute is set";
    if (sound.held) return "the audio path is held";
    if (sound.broken) return "the audio FIFO has run over";
    if (sound.spdif) return "it is taken from S/PDIF, where nothing comes in";
    if (sound.channels == 0) return "no channels are taken in";
    if (!view.audio.sent) return "no audio frame is sent";
    if (!view.audio.checksum_right()) return "the audio frame's checksum is wrong";
    // A display judges the rate by the clock it regenerates; 1 % is far outside what its converter follows.
    const uint32_t rate = sound.status.rate_hz;
    if (rate == 0) return "the channel status tells no rate";
    if (sound.heard_rate_hz < rate / 100 * 99 || sound.heard_rate_hz > rate / 100 * 101)
        return "the channel status says " + std::to_string(rate) + " Hz, N and CTS give " +
               std::to_string(sound.heard_rate_hz) + " Hz";
    return sound.n_allowed ? "" : "N is out of its range";
}

/** Why the display does not play the sound; empty when it does. */
std::string sound_fault(const DisplayView& view, const Sound& sound, const TransmitterOutput& out,
                        const AudioDescriptors& listed)
{
    if (!view.plugged) return "nothing is plugged in";
    if (view.standby) return IN_STANDBY;
    if (view.signal != OutputSignal::Hdmi) return "no HDMI signal, which alone carries sound";
    if (!view.display.hdmi) return "the display knows DVI only";
    if (out.locking) return LOCKING;
    if (!view.display.basic_audio) return "the display takes no sound";
    std::string fault = transport_fault(view, sound);
    if (!fault.empty()) return fault;
    return sound_refusal(listed, {.pcm = sound.status.pcm,
                                  .channels = sound.channels,
                                  .rate_hz = sound.status.rate_hz,
                                  .word_bits = sound.status.word_bits});
}

Sound sound_of(const DisplayView& view, const TransmitterOutput& out, const AudioDescriptors& listed)
{
    Sound sound;
    sound.held = (out.bank0[REG_RESET] & RESET_AUDIO) != 0;
    sound.broken = out.audio_overflown;
    sound.spdif = (out.bank0[REG_AUDIO_ENABLE] & AUDIO_SPDIF) != 0;
    const auto pairs = static_cast<uint8_t>(out.bank0[REG_AUDIO_ENABLE] & AUDIO_PAIRS);
    sound.channels = static_cast<uint8_t>(2 * std::popcount(pairs));
    sound.status = channel_status(out.bank1);
    regenerate_clock(sound, out);
    sound.why = sound_fault(view, sound, out, listed);
    sound.plays = sound.why.empty();
    return sound;
}

} // namespace

bool CableSignal::same_as(const CableSignal& other) const
{
    const auto figures = [](const CableSignal& s) {
        return std::tuple(s.kind, s.tmds_khz, s.timing.width, s.timing.height, s.timing.interlaced, s.timing.rate_hz);
    };
    return figures(*this) == figures(other);
}

CableSignal signal_on_cable(const TransmitterOutput& output)
{
    const PictureTiming& timing = output.input.timing;
    return {.kind = signal_of(output, afe_state(output)),
            .tmds_khz = static_cast<uint32_t>(uint64_t{timing.clock_khz} * depth_bits(output.bank0) / 8),
            .timing = timing};
}

Colour AviFrame::colour() const
{
    const unsigned y = body[1] >> 5 & 0x03;
    return y == 1 ? Colour::Yuv422 : y == 2 ? Colour::Yuv444 : Colour::Rgb;
}

DisplayView look(const Display& display, const TransmitterOutput& output)
{
    DisplayView view;
    view.plugged = display.plugged();
    view.standby = display.standby();
    view.name = display.name();
    view.display = display.abilities();
    view.afe = afe_state(output);
    view.afe_range = afe_range(output);
    view.signal = signal_of(output, view.afe);
    view.video_held = (output.bank0[REG_RESET] & RESET_VIDEO) != 0;
    view.muted = (output.bank0[REG_GENERAL] & GENERAL_MUTE) != 0;
    view.path = video_path(output.bank0, output.input.colours);
    view.avi = avi_frame(output, view.signal);
    view.audio = audio_frame(output, view.signal);
    view.vendor = vendor_frame(output, view.signal);
    view.sound = sound_of(view, output, display.audio());
    view.timing = output.input.timing;
    view.tmds_khz = signal_on_cable(output).tmds_khz;
    judge_picture(view, output, display.limits());
    return view;
}

} // namespace emu
