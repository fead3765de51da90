/**
 * @file
 * Corrections of the services. Without them the services do what the boxes in the field do.
 */
#pragma once

namespace capd {

/** Set once at start-up, before anything else of the services runs. */
struct ServiceCorrections {
    bool recordings = false; ///< nothing is overwritten, no wait is endless, a shell line that was killed has failed
    bool space = false;      ///< a full card is told from one that could not be measured
    bool pace = false;       ///< periods are measured with a clock that nobody sets
};

extern constinit ServiceCorrections service_corrections;

} // namespace capd
