/**
 * @file
 * Muting: who keeps picture and sound off the outputs. The video state blanks the picture, depending on the mute mode;
 * the source mutes both with its AV mute; the audio state mutes the sound. The machines above say when picture and
 * sound are on. Main thread only; no call sleeps.
 */
#pragma once

#include <cstdint>

namespace capd::rx {

/** How the video output is blanked by the video state. */
enum MuteMode : uint8_t {
    MUTE_MODE_ALWAYS = 0, ///< blanked in every state
    MUTE_MODE_NEVER = 1,  ///< blanked in none
    MUTE_MODE_AUTO = 2,   ///< blanked until sync has been found
};

/** Choose how the video output is blanked (a MuteMode; unknown ones mean MUTE_MODE_AUTO) and apply it at once. */
void SetMuteMode(int mode);

/** Write the output control's start value for the current mute mode; OUT_MUTE_IGNORE is kept. */
void ResetRxOutputControl();

/** Blank the video output or not, as the mute mode has it. @param synced whether the video state has found sync */
void BlankVideo(bool synced);

/** The picture is on, or no longer. Writes nothing. */
void TellPicture(bool on);

/** The sound is on, or no longer. Writes nothing. */
void TellSound(bool on);

/** @return whether the picture is on */
bool PictureIsOn();

/** Mute the outputs, or let them go (with the picture on only). */
void SetRxMute(bool on);

/** Mute the audio outputs or let them go. */
void SetRxAudioMute(bool on);

/** @return whether the source signals AV mute, as far as events have told */
bool AVMute();

/** Ask the chip whether the source mutes, and mute the outputs or let them go accordingly. @return whether it does */
bool TakeMuteFromSource();

/** The sound has come on while the source mutes: give it 1.58 s to end that. */
void StartMuteResuming();

/** The source has set AV mute. */
void RXINT_AVMute_Set();

/** The source has cleared AV mute. */
void RXINT_AVMute_Clear();

/** Run one tick: let the outputs go when the source's AV mute has ended, or has lasted too long. */
void ResumeFromMute();

} // namespace capd::rx
