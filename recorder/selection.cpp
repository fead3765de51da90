#include "recorder/selection.h"

#include "hdmirx/hdmirx.h"
#include "recorder/corrections.h"
#include "recorder/log.h"
#include "recorder/panel.h"
#include "services/encoder_config.h"
#include "services/settings.h"

namespace capd {

namespace {

constexpr int32_t NONE = 255; // neither a port nor a configuration

int32_t hdmirx_port = NONE;
int32_t config_no = NONE;
int rec_led = PANEL_RECORD_0;

// With the corrected panel: in use, but not stored. The same key tries to store it again.
bool port_is_unsaved;
bool config_is_unsaved;

struct PortLeds {
    int selected;
    int recording;
    int other; ///< the other port's, dark while this one is selected
};

/** The LEDs of a port; everything but 0 counts as port 1. */
PortLeds leds_of(int32_t port)
{
    if (port == 0) return {PANEL_PORT_0, PANEL_RECORD_0, PANEL_PORT_1};
    return {PANEL_PORT_1, PANEL_RECORD_1, PANEL_PORT_0};
}

/** Switch the input unless it is on that port. @return 0, ALREADY_SELECTED, or the switch's result */
int _hdmirx_port_set(int32_t port)
{
    if (hdmirx_port == port) return ALREADY_SELECTED;
    const int r = hdmirx_select_port(port);
    if (r == 0) hdmirx_port = port;
    return r;
}

int save_port(int32_t port)
{
    const int r = config_set_hdmirx_port(port);
    return r != 0 ? r : config_commit();
}

void show_config()
{
    panel_set(PANEL_CONFIG, config_no == 0 ? LED_OFF : LED_ON);
}

void load_port()
{
    int port = 0;
    config_get_hdmirx_port(&port);
    const bool exists = port == 0 || port == 1;
    const int r = exists || !recorder_corrections.panel ? _hdmirx_port_set(port) : ALREADY_SELECTED;
    // A port that is not there, or that the board does not switch to, would look chosen, and its key would do nothing.
    if (recorder_corrections.panel && r != 0) {
        panel_set(PANEL_ERROR, LED_ON);
        return;
    }
    hdmirx_port = port;
    if (r != 0) return;
    const PortLeds leds = leds_of(port);
    rec_led = leds.recording;
    panel_set(leds.selected, LED_ON);
    panel_set(leds.other, LED_OFF);
}

int load_bitrate(int config)
{
    long bitrate = 0;
    const int r = config_get_bitrate(config, &bitrate);
    if (r == 0) av_rec_set_bitrate(config, bitrate);
    return r;
}

} // namespace

void _load_config()
{
    load_port();
    config_get_av_rec_config(&config_no);
    show_config();
    load_bitrate(0);
    const int r = load_bitrate(1);
    CAPD_LOG(LOG_INFO, "_load_config r=%d\n", r);
}

int32_t _hdmirx_port_select(int32_t port)
{
    const PortLeds leds = leds_of(port);
    panel_set(leds.other, LED_OFF);
    panel_set(leds.selected, LED_BLINK);
    int r = _hdmirx_port_set(port);
    if (r == 0) {
        r = save_port(port);
        rec_led = leds.recording;
        panel_set(leds.selected, LED_ON);
        // The port is in use but will not survive a power cycle: tell so, as for a configuration that is not stored.
        if (r != 0) panel_set(PANEL_ERROR, LED_ON);
        port_is_unsaved = recorder_corrections.panel && r != 0;
    } else if (r == ALREADY_SELECTED) {
        panel_set(leds.selected, LED_ON);
        if (port_is_unsaved) port_is_unsaved = save_port(port) != 0;
        if (port_is_unsaved) panel_set(PANEL_ERROR, LED_ON);
    } else {
        panel_set(leds.selected, LED_OFF);
        panel_set(leds.other, hdmirx_port == NONE && recorder_corrections.panel ? LED_OFF : LED_ON);
        panel_set(PANEL_ERROR, LED_ON);
    }
    return r;
}

int32_t _av_rec_config_select(int32_t config)
{
    if (config_no == config && !config_is_unsaved) return ALREADY_SELECTED;
    panel_set(PANEL_CONFIG, LED_BLINK);
    if (config_set_av_rec_config(config) != 0) {
        panel_set(PANEL_ERROR, LED_ON);
        if (recorder_corrections.panel) show_config(); // it would blink until the next choice that can be stored
        return 0;
    }
    config_no = config;
    const int r = config_commit();
    show_config();
    // The configuration is in use but will not survive a power cycle.
    config_is_unsaved = recorder_corrections.panel && r != 0;
    if (config_is_unsaved) panel_set(PANEL_ERROR, LED_ON);
    return 0;
}

int32_t selected_config()
{
    return config_no;
}

int recording_led()
{
    return rec_led;
}

} // namespace capd
