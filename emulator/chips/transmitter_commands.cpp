#include "emulator/chips/transmitter_chip.h"
#include "emulator/commands/commands.h"
#include "emulator/world/edids.h"

#include <cstdio>

namespace emu {

namespace {

/** Take the name of a shipped EDID or of a file that holds one. */
Display take_display(Args& args)
{
    std::string name = args.word("a display's name or an EDID file; \"display list\" names them");
    if (const ShippedEdid* shipped = find_shipped_edid(name); shipped != nullptr)
        return {std::move(name), shipped->image};
    try {
        EdidImage edid = read_edid_file(args.in_folder(name));
        return {std::move(name), std::move(edid)};
    } catch (const EdidError& error) {
        args.refuse(std::string("no display's name (try \"display list\"), and as a file it ") + error.what());
    }
}

Reply plug_command(TransmitterChip& chip, Args& args)
{
    Display display = take_display(args);
    args.end();
    chip.plug(std::move(display));
    return {};
}

void need_display(const TransmitterChip& chip)
{
    if (!chip.display().plugged()) throw CommandError("nothing is plugged in");
}

Reply replace_command(TransmitterChip& chip, Args& args)
{
    Display display = take_display(args);
    const bool announced = !args.optional("unannounced");
    args.end();
    need_display(chip);
    chip.replace_display(std::move(display), announced);
    return {};
}

Micros take_milliseconds(Args& args)
{
    return static_cast<Micros>(args.number("milliseconds", 1, 60'000)) * 1000;
}

Reply bounce_command(TransmitterChip& chip, Args& args)
{
    const auto times = static_cast<unsigned>(args.number("times", 1, 1000));
    const Micros each = take_milliseconds(args);
    args.end();
    need_display(chip);
    chip.bounce_hot_plug(times, each);
    return {};
}

Reply drop_command(TransmitterChip& chip, Args& args)
{
    const Micros time = args.more() ? take_milliseconds(args) : HOT_PLUG_PULSE;
    args.end();
    need_display(chip);
    chip.bounce_hot_plug(1, time);
    return {};
}

Reply noise_command(TransmitterChip& chip, Args& args)
{
    const auto wrong = static_cast<uint32_t>(args.number("wrong bits of a million", 0, 1'000'000));
    const auto seed = args.optional("seed") ? static_cast<uint32_t>(args.number("a seed", 0, UINT32_MAX)) : 1u;
    args.end();
    chip.ddc().set_noise(wrong, seed);
    return {};
}

Reply save_command(Args& args)
{
    const Display display = take_display(args);
    const std::string file = args.file("a file to write");
    args.end();
    args.write_file(file, {reinterpret_cast<const char*>(display.edid().data()), display.edid().size()});
    return {true, file + ": " + std::to_string(display.edid().size()) + " bytes\n"};
}

Reply list_command(Args& args)
{
    args.end();
    std::string text;
    for (const ShippedEdid& edid : shipped_edids()) {
        text += edid.name + std::string(edid.name.size() < 13 ? 13 - edid.name.size() : 1, ' ') + edid.about;
        text += edid.good ? "\n" : " (broken on purpose)\n";
    }
    return {true, text};
}

DdcFault fault_named(const std::string& name)
{
    if (name == "nack") return DdcFault::NoAcknowledge;
    if (name == "arbitration") return DdcFault::Arbitration;
    if (name == "hang") return DdcFault::Hang;
    if (name == "never") return DdcFault::Never;
    return DdcFault::None;
}

Reply ddc_command(TransmitterChip& chip, Args& args)
{
    DdcTrouble trouble;
    trouble.fault = fault_named(args.choice({"ok", "nack", "arbitration", "hang", "never"}));
    const bool fails = trouble.fault != DdcFault::None;
    if (fails && args.optional("at")) trouble.from_byte = static_cast<uint32_t>(args.number("a byte", 0, 32767));
    if (fails && args.optional("times"))
        trouble.times = static_cast<uint64_t>(args.number("a number of transactions", 1, 1'000'000'000));
    args.end();
    chip.ddc().make_trouble(trouble);
    return {};
}

Reply error_command(TransmitterChip& chip, Args& args)
{
    const std::string what = args.choice({"overflow", "ddc-fifo", "bus-hang"});
    args.end();
    if (what == "overflow") chip.overflow_audio();
    if (what == "ddc-fifo") chip.fail_ddc_fifo();
    if (what == "bus-hang") chip.hang_ddc_bus();
    return {};
}

Reply status_command(TransmitterChip& chip, Args& args)
{
    const std::string word = args.word("bits of the extended status, two hexadecimal digits");
    const std::string digits = word.starts_with("0x") ? word.substr(2) : word;
    const bool hex = digits.find_first_not_of("0123456789abcdefABCDEF") == std::string::npos;
    if (!hex || digits.empty() || digits.size() > 2) args.refuse("expected two hexadecimal digits");
    args.end();
    chip.raise_extended(static_cast<uint8_t>(std::stoi(digits, nullptr, 16)));
    return {};
}

Reply input_command(TransmitterChip& chip, Args& args)
{
    const auto clock = static_cast<uint32_t>(args.number("a pixel clock in Hz", 1'000'000, 600'000'000));
    const auto rate = static_cast<uint32_t>(args.number("an audio rate in Hz", 1, 1'000'000));
    args.end();
    chip.set_input({.timing = {.clock_khz = clock / 1000}, .audio_rate_hz = rate});
    return {};
}

std::string show_output(const TransmitterChip& chip)
{
    const DisplayView view = chip.view();
    const char* power = view.afe == AfeState::Off ? "off" : view.afe == AfeState::SetUp ? "in set-up" : "on";
    const char* range = view.afe_range == AfeRange::High ? "high" : view.afe_range == AfeRange::Low ? "low" : "no";
    char clock[80], counts[200];
    std::snprintf(clock, sizeof clock, "%.2f MHz, front end in its %s range", view.tmds_khz / 1000.0, range);
    std::snprintf(
        counts, sizeof counts,
        "writes lost to the lock: %llu, to missing registers: %llu\nDDC reads: %llu, lost DDC commands: %llu\n",
        static_cast<unsigned long long>(chip.locked_writes()), static_cast<unsigned long long>(chip.stray_writes()),
        static_cast<unsigned long long>(chip.ddc().transactions()),
        static_cast<unsigned long long>(chip.ddc().lost_commands()));
    return std::string("enabled by the board: ") + (chip.output_enabled() ? "yes" : "no") + "\npower: " + power +
           "\nblanked: " + (view.muted ? "yes" : "no") + "\nclock: " + clock + "\npicture: " + picture_text(view) +
           "\n" + counts;
}

void add_display_commands(CommandTable& commands, TransmitterChip& chip)
{
    commands.add("display plug", "NAME|FILE   plug in a display of the list, or one with the EDID of a file",
                 [&chip](Args& args) { return plug_command(chip, args); });
    commands.add_action("display unplug", "  unplug the display", [&chip] { chip.unplug(); });
    commands.add("display list", "  list the displays", list_command);
    commands.add("display save", "NAME|FILE FILE   write a display's EDID as a binary file", save_command);
    commands.add_action("display hpd-pulse", "  hot-plug interrupt with the level unchanged", [&chip] {
        need_display(chip);
        chip.pulse_hot_plug();
    });
    commands.add("display hpd-bounce", "N MS   hot plug goes down N times for MS each, then stays up",
                 [&chip](Args& args) { return bounce_command(chip, args); });
    commands.add("display hpd-drop", "[MS]   hot plug goes down once, 100 ms unless told otherwise",
                 [&chip](Args& args) { return drop_command(chip, args); });
    commands.add("display replace",
                 "NAME|FILE [unannounced]   another EDID behind a repeater, after a hot-plug drop of 100 ms or without",
                 [&chip](Args& args) { return replace_command(chip, args); });
    commands.add_switch("display standby", "on|off   hot plug and DDC as before, terminators off, no picture",
                        [&chip](bool on) {
                            need_display(chip);
                            chip.set_standby(on);
                        });
    commands.add_number("display lock-time", "MS   time that a display needs for a new signal, at first 0",
                        {"milliseconds", 0, 60'000},
                        [&chip](long long ms) { chip.set_lock_time(static_cast<Micros>(ms) * 1000); });
    commands.add_number(
        "display ddc-silent", "MS   time for which DDC does not answer after hot plug went up, at first 0",
        {"milliseconds", 0, 60'000}, [&chip](long long ms) { chip.set_ddc_silence(static_cast<Micros>(ms) * 1000); });
    commands.add("display ddc-noise", "N [seed N]   so many bits of a million come over wrong, others in each read",
                 [&chip](Args& args) { return noise_command(chip, args); });
    commands.add("display ddc", "ok | nack|arbitration|hang|never [at BYTE] [times N]   fail EDID reads from a byte on",
                 [&chip](Args& args) { return ddc_command(chip, args); });
    commands.add_number("display ddc-time", "US   time that the read of one EDID byte takes on the wire",
                        {"microseconds for a one-byte read", 4, 10'000'000},
                        [&chip](long long us) { chip.ddc().set_read_time(static_cast<Micros>(us)); });
}

} // namespace

void add_transmitter_commands(CommandTable& commands, TransmitterChip& chip)
{
    add_display_commands(commands, chip);
    commands.add("transmitter error",
                 "overflow|ddc-fifo|bus-hang   audio FIFO, DDC FIFO or DDC bus; a masked one waits for an interrupt",
                 [&chip](Args& args) { return error_command(chip, args); });
    commands.add("transmitter status", "XX   latch bits of the extended status, two hexadecimal digits",
                 [&chip](Args& args) { return status_command(chip, args); });
    commands.add("transmitter input",
                 "CLOCK RATE   pixel clock and audio rate in Hz that come in, until the source changes",
                 [&chip](Args& args) { return input_command(chip, args); });
    commands.add_show("output", [&chip] { return show_output(chip); });
    commands.add_show("display", [&chip] { return describe(chip.view()); });
}

} // namespace emu
