/**
 * @file
 * What can be waited for at the box, and what can be seen of it by watching. Nothing here waits.
 */
#pragma once

#include "emulator/commands/commands.h"

#include <functional>
#include <string>
#include <vector>

namespace emu {

class Hardware;

/** Something that may be so or not. */
struct Condition {
    std::string expected;             ///< what is waited for, as in "expected a recording"
    std::function<bool()> holds;      ///< whether it is so now
    std::function<std::string()> now; ///< how things are instead
};

/** Usage of what take_condition() takes. */
extern const char* const CONDITION_USAGE;

/** Take the words of a condition. */
Condition take_condition(Hardware& box, Args& args);

/** Something that a person sees change. */
struct Sight {
    std::string name;
    std::function<std::string()> look;
};

/** LEDs, recording, inputs, output, display and card. */
std::vector<Sight> sights(Hardware& box);

} // namespace emu
