#include "emulator/chips/display_view.h"

#include <cstdarg>
#include <cstdio>

namespace emu {

namespace {

[[gnu::format(printf, 1, 2)]] std::string format(const char* pattern, ...)
{
    char text[256];
    va_list list;
    va_start(list, pattern);
    std::vsnprintf(text, sizeof text, pattern, list);
    va_end(list);
    return text;
}

const char* name_of(OutputSignal signal)
{
    switch (signal) {
    case OutputSignal::None: return "none";
    case OutputSignal::Dvi: return "DVI";
    case OutputSignal::Hdmi: return "HDMI";
    }
    return "?";
}

const char* name_of(AfeState state)
{
    switch (state) {
    case AfeState::Off: return "off";
    case AfeState::SetUp: return "in set-up";
    case AfeState::Running: return "running";
    }
    return "?";
}

const char* name_of(AfeRange range)
{
    switch (range) {
    case AfeRange::None: return "no range";
    case AfeRange::Low: return "low range";
    case AfeRange::High: return "high range";
    }
    return "?";
}

std::string name_of(const Matrix& matrix)
{
    const char* kind = "bypassed";
    switch (matrix.kind) {
    case MatrixKind::None: return kind;
    case MatrixKind::Unknown: return "unknown matrix";
    case MatrixKind::RgbToYuv: kind = "RGB to YCbCr"; break;
    case MatrixKind::YuvToRgb: kind = "YCbCr to RGB"; break;
    }
    return std::string(kind) + (matrix.itu709 ? ", ITU709" : ", ITU601") + (matrix.limited ? ", 16-235" : ", 0-255");
}

std::string frame_state(const ReceivedFrame& frame)
{
    return !frame.sent ? "not sent" : frame.checksum_right() ? "checksum right" : "CHECKSUM WRONG";
}

std::string avi_text(const AviFrame& avi)
{
    std::string text = frame_state(avi);
    if (avi.sent)
        text += format(", %s, VIC %u, %s, ITU%s, repetition %u", colour_name(avi.colour()), avi.vic(),
                       avi.wide() ? "16:9" : "4:3", avi.itu709() ? "709" : "601", avi.repetition());
    return text;
}

std::string audio_text(const ReceivedFrame& audio)
{
    std::string text = frame_state(audio);
    const unsigned count = audio.body[1] & 0x07;
    if (audio.sent) text += count == 0 ? ", channels as in the stream" : format(", %u channels", count + 1);
    return text;
}

std::string sound_text(const Sound& sound)
{
    std::string text = sound.plays ? "plays" : sound.broken ? "broken" : sound.held ? "held" : "silent";
    text += sound.plays ? ", " : ": " + sound.why + "; ";
    text += format("%u channels over %s, N %u, CTS %u (%s), %u Hz; ", sound.channels, sound.spdif ? "S/PDIF" : "I2S",
                   sound.n, sound.cts, sound.cts_measured ? "measured" : "fixed", sound.heard_rate_hz);
    const ChannelStatus& status = sound.status;
    return text + format("channel status: %s, %u Hz, %u bits", status.pcm ? "PCM" : "compressed", status.rate_hz,
                         status.word_bits);
}

} // namespace

const char* picture_name(Picture picture)
{
    switch (picture) {
    case Picture::NoSignal: return "none";
    case Picture::Blanked: return "blanked";
    case Picture::Frozen: return "none yet";
    case Picture::OutOfRange: return "out of range";
    case Picture::WrongColours: return "wrong colours";
    case Picture::Good: return "good";
    }
    return "?";
}

std::string picture_text(const DisplayView& view)
{
    return std::string(picture_name(view.picture)) + (view.why.empty() ? "" : ": " + view.why) +
           (view.but.empty() ? "" : ", but " + view.but);
}

std::string describe(const DisplayView& view)
{
    if (!view.plugged) return "nothing plugged in\n";
    const auto line = [](const char* label, const std::string& text) { return format("%-12s", label) + text + "\n"; };
    std::string text =
        line("display", view.name + (view.display.product.empty() ? "" : " \"" + view.display.product + "\""));
    text += line("terminators", view.standby ? "off" : "on");
    text += line("signal", name_of(view.signal));
    text += line("picture", picture_text(view));
    text += line("cable", format("%s, %u bits, from %s", colour_name(view.path.cable.colour), view.path.depth_bits,
                                 colour_name(view.path.input)));
    text += line("clock", format("%.2f MHz", view.tmds_khz / 1000.0));
    text += line("converter", name_of(view.path.matrix));
    text += line("AFE", std::string(name_of(view.afe)) + ", " + name_of(view.afe_range));
    text += line("video path", view.video_held ? "held" : "running");
    text += line("AV mute", view.muted ? "on" : "off");
    text += line("AVI", avi_text(view.avi));
    text += line("audio frame", audio_text(view.audio));
    text += line("vendor", frame_state(view.vendor));
    return text + line("sound", sound_text(view.sound));
}

} // namespace emu
