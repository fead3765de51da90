/**
 * @file
 * The bench command line of the box. One call runs one command on the calling thread and blocks until the box has
 * answered; nothing is kept between calls but the open video node.
 */
#pragma once

namespace boxtool {

/** Exit status of a command. */
enum ExitStatus : int {
    EXIT_DONE = 0,
    EXIT_REFUSED = 1, ///< the box refused, or what was looked at, tested or compared is not right
    EXIT_USAGE = 2,   ///< wrong arguments, or a question that was not answered with yes; nothing was changed
};

/** Run the command that the arguments name, as main() gets them. @return an ExitStatus */
int run(int argc, const char* const* argv);

} // namespace boxtool
