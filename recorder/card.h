/**
 * @file
 * The card as the recorder uses it: mounted only while a file is recorded or while the free space is measured, its
 * free space shown on the storage bar. Main thread only; each call blocks for its shell lines, an unmount of a busy
 * card for three seconds.
 */
#pragma once

#include <cstdint>

namespace capd {

/** Mount the card unless it is mounted. @return 0, or what storage_mount() returned */
int _storage_mount();

/** Unmount the card if it is mounted, trying four times a second apart. @return 0, or 1: it stays mounted */
int _storage_umount();

/**
 * Measure the mounted card's free space and show it on the bar. A read-only card darkens the bar and shows
 * RecorderError::CardNotWritable. When it cannot be measured the free space counts as not measured (0).
 * @return 0, or the result of the check that failed
 */
int _storage_check_led_update();

/** Forget the free space: it is not known until it is measured again. */
void _storage_forget();

/** Whether the free space is a figure to be shown and counted with; without the correction it always is. */
bool free_space_is_known();

/** Mount the card, measure it and unmount it again. @return the result of the mount that failed, or of the unmount */
int _storage_measure();

/** Take the size of a file just closed off the free space. @param file path of the box. @return 0 */
int _sddisk_available_kb_update(const char* file);

/**
 * Free space in KiB as last measured, less the files closed since and less what the open file has taken.
 * @param file_kb size of the open file. Free space that is not known counts as 0, and wraps with a file in it.
 */
uint32_t _sddisk_free_kb(uint32_t file_kb);

/**
 * Show the free space on the bar, which fills up as the card does; below the hard limit it blinks as a whole.
 * @return 0
 */
int _storage_led_bar_update(unsigned long free_kb);

/** Darken the bar: no card, or one that cannot be written. */
void _storage_led_bar_clear();

/** Say whether the free space is known and below the hard limit. */
bool _storage_is_full();

} // namespace capd
