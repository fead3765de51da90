/**
 * @file
 * The receiver driver's state: one static record, changed by the driver's modules in the main thread only. Nothing here
 * touches the chip.
 */
#pragma once

#include "hdmirx/hdmirx.h"
#include "hdmirx/src/hdmirx/video_mode.h"

#include <array>
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

/** Audio states; the numbers index the table of names. */
enum AudioState : int {
    ASTATE_AudioOff = 0,     ///< outputs muted, nothing polled
    ASTATE_RequestAudio = 1, ///< looking for audio every tick
    ASTATE_ResetAudio = 2,   ///< never entered
    ASTATE_WaitForReady = 3, ///< audio reset done, settling
    ASTATE_AudioOn = 4,      ///< outputs follow the AV mute
    ASTATE_Reserved = 5,     ///< never entered
};

/** Colour modes as InputFormatFlags and OutputFormatFlags hold them in MODE_COLOUR. */
enum ColourMode : uint8_t { COLOUR_MODE_RGB = 0, COLOUR_MODE_YUV422 = 1, COLOUR_MODE_YUV444 = 2 };

constexpr uint8_t FORMAT_COLOUR = 0x03;        ///< field of both flags: a ColourMode
constexpr uint8_t FORMAT_ITU709 = 0x10;        ///< input; clear: ITU601
constexpr uint8_t FORMAT_LIMITED_RANGE = 0x20; ///< both: RGB in 16-235
constexpr uint8_t FORMAT_CHROMA_DOWN = 0x40;   ///< output: sub-sample the chroma where that is needed
constexpr uint8_t FORMAT_CHROMA_UP = 0x80;     ///< output: filter the chroma where that is needed

/** How the video output is blanked by the video state. */
enum MuteMode : uint8_t {
    MUTE_MODE_ALWAYS = 0, ///< blanked in every state
    MUTE_MODE_NEVER = 1,  ///< blanked in none
    MUTE_MODE_AUTO = 2,   ///< blanked until sync has been found
};

constexpr uint16_t SOFTWARE_RESET_TICKS = 469; ///< 9.38 s allowed in SyncWait and SyncChecking together
constexpr uint8_t AUDIO_FS_START = 14;         ///< from here the first frequency to be forced is 48 kHz

/** What the audio status registers said at one moment. */
struct AudioSnapshot {
    uint8_t kind;  ///< upper half of REG_RX_AUDIO_STATE; SNAPSHOT_LPCM
    uint8_t lines; ///< sample-data lines seen active
    uint8_t fs;    ///< sampling-frequency code
};
constexpr uint8_t SNAPSHOT_LPCM = 0x01;

/** All that the driver knows. */
struct DriverState {
    VideoState VState = VSTATE_PwrOff;
    AudioState AState = ASTATE_AudioOff;
    uint8_t ucCurrentHDMIPort = 0;
    uint8_t ChipRevision = 0xFF;
    uint8_t InputFormatFlags = FORMAT_LIMITED_RANGE;
    uint8_t OutputFormatFlags = FORMAT_CHROMA_DOWN;
    MuteMode mute_mode = MUTE_MODE_AUTO;

    uint16_t video_timer = 0; ///< ticks left in the video state
    uint16_t audio_timer = 0; ///< ticks left in the audio state
    uint16_t MuteResumingTimer = 0;
    uint16_t SoftwareResetTimeout = SOFTWARE_RESET_TICKS;
    uint8_t ScdtOffCount = 0; ///< sync losses since the last software reset or settled picture

    bool av_mute = false;       ///< the source signals AV mute
    bool mute_pending = false;  ///< set with av_mute, until the chip's mute status drops
    bool mute_at_entry = false; ///< the source muted when the picture came on
    bool NewAVIInfoFrameF = false;

    uint8_t saved_avi_db1 = 0;
    uint8_t saved_avi_db2 = 0;
    uint16_t saved_htotal = 0; ///< with the next two: the timing that the running picture is compared with
    uint8_t saved_xcnt = 0;
    int saved_progressive = 0;
    VideoMode s_CurrentVM = {};

    AudioSnapshot audio = {};
    uint8_t AudioErrorCount = 0;
    uint8_t AudioFsForError = AUDIO_FS_START;

    hdmirx_callback callback = nullptr;

    uint32_t report_samples = 0;  ///< video reports taken
    uint32_t report_xcnt_sum = 0; ///< sum of their pixel-clock counts
};

extern DriverState driver;

/** @return the name of a state as messages show it */
const char* VStateName(VideoState state);
const char* AStateName(AudioState state);

} // namespace capd::rx
