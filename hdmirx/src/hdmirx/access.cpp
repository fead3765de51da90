#include "hdmirx/src/hdmirx/access.h"

#include "devaccess/i2c.h"
#include "hdmirx/src/hdmirx/registers.h"
#include "platform/platform.h"

#include <cstring>

namespace capd::rx {

namespace {

constexpr unsigned int RX_I2C_ADDRESS = i2c_write_address(I2C_RECEIVER);
constexpr unsigned char DEVICE_TAG = 0; // shown in the transport's failure line only

} // namespace

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

void SetRxRegField(uint8_t reg, uint8_t field, uint8_t value)
{
    SetRxRegBits(reg, static_cast<uint8_t>(~field), value);
}

void SetRxRegFlags(uint8_t reg, uint8_t flags)
{
    SetRxRegField(reg, flags, flags);
}

void ClearRxRegFlags(uint8_t reg, uint8_t flags)
{
    SetRxRegField(reg, flags, 0);
}

uint8_t SetRxOutputControl(uint8_t field, uint8_t value)
{
    SetRxRegField(REG_RX_OUTPUT, field, value);
    return ReadRxReg(REG_RX_OUTPUT);
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

} // namespace capd::rx
