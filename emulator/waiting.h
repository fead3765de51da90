/**
 * @file
 * "wait" and "watch": commands that look at the box again and again, in its own time, and answer when something is so
 * or whenever something changes. What they look at is what a person at the box, or a log file, can tell.
 *
 * A look happens every 50 ms of the box's time and takes some microseconds; nobody else waits for it. It ends with its
 * listener.
 */
#pragma once

namespace emu {

class Hardware;
class CommandTable;

/** Add "wait" and "watch". */
void add_waiting_commands(CommandTable& commands, Hardware& box);

} // namespace emu
