#include "emulator/box.h"

#include "emulator/facts.h"
#include "emulator/waiting.h"

namespace emu {

Box::Box(const BoxOptions& options) : Hardware(options)
{
    add_waiting_commands(commands(), *this);
    add_box_facts(commands(), *this);
    commands().add_action("quit", "  switch the box off", [this] { switched_off_ = true; });
}

} // namespace emu
