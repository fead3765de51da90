#include "emulator/facts.h"

#include "emulator/hardware.h"

#include <nlohmann/json.hpp>

namespace emu {

namespace {

constexpr const char* COLOURS[] = {"rgb", "yuv422", "yuv444"};

template<typename Enum, size_t N>
const char* word(const char* const (&words)[N], Enum value)
{
    return words[static_cast<size_t>(value)];
}

Json led_facts(const BoardController& board)
{
    Json facts = Json::object(), storage = Json::array();
    for (const LedName& led : led_names()) {
        const char* look = look_word(board.look(led.group, led.index));
        if (led.group == 0)
            facts[led.name] = look;
        else
            storage.push_back(look);
    }
    facts["storage"] = storage;
    return facts;
}

Json port_number(int port)
{
    return port < 0 ? Json() : Json(port);
}

Json port_facts(const BoardController& board)
{
    return {{"selected", port_number(board.selected_port())}, {"output_enabled", board.output_enabled()},
            {"rom_readable", board.rom_readable()},           {"rom_writable", board.rom_writable()},
            {"code_waiting", board.code_waiting()},           {"codes_lost", board.lost_codes()}};
}

Json sound_facts(const Signal& signal)
{
    static constexpr const char* KINDS[] = {"none", "lpcm", "compressed", "hbr", "dsd"};
    return {{"kind", word(KINDS, signal.sound())},
            {"rate_hz", signal.audio.rate_hz},
            {"channels", signal.audio.channels},
            {"word_bits", signal.audio.word_bits}};
}

Json source_facts(const Source& source)
{
    Json facts = {{"plugged", source.plugged()},
                  {"power", source.power()},
                  {"terminated", source.terminated()},
                  {"sends", source.sends()},
                  {"signal", nullptr}};
    if (!source.plugged()) return facts;
    const Signal& signal = source.signal();
    const Format f = signal.on_cable();
    facts["signal"] = {{"format", f.name},
                       {"width", f.h_active},
                       {"height", f.interlaced ? f.v_active * 2 : f.v_active},
                       {"interlaced", f.interlaced},
                       {"field_rate_hz", f.field_rate() * (1 + signal.clock_error_percent / 100)},
                       {"clock_khz", signal.pixel_clock_khz()},
                       {"hdmi", signal.hdmi},
                       {"colour", word(COLOURS, signal.colour)},
                       {"depth_bits", signal.depth_bits},
                       {"muted", source.muted()},
                       {"asks_for_hdcp", source.asks()},
                       {"sound", sound_facts(signal)}};
    return facts;
}

Json receiver_facts(const ReceiverChip& receiver)
{
    const auto picture = receiver.measured();
    Json facts = {{"port", port_number(receiver.selected_port())},
                  {"in_sync", receiver.in_sync()},
                  {"stable", picture.has_value()},
                  {"picture", nullptr},
                  {"mute_received", receiver.mute_received()},
                  {"video_out", receiver.lets_video_out()},
                  {"audio_out", receiver.lets_audio_out()},
                  {"conversion", receiver.conversion()}};
    if (picture)
        facts["picture"] = {{"hdmi", picture->hdmi},
                            {"width", picture->width},
                            {"height", picture->height},
                            {"interlaced", picture->interlaced}};
    return facts;
}

Json input_facts(Hardware& box)
{
    return {{"ports", {source_facts(box.source(0)), source_facts(box.source(1))}},
            {"receiver", receiver_facts(box.receiver())}};
}

Json output_facts(const TransmitterChip& chip)
{
    static constexpr const char* POWER[] = {"off", "set-up", "on"};
    const DisplayView view = chip.view();
    return {{"enabled", chip.output_enabled()},
            {"power", word(POWER, view.afe)},
            {"blanked", view.muted},
            {"locked_writes", chip.locked_writes()},
            {"stray_writes", chip.stray_writes()},
            {"ddc_reads", chip.ddc().transactions()},
            {"ddc_lost_commands", chip.ddc().lost_commands()}};
}

Json frame_facts(const ReceivedFrame& frame)
{
    return {{"sent", frame.sent}, {"checksum_right", frame.checksum_right()}};
}

Json avi_facts(const AviFrame& avi)
{
    Json facts = frame_facts(avi);
    facts["colour"] = word(COLOURS, avi.colour());
    facts["vic"] = avi.vic();
    facts["wide"] = avi.wide();
    facts["itu709"] = avi.itu709();
    facts["repetition"] = avi.repetition();
    return facts;
}

Json heard_facts(const Sound& sound)
{
    return {{"plays", sound.plays},
            {"why", sound.why},
            {"held", sound.held},
            {"broken", sound.broken},
            {"input", sound.spdif ? "spdif" : "i2s"},
            {"channels", sound.channels},
            {"n", sound.n},
            {"cts", sound.cts},
            {"heard_rate_hz", sound.heard_rate_hz},
            {"pcm", sound.status.pcm},
            {"rate_hz", sound.status.rate_hz},
            {"word_bits", sound.status.word_bits}};
}

Json display_facts(const DisplayView& view)
{
    static constexpr const char* SIGNALS[] = {"none", "dvi", "hdmi"};
    static constexpr const char* PICTURES[] = {"none", "blanked", "frozen", "out-of-range", "wrong-colours", "good"};
    static constexpr const char* CONVERTERS[] = {"none", "unknown", "rgb-to-yuv", "yuv-to-rgb"};
    if (!view.plugged) return Json::object({{"plugged", false}});
    return {{"plugged", true},
            {"name", view.name},
            {"product", view.display.product},
            {"terminated", !view.standby},
            {"signal", word(SIGNALS, view.signal)},
            {"picture", word(PICTURES, view.picture)},
            {"why", view.why},
            {"but", view.but},
            {"clock_khz", view.tmds_khz},
            {"width", view.timing.width},
            {"height", view.timing.height},
            {"interlaced", view.timing.interlaced},
            {"colour", word(COLOURS, view.path.cable.colour)},
            {"depth_bits", view.path.depth_bits},
            {"converter", word(CONVERTERS, view.path.matrix.kind)},
            {"video_held", view.video_held},
            {"muted", view.muted},
            {"avi", avi_facts(view.avi)},
            {"audio_frame", frame_facts(view.audio)},
            {"vendor_frame", frame_facts(view.vendor)},
            {"sound", heard_facts(view.sound)}};
}

Json rom_facts(const EdidRom& rom)
{
    std::string hex;
    char digits[3];
    for (const uint8_t byte : rom.bytes()) {
        std::snprintf(digits, sizeof digits, "%02x", byte);
        hex += digits;
    }
    return {{"bytes", hex},
            {"bytes_written", rom.writes()},
            {"writes_lost", rom.lost_writes()},
            {"reads_refused", rom.refused_reads()}};
}

Json card_facts(const Card& card)
{
    Json files = Json::array();
    for (const auto& [name, size] : card.files()) files.push_back({{"name", name}, {"bytes", size}});
    return {{"in_slot", card.present()},
            {"size_kb", card.size_kb()},
            {"free_kb", card.free_kb()},
            {"write_protected", card.write_protected()},
            {"mounted", card.mounted()},
            {"mounted_read_only", card.mounted_read_only()},
            {"slow_kb_s", card.trouble().slow_kb},
            {"broken_at_kb", card.trouble().broken_at},
            {"full_at_kb", card.trouble().full_at},
            {"folder", card.folder()},
            {"files", files}};
}

Json encoder_facts(Hardware& box)
{
    box.encoder().catch_up();
    const Encoder& encoder = box.encoder();
    Json facts = {{"script_there", encoder.script_there()},
                  {"behaviour", encoder.behaviour()},
                  {"recordings", encoder.recordings()},
                  {"recording", nullptr}};
    if (!encoder.recording()) return facts;
    const Recording& now = *encoder.recording();
    facts["recording"] = {{"file", now.file},
                          {"width", now.width},
                          {"height", now.height},
                          {"frame_rate", now.frame_rate},
                          {"sample_rate_hz", now.sample_rate},
                          {"channels", now.channels},
                          {"bit_rate", now.bit_rate},
                          {"seconds", static_cast<double>(box.time().now() - now.start) / 1e6}};
    return facts;
}

Json nvram_facts(const NvramDevice& nvram)
{
    return {{"present", nvram.present()},
            {"memory", nvram.store()},
            {"flash", nvram.flash()},
            {"last_listed", nvram.list_output()},
            {"commits", nvram.commits()}};
}

Json diagnostics_facts(const CaptureDiagnostics& diagnostics)
{
    Json gpios = Json::array();
    for (size_t i = 0; i < CaptureDiagnostics::GPIOS; ++i) {
        const auto& gpio = diagnostics.gpio(i);
        gpios.push_back({{"output", gpio.output}, {"level", gpio.level}});
    }
    return {{"video_source", diagnostics.video_source()}, {"front_end", diagnostics.front_end()}, {"gpios", gpios}};
}

Json transfer_facts(const I2cBus& bus)
{
    constexpr size_t shown = 20;
    Json transfers = Json::array();
    for (size_t age = std::min(shown, bus.logged()); age > 0; --age) {
        const Transfer& t = bus.last(age - 1);
        const size_t kept = std::min<size_t>(t.length, t.data.size());
        transfers.push_back({{"time_us", t.time},
                             {"device", i2c_device_name(t.device)},
                             {"address", t.device},
                             {"read", t.is_read},
                             {"register", t.reg},
                             {"length", t.length},
                             {"data", std::vector<uint8_t>(t.data.begin(), t.data.begin() + static_cast<long>(kept))},
                             {"errno", t.error}});
    }
    return transfers;
}

} // namespace

const std::vector<LedName>& led_names()
{
    static const std::vector<LedName> names = {
        {"power", 0, 0},         {"port0", 0, 1},    {"recording0", 0, 2}, {"port1", 0, 3},    {"recording1", 0, 4},
        {"configuration", 0, 5}, {"error", 0, 6},    {"storage0", 1, 0},   {"storage1", 1, 1}, {"storage2", 1, 2},
        {"storage3", 1, 3},      {"storage4", 1, 4}, {"storage5", 1, 5}};
    return names;
}

void add_box_facts(CommandTable& commands, Hardware& box)
{
    commands.add_facts("leds", [&box] { return led_facts(box.board()); });
    commands.add_facts("port", [&box] { return port_facts(box.board()); });
    commands.add_facts("input", [&box] { return input_facts(box); });
    commands.add_facts("output", [&box] { return output_facts(box.transmitter()); });
    commands.add_facts("display", [&box] { return display_facts(box.transmitter().view()); });
    commands.add_facts("rom", [&box] { return rom_facts(box.edid_rom()); });
    commands.add_facts("card", [&box] { return card_facts(box.card()); });
    commands.add_facts("encoder", [&box] { return encoder_facts(box); });
    commands.add_facts("nvram", [&box] { return nvram_facts(box.nvram()); });
    commands.add_facts("diagnostics", [&box] { return diagnostics_facts(box.capture().diagnostics()); });
    commands.add_facts("transfers", [&box] { return transfer_facts(box.i2c()); });
}

} // namespace emu
