// input video, infoframes, audio, info: what the receiver sees. Nothing here changes the chip, so a running daemon is
// not disturbed.
#include "tools/bytes.h"
#include "tools/commands.h"

#include "devaccess/i2c.h"
#include "hdmirx/hdmirx.h"
#include "hdmirx/status_report.h"

#include <nlohmann/json.hpp>

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

Json video_values()
{
    capd::VideoReport video{};
    const bool signal = capd::read_video_report(&video);
    Json values = {{"signal", signal}, {"mode", video.hdmi ? "HDMI" : "DVI"}};
    if (!signal) return values;
    values["colour_bits"] = colour_bits(video.depth_code);
    values["pixel_clock_hz"] = video.pixel_clock_hz;
    values["field_rate_hz"] = video.field_centihertz / 100.0;
    values["horizontal"] = {{"active", video.h_active},
                            {"total", video.h_total},
                            {"front_porch", video.h_front},
                            {"sync", video.h_sync},
                            {"back_porch", video.h_back}};
    values["vertical"] = {{"active", video.v_active},
                          {"total", video.v_total},
                          {"front_porch", video.v_front},
                          {"sync", video.v_sync},
                          {"back_porch", video.v_back}};
    return values;
}

Json info_frame_values()
{
    static constexpr struct {
        const char* name;
        capd::InfoFrameKind kind;
    } FRAMES[] = {{"avi", capd::InfoFrameKind::Avi},
                  {"audio", capd::InfoFrameKind::Audio},
                  {"vendor", capd::InfoFrameKind::Vendor}};
    Json values;
    for (const auto& frame : FRAMES) {
        capd::InfoFrameReport report{};
        const bool held = capd::read_info_frame(frame.kind, &report);
        values[frame.name] = held ? Json(hex_digits({report.bytes, static_cast<size_t>(report.count)})) : Json();
    }
    return values;
}

Json audio_values()
{
    capd::AudioReport audio{};
    capd::read_audio_report(&audio);
    using Kind = capd::AudioReport::Kind;
    switch (audio.kind) {
    case Kind::None: return {{"kind", "none"}};
    case Kind::Hbr: return {{"kind", "HBR"}};
    case Kind::Dsd: return {{"kind", "DSD"}};
    case Kind::Lpcm:
    case Kind::Compressed: break;
    }
    return {{"kind", audio.kind == Kind::Lpcm ? "LPCM" : "compressed"},
            {"layout", audio.layout},
            {"sources", audio.sources},
            {"channel_status", hex_digits(audio.channel_status)}};
}

Json info_values()
{
    capd::hdmirx_info info{};
    const int port = capd::hdmirx_get_port();
    const bool stable = capd::hdmirx_is_stable(port) == 0;
    Json values = {{"port", port < 0 ? Json() : Json(port)}, {"stable", stable}};
    if (!stable) return values;
    const bool audio_known = capd::hdmirx_get_info(port, &info, 1) == 0;
    values["width"] = info.active_width;
    values["height"] = info.active_height;
    values["interlaced"] = info.interlaced != 0;
    values["frame_rate"] = info.frame_rate;
    if (!audio_known) return values;
    values["audio_sample_rate"] = info.audio_sample_rate;
    values["audio_channels"] = info.audio_channels;
    values["audio_word_length"] = info.audio_word_length;
    values["audio_compressed"] = info.audio_iec61937 != 0;
    return values;
}

/** A report of the receiver's own, in its own words; the same as values with --json. */
void add_report(Commands& commands, CLI::App& group, const char* name, const char* help, void (*show)(),
                Json (*values)())
{
    commands.add(group, name, help, REPORTS | DEVICE).run([=](Session& session) {
        need_chip(capd::I2C_RECEIVER, "HDMI receiver");
        if (session.json())
            session.report(values());
        else
            show();
    });
}

void show_info(Session& session)
{
    need_chip(capd::I2C_RECEIVER, "HDMI receiver");
    need_chip(capd::I2C_BOARD, "board controller");
    const Json values = info_values();
    for (const auto& [name, value] : values.items()) session.say("%-18s %s\n", name.c_str(), value.dump().c_str());
    session.report(values);
}

} // namespace

void add_input_commands(Commands& commands)
{
    CLI::App& group = commands.group("input", "What the HDMI receiver sees", HEADING_HDMI);
    add_report(commands, group, "video", "Show the measured video timing", capd::ShowVideoStatus, video_values);
    add_report(commands, group, "infoframes", "Show the AVI, audio and vendor-specific info frames",
               capd::ShowInfoFrames, info_frame_values);
    add_report(commands, group, "audio", "Show the audio format and channel status", capd::ShowAudioStatus,
               audio_values);
    commands
        .add(group, "info", "Show port, stability, picture format and audio as a recording would take them",
             REPORTS | DEVICE | OWN_TEXT)
        .run(show_info);
}

} // namespace boxtool
