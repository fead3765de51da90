// input video, infoframes, audio, info: what the receiver sees. Nothing here changes the chip, so a running daemon is
// not disturbed.
#include "tools/bytes.h"
#include "tools/commands.h"
#include "tools/names.h"

#include "devaccess/i2c.h"
#include "hdmirx/hdmirx.h"
#include "hdmirx/status_report.h"

namespace boxtool {

namespace {

int colour_bits(uint8_t depth_code)
{
    switch (depth_code) {
    case 5: return 30;
    case 6: return 36;
    case 7: return 48;
    default: return 24;
    }
}

/** Pixels or lines of a period, named. */
struct Period {
    unsigned active, total, front, sync, back;
};

Json values_of(const Period& p)
{
    return {
        {"active", p.active}, {"total", p.total}, {"front_porch", p.front}, {"sync", p.sync}, {"back_porch", p.back}};
}

std::string text_of(const Period& p, const char* unit)
{
    return format("%u active of %u %s: front porch %u, sync %u, back porch %u", p.active, p.total, unit, p.front,
                  p.sync, p.back);
}

void show_video(Session& session)
{
    capd::VideoReport video{};
    const bool signal = capd::read_video_report(&video);
    const char* mode = video.hdmi ? "HDMI" : "DVI";
    session.row("signal", yes_no(signal));
    session.row("mode", mode);
    session.report({{"signal", signal}, {"mode", mode}});
    if (!signal) return;
    const Period line = {video.h_active, video.h_total, video.h_front, video.h_sync, video.h_back};
    const Period field = {video.v_active, video.v_total, video.v_front, video.v_sync, video.v_back};
    const int bits = colour_bits(video.depth_code);
    session.row("picture", format("%u x %u pixels in each field or frame", line.active, field.active));
    session.row("field rate", format("%.2f Hz", video.field_centihertz / 100.0));
    session.row("pixel clock", format("%.2f MHz", video.pixel_clock_hz / 1e6));
    session.row("colour depth", format("%d bits", bits));
    session.row("horizontal", text_of(line, "pixels"));
    session.row("vertical", text_of(field, "lines"));
    session.report({{"colour_bits", bits},
                    {"pixel_clock_hz", video.pixel_clock_hz},
                    {"field_rate_hz", video.field_centihertz / 100.0},
                    {"horizontal", values_of(line)},
                    {"vertical", values_of(field)}});
}

void show_info_frames(Session& session)
{
    static constexpr struct {
        const char* name;
        capd::InfoFrameKind kind;
    } FRAMES[] = {{"avi", capd::InfoFrameKind::Avi},
                  {"audio", capd::InfoFrameKind::Audio},
                  {"vendor", capd::InfoFrameKind::Vendor}};
    for (const auto& frame : FRAMES) {
        capd::InfoFrameReport report{};
        const bool held = capd::read_info_frame(frame.kind, &report);
        const std::span<const uint8_t> bytes(report.bytes, static_cast<size_t>(held ? report.count : 0));
        session.row(frame.name, held ? hex_values(bytes) : "none");
        session.report({{frame.name, held ? Json(hex_digits(bytes)) : Json()}});
    }
}

const char* kind_name(capd::AudioReport::Kind kind)
{
    using Kind = capd::AudioReport::Kind;
    switch (kind) {
    case Kind::None: return "none";
    case Kind::Hbr: return "HBR";
    case Kind::Dsd: return "DSD";
    case Kind::Lpcm: return "LPCM";
    case Kind::Compressed: break;
    }
    return "compressed";
}

/** The length of a sample. */
std::string bits_text(const Json& bits)
{
    return bits.is_null() ? "not told" : format("%d bits", bits.get<int>());
}

void show_audio(Session& session)
{
    capd::AudioReport audio{};
    capd::read_audio_report(&audio);
    using Kind = capd::AudioReport::Kind;
    session.row("kind", kind_name(audio.kind));
    session.report({{"kind", kind_name(audio.kind)}});
    if (audio.kind != Kind::Lpcm && audio.kind != Kind::Compressed) return;
    const std::span<const uint8_t> status(audio.channel_status);
    const Json bits = sample_bits(status[4] & 15);
    session.row("layout", audio.layout == 0 ? "2 channels" : "up to 8 channels");
    session.row("highest data line", std::to_string(audio.sources));
    session.row("word length", bits_text(bits));
    session.row("channel status", hex_values(status));
    session.report({{"layout", audio.layout},
                    {"sources", audio.sources},
                    {"word_length_bits", bits},
                    {"channel_status", hex_digits(status)}});
}

void tell_sound(Session& session, const capd::hdmirx_info& info)
{
    const Json bits = sample_bits(info.audio_word_length);
    const bool compressed = info.audio_iec61937 != 0;
    session.row("audio", compressed ? "compressed" : "linear PCM");
    session.row("sample rate", info.audio_sample_rate == 0 ? "not known" : format("%d Hz", info.audio_sample_rate));
    session.row("channels", std::to_string(info.audio_channels));
    session.row("word length", bits_text(bits));
    session.report({{"audio_sample_rate", info.audio_sample_rate},
                    {"audio_channels", info.audio_channels},
                    {"audio_word_length_bits", bits},
                    {"audio_compressed", compressed}});
}

void show_info(Session& session)
{
    need_chip(capd::I2C_BOARD, "board controller");
    const int port = capd::hdmirx_get_port();
    const bool stable = capd::hdmirx_is_stable(port) == 0;
    session.row("port", port < 0 ? "none" : std::to_string(port));
    session.row("stable", yes_no(stable));
    session.report({{"port", port < 0 ? Json() : Json(port)}, {"stable", stable}});
    if (!stable) return;
    capd::hdmirx_info info{};
    const bool sound_known = capd::hdmirx_get_info(port, &info, 1) == 0;
    const bool interlaced = info.interlaced != 0;
    session.row("picture", format("%d x %d pixels, %s", info.active_width, info.active_height,
                                  interlaced ? "interlaced" : "progressive"));
    session.row("frame rate", format("%d Hz", info.frame_rate));
    session.report({{"width", info.active_width},
                    {"height", info.active_height},
                    {"interlaced", interlaced},
                    {"frame_rate", info.frame_rate}});
    if (sound_known) tell_sound(session, info);
}

/** With --verbose the receiver tells the same in its own words. */
void add_look(Commands& commands, CLI::App& group, const char* name, const char* help, void (*show)(Session&),
              void (*own_report)())
{
    commands.add(group, name, help, DEVICE).run([=](Session& session) {
        need_chip(capd::I2C_RECEIVER, "HDMI receiver");
        if (session.verbose()) own_report();
        show(session);
    });
}

} // namespace

void add_input_commands(Commands& commands)
{
    CLI::App& group = commands.group("input", "What the HDMI receiver sees", HEADING_HDMI);
    add_look(commands, group, "video", "Show the measured video timing", show_video, capd::ShowVideoStatus);
    add_look(commands, group, "infoframes", "Show the AVI, audio and vendor-specific info frames", show_info_frames,
             capd::ShowInfoFrames);
    add_look(commands, group, "audio", "Show the audio format and channel status", show_audio, capd::ShowAudioStatus);
    add_look(commands, group, "info", "Show port, stability, picture format and audio as a recording would take them",
             show_info, [] { capd::hdmirx_debug(0); });
}

} // namespace boxtool
