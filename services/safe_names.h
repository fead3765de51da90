/**
 * @file
 * Names for recordings that no file on the card has, whatever the number file says: the corrected way. Main thread
 * only; a new name reads the card's folder once, and blocks until the number file is on the card.
 */
#pragma once

namespace capd {

/**
 * Name the next recording file. The recording's next part keeps its number; on a card that does not have the part
 * before it, it is a new recording.
 * @param continuation below 1 begins a new recording
 * @param name receives the path, cut to size - 2 characters
 * @param size at least 2
 * @return 0; 1 when the folder cannot be read or has no number free
 */
int safe_next_filename(int continuation, char* name, int size);

/** The card is about to be unmounted: what it looks like now tells it from another one. */
void safe_names_leave_card();

/** A card was mounted: it may be another one. */
void safe_names_enter_card();

/**
 * Remove the part named last if it is smaller than min_kb KiB, on the card that it was named on.
 * @return 0, or non-zero when it is not there or cannot be removed
 */
int safe_remove_small_file(unsigned long min_kb);

} // namespace capd
