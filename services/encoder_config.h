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

/** Why the encoder cannot take an input. The values are those that av_rec_configure() returns. */
enum class EncoderRefusal : int {
    None = 0,
    SampleRate = -2, ///< above 192000 Hz
    Channels = -3,   ///< more than two, or a count that could not be read
    WordLength = -4, ///< compressed audio without a word length
    Picture = -5,    ///< neither 1080 lines nor 720 progressive ones
};

/** Look whether the encoder can take an input. */
EncoderRefusal av_rec_refusal(const hdmirx_info& info);

/**
 * Check that the encoder can take the input and write its format into the configuration's file.
 * @return 0 edited; an EncoderRefusal, nothing edited; otherwise the wait status of the edit, -1 when no shell could
 *         be started
 */
int av_rec_configure(int config_no, const hdmirx_info* info);

/** Write the average bit rate into the configuration's file. @return wait status of the edit, or -1 */
int av_rec_set_bitrate(int config_no, long bitrate);

} // namespace capd
