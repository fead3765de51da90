#include "emulator/chips/receiver_chip.h"
#include "emulator/commands/commands.h"

namespace emu {

namespace {

Reply error_command(ReceiverChip& receiver, Args& args)
{
    const std::string kind = args.choice({"fifo", "audio", "ecc"});
    const auto fault = kind == "fifo"    ? ReceiverChip::Fault::Fifo
                       : kind == "audio" ? ReceiverChip::Fault::Audio
                                         : ReceiverChip::Fault::Ecc;
    if (!args.more()) {
        receiver.fault(fault);
        return {};
    }
    const bool repeated = args.choice({"every", "off"}) == "every";
    const Micros period = repeated ? static_cast<Micros>(args.number("microseconds", 1, 1'000'000'000)) : 0;
    args.end();
    receiver.repeat_fault(fault, period);
    return {};
}

Reply storm_command(ReceiverChip& receiver, Args& args)
{
    const Micros period =
        args.optional("off") ? 0 : static_cast<Micros>(args.number("microseconds or off", 1, 1'000'000'000));
    args.end();
    receiver.storm(period);
    return {};
}

} // namespace

void add_receiver_commands(CommandTable& commands, ReceiverChip& receiver)
{
    commands.add("receiver error",
                 "fifo|audio|ecc [every US | off]   a fault in the received data, once or again and again",
                 [&receiver](Args& args) { return error_command(receiver, args); });
    commands.add("receiver storm", "US|off   all interrupt status bits come again every so many microseconds",
                 [&receiver](Args& args) { return storm_command(receiver, args); });
    commands.add_number("receiver revision", "N   revision the chip tells, 0 to 255", {"a revision", 0, 255},
                        [&receiver](long long revision) { receiver.set_revision(static_cast<uint8_t>(revision)); });
    commands.add_number("receiver lock-time", "MS   time from a picture to sync; 0: sync and measured at once",
                        {"milliseconds", 0, 60'000},
                        [&receiver](long long ms) { receiver.set_lock_time(static_cast<Micros>(ms) * 1000); });
    commands.add_show("input", [&receiver] { return receiver.describe(); });
}

} // namespace emu
