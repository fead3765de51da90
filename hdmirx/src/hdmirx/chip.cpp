#include "hdmirx/src/hdmirx/chip.h"

#include "hdmirx/src/hdmirx/access.h"
#include "hdmirx/src/hdmirx/mute.h"
#include "hdmirx/src/hdmirx/registers.h"

namespace capd::rx {

namespace {

uint8_t ChipRevision = 0xFF;

} // namespace

void ReadChipRevision()
{
    ChipRevision = ReadRxReg(REG_RX_CHIP_REV);
}

bool IsChipRevisionA2()
{
    return ChipRevision == CHIP_REV_A2;
}

bool IsChipAboveA2()
{
    return ChipRevision > CHIP_REV_A2;
}

void PulseSoftwareReset()
{
    WriteRxReg(REG_RX_RESET, RESET_SOFTWARE);
    sleep_ms(1);
    ResetRxOutputControl();
    WriteRxReg(REG_RX_RESET, RESET_NONE);
}

} // namespace capd::rx
