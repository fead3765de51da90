/**
 * @file
 * The chip's input port: which one, its line terminators, and what its line says. Main thread only; a line test is one
 * register read.
 */
#pragma once

#include <cstdint>

namespace capd::rx {

/** Connect the line terminators: the source sees a sink. */
void Terminator_On();

/** Disconnect the line terminators: the source sees the sink go away. */
void Terminator_Off();

/** Choose the chip's input port: 0, or 1 for anything else. Takes effect at the next InitHDMIRX(). */
void SelectHDMIPort(int port);

/** Write the chosen port to the chip; the terminators are off then. */
void ApplyHDMIPort();

/** @return true when a status register value shows 5 V on the current port */
bool Has5VPwr(uint8_t status);

/** @return true when 5 V is present on the current port */
bool CheckPlg5VPwr();

/** @return true when sync is detected */
bool IsSCDT();

/** @return true in HDMI mode, false in DVI mode */
bool IsHDMIMode();

} // namespace capd::rx
