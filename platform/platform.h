/**
 * @file
 * The seam: all that the daemon takes from the box's kernel and root file system and that is not the same on a PC.
 * Which implementation stands behind it is chosen at link time: platform/linux passes every call straight to POSIX,
 * the emulator puts an emulated box there. Locks, pipes, fork and exec, syslog and plain file calls (on paths that went
 * through map_path()) are used directly.
 *
 * Any thread may call any function. Only the shell calls, sleep_us() and a device's own requests block.
 */
#pragma once

#include <cstddef>
#include <cstdint>

namespace capd::platform {

/** Wall-clock time as gettimeofday() gives it. Seconds are 64 bits wide on every target: dates go past 2038. */
struct WallTime {
    int64_t seconds;
    int32_t microseconds; ///< 0 to 999999
};

/** Length of the longest path that map_path() makes, terminator included. */
constexpr size_t PATH_SIZE = 512;

/**
 * Open a device node read-write; children do not inherit the descriptor.
 * @return the descriptor, or -1 with errno set
 */
int device_open(const char* path);

/**
 * Issue a request whose argument is a record.
 * @param request the ioctl request code, 32 bits on every target
 * @param record  the record, of the size that the request code states; written by the driver where it is read-write
 * @return the request's result, 0 or above; -1 with errno set when refused
 */
int device_request(int fd, uint32_t request, void* record);

/** Issue a request whose argument is an integer passed by value. Results as of device_request(). */
int device_request_value(int fd, uint32_t request, int value);

/** Close a descriptor of device_open(). */
void device_close(int fd);

/**
 * Run a shell line and wait for its end, as system() does.
 * @return the wait status (exit status in bits 8 to 15), or -1 when no shell could be started
 */
int run_shell(const char* line);

/**
 * Run a shell line and keep the first line that it prints, as popen() and fgets() do.
 * @param line   the shell line
 * @param buffer receives the text, terminated, its line feed included when it fits
 * @param size   size of the buffer, at least 1; at most size - 1 characters are kept
 * @return true when something was read; false, with the buffer empty, when the line could not be started or printed
 *         nothing
 */
bool read_shell_line(const char* line, char* buffer, size_t size);

/**
 * Give the path on this machine that stands for a path of the box. On the box that is the path itself.
 * @param path   an absolute path of the box
 * @param buffer room for PATH_SIZE characters; used only where the two differ
 * @return path or buffer
 */
const char* map_path(const char* path, char* buffer);

/** Read the wall clock. Makes no system call on the box. */
WallTime wall_time();

/** Read the wall clock's whole seconds, as time() does. */
int64_t wall_seconds();

/** Read the clock that nobody sets, counted from some moment before the process began (POSIX CLOCK_MONOTONIC). */
WallTime monotonic_time();

/** Sleep the calling thread for at least this many microseconds. */
void sleep_us(uint32_t microseconds);

/**
 * Start a thread that runs for the rest of the process.
 * @return 0, or the error's number as of pthread_create()
 */
int start_thread(void* (*body)(void*));

/**
 * Open the System V message queue of a key, readable and writable by everybody; it is created when there is none.
 * @return its identifier, or -1 with errno set
 */
int open_queue(int32_t key);

} // namespace capd::platform
