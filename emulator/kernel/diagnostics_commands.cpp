#include "emulator/kernel/capture_diagnostics.h"

#include "emulator/commands/commands.h"

namespace emu {

namespace {

std::string describe_diagnostics(const CaptureDiagnostics& diagnostics)
{
    std::string text = "video source " + std::to_string(diagnostics.video_source()) + ", front end " +
                       std::to_string(diagnostics.front_end()) + "\n";
    for (size_t i = 0; i < CaptureDiagnostics::GPIOS; ++i) {
        const auto& gpio = diagnostics.gpio(i);
        if (gpio.output || gpio.level)
            text += "gpio " + std::to_string(i) + ": " + (gpio.output ? "output" : "input") +
                    (gpio.level ? ", high\n" : ", low\n");
    }
    return text;
}

Reply stuck_command(CaptureDiagnostics& diagnostics, Args& args)
{
    if (args.optional("off")) {
        args.end();
        diagnostics.free_data_bit();
        return {};
    }
    const auto bit = static_cast<unsigned>(args.number("off or a bit", 0, 31));
    const bool high = args.choice({"high", "low"}) == "high";
    args.end();
    diagnostics.stick_data_bit(bit, high);
    return {};
}

Reply short_command(CaptureDiagnostics& diagnostics, Args& args)
{
    if (args.optional("off")) {
        args.end();
        diagnostics.part_address_lines();
        return {};
    }
    const auto a = static_cast<unsigned>(args.number("off or an address line", 2, 19));
    const auto b = static_cast<unsigned>(args.number("another address line", 2, 19));
    if (a == b) args.refuse("is the same line");
    args.end();
    diagnostics.short_address_lines(a, b);
    return {};
}

/** "off", or the address of a word that gets a fault. */
Reply word_command(CaptureDiagnostics& diagnostics, Args& args, void (CaptureDiagnostics::*fault)(uint32_t),
                   void (CaptureDiagnostics::*mend)())
{
    if (args.optional("off")) {
        args.end();
        (diagnostics.*mend)();
        return {};
    }
    const long long address = args.number("off or an address", 0, CaptureDiagnostics::MEMORY_SIZE - 1);
    args.end();
    (diagnostics.*fault)(static_cast<uint32_t>(address));
    return {};
}

void add_memory_commands(CommandTable& commands, CaptureDiagnostics& diagnostics)
{
    commands.add("memory stuck", "BIT high|low | off   a data line of the capture memory sticks",
                 [&diagnostics](Args& args) { return stuck_command(diagnostics, args); });
    commands.add("memory short", "A B | off   two lines of its byte address (2 to 19) touch",
                 [&diagnostics](Args& args) { return short_command(diagnostics, args); });
    using Diagnostics = CaptureDiagnostics;
    commands.add("memory dead", "ADDRESS | off   a word of it is dead", [&diagnostics](Args& args) {
        return word_command(diagnostics, args, &Diagnostics::kill_word, &Diagnostics::revive_word);
    });
    commands.add("memory refuse", "ADDRESS | off   the driver fails transfers of a word of it",
                 [&diagnostics](Args& args) {
                     return word_command(diagnostics, args, &Diagnostics::refuse_word, &Diagnostics::admit_word);
                 });
}

} // namespace

void add_diagnostics_commands(CommandTable& commands, CaptureDiagnostics& diagnostics)
{
    add_memory_commands(commands, diagnostics);
    commands.add_number("codec error", "N   set the codec's error word", {"an error number", INT32_MIN, INT32_MAX},
                        [&diagnostics](long long error) { diagnostics.set_codec_error(static_cast<int32_t>(error)); });
    commands.add_show("diagnostics", [&diagnostics] { return describe_diagnostics(diagnostics); });
}

} // namespace emu
