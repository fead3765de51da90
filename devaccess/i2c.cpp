#include "devaccess/i2c.h"

#include "devaccess/scoped_lock.h"
#include "devaccess/video_device.h"
#include "platform/platform.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <pthread.h>

namespace capd {

namespace {

constexpr int ATTEMPTS = 3;
constexpr uint32_t RETRY_SLEEP_US = 10;

pthread_mutex_t i2c_lock = PTHREAD_MUTEX_INITIALIZER;

/** Whether a length taken from a caller fits a record; the first thing looked at, and said by errno when it does not.
 */
bool length_fits(int length, int most)
{
    if (length >= 0 && length <= most) return true;
    errno = EINVAL;
    return false;
}

/** Issue a transfer up to three times. Both threads come here at once: everything is on the stack. */
int transfer(const char* function, uint32_t request, void* record)
{
    int result = -1;
    for (int attempt = 1; attempt <= ATTEMPTS; ++attempt) {
        result = video_device_request(request, record);
        if (result >= 0) return 0;
        if (attempt < ATTEMPTS) platform::sleep_us(RETRY_SLEEP_US);
    }
    const int error = errno;
    char text[64];
    printf("%s() ioctl failed %d %s\n", function, error, strerror_r(error, text, sizeof(text)));
    errno = error;
    return result;
}

void print_failure(const char* function, unsigned int address, unsigned int offset, unsigned int count,
                   const void* data, unsigned char device, int result)
{
    printf("%s failed: address=0x%x, offset=0x%x, byteno=%x, pdata=%p, device=%d\n", function, address, offset, count,
           data, device);
    printf("return code=%d\n", result);
}

// What the board controller's registers held when last read or written, 0 before that. Guarded by i2c_lock.
std::array<uint8_t, 256> board_registers;

uint8_t& board_register(int reg)
{
    return board_registers[static_cast<uint8_t>(reg)];
}

/** Read a register; the caller holds the lock. @return the byte, or what to count it as when the transfer failed */
int read_register(int device, int reg, uint8_t otherwise)
{
    unsigned int value = otherwise;
    i2c_read_register(device, reg, &value);
    return static_cast<int>(value);
}

} // namespace

int do_wri2cnb(int selector, int device, int length, const unsigned int* bytes)
{
    if (!length_fits(length, I2C_MAX_DATA)) return -1;
    I2cWriteRecord record{};
    record.device = static_cast<uint8_t>(device);
    record.length = static_cast<uint8_t>(length);
    std::copy_n(bytes, length, record.bytes);
    return transfer(__func__, selector == I2C_SECOND_FORM ? I2C_WRITE_SECOND : I2C_WRITE_FIRST, &record);
}

int do_rdi2cnb(int selector, int device, int address_length, const unsigned int* address, int read_length,
               unsigned int* out)
{
    if (!length_fits(address_length, I2C_MAX_ADDRESS) || !length_fits(read_length, I2C_MAX_DATA)) return -1;
    I2cReadRecord record{};
    record.device = static_cast<uint8_t>(device);
    record.address_length = static_cast<uint8_t>(address_length);
    std::copy_n(address, address_length, record.address);
    record.read_length = static_cast<uint8_t>(read_length);
    const int result = transfer(__func__, selector == I2C_SECOND_FORM ? I2C_READ_SECOND : I2C_READ_FIRST, &record);
    if (result != 0) return result;
    std::copy_n(record.bytes, read_length, out);
    return 0;
}

int i2c_read_byte(unsigned int address, unsigned int offset, unsigned int count, unsigned char* data,
                  unsigned char device)
{
    std::array<unsigned int, I2C_MAX_DATA> bytes{};
    video_device_open();
    const int length = count > I2C_MAX_DATA ? I2C_MAX_DATA + 1 : static_cast<int>(count); // too many: refused below
    const int result = do_rdi2cnb(I2C_SECOND_FORM, static_cast<int>(address >> 1), 1, &offset, length, bytes.data());
    if (result != 0) {
        print_failure(__func__, address >> 1, offset, count, data, device, result);
        return 1;
    }
    for (int i = 0; i < length; ++i) data[i] = static_cast<unsigned char>(bytes[static_cast<size_t>(i)]);
    return 1;
}

int i2c_write_byte(unsigned int address, unsigned int offset, int count, const unsigned char* data,
                   unsigned char device)
{
    std::array<unsigned int, I2C_MAX_DATA> bytes{offset};
    int result = -1;
    video_device_open();
    if (length_fits(count, I2C_MAX_DATA - 1)) {
        for (int i = 0; i < count; ++i) bytes[static_cast<size_t>(i) + 1] = data[i];
        result = do_wri2cnb(I2C_SECOND_FORM, static_cast<int>(address >> 1), count + 1, bytes.data());
    }
    if (result != 0)
        print_failure(__func__, address >> 1, offset, static_cast<unsigned int>(count), data, device, result);
    return 1;
}

int i2c_write_register(int device, int reg, int value)
{
    const unsigned int bytes[] = {static_cast<unsigned int>(reg), static_cast<unsigned int>(value)};
    return do_wri2cnb(I2C_SECOND_FORM, device, 2, bytes);
}

int i2c_read_register(int device, int reg, unsigned int* value)
{
    const auto address = static_cast<unsigned int>(reg);
    return do_rdi2cnb(I2C_SECOND_FORM, device, 1, &address, 1, value);
}

int i2c_write_rx(int reg, int value)
{
    const ScopedLock lock(i2c_lock);
    return i2c_write_register(I2C_RECEIVER, reg, value);
}

int i2c_write_edidrom(int reg, int value)
{
    const ScopedLock lock(i2c_lock);
    return i2c_write_register(I2C_EDID_ROM, reg, value);
}

int i2c_write_board(int reg, int value)
{
    const ScopedLock lock(i2c_lock);
    const int result = i2c_write_register(I2C_BOARD, reg, value);
    if (result == 0) board_register(reg) = static_cast<uint8_t>(value);
    return result;
}

int i2c_read_rx(int reg)
{
    const ScopedLock lock(i2c_lock);
    return read_register(I2C_RECEIVER, reg, 0);
}

int i2c_read_edidrom(int reg)
{
    const ScopedLock lock(i2c_lock);
    return read_register(I2C_EDID_ROM, reg, 0);
}

int i2c_read_board(int reg)
{
    const ScopedLock lock(i2c_lock);
    uint8_t& known = board_register(reg);
    known = static_cast<uint8_t>(read_register(I2C_BOARD, reg, known));
    return known;
}

} // namespace capd
