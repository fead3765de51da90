/**
 * @file
 * What can be said of a source's signal in words, when it is plugged in and afterwards.
 */
#pragma once

#include "emulator/world/source_signal.h"

#include <string_view>
#include <vector>

namespace emu {

class Args;

/** Take a setting into a signal. @return whether the next word is one; a malformed one is refused as Args does it */
bool take_setting(Args& args, Signal& signal);

/** The first words of all settings. */
std::vector<std::string_view> setting_words();

} // namespace emu
