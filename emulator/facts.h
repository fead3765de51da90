/**
 * @file
 * What can be seen at the box, for programs: the sections of "show" as JSON. Keys and words are part of the interface;
 * docs/emulated-box.md lists them. Nothing here waits.
 */
#pragma once

#include "emulator/chips/board_controller.h"
#include "emulator/commands/commands.h"

#include <string>
#include <vector>

namespace emu {

class Hardware;

/** An LED by its short name. */
struct LedName {
    const char* name;
    int group, index;
};
/** Those beside the keys, then the storage bar from the bottom up. */
const std::vector<LedName>& led_names();

/** Add what "show --json" has of every section that the box itself has. */
void add_box_facts(CommandTable& commands, Hardware& box);

} // namespace emu
