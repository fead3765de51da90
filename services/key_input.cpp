#include "services/key_input.h"

#include "devaccess/board_registers.h"
#include "devaccess/i2c.h"
#include "devaccess/video_device.h"

#include <cstdint>
#include <cstdio>
#include <syslog.h>

namespace capd {

namespace {

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

} // namespace

int keyinput_init()
{
    openlog("keyinput", LOG_CONS | LOG_PID, LOG_KERN);
    setlogmask(SYSLOG_MASK);
    return video_device_open();
}

int keyinput_read_raw()
{
    // Without the I2C lock: one transfer each, nothing to hold together.
    unsigned int status = 0;
    if (i2c_read_register(I2C_BOARD, BOARD_STATUS, &status) != 0) return -2;
    if ((status & BOARD_CODE_WAITING) == 0) return -1;
    unsigned int code = 0;
    if (i2c_read_register(I2C_BOARD, BOARD_CODE, &code) != 0) return 0;
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
