/**
 * @file
 * Corrections of the HDMI output. Without them it does what the boxes in the field do.
 */
#pragma once

namespace capd {

/** Set once at start-up, before the output is. */
struct HdmitxCorrections {
    bool displays = false; ///< what a display is, and what the source is told of it, is taken from its whole EDID
};

extern constinit HdmitxCorrections hdmitx_corrections;

} // namespace capd
