/**
 * @file
 * Audio path of the transmitter: input interface, audio clock regeneration, channel status and audio info frame. The
 * box sends two-channel linear PCM at 48 kHz over I2S; the other types are offered. Main thread only; no call waits.
 */
#pragma once

#include <array>
#include <cstdint>

namespace capd {

/** Bytes 0 to 4 of the IEC 60958 channel status. */
using HdmitxChannelStatus = std::array<uint8_t, 5>;

/** Set audio up from the audio state and clear bChangeAudio; does nothing for a display that takes no audio. */
void HDMITX_SetAudioOutput();

/**
 * Set the audio path up and release it.
 * @param type          T_AUDIO_ value; any other sets no input interface up
 * @param spdif         1 S/PDIF input, 0 I2S
 * @param rate          sampling rate in Hz; an unknown rate counts as 48000
 * @param channels      1 to 8
 * @param channelStatus nullptr builds it from rate and channels
 * @param tmdsClock     Hz, only kept
 */
void HDMITX_EnableAudioOutput(uint8_t type, uint8_t spdif, uint32_t rate, uint8_t channels,
                              const HdmitxChannelStatus* channelStatus, uint32_t tmdsClock);

/** Set N for a sampling-frequency code, and let the chip measure CTS. */
void hdmitx_SetNCTS(uint8_t code);

/** Load the channel status. */
void hdmitx_SetChannelStatus(const HdmitxChannelStatus& cs);

/** Set the input up for linear PCM. @param pairs channel pairs, 1 to 4 @param wordLength bits */
void hdmitx_SetLPCMAudio(uint8_t pairs, uint8_t wordLength, uint8_t spdif);

/** Set the input up for compressed audio. */
void hdmitx_SetNLPCMAudio();

/** Set the input up for high-bit-rate audio. */
void hdmitx_SetHBRAudio(uint8_t spdif);

/** Set the input up for one-bit audio. */
void hdmitx_SetDSDAudio();

/**
 * Choose the audio state, and order audio to be programmed (not for 0xC0). Offered; the box keeps the start values.
 * @param option   T_AUDIO_NLPCM or T_AUDIO_HBR, whose channels and rate are fixed in part; anything else is linear PCM
 * @param channels for linear PCM, taken as 1 to 8
 * @param code     sampling-frequency code; an unknown one counts as 48000 Hz
 */
void HDMITX_ChangeAudioOption(uint8_t option, uint8_t channels, uint8_t code);

} // namespace capd
