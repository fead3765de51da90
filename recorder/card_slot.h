/**
 * @file
 * Watch over the card slot. Main thread only; a look blocks for as long as a newly inserted card takes to be mounted,
 * measured and unmounted, or as a recording on a card that was pulled takes to be stopped.
 */
#pragma once

namespace capd {

/**
 * Look at the slot, once per second at the most, and act on a change: a card that is gone stops a recording and
 * darkens the bar, a new one is measured. A slot that is empty at start-up is reported as a card removed.
 * @return 0, or the result of the mount or unmount that failed
 */
int _check_storage_event();

} // namespace capd
