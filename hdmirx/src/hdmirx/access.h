/**
 * @file
 * Access to the receiver's registers and the operations made of a few of them: reset pulses, terminators, port choice,
 * line tests. Main thread only. Each register access is one I2C transfer; where a call sleeps it says so.
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

/** Set some bits, keep the others. */
void SetRxRegFlags(uint8_t reg, uint8_t flags);

/** Clear some bits, keep the others. */
void ClearRxRegFlags(uint8_t reg, uint8_t flags);

/** SetRxRegBits() on the output control register. @return the register as read back */
uint8_t SetRxOutputControl(uint8_t mask, uint8_t value);

/** Write the output control's start value for the current mute mode; OUTPUT_MUTE_IGNORE is kept. */
void ResetRxOutputControl();

/** Pulse reset bits (PULSE_*); also what clears the latched events. Sleeps 2 ms. */
void PulseRxReset(uint8_t bits);

/** Write each pair in order up to the one whose register is TABLE_END. */
void LoadRxRegTable(const RegPair* table);

/** Connect the line terminators: the source sees a sink. */
void Terminator_On();

/** Disconnect the line terminators: the source sees the sink go away. */
void Terminator_Off();

/** Choose the chip's input port: 0, or 1 for anything else. Takes effect at the next InitHDMIRX(). */
void SelectHDMIPort(int port);

/** Choose how the video output is blanked (a MuteMode; unknown ones mean MUTE_MODE_AUTO) and apply it at once. */
void SetMuteMode(int mode);

/** @return true when a status register value shows 5 V on the current port */
bool Has5VPwr(uint8_t status);

/** @return true when 5 V is present on the current port */
bool CheckPlg5VPwr();

/** @return true when sync is detected */
bool IsSCDT();

/** @return true in HDMI mode, false in DVI mode */
bool IsHDMIMode();

} // namespace capd::rx
