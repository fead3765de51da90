/**
 * @file
 * Self-test: three endlessly repeated scripts of key actions that take the place of the remote. Main thread only; a
 * step blocks for as long as its action.
 */
#pragma once

namespace capd {

/** Say whether there is a sequence of this number. */
bool self_test_exists(int sequence);

/** Run the next step of settings.test_sequence, which must exist, if the delay of the last one has passed. */
void self_test_run();

} // namespace capd
