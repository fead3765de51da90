/**
 * @file
 * The capture driver's I2C requests: their records and codes. The driver has two forms of each; the daemon's transfers
 * take the second, the single-attempt diagnostic ones the first.
 */
#pragma once

#include "devaccess/request_code.h"

#include <cstdint>

namespace capd {

constexpr int I2C_MAX_DATA = 72;   ///< bytes that one request carries, the register offset of a write included
constexpr int I2C_MAX_ADDRESS = 8; ///< register-address bytes that one read request carries

struct I2cWriteRecord {
    uint8_t device; ///< 7-bit address
    uint8_t length; ///< bytes to send
    uint8_t bytes[I2C_MAX_DATA];
};
static_assert(sizeof(I2cWriteRecord) == 74);

struct I2cReadRecord {
    uint8_t device; ///< 7-bit address
    uint8_t address_length;
    uint8_t address[I2C_MAX_ADDRESS]; ///< sent before the read
    uint8_t read_length;
    uint8_t bytes[I2C_MAX_DATA]; ///< filled by the driver
};
static_assert(sizeof(I2cReadRecord) == 83);

constexpr uint32_t I2C_WRITE_FIRST = write_request('D', 0, 74);
constexpr uint32_t I2C_READ_FIRST = read_write_request('D', 2, 83);
constexpr uint32_t I2C_WRITE_SECOND = write_request('D', 35, 74);
constexpr uint32_t I2C_READ_SECOND = read_write_request('D', 37, 83);

} // namespace capd
