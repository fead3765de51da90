#include "hdmirx/src/hdmirx/events.h"

#include "hdmirx/src/hdmirx/audio_status.h"

namespace capd::rx {

namespace {

hdmirx_callback listener = nullptr;

} // namespace

void SetEventCallback(hdmirx_callback callback)
{
    listener = callback;
}

void DeliverEvent(HdmirxEvent event)
{
    if (listener != nullptr) listener(event, 0);
}

void DeliverAudioEvent(HdmirxEvent event)
{
    if (listener != nullptr && IsAudioPresent()) listener(event, 0);
}

} // namespace capd::rx
