#include "emulator/world/source_settings.h"

#include "emulator/commands/commands.h"
#include "emulator/world/iec60958.h"

#include <cctype>

namespace emu {

namespace {

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

/** Take what follows the kind of a sound. */
AudioSignal take_audio_of(const std::string& kind, Args& args)
{
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

Micros take_ms(Args& args)
{
    return static_cast<Micros>(args.number("milliseconds", 0, 3'600'000)) * 1000;
}

void take_avi(Args& args, Signal& signal)
{
    static constexpr struct {
        std::string_view word;
        AviSending sending;
    } WORDS[] = {
        {"off", AviSending::Off}, {"wrong", AviSending::WrongColour}, {"bad-checksum", AviSending::WrongChecksum}};
    const std::string how = args.choice({"on", "off", "wrong", "bad-checksum", "vic", "repetition", "late"});
    Claims& claims = signal.claims;
    if (how == "vic") {
        claims.vic = static_cast<uint8_t>(args.number("a VIC", 0, 127));
    } else if (how == "repetition") {
        claims.repetition = static_cast<uint8_t>(args.number("times that a pixel is sent", 1, 10));
    } else if (how == "late") {
        claims.avi_delay = take_ms(args);
    } else if (how == "on") {
        signal.avi = AviSending::On;
        claims.vic = claims.repetition = std::nullopt;
        claims.avi_delay = 0;
    }
    for (const auto& row : WORDS)
        if (row.word == how) signal.avi = row.sending;
}

void take_audio_status(Args& args, Signal& signal)
{
    const std::string kind = args.choice({"true", "lpcm", "compressed"});
    signal.claims.status_of = kind == "true" ? std::nullopt : std::optional(take_audio_of(kind, args));
}

void take_audio_frame(Args& args, Signal& signal)
{
    const std::string kind = args.choice({"true", "off", "lpcm"});
    signal.claims.audio_frame = kind != "off";
    signal.claims.frame_of = kind == "lpcm" ? std::optional(take_audio_of(kind, args)) : std::nullopt;
}

Fields take_fields(Args& args)
{
    const std::string fields = args.choice({"regular", "equal", "irregular"});
    return fields == "regular" ? Fields::Regular : fields == "equal" ? Fields::Equal : Fields::Irregular;
}

void take_jitter(Args& args, Jitter& jitter)
{
    const std::string what = args.choice({"off", "all", "pixels", "lines", "clock"});
    if (what == "off" || what == "all") {
        const bool on = what == "all";
        jitter = {.pixels = on, .lines = on, .clock = on};
        return;
    }
    bool& one = what == "pixels" ? jitter.pixels : what == "lines" ? jitter.lines : jitter.clock;
    one = true;
}

Hdcp take_hdcp(Args& args)
{
    const std::string meanwhile = args.choice({"off", "muted", "dark"});
    if (meanwhile == "off") return {};
    Hdcp hdcp{.meanwhile = meanwhile == "muted" ? Hdcp::Meanwhile::SendsMuted : Hdcp::Meanwhile::SendsNothing};
    if (!args.optional("forever"))
        hdcp.patience = static_cast<Micros>(args.number("milliseconds or forever", 1, 3'600'000)) * 1000;
    return hdcp;
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

using Setting = void (*)(Args& args, Signal& signal);

/** What can be said of a signal, in "plug" and as a command of its own. */
constexpr struct {
    std::string_view word;
    Setting set;
} SETTINGS[] = {
    {"hdmi", [](Args&, Signal& s) { s.hdmi = true; }},
    {"dvi", [](Args&, Signal& s) { s.hdmi = false; }},
    {"audio",
     [](Args& args, Signal& s) {
         s.audio = take_audio_of(args.choice({"none", "lpcm", "compressed", "hbr", "dsd"}), args);
     }},
    {"colour", take_colour},
    {"avi", take_avi},
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
    {"audio-status", take_audio_status},
    {"audio-frame", take_audio_frame},
    {"audio-late", [](Args& args, Signal& s) { s.claims.audio_delay = take_ms(args); }},
    {"fields", [](Args& args, Signal& s) { s.fields = take_fields(args); }},
    {"jitter", [](Args& args, Signal& s) { take_jitter(args, s.jitter); }},
    {"late-lock", [](Args& args, Signal& s) { s.late_lock = take_ms(args); }},
    {"hdcp", [](Args& args, Signal& s) { s.hdcp = take_hdcp(args); }},
};

} // namespace

bool take_setting(Args& args, Signal& signal)
{
    for (const auto& setting : SETTINGS) {
        if (!args.optional(setting.word)) continue;
        setting.set(args, signal);
        return true;
    }
    return false;
}

std::vector<std::string_view> setting_words()
{
    std::vector<std::string_view> words;
    for (const auto& setting : SETTINGS) words.push_back(setting.word);
    return words;
}

} // namespace emu
