/**
 * @file
 * Access to the receiver's registers: the only place that talks to the chip. Main thread only. Each register access is
 * one I2C transfer; where a call sleeps it says so.
 *
 * Transfer errors are not reported: the transport prints them, a lost write stays lost, a failed read gives 0, and the
 * state machines find their way back through time-outs and the software reset.
 */
#pragma once

#include <cstdint>

namespace capd::rx {

/** One step of a start-up table; a register of TABLE_END ends the table. */
struct RegPair {
    uint8_t reg, value;
};

/** @return value with some of its bits cleared */
constexpr uint8_t without(uint8_t value, uint8_t bits)
{
    return static_cast<uint8_t>(value & ~bits);
}

/** Sleep for so many milliseconds. */
void sleep_ms(unsigned milliseconds);

/** @return the register, 0 when it cannot be read */
uint8_t ReadRxReg(uint8_t reg);

/** Write one register. */
void WriteRxReg(uint8_t reg, uint8_t value);

/** Read consecutive registers in one transfer; all bytes are 0 when it fails. */
void ReadRxBlock(uint8_t reg, uint8_t* buffer, int count);

/** Write consecutive registers in one transfer. */
void WriteRxBlock(uint8_t reg, const uint8_t* buffer, int count);

/** Keep the bits of mask and add those of value. A mask of 0 writes value without reading the register first. */
void SetRxRegBits(uint8_t reg, uint8_t mask, uint8_t value);

/** Replace a field, keep the other bits. */
void SetRxRegField(uint8_t reg, uint8_t field, uint8_t value);

/** Set some bits, keep the others. */
void SetRxRegFlags(uint8_t reg, uint8_t flags);

/** Clear some bits, keep the others. */
void ClearRxRegFlags(uint8_t reg, uint8_t flags);

/** Replace a field of the output control, keep its other bits. @return the register as read back */
uint8_t SetRxOutputControl(uint8_t field, uint8_t value);

/** Pulse reset bits (PULSE_*); also what clears the latched events. Sleeps 2 ms. */
void PulseRxReset(uint8_t bits);

/** Write each pair in order up to the one whose register is TABLE_END. */
void LoadRxRegTable(const RegPair* table);

} // namespace capd::rx
