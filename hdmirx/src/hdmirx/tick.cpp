#include "hdmirx/src/hdmirx/tick.h"

#include "hdmirx/src/hdmirx/audio.h"
#include "hdmirx/src/hdmirx/interrupts.h"
#include "hdmirx/src/hdmirx/mute.h"
#include "hdmirx/src/hdmirx/video_state.h"

namespace capd::rx {

void VideoTimerHandler()
{
    RXINT_Handler();
    VideoStep();
    ResumeFromMute();
    AudioStep();
}

} // namespace capd::rx
