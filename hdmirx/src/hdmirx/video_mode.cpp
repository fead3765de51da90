#include "hdmirx/src/hdmirx/video_mode.h"

#include "hdmirx/src/hdmirx/access.h"
#include "hdmirx/src/hdmirx/message.h"
#include "hdmirx/src/hdmirx/registers.h"

#include <cstdlib>

namespace capd::rx {

namespace {

constexpr uint32_t PCLK_UNKNOWN_KHZ = 1234;

VideoMode s_CurrentVM = {};

uint16_t with_high(uint8_t low, int high)
{
    return static_cast<uint16_t>(low | (high << 8));
}

// The chip leaves out the topmost bit of an active size; it is set when the size still fits into the total with it.
constexpr int H_ACTIVE_TOP_BIT = 0x800;
constexpr int V_ACTIVE_TOP_BIT = 0x400;

uint16_t with_top_bit(uint16_t active, int top_bit, uint16_t total)
{
    return static_cast<uint16_t>((active | top_bit) < total ? active | top_bit : active);
}

void measure_horizontal(VideoMode& mode)
{
    const uint8_t total_low = ReadRxReg(REG_RX_HTOTAL);
    const uint8_t high = ReadRxReg(REG_RX_H_HIGH);
    mode.HTotal = with_high(total_low, high & H_HIGH_TOTAL);
    const uint16_t active = with_high(ReadRxReg(REG_RX_HACTIVE), (high & H_HIGH_ACTIVE) >> 4);
    mode.HActive = with_top_bit(active, H_ACTIVE_TOP_BIT, mode.HTotal);
    const uint8_t sync_low = ReadRxReg(REG_RX_HSYNC);
    const uint8_t sync_high = ReadRxReg(REG_RX_HSYNC_HIGH);
    mode.HSyncWidth = with_high(sync_low, sync_high & HSYNC_HIGH_WIDTH);
    mode.HFrontPorch = with_high(ReadRxReg(REG_RX_HFRONT), (sync_high & HSYNC_HIGH_FRONT) >> 4);
    mode.HBackPorch = static_cast<uint16_t>(mode.HTotal - mode.HActive - mode.HSyncWidth - mode.HFrontPorch);
}

void measure_vertical(VideoMode& mode)
{
    const uint8_t total_low = ReadRxReg(REG_RX_VTOTAL);
    const uint8_t high = ReadRxReg(REG_RX_V_HIGH);
    mode.VTotal = with_high(total_low, high & V_HIGH_TOTAL_DETECT);
    const uint16_t active = with_high(ReadRxReg(REG_RX_VACTIVE), (high & V_HIGH_ACTIVE_DETECT) >> 4);
    mode.VActive = with_top_bit(active, V_ACTIVE_TOP_BIT, mode.VTotal);
    mode.VBackPorch = ReadRxReg(REG_RX_VSYNC_TO_DE);
    mode.VFrontPorch = ReadRxReg(REG_RX_VFRONT);
    mode.VSyncWidth = 0; // not measured
}

// How far a measured timing may lie from the mode that it is taken for. The clock is counted coarsely, and the lines of
// an interlaced mode are those of a field, which differ by one.
constexpr uint32_t PCLK_TOLERANCE_PERCENT = 3;
constexpr int HTOTAL_TOLERANCE = 4;
constexpr int VACTIVE_TOLERANCE = 10;
constexpr int VTOTAL_TOLERANCE = 40;

bool matches(const VideoMode& row, const VideoMode& mode, bool same_scan)
{
    const uint32_t clock_error = row.PCLK > mode.PCLK ? row.PCLK - mode.PCLK : mode.PCLK - row.PCLK;
    return 100 * clock_error / row.PCLK <= PCLK_TOLERANCE_PERCENT && row.HActive == mode.HActive &&
           abs(row.HTotal - mode.HTotal) <= HTOTAL_TOLERANCE && abs(row.VActive - mode.VActive) <= VACTIVE_TOLERANCE &&
           abs(row.VTotal - mode.VTotal) <= VTOTAL_TOLERANCE &&
           (!same_scan || ((row.flags ^ mode.flags) & MODE_PROGRESSIVE) == 0);
}

int take_from_table(bool same_scan)
{
    for (const VideoMode& row : s_VMTable) {
        if (!matches(row, s_CurrentVM, same_scan)) continue;
        s_CurrentVM = row;
        return 1;
    }
    return 0;
}

} // namespace

const VideoMode& CurrentVideoMode()
{
    return s_CurrentVM;
}

uint16_t ReadHTotal()
{
    const uint8_t low = ReadRxReg(REG_RX_HTOTAL);
    return with_high(low, ReadRxReg(REG_RX_H_HIGH) & H_HIGH_TOTAL);
}

uint16_t ReadVTotal()
{
    const uint8_t low = ReadRxReg(REG_RX_VTOTAL);
    return with_high(low, ReadRxReg(REG_RX_V_HIGH) & V_HIGH_TOTAL);
}

uint16_t ReadHActive()
{
    const int high = (ReadRxReg(REG_RX_H_HIGH) & H_HIGH_ACTIVE) >> 4;
    const uint16_t total = ReadHTotal();
    return with_top_bit(with_high(ReadRxReg(REG_RX_HACTIVE), high), H_ACTIVE_TOP_BIT, total);
}

uint16_t ReadVActive()
{
    const int high = (ReadRxReg(REG_RX_V_HIGH) & V_HIGH_ACTIVE) >> 4;
    const uint16_t total = ReadVTotal();
    return with_top_bit(with_high(ReadRxReg(REG_RX_VACTIVE), high), V_ACTIVE_TOP_BIT, total);
}

bool ReadProgressive()
{
    return (ReadRxReg(REG_RX_SCAN) & SCAN_INTERLACED) == 0;
}

int DetectVideoMode()
{
    VideoMode& mode = s_CurrentVM;
    measure_horizontal(mode);
    measure_vertical(mode);
    mode.xCnt = ReadRxReg(REG_RX_XCNT);
    mode.flags = ReadProgressive() ? MODE_PROGRESSIVE : 0;
    if (mode.xCnt == 0) {
        message("s_CurrentVM.xCnt == %02x\n", mode.xCnt);
        mode.PCLK = PCLK_UNKNOWN_KHZ;
        return 0;
    }
    mode.PCLK = XCNT_CLOCK_KHZ / mode.xCnt;
    // A source may toggle its field flag oddly: better the right size with the wrong scan than no standard mode.
    return take_from_table(true) != 0 ? 1 : take_from_table(false);
}

} // namespace capd::rx
