/**
 * @file
 * The receiver's audio state machine and what the chip knows about the audio it gets. Main thread only. A status poll
 * sleeps 3 ms (four samples of the active lines), an audio request 6 ms.
 *
 * AudioOff --picture on in HDMI mode--> AudioOn (audio is there and well) or RequestAudio
 * RequestAudio --audio present--> WaitForReady --7 ticks--> AudioOn --kind of audio changed--> RequestAudio
 * any but AudioOff --audio error--> RequestAudio
 * any --picture off, or on in DVI mode--> AudioOff
 */
#pragma once

#include "hdmirx/src/hdmirx/state.h"

#include <array>
#include <cstdint>

namespace capd::rx {

// Audio types. IEC 60958 audio is AUDIO_TYPE_LPCM with these bits.
constexpr uint8_t AUDIO_TYPE_NONE = 0x00;
constexpr uint8_t AUDIO_TYPE_HBR = 0xC0;
constexpr uint8_t AUDIO_TYPE_DSD = 0xA0;
constexpr uint8_t AUDIO_TYPE_LPCM = 0x80;
constexpr uint8_t AUDIO_TYPE_COMPRESSED = 0x10; ///< IEC 61937
constexpr uint8_t AUDIO_TYPE_LAYOUT1 = 0x08;
constexpr uint8_t AUDIO_TYPE_LINE = 0x07; ///< field: highest active sample-data line, 0 none
constexpr uint8_t AUDIO_TYPE_KIND = 0xF0;

/** IEC 60958 channel status, bytes 0 to 4. */
using ChannelStatus = std::array<uint8_t, 5>;

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

/** Mute the audio outputs or let them go. */
void SetRxAudioMute(bool on);

/** @return the audio type: AUDIO_TYPE_* */
uint8_t GetAudioType();

/** Take a snapshot of the audio status. Sleeps 3 ms. */
AudioSnapshot PollAudioStatus();

/** Read the channel status. @return 1; 0, with status untouched, without audio or with DSD audio */
int GetAudioChannelStatus(ChannelStatus& status);

/** @return the IEC 60958 sampling-frequency code that the chip has measured */
uint8_t ReadAudioFs();

/** @return true when there is audio with a channel status: any kind but DSD */
bool IsAudioPresent();

/** Hand an event to the daemon, provided that it listens and that audio is present. */
void DeliverAudioEvent(HdmirxEvent event);

} // namespace capd::rx
