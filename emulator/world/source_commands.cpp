#include "emulator/commands/commands.h"
#include "emulator/world/source.h"
#include "emulator/world/source_settings.h"

#include <utility>

namespace emu {

namespace {

Format take_format(Args& args)
{
    const auto format = find_format(args.word("a format (see formats)"));
    if (!format) args.refuse("no such format; see formats");
    return *format;
}

Format take_timing(Args& args)
{
    Format f{.name = "own timing"};
    f.clock_khz = static_cast<uint32_t>(args.number("pixel clock in kHz", 1000, 600'000));
    f.h_active = static_cast<uint16_t>(args.number("active pixels", 1, 8192));
    for (uint16_t* pixels : {&f.h_front, &f.h_sync, &f.h_back})
        *pixels = static_cast<uint16_t>(args.number("pixels", 0, 4095));
    f.v_active = static_cast<uint16_t>(args.number("active lines (of a field when interlaced)", 1, 4095));
    for (uint16_t* lines : {&f.v_front, &f.v_sync, &f.v_back})
        *lines = static_cast<uint16_t>(args.number("lines", 0, 255));
    f.interlaced = args.optional("interlaced");
    const int field = f.v_active + f.v_front + f.v_sync + f.v_back;
    f.lines = static_cast<uint16_t>(f.interlaced ? 2 * field + 1 : field);
    return f;
}

Micros take_delay(Args& args)
{
    if (args.optional("never")) return NEVER;
    return static_cast<Micros>(args.number("milliseconds or never", 0, 3'600'000)) * 1000;
}

/** Refuse the next word as none of these and none of the settings. */
[[noreturn]] void refuse_next(Args& args, std::vector<std::string> expected)
{
    for (const std::string_view setting : setting_words()) expected.emplace_back(setting);
    args.word("what the source is to do: plug, unplug, format, ...; try help source");
    args.refuse_unknown(expected);
}

Reply plug(Source& source, Args& args)
{
    Signal signal;
    signal.format = args.optional("timing") ? take_timing(args) : take_format(args);
    Micros delay = 0;
    bool has_delay = false;
    while (args.more()) {
        if (take_setting(args, signal)) continue;
        if (!args.optional("sync-delay")) refuse_next(args, {"sync-delay"});
        delay = take_delay(args);
        has_delay = true;
    }
    source.unplug();
    if (has_delay) source.set_start_delay(delay);
    source.plug(signal);
    return {};
}

void change_format(Source& source, Args& args, bool own_timing)
{
    Signal signal = source.signal();
    signal.format = own_timing ? take_timing(args) : take_format(args);
    const bool seamless = args.optional("seamless");
    args.end();
    source.change(signal, seamless);
}

/** Take how often and how long something goes away, and have it do so. */
void flicker(Source& source, Args& args, void (Source::*deed)(unsigned times, Micros each))
{
    const auto times = static_cast<unsigned>(args.number("times", 1, 1'000'000));
    const auto each = args.more() ? static_cast<Micros>(args.number("milliseconds", 1, 3'600'000)) * 1000 : 50'000;
    args.end();
    (source.*deed)(times, each);
}

void switch_power(Source& source, Args& args)
{
    const std::string what = args.choice({"on", "off", "flap"});
    if (what == "flap") return flicker(source, args, &Source::flap);
    args.end();
    source.set_power(what == "on");
}

template<typename Value, typename Apply>
void apply(Args& args, Value value, Apply act)
{
    args.end();
    act(value);
}

using Deed = void (*)(Source& source, Args& args);

/** What a source that is plugged in does besides changing a setting. */
constexpr struct {
    std::string_view word;
    Deed deed;
} DEEDS[] = {
    {"format", [](Source& source, Args& args) { change_format(source, args, false); }},
    {"timing", [](Source& source, Args& args) { change_format(source, args, true); }},
    {"drop", [](Source& source, Args& args) { flicker(source, args, &Source::drop); }},
    {"5v", switch_power},
    {"sync", [](Source& source, Args& args) { apply(args, args.on_off(), [&](bool on) { source.set_sync(on); }); }},
};

void need_plugged(const Source& source)
{
    const std::string port = std::to_string(source.port());
    if (!source.plugged())
        throw CommandError("nothing is plugged into port " + port + "; try source " + port + " plug FORMAT");
}

/** What happens to a source that must be there for it. */
void change(Source& source, Args& args)
{
    for (const auto& [word, deed] : DEEDS) {
        if (!args.optional(word)) continue;
        need_plugged(source);
        return deed(source, args);
    }
    Signal signal = source.signal();
    if (take_setting(args, signal)) {
        need_plugged(source);
        return apply(args, signal, [&](const Signal& s) { source.change(s); });
    }
    std::vector<std::string> expected = {"plug", "unplug", "sync-delay"};
    for (const auto& row : DEEDS) expected.emplace_back(row.word);
    refuse_next(args, std::move(expected));
}

Reply source_command(Source& source, Args& args)
{
    if (args.optional("plug")) return plug(source, args);
    if (args.optional("unplug"))
        apply(args, 0, [&](int) { source.unplug(); });
    else if (args.optional("sync-delay"))
        apply(args, take_delay(args), [&](Micros delay) { source.set_start_delay(delay); });
    else
        change(source, args);
    return {};
}

constexpr const char* SOURCE_USAGE =
    "PORT WHAT   have the source on port 0 or 1 do something:\n"
    "  plug FORMAT|timing ... [SETTING]...   plug it in; unless told otherwise HDMI, RGB, LPCM 48000 Hz 2 channels 24 "
    "bits\n"
    "  unplug | 5v on|off | sync on|off\n"
    "  5v flap N [MS]   lose 5 V, and with it the picture, N times, MS each and between (50)\n"
    "  format FORMAT [seamless]   change the picture, with a break of a second or without one\n"
    "  timing CLOCK_KHZ HACT HFRONT HSYNC HBACK VACT VFRONT VSYNC VBACK [interlaced] [seamless]\n"
    "  drop N [MS]   lose sync N times, MS each and between (50)\n"
    "  sync-delay MS|never   from 5 V or terminators to the picture (100); holds for later sources, too\n"
    "  SETTING: hdmi | dvi | colour rgb|yuv422|yuv444 [none|601|709|xv601|xv709] | range default|limited|full\n"
    "  | audio none|lpcm|compressed|hbr|dsd [RATE_HZ [CHANNELS [BITS]]] [allocation CA] [channel-number N]\n"
    "  | mute on|off | vendor off|vic N|3d frame-packing|top-bottom|side-by-side\n"
    "  | depth 24|30|36|48 | aspect 4:3|16:9 | clock-error PERCENT\n"
    "  | avi on|off|wrong|bad-checksum   on takes back what the next line says; a receiver stores any frame as it "
    "came\n"
    "  | avi vic N | avi repetition N | avi late MS   told wrongly, or only so long after the picture or its change\n"
    "  | audio-status true|lpcm|compressed [RATE_HZ ...]   the channel status tells of this sound instead\n"
    "  | audio-frame true|off|lpcm [RATE_HZ ...]   so does the audio frame; off: none is sent\n"
    "  | audio-late MS   both tell of a change of the sound only so long after it\n"
    "  | fields regular|equal|irregular   interlaced ones: equal has no half lines, irregular two of a kind now and "
    "then\n"
    "  | jitter off|all|pixels|lines|clock   what a receiver counts differs by one from time to time\n"
    "  | late-lock MS   a receiver needs so much longer to lock to it\n"
    "  | hdcp off | hdcp muted MS|forever   ask for HDCP: a sink without keys gets black under AV mute, as of players\n"
    "  | hdcp dark MS|forever   or no picture; until the source gives up, forever when all that it has is protected";

} // namespace

void add_source_commands(CommandTable& commands, Source& port0, Source& port1)
{
    commands.add("source", SOURCE_USAGE, [&port0, &port1](Args& args) {
        const bool second = args.number("a port, 0 or 1, and what happens there; try help source", 0, 1) == 1;
        return source_command(second ? port1 : port0, args);
    });
    commands.add("formats", "  list the formats a source can send", [](Args& args) {
        args.end();
        return Reply{true, list_formats()};
    });
}

} // namespace emu
