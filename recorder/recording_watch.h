/**
 * @file
 * The work of the recorder's states in each pass of the main loop: card events in all but standby, the limits of a
 * running recording, the restart after an automatic stop. Main thread only; a pass blocks for the shell lines and the
 * encoder's end where something is to be done.
 */
#pragma once

#include "recorder/state.h"

namespace capd {

/** Do a state's work of one pass. @param state as it was when the pass began */
void run_state(RecorderState state);

} // namespace capd
