/**
 * @file
 * Measured video timing and the table of standard modes that it is matched against. Main thread only; a measurement is
 * 13 register reads, some 5 ms on the bus, and sleeps nowhere.
 */
#pragma once

#include <array>
#include <cstdint>

namespace capd::rx {

/** One video mode, measured or from the table. */
struct VideoMode {
    uint16_t HActive; ///< pixels per line
    uint16_t VActive; ///< lines per field
    uint16_t HTotal;  ///< pixels per line
    uint16_t VTotal;  ///< lines per field
    uint32_t PCLK;    ///< pixel clock, kHz
    uint8_t xCnt;     ///< pixel-clock count as the chip reports it
    uint16_t HFrontPorch;
    uint16_t HSyncWidth;
    uint16_t HBackPorch; ///< 16-bit difference: wraps when the registers were caught between two pictures
    uint8_t VFrontPorch;
    uint8_t VSyncWidth;
    uint8_t VBackPorch;
    uint8_t flags; ///< MODE_*
};

constexpr uint8_t MODE_PROGRESSIVE = 0x01; ///< clear: interlaced
constexpr uint8_t MODE_VSYNC_POSITIVE = 0x02;
constexpr uint8_t MODE_HSYNC_POSITIVE = 0x04;

/** Standard modes, searched from the front: 0 to 29 television formats, the rest computer display timings. */
extern const std::array<VideoMode, 93> s_VMTable;

/** @return the timing last measured */
const VideoMode& CurrentVideoMode();

/** Measure the timing into the current mode; a standard mode replaces what was measured. @return 1 matched, 0 not */
int DetectVideoMode();

/** @return measured pixels per line, 12 bits */
uint16_t ReadHTotal();

/** @return measured lines per field, 12 bits; wider than what mode detection looks at */
uint16_t ReadVTotal();

/** @return measured active pixels per line */
uint16_t ReadHActive();

/** @return measured active lines per field */
uint16_t ReadVActive();

/** @return true when the chip sees a progressive picture */
bool ReadProgressive();

} // namespace capd::rx
