#include "services/leds.h"

#include "devaccess/board_registers.h"
#include "devaccess/i2c.h"
#include "devaccess/scoped_lock.h"
#include "devaccess/video_device.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <pthread.h>

namespace capd {

namespace {

struct led_state {
    int32_t mode;
    int32_t value;   ///< 1 lit
    int32_t period;  ///< ticks of a flash sequence
    int32_t counter; ///< ticks since the mode was set
};
static_assert(sizeof(led_state) == 16);

pthread_mutex_t led_lock = PTHREAD_MUTEX_INITIALIZER;     // guards the records
pthread_mutex_t refresh_lock = PTHREAD_MUTEX_INITIALIZER; // held by a refresh; guards `paused`
bool paused;
std::array<led_state, static_cast<size_t>(LED_GROUPS* LEDS_PER_GROUP)> records;
std::array<std::atomic<int32_t>, LED_GROUPS> last_written; // by both threads, outside the lock

bool group_exists(int group)
{
    return group >= 0 && group < LED_GROUPS;
}

bool flashes(int mode)
{
    return mode >= LED_FLASH_1 && mode <= LED_FLASH_5;
}

led_state& record(int group, int index)
{
    return records[static_cast<size_t>(group * LEDS_PER_GROUP + index)];
}

/** Alternate, lit on even counts. The count wraps to 0, which keeps its parity, on an LED that blinks for decades. */
void step(led_state& led)
{
    led.value = (led.counter & 1) == 0 ? 1 : 0;
    led.counter = led.counter == INT32_MAX ? 0 : led.counter + 1;
}

void tick(led_state& led)
{
    if (led.mode == LED_OFF) {
        led.value = 0;
    } else if (led.mode == LED_ON) {
        led.value = 1;
    } else if (led.mode == LED_BLINK) {
        step(led);
    } else if (flashes(led.mode)) {
        step(led);
        if (led.counter == led.period - 1) led.mode = LED_OFF;
    }
}

/** Run one tick of a group's records. @return the group's byte, LED i in bit i */
int tick_group(int group)
{
    int byte = 0;
    const ScopedLock lock(led_lock);
    for (int index = 0; index < LEDS_PER_GROUP; ++index) {
        led_state& led = record(group, index);
        tick(led);
        byte |= led.value << index;
    }
    return byte;
}

int write_group(int group, int byte)
{
    return i2c_write_register(I2C_BOARD, BOARD_LEDS + group, byte);
}

int refresh_group(int group)
{
    const int byte = tick_group(group);
    std::atomic<int32_t>& last = last_written[static_cast<size_t>(group)];
    const int result = byte == last ? 0 : write_group(group, byte);
    last = byte; // a refused byte is not sent again before the group changes
    return result;
}

} // namespace

int led_set(int group, int index, int mode)
{
    if (!group_exists(group) || index < 0 || index >= LEDS_PER_GROUP) return 0;
    const ScopedLock lock(led_lock);
    led_state& led = record(group, index);
    led.counter = 0;
    led.mode = mode;
    if (flashes(mode)) led.period = 2 * (mode - LED_FLASH_1 + 1);
    return 0;
}

int led_refresh()
{
    const ScopedLock lock(refresh_lock);
    if (paused) return 0;
    refresh_group(0);
    return refresh_group(1);
}

void led_pause(bool on)
{
    const ScopedLock lock(refresh_lock);
    paused = on;
}

int led_group_clear(int group)
{
    if (!group_exists(group)) return -1;
    const int result = write_group(group, 0);
    last_written[static_cast<size_t>(group)] = 0;
    return result;
}

int led_init()
{
    return video_device_open();
}

} // namespace capd
