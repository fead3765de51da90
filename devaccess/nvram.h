/**
 * @file
 * Client of the name/value store behind /dev/qvnvram. The device keeps the entries in memory and writes them to flash
 * on commit only. Every call opens the device, issues one request, reports the outcome and closes it again.
 * Failure lines go to descriptor 0 and success lines to descriptor 2: on the box both are the console.
 * A name, value or path that is too long is refused with -1 and errno ENAMETOOLONG: half of one would be another one.
 * Main thread only; an operation blocks for one request, commit and load as long as the flash takes.
 */
#pragma once

namespace capd {

constexpr int NVRAM_NAME_SIZE = 64;   ///< longest name with its terminator
constexpr int NVRAM_VALUE_SIZE = 128; ///< longest value with its terminator
constexpr int NVRAM_PATH_SIZE = 256;  ///< longest path with its terminator
constexpr int NVRAM_NO_DEVICE = -6;   ///< result of every operation when the device cannot be opened

/**
 * Read an entry's value.
 * @param name  at most 63 characters
 * @param value room for NVRAM_VALUE_SIZE characters; untouched on failure, always terminated on success
 * @return 0; -1 refused, with errno set; NVRAM_NO_DEVICE
 */
int nvram_get(const char* name, char* value);

/** Change or add an entry in the device's memory. Results as of nvram_get(). */
int nvram_set(const char* name, const char* value);

/** Write the store back to flash. The daemon passes 1. Results as of nvram_get(). */
int nvram_commit(int arg);

/** Load the store from its flash partition. The daemon passes 1. Results as of nvram_get(). */
int nvram_load_mtd(int arg);

/** Load the store from a file of the box. Results as of nvram_get(). */
int nvram_load_file(const char* path);

/** Have the device list its entries, on its own output. Results as of nvram_get(). */
int nvram_list();

/** Clear the store. Results as of nvram_get(). */
int nvram_empty();

} // namespace capd
