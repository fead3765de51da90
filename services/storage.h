/**
 * @file
 * Storage manager: everything done with the SD card. The card's first partition /dev/mmcblk0p1 (vfat) is mounted at
 * /mnt/sddisk; checks run shell lines and read their exit status or first line. Main thread only; each call blocks
 * until its shell line has ended.
 */
#pragma once

namespace capd {

/** Nothing to prepare. @return 0 */
int storage_init();

/** Look for the partition's device node. @return 0 when it is readable */
int storage_card_present();

/** @return exit status: 0 mounted; -1 when no shell could be started (as for all the shell lines here) */
int storage_is_mounted();

/** Mount the card. @return exit status, or -1 */
int storage_mount();

/** Unmount the card. @return exit status, or -1 */
int storage_umount_device();

/** @return 0 when the card is mounted read-write, 1 when it is not, else the shell line's exit status or -1 */
int storage_check_writable();

/**
 * Measure the free space.
 * @param kb KiB, set on success only; at least 1, as 0 stands for a free space that is not known; with corrected
 *           space 0 is a full card
 * @return 0, or 1 when it cannot be worked out
 */
int storage_get_available_kb(unsigned long* kb);

/** Measure a file. @param path path of the box. @param size bytes, set on success only. @return 0 or -1 */
int storage_get_file_size(const char* path, unsigned long* size);

/**
 * Name the next recording file.
 * @param continuation below 1 takes a new recording number, 1 or more the recording's next part
 * @param name receives the path, cut to size - 2 characters
 * @param size at least 2
 * @return 0; 1 when the number file cannot be read or written or the card turned read-only
 */
int storage_get_next_filename(int continuation, char* name, int size);

/** Remove the latest recording file if it is smaller than min_kb KiB. @return 0, or non-zero when that failed */
int storage_remove_small_file(unsigned long min_kb);

} // namespace capd
