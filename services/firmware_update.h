/**
 * @file
 * Firmware update from the card's update directory: for each of the four items a presence check and a runner that
 * hands it to its update script. What to run, and when, is the caller's decision. Main thread only; a runner blocks
 * until its script has ended.
 */
#pragma once

namespace capd {

/** @return 0 when the item is on the card and readable, else -1 */
int fwupdate_has_custblk_image();
int fwupdate_has_custblk_files();
int fwupdate_has_kernel();
int fwupdate_has_bootloader();

/** Run the item's update. @return the script's exit status, or -1 when no shell could be started */
int fwupdate_custblk_image();
int fwupdate_custblk_files();
int fwupdate_kernel();
int fwupdate_bootloader();

} // namespace capd
