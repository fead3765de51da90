/**
 * @file
 * What the command line chooses for the recorder, with the values that hold without it.
 */
#pragma once

#include <cstdint>

namespace capd {

/** What the command line chooses. Sizes in KiB. Read by all modules of the recorder, written by parse_options(). */
struct DaemonSettings {
    uint32_t storage_hard_limit = 131'072; ///< free space below which no recording starts or goes on
    uint32_t min_file_size = 100;          ///< a smaller file is removed when its recording was stopped automatically
    int32_t test_sequence = -1;            ///< self-test sequence, -1 none
    uint32_t max_file_size = 4'161'536;    ///< a larger file is closed: just under the 4 GiB that vfat can hold
    uint32_t max_file_duration = 7200;     ///< seconds, likewise
    int32_t edid_write_disabled = 0;       ///< 1: the input's EDID ROM is left alone
};

extern constinit DaemonSettings settings;

} // namespace capd
