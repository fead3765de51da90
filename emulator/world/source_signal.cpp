#include "emulator/world/source_signal.h"

#include "emulator/world/iec60958.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace emu {

namespace {

// Channel allocations: bits 0 and 1 put LFE and the front centre on line 1; the rest fills lines 2 and 3.
constexpr uint8_t ALLOCATION_LINES[8] = {0x0, 0x4, 0x4, 0xC, 0xC, 0x8, 0xC, 0xC};
constexpr uint8_t ALLOCATION_CHANNELS[8] = {0, 1, 2, 3, 4, 2, 3, 4};

/** Codes from 79 on are those of 64:27 pictures, but for these two. */
bool is_ultra_wide(uint8_t vic)
{
    return vic >= 79 && vic != 108 && vic != 111;
}

std::string describe_audio(AudioKind sound, const AudioSignal& audio)
{
    static constexpr const char* KINDS[] = {"no sound", "LPCM", "compressed sound", "HBR sound", "DSD sound"};
    std::string text = KINDS[static_cast<size_t>(sound)];
    if (sound == AudioKind::None) return text;
    if (audio.rate_hz != 0)
        text.append(" ").append(std::to_string(audio.rate_hz)).append(" Hz");
    else
        text += " of unknown rate";
    text.append(" ").append(std::to_string(audio.channels)).append(" ch");
    if (audio.word_bits != 0) text.append(" ").append(std::to_string(audio.word_bits)).append(" bits");
    return text;
}

std::string milliseconds(Micros time)
{
    return std::to_string(time / 1000) + " ms";
}

std::string describe_jitter(const Jitter& jitter)
{
    std::string text;
    if (jitter.pixels) text += " pixels";
    if (jitter.lines) text += " lines";
    if (jitter.clock) text += " clock";
    return text.empty() ? text : ", jitter of" + text;
}

std::string describe_claims(const Claims& claims)
{
    std::string text;
    if (claims.vic) text += ", VIC told as " + std::to_string(*claims.vic);
    if (claims.repetition) text += ", repetition told as " + std::to_string(*claims.repetition);
    if (claims.avi_delay != 0) text += ", AVI frame " + milliseconds(claims.avi_delay) + " late";
    if (claims.status_of) text += ", channel status tells " + describe_audio(claims.status_of->kind, *claims.status_of);
    if (!claims.audio_frame) text += ", no audio frame";
    if (claims.frame_of) text += ", audio frame tells " + std::to_string(claims.frame_of->channels) + " ch";
    if (claims.audio_delay != 0) text += ", sound told " + milliseconds(claims.audio_delay) + " late";
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

Format Signal::on_cable() const
{
    Format sent = format;
    if (!format.interlaced || fields != Fields::Equal) return sent;
    sent.lines = static_cast<uint16_t>(format.field_lines());
    sent.interlaced = false;
    return sent;
}

PictureTiming Signal::timing() const
{
    PictureTiming timing = timing_of(on_cable());
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
    AviFields told;
    told.colour = avi == AviSending::WrongColour ? uint8_t{3} : static_cast<uint8_t>(colour);
    told.colorimetry = static_cast<uint8_t>(std::min(static_cast<int>(colorimetry), 3));
    told.extended = colorimetry == Colorimetry::XvYcc709 ? 1 : 0;
    told.quantization = quantization;
    const bool as_wide = format.vic == 0 || (wide && format.vic_wide != 0);
    told.vic = as_wide ? format.vic_wide : format.vic;
    if (told.vic != 0 && !is_ultra_wide(told.vic)) told.aspect = as_wide ? 2 : 1;
    told.vic = claims.vic.value_or(told.vic);
    told.repetition = claims.repetition.value_or(format.repetition);
    InfoFrame frame = compose_avi(told);
    if (avi == AviSending::WrongChecksum) ++frame.body[0];
    return frame;
}

InfoFrame Signal::audio_frame() const
{
    if (sound() == AudioKind::None || !claims.audio_frame) return {};
    const AudioSignal& told = claims.frame_of ? *claims.frame_of : audio;
    return compose_audio(std::max<uint8_t>(told.channels, 2), told.allocation);
}

std::string Signal::describe() const
{
    static constexpr const char* COLOURS[] = {"rgb", "yuv422", "yuv444"};
    const Format f = on_cable();
    char text[160];
    std::snprintf(text, sizeof text, "%s %s, %ux%u%c %.2f Hz at %.3f MHz, %s %u bits, ", hdmi ? "HDMI" : "DVI",
                  std::string(f.name).c_str(), unsigned{f.h_active}, f.interlaced ? f.v_active * 2u : f.v_active,
                  f.interlaced ? 'i' : 'p', f.field_rate() * (1 + clock_error_percent / 100), pixel_clock_khz() / 1000,
                  COLOURS[static_cast<size_t>(colour)], unsigned{depth_bits});
    std::string odd;
    if (format.interlaced && fields != Fields::Regular)
        odd = fields == Fields::Equal ? ", equal fields" : ", irregular fields";
    if (late_lock != 0) odd += ", locks " + milliseconds(late_lock) + " late";
    return text + describe_audio(sound(), audio) + odd + describe_jitter(jitter) + describe_claims(claims);
}

} // namespace emu
