/**
 * @file
 * What the receiver sees, for the engineer at the bench: video timing, info frames, audio. The Show functions print a
 * report each, the read functions give the same values to a program. Main thread only; nothing but the averaging of the
 * pixel clock is changed, and the longest, the audio report, takes some ten transfers.
 */
#pragma once

#include <cstdint>

namespace capd {

/** The values of a video report. */
struct VideoReport {
    bool hdmi; ///< false: DVI
    uint16_t h_active, h_total, h_front, h_sync;
    uint16_t h_back; ///< wraps at 16 bits when the measurement is inconsistent
    uint16_t v_active, v_total, v_front, v_sync, vsync_to_de;
    uint16_t v_back;           ///< wraps likewise
    uint32_t field_centihertz; ///< field rate in hundredths of a hertz
    uint32_t pixel_clock_hz;   ///< from the averaged pixel-clock count
    uint32_t xcnt_whole;       ///< averaged pixel-clock count,
    uint32_t xcnt_hundredths;  ///< and its decimals
    uint8_t depth_code;        ///< colour depth: 4 24 bits, 5 30, 6 36, 7 48, others not defined
};

/** Begin the average of the pixel-clock count anew. */
void reset_video_report();

/**
 * Measure the picture; adds one sample to the average of the pixel-clock count.
 * @return true; false without a signal (count, pixels per line or lines of 0), with only hdmi set
 */
bool read_video_report(VideoReport* report);

/** Print the video report. */
void ShowVideoStatus();

enum class InfoFrameKind : uint8_t { Avi, Audio, Vendor };

/** An info frame as the receiver holds it. */
struct InfoFrameReport {
    uint8_t bytes[35]; ///< type, version, length, checksum, data
    int count;         ///< bytes that belong to the frame, 4 to 35
};

/** Read an info frame. @return true; false when none is held (vendor-specific frames only) */
bool read_info_frame(InfoFrameKind kind, InfoFrameReport* report);

/** Print the AVI, audio and vendor-specific info frames. */
void ShowInfoFrames();

/** The values of an audio report. */
struct AudioReport {
    enum class Kind : uint8_t { None, Lpcm, Compressed, Hbr, Dsd } kind;
    uint8_t layout;            ///< 0 or 1; LPCM and compressed audio only, like the next two
    uint8_t sources;           ///< number of the highest active sample-data line, 0 none
    uint8_t channel_status[5]; ///< IEC 60958 channel status, bytes 0 to 4
};

/** Read kind, layout and channel status of the audio. */
void read_audio_report(AudioReport* report);

/** Print the audio report. */
void ShowAudioStatus();

} // namespace capd
