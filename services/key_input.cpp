#include "services/key_input.h"

#include "devaccess/i2c.h"
#include "devaccess/video_device.h"

#include <cstdint>
#include <cstdio>
#include <syslog.h>

namespace capd {

namespace {

// Board controller registers of the remote.
constexpr unsigned int REG_STATUS = 0;
constexpr unsigned int STATUS_CODE_WAITING = 0x10;
constexpr unsigned int REG_CODE = 1;

constexpr int SYSLOG_MASK = 0x1F; // emergency to warning

// clang-format off
constexpr struct {
    int32_t raw; // the remote's code
    int32_t keyinput;
} key_input[] = {
    {0x00, KEYINPUT_NONE}, // never asked for: a code of 0 is no key
    {0x15, KEYINPUT_RECORD},
    {0x54, KEYINPUT_STOP},
    {0x41, KEYINPUT_CONFIG_LOW},
    {0x42, KEYINPUT_CONFIG_HIGH},
    {0x46, KEYINPUT_PORT_0},
    {0x45, KEYINPUT_PORT_1},
    {0x43, KEYINPUT_POWER},
};
// clang-format on

/** Read a board controller register without the I2C lock: one transfer, nothing to hold together. */
int read_board(unsigned int reg, unsigned int* value)
{
    return do_rdi2cnb(1, I2C_BOARD, 1, &reg, 1, value);
}

} // namespace

int keyinput_init()
{
    openlog("keyinput", LOG_CONS | LOG_PID, LOG_KERN);
    setlogmask(SYSLOG_MASK);
    return video_device_open();
}

int keyinput_read_raw()
{
    unsigned int status = 0;
    if (read_board(REG_STATUS, &status) != 0) return -2;
    if ((status & STATUS_CODE_WAITING) == 0) return -1;
    unsigned int code = 0;
    if (read_board(REG_CODE, &code) != 0) return 0;
    return static_cast<int>(code);
}

int keyinput_get_key()
{
    const int raw = keyinput_read_raw();
    if (raw < 1) return KEYINPUT_NONE;
    printf("Raw key: %d %d\n", raw, 1);
    for (const auto& row : key_input) {
        if (row.raw != raw) continue;
        syslog(LOG_DEBUG, "Converted ir key=%d, to key_input[i].keyinput=%d\n", raw, row.keyinput);
        return row.keyinput;
    }
    return KEYINPUT_NONE;
}

} // namespace capd
