#include "recorder/capd.h"

#include "devaccess/standard_streams.h"
#include "devaccess/video_device.h"
#include "hdmirx/hdmirx.h"
#include "hdmitx/hdmitx.h"
#include "platform/platform.h"
#include "recorder/card.h"
#include "recorder/corrections.h"
#include "recorder/edid_passthrough.h"
#include "recorder/keys.h"
#include "recorder/log.h"
#include "recorder/main_loop.h"
#include "recorder/options.h"
#include "recorder/panel.h"
#include "recorder/selection.h"
#include "recorder/state.h"
#include "services/encoder.h"
#include "services/key_input.h"
#include "services/message_queue.h"
#include "services/settings.h"
#include "services/storage.h"

#include <cerrno>
#include <cstring>

namespace capd {

constexpr uint64_t LED_REFRESH_US = 400'000;
constexpr uint32_t LED_THREAD_SLEEP_US = 10'000;

namespace {

/** Body of the LED thread: paces the LED engine, except in standby, where the LEDs keep what was written to them. */
void* _led_update_thread(void* /*argument*/)
{
    const int r = led_init();
    CAPD_LOG(LOG_INFO, "led_init r=%d\n", r);
    Timer timer;
    timer_start(&timer);
    for (;;) {
        if (recorder_state() != STATE_POWER_OFF && timer_expired(&timer, LED_REFRESH_US) == 1) led_refresh();
        platform::sleep_us(LED_THREAD_SLEEP_US);
    }
}

void start_led_thread()
{
    errno = platform::start_thread(_led_update_thread);
    if (errno != 0) CAPD_LOG_STEP(LOG_ERR, "Couldn't create thread to update led's, error=%s\n", strerror(errno));
}

/** Events of the input. Its stability reaches the recorder by polling, so there is nothing to do but tell. */
int hdmirx_event_callback(int event, int /*argument*/)
{
    switch (event) {
    case HDMIRX_EVENT_UNSTABLE: CAPD_LOG(LOG_INFO, "Unstable event received, doing nothing\n"); break;
    case HDMIRX_EVENT_AUDIO_ERROR: CAPD_LOG(LOG_INFO, "Audio error event received, doing nothing\n"); break;
    case HDMIRX_EVENT_AVI_CHANGE: CAPD_LOG(LOG_INFO, "Avi info frame interrupt event received, doing nothing\n"); break;
    case HDMIRX_EVENT_AUDIO_ON: break;
    }
    return 0;
}

void start_services()
{
    int r = sys_init();
    CAPD_LOG_STEP(LOG_INFO, "sys_init r=%d\n", r);
    r = config_init();
    CAPD_LOG_STEP(LOG_INFO, "config_init r=%d\n", r);
    r = storage_init();
    CAPD_LOG_STEP(LOG_INFO, "storage_init r=%d\n", r);
    r = av_init();
    CAPD_LOG_STEP(LOG_INFO, "av_init r=%d\n", r);
    start_led_thread();
    r = runner_init();
    CAPD_LOG_STEP(LOG_INFO, "runner_init r=%d\n", r);
    r = keyinput_init();
    CAPD_LOG_STEP(LOG_INFO, "keyinput_init r=%d\n", r);
}

void start_drivers()
{
    int r = hdmirx_init();
    CAPD_LOG_STEP(LOG_INFO, "hdmirx_init=%d\n", r);
    r = hdmitx_init();
    CAPD_LOG_STEP(LOG_INFO, "Blanking hdmitx\n");
    hdmitx_blank(); // until the main loop finds the input stable
    CAPD_LOG_STEP(LOG_INFO, "hdmitx_init=%d\n", r);
    hdmitx_set_edid_callback(edid_data_callback);
    hdmirx_set_callback(hdmirx_event_callback);
}

} // namespace

int run(int argc, char* argv[])
{
    open_standard_streams();
    parse_options(argc, argv);
    log_corrections();
    start_services();
    _load_config();
    panel_set(PANEL_POWER, LED_ON);
    _storage_measure();
    start_drivers();
    _key_poll(); // a key pressed before the box was up is dropped; a self-test runs its first step
    // The picture passes through whatever the encoder does.
    if (recorder_corrections.recordings) av_rec_set_wait_step(serve_hdmi);
    LoopTimers timers = main_loop_timers();
    for (int i = 0; i < 3; ++i) hdmirx_run();
    for (;;) main_loop_pass(&timers);
}

} // namespace capd
