#include "hdmirx/src/hdmirx/init.h"

#include "hdmirx/src/hdmirx/access.h"
#include "hdmirx/src/hdmirx/chip.h"
#include "hdmirx/src/hdmirx/colour.h"
#include "hdmirx/src/hdmirx/mute.h"
#include "hdmirx/src/hdmirx/port.h"
#include "hdmirx/src/hdmirx/registers.h"
#include "hdmirx/src/hdmirx/video_state.h"

namespace capd::rx {

namespace {

// Start values of the chip maker, written as they stand. The first table needs the chip held in reset and its last
// line mutes the audio; the second one fixes the output at YUV422.
constexpr RegPair FIRST_TABLE[] = {
    {0x0F, 0x00}, {0x08, 0xCE}, {0x3B, 0x40}, {0x68, 0x03}, {0x6B, 0x11}, {0x6C, 0x00}, {0x93, 0x43},      {0x94, 0x4F},
    {0x95, 0x87}, {0x96, 0x33}, {0x56, 0x01}, {0x97, 0x0E}, {0x20, 0x20}, {0x89, 0x5F}, {TABLE_END, 0x00},
};
constexpr RegPair SECOND_TABLE[] = {
    {0x1D, 0x20}, {0x75, 0x60}, {0x3D, 0x40}, {0x1B, 0x00}, {0x1C, 0x00}, {0x78, 0xC1}, {TABLE_END, 0x00},
};

void hold_in_reset(bool full)
{
    WriteRxReg(REG_RX_POWER, 0);
    if (full) WriteRxReg(REG_RX_RESET, RESET_FULL);
    WriteRxReg(REG_RX_RESET, RESET_HOLD);
    ReadChipRevision();
    ApplyHDMIPort();
}

void load_tables()
{
    SetRxRegBits(REG_RX_CTRL1, 0, CTRL1_START);
    SetRxRegBits(REG_RX_CTRL2, 0, CTRL2_START);
    SetRxRegBits(REG_RX_CTRL3, 0, CTRL3_START);
    SetRxRegBits(REG_RX_CTRL2_EXT, 0, CTRL2_EXT_START);
    LoadRxRegTable(FIRST_TABLE);
    if (IsChipAboveA2()) WriteRxReg(REG_RX_TUNING_9B, TUNING_9B_ON);
    LoadRxRegTable(SECOND_TABLE);
}

} // namespace

void InitHDMIRX(bool full)
{
    Terminator_Off();
    hold_in_reset(full);
    load_tables();
    TakeOutputColourMode();
    ResetRxOutputControl();
    WriteRxReg(REG_RX_RESET, RESET_NONE);
    if (IsChipRevisionA2()) {
        WriteRxReg(REG_RX_TUNING_11, TUNING_11_FIRST);
        WriteRxReg(REG_RX_TUNING_11, TUNING_11_THEN);
    }
    if (full) sleep_ms(200);
    PulseSoftwareReset();
    if (full) {
        Terminator_Off();
        SetVState(VSTATE_SWReset);
    }
    ClearRxRegFlags(REG_RX_DETECT, DETECT_TUNING);
    if (!full) {
        Terminator_On();
        SetVState(VSTATE_PwrOff);
    }
}

} // namespace capd::rx
