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

#include <cstdint>

namespace capd::rx {

/** Video states; the numbers index the table of names. 5 and 6 are not used. */
enum VideoState : int {
    VSTATE_Off = 0,              ///< machine stopped
    VSTATE_PwrOff = 1,           ///< waiting for 5 V from the source
    VSTATE_SyncWait = 2,         ///< waiting for sync
    VSTATE_SWReset = 3,          ///< software reset, terminators off
    VSTATE_SyncChecking = 4,     ///< sync found, letting it settle
    VSTATE_ModeDetecting = 7,    ///< measuring the timing
    VSTATE_VideoOn = 8,          ///< picture on
    VSTATE_ColorDetectReset = 9, ///< sync complete, colour detection being reset
    VSTATE_Reserved = 10,        ///< never entered
};

/** @return the name of a state as messages show it */
const char* VStateName(VideoState state);

/** @return the video state */
VideoState VState();

/** @return ticks left in the video state */
uint16_t VideoTicksLeft();

/** @return sync losses since the last software reset or settled picture */
uint8_t ScdtOffCount();

/** Change the video state: the only way it changes. Does nothing when it is that state already. */
void SetVState(VideoState state);

/** Reset the chip's logic, disconnect from the source and enter VSTATE_SWReset, which connects again. Sleeps 1 ms. */
void SWReset_HDMIRX();

/** Run the video part of a tick. Video_Handler() follows at the tick's end. */
void VideoStep();

/** Measure the picture and turn it on, or wait for sync again; only in VSTATE_ModeDetecting. */
void Video_Handler();

/** React to a change of the video or HDMI mode, or of the input port. */
void RXINT_VideoMode_Chg();

/** A vendor-specific info frame has come or changed: it may announce a 3D picture. */
void RXINT_VSIF_Chg();

/** An event tells that sync was lost: wait for it again and count the loss. */
void SyncLost();

} // namespace capd::rx
