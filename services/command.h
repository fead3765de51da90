/**
 * @file
 * Runs the shell lines of storage and firmware update. Blocks until the line has ended.
 */
#pragma once

namespace capd {

/** Run a shell line. @return its exit status; -1, after printing "fork failed", when no shell could be started */
int run_command(const char* line);

} // namespace capd
