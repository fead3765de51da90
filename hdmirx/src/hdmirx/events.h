/**
 * @file
 * Handing events to the daemon, provided that it listens. Main thread only.
 */
#pragma once

#include "hdmirx/hdmirx_event.h"

namespace capd::rx {

/** Choose who listens; nullptr: nobody. */
void SetEventCallback(hdmirx_callback callback);

/** Hand over an event. */
void DeliverEvent(HdmirxEvent event);

/** Hand over an event, provided that audio is present: up to three register accesses when somebody listens. */
void DeliverAudioEvent(HdmirxEvent event);

} // namespace capd::rx
