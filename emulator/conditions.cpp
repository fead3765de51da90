#include "emulator/conditions.h"

#include "emulator/base/host_files.h"
#include "emulator/facts.h"
#include "emulator/hardware.h"

#include <algorithm>
#include <filesystem>
#include <memory>
#include <unistd.h>

namespace emu {

namespace {

/** How often a text stands in a file that grows. Each look reads only what has come since the last one. */
class LogFollower {
public:
    LogFollower(std::string file, std::string text) : file_(std::move(file)), text_(std::move(text)) {}

    /** Occurrences so far; 0 while there is no file. */
    unsigned count()
    {
        try {
            why_.clear();
            const Descriptor file(open_host_file(file_));
            read_on(file.get());
        } catch (const HostFileError& error) {
            why_ = error.what();
        }
        return found_;
    }
    /** What keeps the file from being read, empty when nothing does. */
    const std::string& why() const { return why_; }

private:
    void read_on(int file)
    {
        constexpr size_t most = size_t{1} << 20; // in one look, so that a huge log holds up nobody
        if (::lseek(file, 0, SEEK_END) < at_) {  // begun anew
            at_ = 0;
            found_ = 0;
            carry_.clear();
        }
        std::string bytes(most, '\0');
        const ssize_t got = ::pread(file, bytes.data(), bytes.size(), at_);
        if (got <= 0) return;
        at_ += got;
        carry_.append(bytes, 0, static_cast<size_t>(got));
        size_t from = 0;
        for (size_t place; (place = carry_.find(text_, from)) != std::string::npos; from = place + text_.size())
            ++found_;
        // The end may be the beginning of the text.
        carry_.erase(0, std::max(from, carry_.size() - std::min(carry_.size(), text_.size() - 1)));
    }

    std::string file_, text_, carry_, why_;
    off_t at_ = 0;
    unsigned found_ = 0;
};

std::string input_now(const ReceiverChip& receiver)
{
    const auto picture = receiver.measured();
    if (!picture) return receiver.in_sync() ? "in sync, not measured yet" : "no sync";
    return picture->text() + (receiver.mute_received() ? ", AV mute received" : "");
}

/** Name of the file that is being recorded, empty when none is. */
std::string recorded_file(Hardware& box)
{
    box.encoder().catch_up();
    const auto& recording = box.encoder().recording();
    return recording ? std::filesystem::path(recording->file).filename().string() : std::string();
}

std::string recording_now(Hardware& box)
{
    const std::string file = recorded_file(box);
    return file.empty() ? "no recording" : "recording " + file;
}

std::string output_now(const TransmitterChip& chip)
{
    const DisplayView view = chip.view();
    if (!chip.output_enabled()) return "disabled by the board";
    return view.muted ? "blanked" : view.afe == AfeState::Off ? "off" : "unblanked";
}

std::string card_now(const Card& card)
{
    std::string text = card.present() ? "in the slot" : "not in the slot";
    if (card.mounted()) text += card.mounted_read_only() ? ", mounted read-only" : ", mounted";
    return text;
}

std::string display_now(const TransmitterChip& chip)
{
    const DisplayView view = chip.view();
    return view.plugged ? view.name + ", picture " + picture_name(view.picture) : "nothing plugged in";
}

Condition input_condition(Hardware& box, Args& args)
{
    const bool stable = args.choice({"stable", "lost"}) == "stable";
    return {stable ? "the input to be stable" : "the input to be lost",
            [&box, stable] { return box.receiver().measured().has_value() == stable; },
            [&box] { return input_now(box.receiver()); }};
}

Condition recording_condition(Hardware& box, Args& args)
{
    const std::string next = args.peek();
    const bool named = next.find_first_not_of("0123456789.") != std::string::npos; // else it is a time
    const std::string wanted = named ? args.word("a file") : std::string();
    return {wanted.empty() ? "a recording" : "a recording of " + wanted,
            [&box, wanted] {
                const std::string file = recorded_file(box);
                return !file.empty() && (wanted.empty() || file == wanted);
            },
            [&box] { return recording_now(box); }};
}

Condition idle_condition(Hardware& box, Args& /*args*/)
{
    return {"no recording", [&box] { return recorded_file(box).empty(); }, [&box] { return recording_now(box); }};
}

Condition file_condition(Hardware& box, Args& args)
{
    const std::string name = args.word("a file on the card");
    if (const char* wrong = Card::wrong_name(name); wrong != nullptr) args.refuse(wrong);
    const auto kb = static_cast<uint64_t>(args.number("kB that it is to exceed", 0, 1LL << 31));
    const auto size = [&box, name] {
        box.encoder().catch_up();
        return box.card().size_of(name);
    };
    return {name + " to have more than " + std::to_string(kb) + " kB",
            [size, kb] { return size().value_or(0) > kb * 1024; },
            [size, name] {
                const auto bytes = size();
                return bytes ? name + " has " + std::to_string(*bytes) + " bytes" : name + " is not on the card";
            }};
}

Condition led_condition(Hardware& box, Args& args)
{
    std::vector<std::string> names;
    for (const LedName& led : led_names()) names.emplace_back(led.name);
    const std::string name = args.choice(names);
    const std::string look = args.choice({"on", "off", "blinking"});
    const LedName& led = led_names()[static_cast<size_t>(std::find(names.begin(), names.end(), name) - names.begin())];
    const auto now = [&box, led] { return std::string(look_word(box.board().look(led.group, led.index))); };
    return {"LED " + name + " to be " + look, [now, look] { return now() == look; }, now};
}

Condition output_condition(Hardware& box, Args& args)
{
    const std::string wanted = args.choice({"blanked", "unblanked"});
    return {"the output to be " + wanted, [&box, wanted] { return output_now(box.transmitter()) == wanted; },
            [&box] { return output_now(box.transmitter()); }};
}

Condition card_condition(Hardware& box, Args& args)
{
    const bool mounted = args.choice({"mounted", "unmounted"}) == "mounted";
    return {mounted ? "the card to be mounted" : "the card to be unmounted",
            [&box, mounted] { return box.card().mounted() == mounted; }, [&box] { return card_now(box.card()); }};
}

Condition port_condition(Hardware& box, Args& args)
{
    const auto port = static_cast<int>(args.number("a port", 0, 1));
    return {"port " + std::to_string(port) + " to be selected",
            [&box, port] { return box.board().selected_port() == port; },
            [&box] {
                const int now = box.board().selected_port();
                return now < 0 ? std::string("no port") : "port " + std::to_string(now);
            }};
}

Condition log_condition(Hardware& /*box*/, Args& args)
{
    const std::string file = args.file("a file");
    std::error_code unknown;
    const auto status = std::filesystem::status(file, unknown);
    if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status)) args.refuse("is no regular file");
    const std::string text = args.word("a text that the file will have");
    if (text.empty()) args.refuse("is no text");
    const unsigned times = args.optional("times") ? static_cast<unsigned>(args.number("times", 1, 1'000'000)) : 1;
    const auto log = std::make_shared<LogFollower>(file, text);
    return {"'" + text + "' in " + file + (times > 1 ? " " + std::to_string(times) + " times" : ""),
            [log, times] { return log->count() >= times; },
            [log] {
                const unsigned found = log->count();
                return log->why().empty() ? "it is there " + std::to_string(found) + " times" : "it " + log->why();
            }};
}

constexpr struct {
    const char* word;
    Condition (*take)(Hardware& box, Args& args);
} CONDITIONS[] = {
    {"input", input_condition}, {"recording", recording_condition}, {"idle", idle_condition}, {"file", file_condition},
    {"led", led_condition},     {"output", output_condition},       {"card", card_condition}, {"port", port_condition},
    {"log", log_condition},
};

} // namespace

const char* const CONDITION_USAGE =
    "CONDITION [SECONDS]   wait until something is so, at most 10 s unless told otherwise:\n"
    "  input stable|lost   the receiver has measured a picture, or has none\n"
    "  recording [FILE] | idle   the encoder runs, or does not\n"
    "  file FILE KB   a file on the card has more than so many kB\n"
    "  led NAME on|off|blinking   NAME: power, port0, recording0, port1, recording1, configuration, error, storage0 to "
    "5\n"
    "  output blanked|unblanked | card mounted|unmounted | port 0|1\n"
    "  log FILE TEXT [times N]   a text stands in a file of this machine, such as the daemon's log";

Condition take_condition(Hardware& box, Args& args)
{
    std::vector<std::string> words;
    for (const auto& condition : CONDITIONS) words.emplace_back(condition.word);
    const std::string word = args.choice(words);
    const auto* found = std::find_if(std::begin(CONDITIONS), std::end(CONDITIONS),
                                     [&word](const auto& condition) { return word == condition.word; });
    return found->take(box, args);
}

std::vector<Sight> sights(Hardware& box)
{
    std::vector<Sight> all;
    for (const LedName& led : led_names())
        all.push_back({std::string("led ") + led.name,
                       [&box, &led] { return std::string(look_word(box.board().look(led.group, led.index))); }});
    for (const int port : {0, 1})
        all.push_back({"source " + std::to_string(port), [&box, port] { return box.source(port).describe(); }});
    all.push_back({"port", [&box] {
                       const int port = box.board().selected_port();
                       return port < 0 ? std::string("none") : std::to_string(port);
                   }});
    all.push_back({"input", [&box] { return input_now(box.receiver()); }});
    all.push_back({"output", [&box] { return output_now(box.transmitter()); }});
    all.push_back({"display", [&box] { return display_now(box.transmitter()); }});
    all.push_back({"card", [&box] { return card_now(box.card()); }});
    all.push_back({"recording", [&box] { return recording_now(box); }});
    return all;
}

} // namespace emu
