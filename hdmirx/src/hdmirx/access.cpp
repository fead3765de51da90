#include "hdmirx/src/hdmirx/access.h"

#include "devaccess/i2c.h"
#include "hdmirx/src/hdmirx/message.h"
#include "hdmirx/src/hdmirx/registers.h"
#include "hdmirx/src/hdmirx/state.h"
#include "platform/platform.h"

#include <cstring>

namespace capd::rx {

static constexpr unsigned char DEVICE_TAG = 0; // shown in the transport's failure line only

void sleep_ms(unsigned milliseconds)
{
    platform::sleep_us(1000 * milliseconds);
}

uint8_t ReadRxReg(uint8_t reg)
{
    uint8_t value = 0;
    ReadRxBlock(reg, &value, 1);
    return value;
}

void WriteRxReg(uint8_t reg, uint8_t value)
{
    WriteRxBlock(reg, &value, 1);
}

void ReadRxBlock(uint8_t reg, uint8_t* buffer, int count)
{
    memset(buffer, 0, static_cast<size_t>(count)); // a failed transfer leaves the buffer as it is
    i2c_read_byte(RX_I2C_ADDRESS, reg, static_cast<unsigned>(count), buffer, DEVICE_TAG);
}

void WriteRxBlock(uint8_t reg, const uint8_t* buffer, int count)
{
    i2c_write_byte(RX_I2C_ADDRESS, reg, count, buffer, DEVICE_TAG);
}

void SetRxRegBits(uint8_t reg, uint8_t mask, uint8_t value)
{
    const uint8_t kept = mask != 0 ? ReadRxReg(reg) & mask : 0;
    WriteRxReg(reg, kept | value);
}

void SetRxRegFlags(uint8_t reg, uint8_t flags)
{
    SetRxRegBits(reg, static_cast<uint8_t>(~flags), flags);
}

void ClearRxRegFlags(uint8_t reg, uint8_t flags)
{
    SetRxRegBits(reg, static_cast<uint8_t>(~flags), 0);
}

uint8_t SetRxOutputControl(uint8_t mask, uint8_t value)
{
    SetRxRegBits(REG_RX_OUTPUT, mask, value);
    return ReadRxReg(REG_RX_OUTPUT);
}

void ResetRxOutputControl()
{
    const bool blank = driver.mute_mode != MUTE_MODE_NEVER;
    SetRxOutputControl(static_cast<uint8_t>(~OUTPUT_RESET), blank ? OUTPUT_RESET : OUTPUT_RESET & ~OUTPUT_VIDEO_OFF);
}

void PulseRxReset(uint8_t bits)
{
    const uint8_t value = bits | (ReadRxReg(REG_RX_PULSE) & PULSE_KEEP);
    WriteRxReg(REG_RX_PULSE, value);
    sleep_ms(1);
    WriteRxReg(REG_RX_PULSE, value & PULSE_KEEP);
    sleep_ms(1);
}

void LoadRxRegTable(const RegPair* table)
{
    for (; table->reg != TABLE_END; ++table) WriteRxReg(table->reg, table->value);
}

void Terminator_On()
{
    const uint8_t value = ReadRxReg(REG_RX_PORT) & ~PORT_TERM_OFF;
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
    driver.ucCurrentHDMIPort = static_cast<uint8_t>(wanted);
    message("SelectHDMIPort ucPort = %d, ucCurrentHDMIPort = %d\n", wanted, driver.ucCurrentHDMIPort);
}

void SetMuteMode(int mode)
{
    driver.mute_mode = mode == 0 ? MUTE_MODE_ALWAYS : mode == 1 ? MUTE_MODE_NEVER : MUTE_MODE_AUTO;
    const bool show =
        driver.mute_mode == MUTE_MODE_NEVER || (driver.mute_mode == MUTE_MODE_AUTO && driver.VState == VSTATE_VideoOn);
    SetRxOutputControl(static_cast<uint8_t>(~OUTPUT_VIDEO_OFF), show ? 0 : OUTPUT_VIDEO_OFF);
}

bool Has5VPwr(uint8_t status)
{
    return (status & (driver.ucCurrentHDMIPort == 1 ? STATUS_5V_PORT1 : STATUS_5V_PORT0)) != 0;
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
