/**
 * @file
 * The receiver's video state machine, one step per tick of 20 ms. Main thread only. A tick takes a few milliseconds;
 * the one that turns the picture on sleeps some 20 ms, a software reset 1 ms.
 *
 * PwrOff --5 V--> SyncWait --sync complete, or SCDT-on event with sync--> ColorDetectReset --13 ticks--> SyncChecking
 * SyncChecking --5 ticks--> ModeDetecting --timing measured--> VideoOn
 * SyncChecking, ModeDetecting, VideoOn --no sync--> SyncWait; ModeDetecting also when there is no timing or an event
 *   of 5 V or sync loss is pending; VideoOn also on a mode change
 * any but PwrOff, SWReset --SCDT-off event--> SyncWait
 * SWReset --16 ticks, terminators on--> PwrOff
 * What ends in SWReset, through SWReset_HDMIRX(): 5 V gone in SyncWait and ColorDetectReset; no sync for 250 ticks;
 *   SyncWait and SyncChecking for 469 ticks together; a 5 V-off event; any event of group 1 while 5 V is gone; a mode
 *   change while 5 V is gone; more than 14 sync losses
 */
#pragma once

#include "hdmirx/src/hdmirx/state.h"

namespace capd::rx {

/** Change the video state: the only way it changes. Does nothing when it is that state already. */
void SetVState(VideoState state);

/** Run one tick: events, video states, end of an AV mute, audio. Video_Handler() follows. */
void VideoTimerHandler();

/** Measure the picture and turn it on, or wait for sync again; only in VSTATE_ModeDetecting. */
void Video_Handler();

/** React to a change of the video or HDMI mode, or of the input port. */
void RXINT_VideoMode_Chg();

/** Mute the outputs, or let them go (in VSTATE_VideoOn only). */
void SetRxMute(bool on);

} // namespace capd::rx
