/**
 * @file
 * Settings store: input port, recording configuration and average bit rates, kept as text in nvram across power
 * cycles. A set call changes the device's store only; config_commit() makes it survive a power cycle. Main thread only.
 */
#pragma once

namespace capd {

/** Load the nvram store from flash. @return nvram result: 0, -1 refused, -6 no device */
int config_init();

/** Read the recording configuration; a setting that cannot be read counts as 0. @return always 0 */
int config_get_av_rec_config(int* config);

/** Read the input port; a setting that cannot be read counts as 0. @return always 0 */
int config_get_hdmirx_port(int* port);

/**
 * Read a configuration's average bit rate.
 * @param bitrate set on success only
 * @return nvram result; not 0 means the encoder file keeps its own value
 */
int config_get_bitrate(int config, long* bitrate);

/** Store the recording configuration, 0 or 1. @return nvram result */
int config_set_av_rec_config(int config);

/** Store the input port, 0 or 1. @return nvram result */
int config_set_hdmirx_port(int port);

/** Store a configuration's average bit rate. @return nvram result */
int config_set_bitrate(int config, long bitrate);

/** Have the device write its store to flash. @return nvram result */
int config_commit();

} // namespace capd
