/**
 * @file
 * Corrections that the command line asks for. The boxes in the field and the scripts around them rely on what the
 * daemon has always done; whoever builds a new box has it put right here, by name. Each room has the switches of its
 * own.
 */
#pragma once

namespace capd {

/** The recorder's own switches, set once by set_corrections(). */
struct RecorderCorrections {
    bool recordings = false; ///< input and output are served while an encoder is waited for
    bool space = false;      ///< free space that is not known is never shown nor counted with
    bool pace = false;       ///< checks and restarts come at their time
    bool displays = false;   ///< the EDID ROM gets what it should have, sooner or later
    bool formats = false;    ///< a changed format begins a new part, and the output follows the input
    bool panel = false;      ///< the LEDs tell what is so
};

extern constinit RecorderCorrections recorder_corrections;

/**
 * Put the corrections of a list in force, in all rooms.
 * @param list names separated by commas, "all", or "none", which withdraws those before it; an unknown name is reported
 *             and the rest of the list holds
 */
void set_corrections(const char* list);

/** Log the corrections in force, if there are any. */
void log_corrections();

} // namespace capd
