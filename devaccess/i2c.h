/**
 * @file
 * I2C through the video device node. Two raw transfers, the register-level access of the two HDMI chips' drivers, and
 * single-register helpers that serialise the access to three fixed devices under one lock.
 *
 * Each transfer is tried three times, 10 us apart; the failure is printed once, after the last attempt. Only the
 * single-register helpers take the lock; the LED thread's raw transfers may fall between any two of the main thread's.
 * Any thread. A transfer blocks for the bus: some 0.1 ms per byte at 100 kHz, three times that when it fails.
 */
#pragma once

#include "devaccess/i2c_request.h"

namespace capd {

/** 7-bit addresses of the devices on the bus. */
constexpr int I2C_RECEIVER = 0x48;        ///< HDMI receiver
constexpr int I2C_TRANSMITTER = 0x4C;     ///< HDMI transmitter
constexpr int I2C_TRANSMITTER_TOO = 0x4E; ///< its second device
constexpr int I2C_EDID_ROM = 0x50;        ///< EDID ROM of the input
constexpr int I2C_BOARD = 0x1C;           ///< board controller

/** @return the 8-bit form of an address, as it goes over the bus in front of a write */
constexpr unsigned int i2c_write_address(int device)
{
    return static_cast<unsigned int>(device) << 1;
}

/** The driver has two forms of each request. All of the daemon's transfers take the second. */
constexpr int I2C_FIRST_FORM = 0;
constexpr int I2C_SECOND_FORM = 1;

/**
 * Send bytes to a device.
 * @param selector I2C_SECOND_FORM, anything else is I2C_FIRST_FORM
 * @param device   7-bit address
 * @param length   bytes to send, 0 to I2C_MAX_DATA; anything else is refused with -1 and errno EINVAL
 * @param bytes    one byte per element, in the low 8 bits
 * @return 0, or the last failed request's result
 */
int do_wri2cnb(int selector, int device, int length, const unsigned int* bytes);

/**
 * Read bytes from a device after sending it a register address.
 * @param selector       as of do_wri2cnb()
 * @param device         7-bit address
 * @param address_length bytes of register address, 0 to I2C_MAX_ADDRESS
 * @param address        register address, one byte per element
 * @param read_length    bytes to read, 0 to I2C_MAX_DATA
 * @param out            receives one byte per element; untouched on failure
 * @return 0, or the last failed request's result; -1 with errno EINVAL for a length out of range
 */
int do_rdi2cnb(int selector, int device, int address_length, const unsigned int* address, int read_length,
               unsigned int* out);

/**
 * Read consecutive registers. A failure is printed and leaves data as it was.
 * @param address 8-bit address (the 7-bit one shifted left)
 * @param offset  first register
 * @param count   registers to read, at most I2C_MAX_DATA
 * @param data    receives count bytes
 * @param device  shown in the failure message only
 * @return always 1
 */
int i2c_read_byte(unsigned int address, unsigned int offset, unsigned int count, unsigned char* data,
                  unsigned char device);

/** Write consecutive registers; count is at most I2C_MAX_DATA - 1. Otherwise as i2c_read_byte(). */
int i2c_write_byte(unsigned int address, unsigned int offset, int count, const unsigned char* data,
                   unsigned char device);

/** Write one register, without the lock. @return as do_wri2cnb() */
int i2c_write_register(int device, int reg, int value);

/** Read one register, without the lock. @param value untouched on failure @return as do_rdi2cnb() */
int i2c_read_register(int device, int reg, unsigned int* value);

/** Write one register under the I2C lock. @return 0, or the transfer's failure result */
int i2c_write_rx(int reg, int value);
int i2c_write_edidrom(int reg, int value);
int i2c_write_board(int reg, int value);

/** Read one register under the I2C lock. @return the byte, 0 when the transfer failed */
int i2c_read_rx(int reg);
int i2c_read_edidrom(int reg);

/**
 * Likewise from the board controller, whose registers are read to be written back with some bits changed. One that
 * cannot be read counts as what it held when it was last read or written: a lost transfer must not switch the port and
 * the output off.
 * @return the byte, or the last one known; 0 when it was never known
 */
int i2c_read_board(int reg);

} // namespace capd
