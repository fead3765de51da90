#include "emulator/commands/commands.h"
#include "emulator/world/iec60958.h"
#include "emulator/world/source.h"

#include <cctype>
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

bool number_follows(const Args& args)
{
    const std::string next = args.peek();
    return !next.empty() && std::isdigit(static_cast<unsigned char>(next[0])) != 0;
}

uint32_t take_rate(Args& args)
{
    const auto rate = static_cast<uint32_t>(args.number("a sampling rate in Hz", 0, 768'000));
    if (rate != 0 && sampling_code_of(rate) == SAMPLING_CODE_NOT_INDICATED) args.refuse("no IEC 60958 sampling rate");
    return rate;
}

AudioSignal take_audio(Args& args)
{
    const std::string kind = args.choice({"none", "lpcm", "compressed", "hbr", "dsd"});
    AudioSignal audio;
    if (kind == "none") return {.kind = AudioKind::None};
    if (kind == "compressed") audio = {.kind = AudioKind::Compressed, .word_bits = 16};
    if (kind == "hbr") audio = {.kind = AudioKind::Hbr, .rate_hz = 768'000, .channels = 8, .word_bits = 16};
    if (kind == "dsd") audio = {.kind = AudioKind::Dsd, .rate_hz = 44'100};
    if (number_follows(args)) audio.rate_hz = take_rate(args);
    if (number_follows(args)) audio.channels = static_cast<uint8_t>(args.number("channels", 1, 8));
    if (number_follows(args)) {
        audio.word_bits = static_cast<uint8_t>(args.number("bits of a sample", 0, 24));
        if (audio.word_bits != 0 && audio.word_bits < 16) args.refuse("is neither 0 nor between 16 and 24");
    }
    audio.allocation = AudioSignal::usual_allocation(audio.channels);
    if (args.optional("allocation")) {
        audio.allocation = static_cast<uint8_t>(args.number("a channel allocation", 0x00, 0x1F));
        audio.channels = AudioSignal::channels_of(audio.allocation);
    }
    // The receiver keeps the status of the last channel it has heard; its number tells how many there are.
    audio.channel_number = audio.channels;
    if (args.optional("channel-number"))
        audio.channel_number = static_cast<uint8_t>(args.number("a channel number", 0, 15));
    return audio;
}

void take_colour(Args& args, Signal& signal)
{
    const std::string colour = args.choice({"rgb", "yuv422", "yuv444"});
    signal.colour = colour == "rgb" ? Colour::Rgb : colour == "yuv422" ? Colour::Yuv422 : Colour::Yuv444;
    const bool high_definition = signal.format.h_active >= 1280 && signal.format.repetition == 1;
    const Colorimetry usual = high_definition ? Colorimetry::Bt709 : Colorimetry::Bt601;
    signal.colorimetry = signal.colour == Colour::Rgb ? Colorimetry::None : usual;
    static constexpr struct {
        std::string_view word;
        Colorimetry colorimetry;
    } WORDS[] = {{"none", Colorimetry::None},
                 {"601", Colorimetry::Bt601},
                 {"709", Colorimetry::Bt709},
                 {"xv601", Colorimetry::XvYcc601},
                 {"xv709", Colorimetry::XvYcc709}};
    for (const auto& row : WORDS)
        if (args.optional(row.word)) {
            signal.colorimetry = row.colorimetry;
            break;
        }
}

AviSending take_avi(Args& args)
{
    const std::string how = args.choice({"on", "off", "wrong", "bad-checksum"});
    if (how == "bad-checksum") return AviSending::WrongChecksum;
    return how == "on" ? AviSending::On : how == "off" ? AviSending::Off : AviSending::WrongColour;
}

VendorFields take_vendor(Args& args)
{
    const std::string kind = args.choice({"off", "vic", "3d"});
    if (kind == "off") return {};
    if (kind == "vic") return {VendorFields::Kind::Vic, static_cast<uint8_t>(args.number("an HDMI VIC", 1, 4))};
    const std::string structure = args.choice({"frame-packing", "top-bottom", "side-by-side"});
    const uint8_t code = structure == "frame-packing" ? 0 : structure == "top-bottom" ? 6 : 8;
    return {VendorFields::Kind::ThreeD, code};
}

uint8_t take_depth(Args& args)
{
    const std::string bits = args.choice({"24", "30", "36", "48"});
    return static_cast<uint8_t>(args.as_number(bits, 24, 48));
}

Micros take_delay(Args& args)
{
    if (args.optional("never")) return NEVER;
    return static_cast<Micros>(args.number("milliseconds or never", 0, 3'600'000)) * 1000;
}

using Setting = void (*)(Args& args, Signal& signal);

/** What can be said of a signal, in "plug" and as a command of its own. */
constexpr struct {
    std::string_view word;
    Setting set;
} SETTINGS[] = {
    {"hdmi", [](Args&, Signal& s) { s.hdmi = true; }},
    {"dvi", [](Args&, Signal& s) { s.hdmi = false; }},
    {"audio", [](Args& args, Signal& s) { s.audio = take_audio(args); }},
    {"colour", take_colour},
    {"avi", [](Args& args, Signal& s) { s.avi = take_avi(args); }},
    {"vendor", [](Args& args, Signal& s) { s.vendor = take_vendor(args); }},
    {"mute", [](Args& args, Signal& s) { s.muted = args.on_off(); }},
    {"depth", [](Args& args, Signal& s) { s.depth_bits = take_depth(args); }},
    {"aspect",
     [](Args& args, Signal& s) {
         s.wide = args.choice({"4:3", "16:9"}) == "16:9";
     }},
    {"range",
     [](Args& args, Signal& s) {
         const std::string range = args.choice({"default", "limited", "full"});
         s.quantization = range == "default" ? 0 : range == "limited" ? 1 : 2;
     }},
    {"clock-error", [](Args& args, Signal& s) { s.clock_error_percent = args.fraction("percent", -50, 50); }},
};

bool take_setting(Args& args, Signal& signal)
{
    for (const auto& setting : SETTINGS) {
        if (!args.optional(setting.word)) continue;
        setting.set(args, signal);
        return true;
    }
    return false;
}

/** Refuse the next word as none of these and none of the settings. */
[[noreturn]] void refuse_next(Args& args, std::vector<std::string> expected)
{
    for (const auto& setting : SETTINGS) expected.emplace_back(setting.word);
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

void drop(Source& source, Args& args)
{
    const auto times = static_cast<unsigned>(args.number("times", 1, 1'000'000));
    const auto each = args.more() ? static_cast<Micros>(args.number("milliseconds", 1, 3'600'000)) * 1000 : 50'000;
    args.end();
    source.drop(times, each);
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
    {"drop", drop},
    {"5v", [](Source& source, Args& args) { apply(args, args.on_off(), [&](bool on) { source.set_power(on); }); }},
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
    "  format FORMAT [seamless]   change the picture, with a break of a second or without one\n"
    "  timing CLOCK_KHZ HACT HFRONT HSYNC HBACK VACT VFRONT VSYNC VBACK [interlaced] [seamless]\n"
    "  drop N [MS]   lose sync N times, MS each and between (50)\n"
    "  sync-delay MS|never   from 5 V or terminators to the picture (100); holds for later sources, too\n"
    "  SETTING: hdmi | dvi | colour rgb|yuv422|yuv444 [none|601|709|xv601|xv709] | range default|limited|full\n"
    "  | audio none|lpcm|compressed|hbr|dsd [RATE_HZ [CHANNELS [BITS]]] [allocation CA] [channel-number N]\n"
    "  | mute on|off | avi on|off|wrong|bad-checksum | vendor off|vic N|3d frame-packing|top-bottom|side-by-side\n"
    "  | depth 24|30|36|48 | aspect 4:3|16:9 | clock-error PERCENT";

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
