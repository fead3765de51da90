/**
 * @file
 * Firmware update from the card's update directory: for each of the four items a presence check and a runner that
 * hands it to its update script. What to run, and when, is the caller's decision. Main thread only; a runner blocks
 * until its script has ended.
 */
#pragma once

#include <cstdint>

namespace capd {

enum class FirmwareItem : uint8_t { Bootloader, Kernel, CustblkImage, CustblkFiles };

/** @return where the item lies on the card, a path of the box */
const char* fwupdate_path(FirmwareItem item);

/**
 * Run the item's update, printing nothing. A script that a signal ended has left its item half written.
 * @return the script's wait status as a whole, or -1 when no shell could be started
 */
int fwupdate_run(FirmwareItem item);

/** @return 0 when the item is on the card and readable, else -1 */
int fwupdate_has_custblk_image();
int fwupdate_has_custblk_files();
int fwupdate_has_kernel();
int fwupdate_has_bootloader();

/**
 * Run the item's update.
 * @return the script's exit status, 0 also when a signal ended it (fwupdate_run() tells the two apart); -1, after
 *         printing "fork failed", when no shell could be started
 */
int fwupdate_custblk_image();
int fwupdate_custblk_files();
int fwupdate_kernel();
int fwupdate_bootloader();

} // namespace capd
