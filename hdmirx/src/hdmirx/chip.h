/**
 * @file
 * The chip as a whole: which revision it is, and the reset of its logic. Main thread only.
 */
#pragma once

namespace capd::rx {

/** Ask the chip for its revision; what the next two say. Until then it counts as a late one. */
void ReadChipRevision();

/** @return true for revision 0xA2 */
bool IsChipRevisionA2();

/** @return true for the revisions above 0xA2, which have registers of their own */
bool IsChipAboveA2();

/** Reset the chip's logic, which keeps its settings. Sleeps 1 ms. */
void PulseSoftwareReset();

} // namespace capd::rx
