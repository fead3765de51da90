#include "hdmirx/src/hdmirx/state.h"

namespace capd::rx {

constinit DriverState driver;

// The blank at the end of one name has always been in the logs; tools that read them look for it.
static constexpr std::array<const char*, 11> VSTATE_NAMES = {
    "VSTATE_Off", "VSTATE_PwrOff",        "VSTATE_SyncWait ", "VSTATE_SWReset",          "VSTATE_SyncChecking", "",
    "",           "VSTATE_ModeDetecting", "VSTATE_VideoOn",   "VSTATE_ColorDetectReset", "VSTATE_Reserved",
};

static constexpr std::array<const char*, 6> ASTATE_NAMES = {
    "ASTATE_AudioOff",     "ASTATE_RequestAudio", "ASTATE_ResetAudio",
    "ASTATE_WaitForReady", "ASTATE_AudioOn",      "ASTATE_Reserved",
};

const char* VStateName(VideoState state)
{
    return VSTATE_NAMES[state];
}

const char* AStateName(AudioState state)
{
    return ASTATE_NAMES[state];
}

} // namespace capd::rx
