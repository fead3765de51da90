/**
 * @file
 * Corrections of the HDMI input. Without them it does what the boxes in the field do.
 */
#pragma once

namespace capd {

/** Set once at start-up, before the input is. */
struct HdmirxCorrections {
    bool formats = false; ///< rates, channels, colorimetry and range are what the source sends
    bool panel = false;   ///< a port that could not be switched is reported
};

extern constinit HdmirxCorrections hdmirx_corrections;

} // namespace capd
