#include "recorder/keys.h"

#include "hdmirx/hdmirx.h"
#include "recorder/card.h"
#include "recorder/log.h"
#include "recorder/recording.h"
#include "recorder/status.h"
#include "services/key_input.h"
#include "services/settings.h"

#include <array>
#include <span>

namespace capd {

// No padding on the box, where a pointer has 32 bits.
// NOLINTNEXTLINE(clang-analyzer-optin.performance.Padding)
struct KeyAction {
    int32_t key;
    Action action; ///< nullptr: none
    int32_t argument;
};

// clang-format off
constexpr KeyAction IDLE_KEYS[] = {
    {KEYINPUT_NONE,        nullptr,               0},
    {KEYINPUT_POWER,       _power_off,            0},
    {KEYINPUT_RECORD,      _av_rec_start,         0},
    {KEYINPUT_PORT_0,      _hdmirx_port_select,   0},
    {KEYINPUT_PORT_1,      _hdmirx_port_select,   1},
    {KEYINPUT_CONFIG_LOW,  _av_rec_config_select, 0},
    {KEYINPUT_CONFIG_HIGH, _av_rec_config_select, 1},
};
constexpr KeyAction RECORDING_KEYS[] = {
    {KEYINPUT_NONE,        nullptr,      0},
    {KEYINPUT_POWER,       _power_off,   0},
    {KEYINPUT_RECORD,      _error_busy,  0},
    {KEYINPUT_STOP,        _av_rec_stop, 0},
    {KEYINPUT_PORT_0,      _error_busy,  0},
    {KEYINPUT_PORT_1,      _error_busy,  0},
    {KEYINPUT_CONFIG_LOW,  _error_busy,  0},
    {KEYINPUT_CONFIG_HIGH, _error_busy,  0},
};
constexpr KeyAction AUTO_STOPPED_KEYS[] = {
    {KEYINPUT_NONE,  nullptr,           0},
    {KEYINPUT_POWER, _power_off,        0},
    {KEYINPUT_STOP,  _auto_stop_cancel, 0},
};
constexpr KeyAction POWER_OFF_KEYS[] = {
    {KEYINPUT_NONE,  nullptr,   0},
    {KEYINPUT_POWER, _power_on, 0},
};
// clang-format on

/** By RecorderState. */
constexpr std::array<std::span<const KeyAction>, 4> KEY_TABLES = {IDLE_KEYS, RECORDING_KEYS, AUTO_STOPPED_KEYS,
                                                                  POWER_OFF_KEYS};

void _key_dispatch(int key)
{
    const int32_t state = recorder_state();
    // Any key acknowledges an error. While auto-stopped the LED shows that state, in standby it is dark anyway.
    if (state == STATE_IDLE || state == STATE_RECORDING) panel_set(PANEL_ERROR, LED_OFF);
    for (const KeyAction& row : KEY_TABLES[static_cast<size_t>(state)]) {
        if (row.key != key) continue;
        if (row.action == nullptr) return;
        const int32_t r = row.action(row.argument);
        if (r != 0) CAPD_LOG(LOG_NOTICE, "runner_run%d\n", r);
        return;
    }
}

int32_t _error_busy(int32_t /*argument*/)
{
    CAPD_LOG(LOG_NOTICE, "Busy!\n");
    return 0;
}

int32_t _power_off(int32_t /*argument*/)
{
    if (recorder_state() == STATE_RECORDING) _av_rec_stop();
    panel_set(PANEL_ERROR, LED_OFF);
    led_group_clear(PANEL_GROUP);
    led_group_clear(BAR_GROUP);
    set_recorder_state(STATE_POWER_OFF);
    return 0;
}

int32_t _power_on(int32_t /*argument*/)
{
    CAPD_LOG(LOG_INFO, "power on\n");
    set_recorder_state(STATE_IDLE);
    panel_set(PANEL_POWER, LED_BLINK);
    _storage_measure();
    panel_set(PANEL_POWER, LED_ON);
    return 0;
}

int32_t _auto_stop_cancel(int32_t /*argument*/)
{
    panel_set(PANEL_ERROR, LED_OFF);
    set_recorder_state(STATE_IDLE);
    return 0;
}

int _hdmirx_port_set(int port)
{
    if (settings.hdmirx_port == port) return ALREADY_SELECTED;
    const int r = hdmirx_select_port(port);
    if (r == 0) settings.hdmirx_port = port;
    return r;
}

static int save_port(int port)
{
    const int r = config_set_hdmirx_port(port);
    return r != 0 ? r : config_commit();
}

int32_t _hdmirx_port_select(int32_t port)
{
    const int own_led = port == 0 ? PANEL_PORT_0 : PANEL_PORT_1;
    const int other_led = port == 0 ? PANEL_PORT_1 : PANEL_PORT_0;
    panel_set(other_led, LED_OFF);
    panel_set(own_led, LED_BLINK);
    int r = _hdmirx_port_set(port);
    if (r == 0) {
        r = save_port(port);
        settings.rec_led = port == 0 ? PANEL_RECORD_0 : PANEL_RECORD_1;
        panel_set(own_led, LED_ON);
        // The port is in use but will not survive a power cycle: tell so, as for a configuration that is not stored.
        if (r != 0) panel_set(PANEL_ERROR, LED_ON);
    } else if (r == ALREADY_SELECTED) {
        panel_set(own_led, LED_ON);
    } else {
        panel_set(own_led, LED_OFF);
        panel_set(other_led, LED_ON);
        panel_set(PANEL_ERROR, LED_ON);
    }
    return r;
}

int32_t _av_rec_config_select(int32_t config)
{
    if (settings.config_no == config) return ALREADY_SELECTED;
    panel_set(PANEL_CONFIG, LED_BLINK);
    if (config_set_av_rec_config(config) != 0) {
        panel_set(PANEL_ERROR, LED_ON);
        return 0;
    }
    settings.config_no = config;
    config_commit();
    panel_set(PANEL_CONFIG, config == 0 ? LED_OFF : LED_ON);
    return 0;
}

} // namespace capd
