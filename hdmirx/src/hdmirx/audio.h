/**
 * @file
 * The receiver's audio state machine. Main thread only. A status poll
 * sleeps 3 ms (four samples of the active lines), an audio request 6 ms.
 *
 * AudioOff --picture on in HDMI mode--> AudioOn (audio is there and well) or RequestAudio
 * RequestAudio --audio present--> WaitForReady --7 ticks--> AudioOn --kind of audio changed--> RequestAudio
 * any but AudioOff --audio error--> RequestAudio
 * any --picture off, or on in DVI mode--> AudioOff
 */
#pragma once

namespace capd::rx {

/** Audio states; the numbers index the table of names. */
enum AudioState : int {
    ASTATE_AudioOff = 0,     ///< outputs muted, nothing polled
    ASTATE_RequestAudio = 1, ///< looking for audio every tick
    ASTATE_ResetAudio = 2,   ///< never entered
    ASTATE_WaitForReady = 3, ///< audio reset done, settling
    ASTATE_AudioOn = 4,      ///< outputs follow the AV mute
    ASTATE_Reserved = 5,     ///< never entered
};

/** @return the audio state */
AudioState AState();

/** Change the audio state: the only way it changes. Acts and is logged even when it is that state already. */
void SetAState(AudioState state);

/** Look for audio and reset the audio path for it; without audio only forget past errors. */
void Audio_Handler();

/** Start audio when the picture has come on in HDMI mode. Sleeps 5 ms more than a request. */
void EnableAudio();

/** Run the audio part of a tick. */
void AudioStep();

/** Start over after an audio error. */
void RXINT_ResetAudio();

} // namespace capd::rx
