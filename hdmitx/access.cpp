#include "hdmitx/access.h"

#include <cstdio>

#include "devaccess/i2c.h"
#include "hdmitx/registers.h"
#include "platform/platform.h"

namespace capd {

namespace {

constexpr unsigned int TRANSMITTER = i2c_write_address(I2C_TRANSMITTER);
constexpr unsigned int SECOND_DEVICE = i2c_write_address(I2C_TRANSMITTER_TOO);

constexpr char DUMP_SEPARATOR[] = "        -----------------------------------------------------\n";
constexpr unsigned int DUMP_COLUMNS = 0x10;

uint8_t read_device(unsigned int device, uint8_t reg)
{
    unsigned char value = 0; // stays when the transfer fails
    i2c_read_byte(device, reg, 1, &value, 0);
    return value;
}

int write_device(unsigned int device, uint8_t reg, uint8_t value)
{
    return i2c_write_byte(device, reg, 1, &value, 0) == 1 ? 0 : 1;
}

int set_device_bits(unsigned int device, uint8_t reg, uint8_t mask, uint8_t value)
{
    if (mask == 0xFF) return write_device(device, reg, value);
    const unsigned int old = read_device(device, reg);
    return write_device(device, reg, static_cast<uint8_t>((old & ~unsigned{mask}) | (unsigned{value} & mask)));
}

bool ends_a_group(unsigned int column)
{
    return column == 3 || column == 7 || column == 11;
}

void dump_header()
{
    printf("       ");
    for (unsigned int column = 0; column < DUMP_COLUMNS; ++column) {
        printf(" %02X", column);
        if (ends_a_group(column)) printf("  ");
    }
    printf("\n%s", DUMP_SEPARATOR);
}

// Rows are numbered with the bank in the third digit.
void dump_row(unsigned int row)
{
    printf("[%3X]  ", row);
    for (unsigned int column = 0; column < DUMP_COLUMNS; ++column) {
        if (row + column == txreg::DDC_FIFO) {
            printf(" XX");
        } else {
            printf(" %02X", hdmitx_ReadReg(static_cast<uint8_t>(row + column)));
        }
        if (ends_a_group(column)) printf(" -");
    }
    printf("\n");
}

} // namespace

uint8_t hdmitx_ReadReg(uint8_t reg)
{
    return read_device(TRANSMITTER, reg);
}

int hdmitx_WriteReg(uint8_t reg, uint8_t value)
{
    return write_device(TRANSMITTER, reg, value);
}

int hdmitx_SetRegBits(uint8_t reg, uint8_t mask, uint8_t value)
{
    return set_device_bits(TRANSMITTER, reg, mask, value);
}

uint8_t hdmitx_ReadReg2(uint8_t reg)
{
    return read_device(SECOND_DEVICE, reg);
}

int hdmitx_WriteReg2(uint8_t reg, uint8_t value)
{
    return write_device(SECOND_DEVICE, reg, value);
}

int hdmitx_SetRegBits2(uint8_t reg, uint8_t mask, uint8_t value)
{
    return set_device_bits(SECOND_DEVICE, reg, mask, value);
}

void hdmitx_SwitchBank(uint8_t bank)
{
    hdmitx_SetRegBits(txreg::SYS_CTRL, txreg::SYS_BANK, bank);
}

void hdmitx_DelayMs(uint32_t ms)
{
    platform::sleep_us(ms * 1000);
}

void hdmitx_LoadRegTable(const HdmitxRegRow* table)
{
    for (const HdmitxRegRow* row = table; row->reg != 0 || row->mask != 0 || row->value != 0; ++row) {
        if (row->mask == 0 && row->value == 0) {
            hdmitx_DelayMs(row->reg);
        } else {
            hdmitx_SetRegBits(row->reg, row->mask, row->value);
        }
    }
}

void hdmitx_ToggleRegBit(uint8_t reg, uint8_t bit)
{
    const uint8_t old = hdmitx_ReadReg(reg);
    printf("reg%02X = %02X -> toggle %dth bit ->", reg, old, bit);
    const uint8_t flipped = bit < 8 ? static_cast<uint8_t>(old ^ (1u << bit)) : old;
    printf(" %02X\n", flipped);
    hdmitx_WriteReg(reg, flipped);
}

void hdmitx_DumpRegs()
{
    dump_header();
    hdmitx_SwitchBank(0);
    for (unsigned int row = 0x000; row <= 0x0F0; row += DUMP_COLUMNS) {
        dump_row(row);
        if (row % 0x40 == 0x30) printf("%s", DUMP_SEPARATOR);
    }
    hdmitx_SwitchBank(1);
    for (unsigned int row = 0x130; row <= 0x1F0; row += DUMP_COLUMNS) { // below 0x30 both banks are the same
        dump_row(row);
        if (row == 0x160 || row == 0x1A0 || row == 0x1E0) printf("%s", DUMP_SEPARATOR);
    }
    printf("%s", DUMP_SEPARATOR);
    hdmitx_SwitchBank(0);
}

} // namespace capd
