#include "hdmirx/hdmirx_picture.h"

#include "hdmirx/src/hdmirx/access.h"
#include "hdmirx/src/hdmirx/colour.h"
#include "hdmirx/src/hdmirx/port.h"
#include "hdmirx/src/hdmirx/registers.h"
#include "hdmirx/src/hdmirx/video_mode.h"
#include "hdmirx/src/hdmirx/video_state.h"

#include <cstdlib>

namespace capd {

using namespace rx;

namespace {

constexpr uint32_t HZ_PER_KHZ = 1000;
constexpr int WIDTH_TOLERANCE = 4;       // pixels of the total
constexpr uint32_t CLOCK_TOLERANCE = 25; // a 25th: the chip counts the pixel clock to 3 %

/** A television format as the chip measures it (CTA-861, table 2), with its codes by aspect ratio; 0: it has none. */
struct Television {
    uint16_t width, lines; // lines of a field
    uint16_t total_width;
    bool interlaced;
    uint32_t clock_khz;
    uint8_t vic_4_by_3, vic_16_by_9;
};

// clang-format off
constexpr Television TELEVISION[] = {
    { 640,  480,  800, false,  25175,  1,  0},
    { 720,  480,  858, false,  27000,  2,  3},
    {1280,  720, 1650, false,  74250,  0,  4},
    {1920,  540, 2200, true,   74250,  0,  5},
    {1440,  240, 1716, true,   27000,  6,  7},
    {1920, 1080, 2200, false, 148500,  0, 16},
    { 720,  576,  864, false,  27000, 17, 18},
    {1280,  720, 1980, false,  74250,  0, 19},
    {1920,  540, 2640, true,   74250,  0, 20},
    {1440,  288, 1728, true,   27000, 21, 22},
    {1920, 1080, 2640, false, 148500,  0, 31},
    {1920, 1080, 2750, false,  74250,  0, 32},
    {1920, 1080, 2640, false,  74250,  0, 33},
    {1920, 1080, 2200, false,  74250,  0, 34},
    {1280,  720, 3300, false,  59400,  0, 60},
    {1280,  720, 3960, false,  74250,  0, 61},
    {1280,  720, 3300, false,  74250,  0, 62},
};
// clang-format on
constexpr uint16_t REPEATED_WIDTH = 1440; // 720 pixels, each sent twice

bool is_of(const VideoMode& mode, const Television& format)
{
    const uint32_t off = mode.PCLK > format.clock_khz ? mode.PCLK - format.clock_khz : format.clock_khz - mode.PCLK;
    return format.width == mode.HActive && format.lines == mode.VActive &&
           std::abs(format.total_width - mode.HTotal) <= WIDTH_TOLERANCE &&
           format.interlaced == ((mode.flags & MODE_PROGRESSIVE) == 0) && off <= format.clock_khz / CLOCK_TOLERANCE;
}

const Television* find_television(const VideoMode& mode)
{
    for (const Television& format : TELEVISION)
        if (is_of(mode, format)) return &format;
    return nullptr;
}

/** Lines of a frame by line of a field. */
int interlaced_lines(const VideoMode& mode)
{
    return (mode.flags & MODE_PROGRESSIVE) == 0 ? 2 : 1;
}

/** What the AVI info frame says of the aspect ratio, else what formats of this kind have. */
bool is_wide(const VideoMode& mode, const Television* format)
{
    const uint8_t told = HasAVIInfo() ? ReadRxReg(REG_RX_AVI_DB2) & AVI_DB2_ASPECT : 0;
    if (format != nullptr && format->vic_4_by_3 == 0) return true;
    if (format != nullptr && format->vic_16_by_9 == 0) return false;
    if (told == 0 && format == nullptr) return 2 * mode.HActive > 3 * (interlaced_lines(mode) * mode.VActive);
    return told == AVI_DB2_16_BY_9;
}

} // namespace

void hdmirx_take_picture()
{
    if (VState() != VSTATE_VideoOn) return;
    DetectVideoMode();
    if (IsHDMIMode())
        ApplyAVIInfo();
    else
        ApplyDefaultColour();
}

bool hdmirx_get_picture(hdmirx_picture& picture)
{
    if (VState() != VSTATE_VideoOn) return false;
    const VideoMode& mode = CurrentVideoMode();
    const Television* format = find_television(mode);
    picture.wide = is_wide(mode, format);
    picture.vic = format == nullptr ? uint8_t{0} : picture.wide ? format->vic_16_by_9 : format->vic_4_by_3;
    picture.repetition = format != nullptr && format->width == REPEATED_WIDTH ? 1 : 0;
    picture.pixel_clock_hz = mode.PCLK * HZ_PER_KHZ;
    picture.itu709 = InputIsITU709();
    return true;
}

} // namespace capd
