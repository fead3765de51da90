#include "recorder/keys.h"

#include "recorder/card.h"
#include "recorder/corrections.h"
#include "recorder/log.h"
#include "recorder/panel.h"
#include "recorder/recording.h"
#include "recorder/selection.h"
#include "recorder/state.h"
#include "services/key_input.h"

#include <array>
#include <span>

namespace capd {

namespace {

/** Refuse a key while recording. @return 0 */
int32_t _error_busy(int32_t /*argument*/)
{
    CAPD_LOG(LOG_NOTICE, "Busy!\n");
    return 0;
}

} // namespace

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
constexpr std::array<std::span<const KeyAction>, RECORDER_STATES> KEY_TABLES = {IDLE_KEYS, RECORDING_KEYS,
                                                                                AUTO_STOPPED_KEYS, POWER_OFF_KEYS};

void _key_dispatch(int key)
{
    const RecorderState state = recorder_state();
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

int32_t _power_off(int32_t /*argument*/)
{
    if (recorder_state() == STATE_RECORDING) _av_rec_stop();
    panel_set(PANEL_ERROR, LED_OFF);
    // A refresh between the darkening and the standby would light the LEDs until the box is switched on.
    if (recorder_corrections.panel) {
        enter_state(STATE_POWER_OFF);
        led_pause(true);
    }
    led_group_clear(PANEL_GROUP);
    led_group_clear(BAR_GROUP);
    enter_state(STATE_POWER_OFF);
    return 0;
}

int32_t _power_on(int32_t /*argument*/)
{
    CAPD_LOG(LOG_INFO, "power on\n");
    led_pause(false);
    enter_state(STATE_IDLE);
    panel_set(PANEL_POWER, LED_BLINK);
    _storage_measure();
    panel_set(PANEL_POWER, LED_ON);
    return 0;
}

} // namespace capd
