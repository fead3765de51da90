#include "hdmirx/src/hdmirx/port.h"

#include "hdmirx/src/hdmirx/access.h"
#include "hdmirx/src/hdmirx/message.h"
#include "hdmirx/src/hdmirx/registers.h"

namespace capd::rx {

namespace {

uint8_t ucCurrentHDMIPort = 0;

} // namespace

void Terminator_On()
{
    const uint8_t value = without(ReadRxReg(REG_RX_PORT), PORT_TERM_OFF);
    WriteRxReg(REG_RX_PORT, value);
    message("Terminator_On, reg07 = %02x\n", value);
}

void Terminator_Off()
{
    const uint8_t value = ReadRxReg(REG_RX_PORT) | PORT_TERM_OFF;
    WriteRxReg(REG_RX_PORT, value);
    message("Terminator_Off, reg07 = %02x\n", value);
}

void SelectHDMIPort(int port)
{
    const int wanted = port != 0 ? 1 : 0;
    ucCurrentHDMIPort = static_cast<uint8_t>(wanted);
    message("SelectHDMIPort ucPort = %d, ucCurrentHDMIPort = %d\n", wanted, ucCurrentHDMIPort);
}

void ApplyHDMIPort()
{
    WriteRxReg(REG_RX_PORT, ucCurrentHDMIPort == 1 ? PORT_1 : PORT_0);
    message("InitHDMIRX(FALSE): reg07 = %02X, ucCurrentHDMIPort = %d\n", ReadRxReg(REG_RX_PORT), ucCurrentHDMIPort);
}

bool Has5VPwr(uint8_t status)
{
    return (status & (ucCurrentHDMIPort == 1 ? STATUS_5V_PORT1 : STATUS_5V_PORT0)) != 0;
}

bool CheckPlg5VPwr()
{
    return Has5VPwr(ReadRxReg(REG_RX_STATUS));
}

bool IsSCDT()
{
    return (ReadRxReg(REG_RX_STATUS) & STATUS_SCDT) == STATUS_SCDT;
}

bool IsHDMIMode()
{
    return (ReadRxReg(REG_RX_STATUS) & STATUS_HDMI) != 0;
}

} // namespace capd::rx
