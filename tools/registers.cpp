// reg read and write, gpio set: the video chip's registers and the processor's pins.
#include "tools/commands.h"

#include "devaccess/diagnostics/diagnostics.h"

namespace boxtool {

namespace {

void read_register(Session& session, uint32_t reg)
{
    uint32_t value = 0;
    check(capd::do_rdreg(reg, &value), format("reg read 0x%x", reg));
    session.say("0x%08x\n", value);
    session.report({{"register", reg}, {"value", value}});
}

void write_register(Session& session, uint32_t reg, uint32_t value)
{
    session.ask(format("Write 0x%08x to register 0x%08x of the video chip.", value, reg));
    check(capd::do_wrreg(reg, value), format("reg write 0x%x", reg));
    session.report({{"register", reg}, {"value", value}});
}

void set_gpio(Session& session, int pin, int level)
{
    check(capd::do_setgpio(pin, level), format("gpio set %d", pin));
    session.report({{"gpio", pin}, {"level", level}});
}

} // namespace

void add_register_commands(Commands& commands)
{
    CLI::App& group = commands.group("reg", "Registers of the video chip", HEADING_HARDWARE);

    Command& read = commands.add(group, "read", "Read a register", DEVICE);
    const auto reg = read.number<uint32_t>("register", WORD, "register");
    read.run([=](Session& session) { read_register(session, *reg); });

    Command& write = commands.add(group, "write", "Write a register", ASKS | DEVICE);
    const auto to_reg = write.number<uint32_t>("register", WORD, "register");
    const auto value = write.number<uint32_t>("value", WORD, "value");
    write.run([=](Session& session) { write_register(session, *to_reg, *value); });

    CLI::App& gpio = commands.group("gpio", "Pins of the processor", HEADING_HARDWARE);
    Command& set = commands.add(gpio, "set", "Make a pin an output and drive it", DEVICE);
    const auto pin = set.number<int>("gpio", BYTE, "pin");
    const auto level = set.number<int>("level", {0, 1}, "0 low, 1 high");
    set.run([=](Session& session) { set_gpio(session, *pin, *level); });
}

} // namespace boxtool
