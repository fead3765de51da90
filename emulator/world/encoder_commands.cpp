#include "emulator/world/encoder.h"

#include "emulator/commands/commands.h"

namespace emu {

namespace {

Reply hang_command(Encoder& encoder, Args& args, void (Encoder::*how)(unsigned))
{
    const auto delay = args.more() ? args.number("milliseconds", 0, 86'400'000) : 300;
    args.end();
    (encoder.*how)(static_cast<unsigned>(delay));
    return {};
}

} // namespace

void add_encoder_commands(CommandTable& commands, Encoder& encoder)
{
    commands.add_action("encoder refuse", "  end at once when started", [&encoder] { encoder.refuse(); });
    commands.add_action("encoder go", "  go on when it hangs, and behave", [&encoder] { encoder.behave(); });
    commands.add("encoder hang", "[MS]   after 'q', end only after so many milliseconds of the PC's time (300)",
                 [&encoder](Args& args) { return hang_command(encoder, args, &Encoder::hang); });
    commands.add("encoder deaf", "[MS]   likewise, from its next start on, and SIGTERM does not end it either",
                 [&encoder](Args& args) { return hang_command(encoder, args, &Encoder::be_deaf); });
    commands.add_action("encoder ok", "  be there and behave", [&encoder] {
        encoder.set_missing(false);
        encoder.behave();
    });
    commands.add_action("encoder die", "  the encoder that runs dies", [&encoder] {
        if (!encoder.die()) throw NotNow("no encoder runs");
    });
    commands.add_action("encoder missing", "  the script is not there", [&encoder] { encoder.set_missing(true); });
    commands.add_number("encoder rate", "KBIT   bookkeeping only: let files grow at so many kbit/s; 0 as configured",
                        {"kbit/s", 0, 100'000'000}, [&encoder](long long rate) {
                            encoder.catch_up();
                            encoder.set_rate(static_cast<uint64_t>(rate));
                        });
    commands.add_show("encoder", [&encoder] {
        encoder.catch_up();
        return encoder.describe();
    });
}

} // namespace emu
