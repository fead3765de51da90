/**
 * @file
 * Runs the shell lines of storage and firmware update. Blocks until the line has ended.
 */
#pragma once

namespace capd {

/**
 * Take the exit status out of a wait status. A line that a signal ended counts as 0, like one that is done: whoever has
 * to tell the two apart looks at the wait status itself.
 * @return the exit status; -1, after printing "fork failed", for a wait status of -1
 */
int exit_status(int wait_status);

/** Run a shell line. @return its exit status; -1, after printing "fork failed", when no shell could be started */
int run_command(const char* line);

} // namespace capd
