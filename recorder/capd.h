/**
 * @file
 * The daemon: options, start-up and the main loop.
 */
#pragma once

namespace capd {

/**
 * Run the daemon on the calling thread, which becomes its main thread.
 * Does not return: the daemon runs until the box loses power.
 */
[[noreturn]] int run(int argc, char* argv[]);

} // namespace capd
