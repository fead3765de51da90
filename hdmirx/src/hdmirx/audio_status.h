/**
 * @file
 * What the chip knows about the audio it gets. Main thread only. A poll sleeps 3 ms (four samples of the active lines),
 * the rest is a few register accesses.
 */
#pragma once

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

/** What the audio status registers said at one moment. */
struct AudioSnapshot {
    uint8_t kind;  ///< upper half of REG_RX_AUDIO_STATE; SNAPSHOT_LPCM
    uint8_t lines; ///< sample-data lines seen active
    uint8_t fs;    ///< sampling-frequency code
};
constexpr uint8_t SNAPSHOT_LPCM = 0x01;

/** @return the audio type: AUDIO_TYPE_* */
uint8_t GetAudioType();

/** Take a snapshot of the audio status. Sleeps 3 ms. */
AudioSnapshot PollAudioStatus();

/** Read the channel status. @return 1; 0, with status untouched, without audio or with DSD audio */
int GetAudioChannelStatus(ChannelStatus& status);

/** @return how many channels the audio has: 2 in layout 0, two per active line in layout 1 (HDMI 1.4, 5.3.4);
 * that sleeps 3 ms */
int ReadAudioChannels();

/** @return the IEC 60958 sampling-frequency code that the chip has measured */
uint8_t ReadAudioFs();

/** @return true when there is audio with a channel status: any kind but DSD */
bool IsAudioPresent();

} // namespace capd::rx
