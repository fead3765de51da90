/**
 * @file
 * Encoder configuration files: low.cfg (configuration 0) and high.cfg (configuration 1), edited in place with sed to
 * match the input. The names are relative: the daemon is started in /kxbin, where the encoder reads them.
 * Main thread only; each edit blocks for one shell line.
 */
#pragma once

#include "hdmirx/hdmirx_info.h"

namespace capd {

/** File name of a configuration: low.cfg for 0, high.cfg for anything else. */
const char* av_rec_config_file(int config_no);

/**
 * Check that the encoder can take the input and write its format into the configuration's file.
 * @return 0 edited; -2 sample rate above 192000; -3 more than two channels; -4 compressed audio without a word length;
 *         -5 picture format not supported; otherwise the wait status of the edit, -1 when no shell could be started
 */
int av_rec_configure(int config_no, const hdmirx_info* info);

/** Write the average bit rate into the configuration's file. @return wait status of the edit, or -1 */
int av_rec_set_bitrate(int config_no, long bitrate);

} // namespace capd
