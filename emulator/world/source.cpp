#include "emulator/world/source.h"

#include "emulator/world/iec60958.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace emu {

namespace {

/**
 * Shortest break of the picture when a source changes its format. It mutes, stops its clock, sets its pixel clock anew
 * and waits until that has settled: players and PCs take from half a second to some seconds. A sink that looks for the
 * break now and then, as a firmware does that polls, sees it by that length and nothing else.
 */
constexpr Micros FORMAT_BREAK = 1'000'000;

// Channel allocations: bits 0 and 1 put LFE and the front centre on line 1; the rest fills lines 2 and 3.
constexpr uint8_t ALLOCATION_LINES[8] = {0x0, 0x4, 0x4, 0xC, 0xC, 0x8, 0xC, 0xC};
constexpr uint8_t ALLOCATION_CHANNELS[8] = {0, 1, 2, 3, 4, 2, 3, 4};

bool same_timing(const Format& a, const Format& b)
{
    return a.clock_khz == b.clock_khz && a.h_total() == b.h_total() && a.h_active == b.h_active && a.lines == b.lines &&
           a.v_active == b.v_active && a.interlaced == b.interlaced;
}

std::string describe_audio(const Signal& signal)
{
    static constexpr const char* KINDS[] = {"no sound", "LPCM", "compressed sound", "HBR sound", "DSD sound"};
    std::string text = KINDS[static_cast<size_t>(signal.sound())];
    if (signal.sound() == AudioKind::None) return text;
    const AudioSignal& audio = signal.audio;
    if (audio.rate_hz != 0)
        text.append(" ").append(std::to_string(audio.rate_hz)).append(" Hz");
    else
        text += " of unknown rate";
    text.append(" ").append(std::to_string(audio.channels)).append(" ch");
    if (audio.word_bits != 0) text.append(" ").append(std::to_string(audio.word_bits)).append(" bits");
    return text;
}

} // namespace

uint8_t AudioSignal::usual_allocation(unsigned channels)
{
    static constexpr uint8_t USUAL[9] = {0x00, 0x00, 0x00, 0x01, 0x03, 0x07, 0x0B, 0x0F, 0x13};
    return USUAL[std::min(channels, 8u)];
}

uint8_t AudioSignal::channels_of(uint8_t allocation)
{
    const unsigned line_1 = (allocation & 1u) + (allocation >> 1 & 1u);
    return static_cast<uint8_t>(2 + line_1 + ALLOCATION_CHANNELS[allocation >> 2 & 7]);
}

uint8_t AudioSignal::lines() const
{
    switch (kind) {
    case AudioKind::None: return 0;
    case AudioKind::Compressed: return 0x01;
    case AudioKind::Hbr: return 0x0F; // its frames take the four lines in turn
    case AudioKind::Lpcm:
    case AudioKind::Dsd: break;
    }
    const unsigned line_1 = (allocation & 3) != 0 ? 0x2 : 0x0;
    return static_cast<uint8_t>(0x1 | line_1 | ALLOCATION_LINES[allocation >> 2 & 7]);
}

std::array<uint8_t, 5> AudioSignal::channel_status() const
{
    constexpr uint8_t NOT_PCM = 0x02, NO_COPYRIGHT = 0x04;
    const bool pcm = kind == AudioKind::Lpcm;
    return {static_cast<uint8_t>(pcm ? NO_COPYRIGHT : NO_COPYRIGHT | NOT_PCM), 0x00,
            static_cast<uint8_t>(channel_number << 4), sampling_code_of(rate_hz), word_length_code_of(word_bits)};
}

PictureTiming Signal::timing() const
{
    PictureTiming timing = timing_of(format);
    timing.clock_khz = static_cast<uint32_t>(std::lround(pixel_clock_khz()));
    timing.rate_hz *= 1 + clock_error_percent / 100;
    return timing;
}

PictureColours Signal::colours() const
{
    // CTA-861: high definition has ITU709's weights; YCbCr has television's levels, RGB has them in television's
    // formats.
    const bool high_definition = format.h_active >= 1280 && format.repetition == 1;
    const bool told = colorimetry != Colorimetry::None;
    const bool told_709 = colorimetry == Colorimetry::Bt709 || colorimetry == Colorimetry::XvYcc709;
    const bool television = format.vic > 1 || format.vic_wide > 1;
    return {.colour = colour,
            .itu709 = told ? told_709 : high_definition,
            .limited = colour != Colour::Rgb || (quantization == 0 ? television : quantization == 1)};
}

double Signal::link_clock_khz() const
{
    // 4:2:2 has its 12 bits a component in the room of 24 bits a pixel.
    return colour == Colour::Yuv422 ? pixel_clock_khz() : pixel_clock_khz() * depth_bits / 24;
}

InfoFrame Signal::avi_frame() const
{
    if (!hdmi || avi == AviSending::Off) return {};
    AviFields fields;
    fields.colour = avi == AviSending::WrongColour ? uint8_t{3} : static_cast<uint8_t>(colour);
    fields.colorimetry = static_cast<uint8_t>(std::min(static_cast<int>(colorimetry), 3));
    fields.extended = colorimetry == Colorimetry::XvYcc709 ? 1 : 0;
    fields.quantization = quantization;
    const bool as_wide = format.vic == 0 || (wide && format.vic_wide != 0);
    fields.vic = as_wide ? format.vic_wide : format.vic;
    if (fields.vic != 0 && fields.vic < 79) fields.aspect = as_wide ? 2 : 1;
    fields.repetition = format.repetition;
    InfoFrame frame = compose_avi(fields);
    if (avi == AviSending::WrongChecksum) ++frame.body[0];
    return frame;
}

InfoFrame Signal::audio_frame() const
{
    if (sound() == AudioKind::None) return {};
    return compose_audio(std::max<uint8_t>(audio.channels, 2), audio.allocation);
}

void Source::notify(Change change) const
{
    for (const Listener& listener : listeners_) listener(change);
}

void Source::refresh()
{
    const bool sends = started_ && sync_ && !dropped_ && signal_.format.lines != 0;
    if (sends == sends_) return;
    sends_ = sends;
    notify(Change::Link);
}

void Source::restart(Micros delay)
{
    time_.cancel(start_);
    started_ = false;
    refresh();
    if (!powered_ || !terminated_ || delay == NEVER) return;
    if (delay == 0) {
        started_ = true;
        refresh();
        return;
    }
    start_ = time_.after(delay, [this] {
        started_ = true;
        refresh();
    });
}

void Source::plug(const Signal& signal)
{
    unplug();
    plugged_ = true;
    signal_ = signal;
    set_power(true);
}

void Source::unplug()
{
    time_.cancel(drop_);
    plugged_ = false;
    set_power(false);
    drops_left_ = 0;
    dropped_ = false;
    sync_ = true;
    signal_ = {};
}

void Source::set_power(bool on)
{
    if (on == powered_) return;
    powered_ = on;
    notify(Change::Power);
    restart(start_delay_);
}

void Source::set_sync(bool on)
{
    sync_ = on;
    refresh();
}

void Source::set_terminated(bool on)
{
    if (on == terminated_) return;
    terminated_ = on;
    restart(start_delay_);
}

void Source::set_start_delay(Micros delay)
{
    start_delay_ = delay;
    if (!started_) restart(start_delay_);
}

void Source::change(const Signal& signal, bool seamless)
{
    const bool other_timing = !same_timing(signal.format, signal_.format) || signal.depth_bits != signal_.depth_bits;
    const bool other_clock = signal.clock_error_percent != signal_.clock_error_percent;
    if (other_timing && !seamless) {
        time_.cancel(start_);
        started_ = false;
        refresh();
        signal_ = signal;
        restart(std::max(start_delay_, FORMAT_BREAK));
        return;
    }
    signal_ = signal;
    if (!sends_) return;
    if (other_timing || other_clock) notify(Change::Timing);
    notify(Change::Content);
}

void Source::drop(unsigned times, Micros each)
{
    time_.cancel(drop_);
    drops_left_ = times;
    drop_each_ = each;
    dropped_ = false;
    next_drop();
}

void Source::next_drop()
{
    if (!dropped_ && drops_left_ == 0) return refresh();
    if (!dropped_) --drops_left_;
    dropped_ = !dropped_;
    drop_ = time_.after(drop_each_, [this] { next_drop(); });
    refresh();
}

std::string Source::describe() const
{
    static constexpr const char* COLOURS[] = {"rgb", "yuv422", "yuv444"};
    if (!powered_) return "nothing, or a source that is off";
    const Format& f = signal_.format;
    if (f.lines == 0) return "5 V on, no picture";
    char text[160];
    std::snprintf(text, sizeof text, "5 V on, %s %s, %ux%u%c %.2f Hz at %.3f MHz, %s %u bits, %s%s",
                  signal_.hdmi ? "HDMI" : "DVI", std::string(f.name).c_str(), unsigned{f.h_active},
                  f.interlaced ? f.v_active * 2u : unsigned{f.v_active}, f.interlaced ? 'i' : 'p',
                  f.field_rate() * (1 + signal_.clock_error_percent / 100), signal_.pixel_clock_khz() / 1000,
                  COLOURS[static_cast<size_t>(signal_.colour)], unsigned{signal_.depth_bits},
                  describe_audio(signal_).c_str(), signal_.muted ? ", AV mute" : "");
    return std::string(text) + (sends_ ? ", sends" : ", does not send");
}

} // namespace emu
