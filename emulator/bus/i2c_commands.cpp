#include "emulator/bus/i2c_bus.h"

#include "emulator/commands/commands.h"

namespace emu {

namespace {

uint8_t take_device(Args& args)
{
    const std::string word = args.word("a device");
    if (const auto known = i2c_device_called(word)) return *known;
    return static_cast<uint8_t>(args.as_number(word, 0, 0x7F));
}

Reply fail_command(I2cBus& bus, Args& args)
{
    const uint8_t device = take_device(args);
    const std::string how = args.choice({"next", "all", "every"});
    const uint64_t n = how == "all" ? 0 : static_cast<uint64_t>(args.number("a number of transfers", 1, 1'000'000'000));
    uint64_t skip = 0;
    if (args.more() && how == "next") {
        args.keyword("after");
        skip = static_cast<uint64_t>(args.number("a number of transfers", 0, 1'000'000'000));
    }
    args.end();
    if (how == "next") bus.fail(device, skip, n, EIO);
    if (how == "all") bus.fail_all(device, EIO);
    if (how == "every") bus.fail_every(device, n, EIO);
    return {};
}

} // namespace

void add_i2c_commands(CommandTable& commands, I2cBus& bus)
{
    commands.add("i2c fail",
                 "DEVICE next N [after M] | all | every K   fail transfers to a device (board, receiver, "
                 "transmitter, edidrom or 0x00 to 0x7f)",
                 [&bus](Args& args) { return fail_command(bus, args); });
    commands.add("i2c mend", "DEVICE   take a device's faults away", [&bus](Args& args) {
        const uint8_t device = take_device(args);
        args.end();
        bus.mend(device);
        return Reply{};
    });
    commands.add("i2c speed", "HZ|off   let transfers take as long as their bits (100000), or no time",
                 [&bus](Args& args) {
                     const std::string word = args.word("a speed");
                     bus.set_speed(word == "off" ? 0 : static_cast<uint32_t>(args.as_number(word, 1'000, 1'000'000)));
                     args.end();
                     return Reply{};
                 });
    commands.add_show("transfers", [&bus] { return bus.describe(20); });
}

} // namespace emu
