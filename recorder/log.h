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

/**
 * The operation that the main thread is in, from construction to destruction: const LogOperation operation(__func__).
 * Entries name the operation, which people know, not the step of it that they were written in. Outside of all others
 * it is main.
 */
class LogOperation {
public:
    explicit LogOperation(const char* name) : outer_(current_) { current_ = name; }
    ~LogOperation() { current_ = outer_; }
    LogOperation(const LogOperation&) = delete;
    LogOperation& operator=(const LogOperation&) = delete;

    static const char* current() { return current_; }

private:
    static inline const char* current_ = "main";
    const char* outer_;
};

} // namespace capd

/** Log from the function where it stands: CAPD_LOG(LOG_INFO, "led_init r=%d\n", r). */
#define CAPD_LOG(level, ...) ::capd::log_printf("capd", __LINE__, __func__, level, __VA_ARGS__)

/** Log from a step under the name of the operation that it belongs to. Main thread. */
#define CAPD_LOG_STEP(level, ...)                                                                                      \
    ::capd::log_printf("capd", __LINE__, ::capd::LogOperation::current(), level, __VA_ARGS__)
