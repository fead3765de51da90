/**
 * @file
 * Encoder runner: at most one encoder child at a time, started with a pipe on its standard input and told to stop by
 * the byte 'q' on it. Main thread only. av_rec_stop() blocks until the encoder has finished its file.
 */
#pragma once

namespace capd {

/** Nothing to prepare. @return 0 */
int av_init();

/**
 * Start the encoder.
 * @param config_no       0 takes low.cfg, anything else high.cfg
 * @param output_filename path of the box of the file to write
 * @return 0 started; -2 one is running or stuck; -1 no pipe or no process could be made
 */
int av_rec_start(int config_no, const char* output_filename);

/**
 * Stop the encoder and wait for its end; with corrected recordings no longer than 20 s, after 10 s with SIGTERM and
 * after 15 s with SIGKILL to it and to what it started.
 * @return 0 stopped; 1 none was running; 2 it had died before; AV_REC_STUCK
 */
int av_rec_stop();
constexpr int AV_REC_STUCK = 3; ///< it cannot be ended, and no other one is started until it has

/** Have something called every 20 ms while av_rec_stop() waits with corrected recordings; nullptr: nothing. */
void av_rec_set_wait_step(void (*step)());

/** Look whether the encoder has ended, without waiting. @return 0 running or nothing to report; 1 just found ended */
int av_rec_isok();

/** Time since the last start in whole seconds times 1000; 0 when there was none. */
unsigned long av_rec_elapsed_ms();

} // namespace capd
