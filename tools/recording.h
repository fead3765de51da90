/**
 * @file
 * Whether the box is recording, as its processes show it: nothing of the daemon's has to be asked.
 */
#pragma once

#include <string>

namespace boxtool {

/**
 * Look for a process that runs the encoder script, or that has a recording on the card open for writing: an encoder may
 * have taken the script's place. Needs the right to look at other processes, which the box's only user has.
 * @return the recording's file, a path of the box or of this machine; empty when nothing is being recorded
 */
std::string running_recording();

} // namespace boxtool
