/**
 * @file
 * What the diagnostic commands share: issuing a request and ending a command, with errno kept past the printing.
 */
#pragma once

#include "devaccess/video_device.h"

#include <cerrno>
#include <cstdint>
#include <cstdio>

namespace capd {

/** Outcome of a diagnostic request. */
struct Answer {
    int result;
    int error; ///< errno as the request left it

    bool ok() const { return result >= 0; }
};

/** The answer to what is refused before anything is sent. */
constexpr Answer REFUSED = {-1, EINVAL};
constexpr Answer NOTHING_SENT = {0, 0};

/** Issue a request on the node, which is opened if it is not. */
inline Answer ask(uint32_t request, void* record)
{
    video_device_open();
    errno = 0;
    const int result = video_device_request(request, record);
    return {result, errno};
}

/** Print the line that every command ends with. @return the result, with errno as the request left it */
inline int finish(const char* function, const Answer& answer)
{
    printf("%s()-> return %d\n\n", function, answer.result);
    errno = answer.error;
    return answer.result;
}

} // namespace capd
