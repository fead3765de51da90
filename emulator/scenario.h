/**
 * @file
 * Scenario files: what happens to the box and when, a line each: SECONDS COMMAND. Seconds count from power-on, may have
 * a fraction and never fall; empty lines and lines that begin with '#' are for people.
 *
 * A scenario is checked whole before any of it is run: it is played on a box of its own, without a daemon, in no time.
 */
#pragma once

#include "emulator/base/timeline.h"

#include <functional>
#include <istream>
#include <string>
#include <vector>

namespace emu {

class Box;

struct ScenarioStep {
    Micros time;
    std::string command;
    std::string place; ///< "file:line", for messages
};

/** Read a scenario. Throws std::runtime_error whose text begins with the file and line of the fault. */
std::vector<ScenarioStep> read_scenario(std::istream& text, const std::string& file);
/** The same from a file or pipe with at most 1 MiB. */
std::vector<ScenarioStep> load_scenario(const std::string& file);

/**
 * Play a scenario on a fresh box to find commands that it refuses. A command that is refused only because nobody
 * records or has mounted the card passes; files that it reads must be there, none is written. Takes some milliseconds.
 * Throws as read_scenario() does.
 */
void check_scenario(const std::vector<ScenarioStep>& steps);

/**
 * Have the steps happen on a box at their times; what it answers, then and later, is handed to `answer`, a refusal with
 * its place. A step that waits holds up none of the others.
 */
void schedule_scenario(Box& box, const std::vector<ScenarioStep>& steps,
                       const std::function<void(bool ok, const std::string& text)>& answer);

} // namespace emu
