/**
 * @file
 * The life of a recording: start, stop, roll-over to the next file, automatic stop. The card stays mounted from a
 * start to its stop. Main thread only; a call blocks for its shell lines and for the encoder to finish its file.
 */
#pragma once

#include <cstdint>

namespace capd {

/**
 * Check the input, configure the encoder for it, mount the card, name the file and start the encoder. Enters
 * STATE_RECORDING on success. On failure the error LED tells the kind, the recording LED is dark and the card is
 * unmounted.
 * @param next_part 0 begins a new recording, 1 continues the last one with its next part
 * @return 0, or the result of the step that failed
 */
int32_t _av_rec_start(int32_t next_part);

/**
 * Stop the encoder, bring the free space up to date, unmount the card and enter STATE_IDLE. In STATE_AUTO_STOPPED the
 * file is removed when it came out too small.
 * @return 0, or the results of encoder stop and unmount ORed
 */
int32_t _av_rec_stop(int32_t = 0);

/**
 * Close the file and go on in the recording's next part, with the encoder's configuration as it is. A roll-over that
 * fails ends the recording: the card is unmounted, the recorder idle, the recording LED dark.
 * @return 0, or the result of the step that failed
 */
int _av_rec_stop_start();

/** Stop a recording because input or card went away, and enter STATE_AUTO_STOPPED. Nothing in other states. @return 0
 */
int _auto_stop();

/** Give up waiting for the input to come back. @return 0 */
int32_t _auto_stop_cancel(int32_t = 0);

/** Path of the file being recorded, or of the last one; empty before the first. */
const char* output_filename();

} // namespace capd
