/**
 * @file
 * What the receiver driver tells the daemon while it runs.
 */
#pragma once

namespace capd {

/** Events handed to the callback as (event, 0). */
enum HdmirxEvent : int {
    HDMIRX_EVENT_AUDIO_ON = 0,
    HDMIRX_EVENT_UNSTABLE = 1,
    HDMIRX_EVENT_AUDIO_ERROR = 2,
    HDMIRX_EVENT_AVI_CHANGE = 3,
};

/** Called from inside hdmirx_run(); must not call back into the receiver driver. Its result is ignored. */
using hdmirx_callback = int (*)(int event, int argument);

} // namespace capd
