/**
 * @file
 * Description of the input, filled by the receiver's interface and read by the recorder and the encoder configuration.
 */
#pragma once

#include <cstdint>

namespace capd {

/** Ten 32-bit fields in this order; the reserved ones are never written. */
struct hdmirx_info {
    int32_t reserved0;
    int32_t active_width;      ///< active pixels per line
    int32_t active_height;     ///< active lines of the frame, doubled from the field's when interlaced
    int32_t interlaced;        ///< 1 interlaced, 0 progressive
    int32_t frame_rate;        ///< Hz: 24, 30, the measured 36 to 54, or 60; halved when interlaced; -1 not measurable
    int32_t audio_sample_rate; ///< Hz, 0 unknown
    int32_t audio_channels;    ///< channel-status channel number field; -1 when it cannot be read
    int32_t audio_word_length; ///< channel-status word length code; -1 likewise
    int32_t reserved8;
    int32_t audio_iec61937; ///< 1 compressed audio, 0 linear PCM; -1 likewise
};
static_assert(sizeof(hdmirx_info) == 40);

} // namespace capd
