#include "emulator/chips/receiver_chip.h"
#include "emulator/commands/commands.h"

namespace emu {

using namespace rx;

/** A coefficient of the converter's matrix: 14 bits, two's complement, 11 of them behind the point. */
static double coefficient(uint8_t low, uint8_t high)
{
    const int raw = (high & 0x3F) << 8 | low;
    return (raw < 0x2000 ? raw : raw - 0x4000) / 2048.0;
}

std::string ReceiverChip::conversion() const
{
    double row[3];
    for (unsigned i = 0; i < 3; ++i)
        row[i] = coefficient(registers_[REG_MATRIX + 2 * i], registers_[REG_MATRIX + 2 * i + 1]);
    const double sum = row[0] + row[1] + row[2];
    switch (converter()) {
    case Converter::None: return "none";
    case Converter::Undefined: return "undefined";
    case Converter::RgbToYuv: // luma of green: 0.587 in BT.601, 0.715 in BT.709; full-range RGB is squeezed to 219/255
        return std::string("RGB to YUV, ") + (row[0] > 0.65 * sum ? "BT.709, " : "BT.601, ") +
               (sum > 0.93 ? "16-235" : "0-255");
    case Converter::YuvToRgb: // red difference in green: 0.70 in BT.601, 0.46 in BT.709
        return std::string("YUV to RGB, ") + (-row[1] > 0.58 * row[0] ? "BT.601, " : "BT.709, ") +
               (row[0] < 1.08 ? "16-235" : "0-255");
    }
    return {};
}

std::optional<ReceiverChip::Measured> ReceiverChip::measured() const
{
    if (!measured_) return std::nullopt;
    const bool interlaced = (registers_[REG_TIMING] & 0x02) != 0;
    const Format& f = signal()->format;
    return Measured{hdmi_, f.h_active, interlaced ? f.v_active * 2u : f.v_active, interlaced};
}

std::string ReceiverChip::Measured::text() const
{
    return (hdmi ? "HDMI " : "DVI ") + std::to_string(width) + "x" + std::to_string(height) + (interlaced ? "i" : "p");
}

std::string ReceiverChip::describe() const
{
    std::string text;
    for (const Source* source : sources_)
        text += "port " + std::to_string(source->port()) + ": " + source->describe() +
                (source->terminated() ? "" : "; terminators off") + "\n";
    text += "receiver: " + (selected_ < 0 ? std::string("no port") : "port " + std::to_string(selected_)) + ", ";
    if (const auto picture = measured(); picture)
        text += picture->text();
    else
        text += locked_ ? "in sync, not measured yet" : "no sync";
    text += mute_received() ? ", AV mute received\n" : "\n";
    text += std::string("picture ") + (lets_video_out() ? "let out" : "held back") + ", sound " +
            (lets_audio_out() ? "let out" : "held back") + ", conversion: " + conversion() + "\n";
    return text;
}

static Reply error_command(ReceiverChip& receiver, Args& args)
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

static Reply storm_command(ReceiverChip& receiver, Args& args)
{
    const Micros period =
        args.optional("off") ? 0 : static_cast<Micros>(args.number("microseconds or off", 1, 1'000'000'000));
    args.end();
    receiver.storm(period);
    return {};
}

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
