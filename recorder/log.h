/**
 * @file
 * The daemon's log, on standard error. Any thread; blocks as long as whoever reads standard error makes it.
 */
#pragma once

#include <syslog.h>

namespace capd {

/**
 * Write one entry: a line feed, file name, line and function, then the message. An entry of one thread is not torn
 * apart by another's.
 * @param level  severity on the syslog scale, LOG_ERR to LOG_INFO; carried for the reader of the code, never filtered
 * @param format printf format of the message; most messages end in a line feed of their own
 */
[[gnu::format(printf, 5, 6)]] void log_printf(const char* file, int line, const char* function, int level,
                                              const char* format, ...);

} // namespace capd

/** Log from the function where it stands: CAPD_LOG(LOG_INFO, "sys_init r=%d\n", r). */
#define CAPD_LOG(level, ...) ::capd::log_printf("capd", __LINE__, __func__, level, __VA_ARGS__)

/** Log from a helper under the name of the operation that it is a piece of. */
#define CAPD_LOG_AS(function, level, ...) ::capd::log_printf("capd", __LINE__, function, level, __VA_ARGS__)
