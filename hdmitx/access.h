/**
 * @file
 * Registers of the HDMI transmitter over I2C: single-register access, the two banks, register tables and the register
 * dump. Main thread only. Every access is one I2C transfer (0.3 ms at 100 kHz), without the I2C lock; a transfer that
 * fails prints its own message, and a register whose read failed counts as 0.
 */
#pragma once

#include <cstdint>

namespace capd {

/**
 * One row of a register table. Mask 0xFF writes the value, any other mask changes the masked bits only. {n, 0, 0} waits
 * n milliseconds; {0, 0, 0} ends the table.
 */
struct HdmitxRegRow {
    uint8_t reg, mask, value;
};

/** Read a register. @return its value, 0 when the transfer failed */
uint8_t hdmitx_ReadReg(uint8_t reg);

/** Write a register. @return 0 when the transport reports success, else 1 */
int hdmitx_WriteReg(uint8_t reg, uint8_t value);

/** Set the masked bits of a register; mask 0xFF writes without reading. @return the write's result */
int hdmitx_SetRegBits(uint8_t reg, uint8_t mask, uint8_t value);

/**
 * The same three for the second device of the chip, at 0x9C. Offered for bench use; the output needs nothing of it.
 */
uint8_t hdmitx_ReadReg2(uint8_t reg);
int hdmitx_WriteReg2(uint8_t reg, uint8_t value);
int hdmitx_SetRegBits2(uint8_t reg, uint8_t mask, uint8_t value);

/** Select register bank 0 or 1. */
void hdmitx_SwitchBank(uint8_t bank);

/** Sleep. */
void hdmitx_DelayMs(uint32_t ms);

/** Run the rows of a table, up to its end row. */
void hdmitx_LoadRegTable(const HdmitxRegRow* table);

/** Flip one bit of a register and print both values, for debugging. Bit 8 and above: write it back unchanged. */
void hdmitx_ToggleRegBit(uint8_t reg, uint8_t bit);

/** Print all registers of both banks, except the DDC FIFO, which a read would disturb. Ends in bank 0. */
void hdmitx_DumpRegs();

} // namespace capd
