/**
 * @file
 * The driver's tick, every 20 ms. Main thread only.
 */
#pragma once

namespace capd::rx {

/** Run one tick: what the chip has latched, then the picture, then muting and the sound. Video_Handler() follows. */
void VideoTimerHandler();

} // namespace capd::rx
