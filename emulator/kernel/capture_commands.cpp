#include "emulator/kernel/capture_driver.h"

#include "emulator/commands/commands.h"

namespace emu {

namespace {

Reply node_command(CaptureDriver& capture, Args& args)
{
    const int number = static_cast<int>(args.number("a node number", 0, 63));
    CaptureDriver::NodeInfo info{};
    info.bus = static_cast<int32_t>(args.number("a bus", 0, 1000));
    info.instance = static_cast<int32_t>(args.number("an instance", 0, 1000));
    info.type = static_cast<int32_t>(args.number("a type", 0, 1000));
    if (args.optional("refuse")) info.refusal = -static_cast<int>(args.number("an errno", 1, 133));
    args.end();
    capture.set_node(number, info);
    return {};
}

} // namespace

void add_capture_commands(CommandTable& commands, CaptureDriver& capture)
{
    commands.add("video node", "N BUS INSTANCE TYPE [refuse ERRNO]   put a video node there",
                 [&capture](Args& args) { return node_command(capture, args); });
    commands.add_number("video remove", "N   take a video node away", {"a node number", 0, 63},
                        [&capture](long long node) { capture.remove_node(static_cast<int>(node)); });
}

} // namespace emu
