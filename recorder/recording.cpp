#include "recorder/recording.h"

#include "hdmirx/hdmirx.h"
#include "recorder/card.h"
#include "recorder/log.h"
#include "recorder/status.h"
#include "services/encoder.h"
#include "services/encoder_config.h"
#include "services/storage.h"

#include <unistd.h>

namespace capd {

/** Why av_rec_configure() refuses an input. */
enum ConfigureRefusal : int {
    REFUSED_PICTURE = -5,
    REFUSED_WORD_LENGTH = -4,
    REFUSED_CHANNELS = -3,
    REFUSED_SAMPLE_RATE = -2,
};

static int start_failed(int r)
{
    panel_set(settings.rec_led, LED_OFF);
    return r;
}

static int start_failed_mounted(int r)
{
    _storage_umount();
    return start_failed(r);
}

/** Say why av_rec_configure() refused the input. */
static void report_refusal(const char* function, int r, const hdmirx_info& info)
{
    // Audio often lags behind the picture when an input comes back: a restart tries again and its LED keeps blinking.
    const bool restarting = recorder_state() == STATE_AUTO_STOPPED;
    switch (r) {
    case REFUSED_PICTURE:
        CAPD_LOG_AS(function, LOG_WARNING, "video resolution invalid: %d\n", info.active_width);
        show_error(RecorderError::BadFormat);
        break;
    case REFUSED_WORD_LENGTH:
        CAPD_LOG_AS(function, LOG_WARNING, "audio sample word length not valid: %d\n", info.audio_word_length);
        show_error(RecorderError::BadFormat);
        break;
    case REFUSED_CHANNELS:
        CAPD_LOG_AS(function, LOG_WARNING, "audio channels not supported: %d\n", info.audio_channels);
        if (!restarting) show_error(RecorderError::BadFormat);
        break;
    case REFUSED_SAMPLE_RATE:
        CAPD_LOG_AS(function, LOG_WARNING, "bitrate not supported: %d\n", info.audio_sample_rate);
        if (!restarting) show_error(RecorderError::BadFormat);
        break;
    default: break; // the edit itself failed
    }
    CAPD_LOG_AS(function, LOG_WARNING, "av_rec_configure failed: %d\n", r);
}

/** Read what the input carries and write it into the encoder's configuration. */
static int configure_for_input(const char* function)
{
    hdmirx_info info{};
    int r = hdmirx_get_info(settings.config_no, &info, 1);
    CAPD_LOG_AS(function, LOG_INFO, "audio_bitrate: %d\n", info.audio_sample_rate);
    CAPD_LOG_AS(function, LOG_INFO, "audio_ch_no: %d\n", info.audio_channels);
    CAPD_LOG_AS(function, LOG_INFO, "audio_is_IEC61937: %d\n", info.audio_iec61937);
    CAPD_LOG_AS(function, LOG_INFO, "sample_word_len: %d\n", info.audio_word_length);
    hdmirx_debug(0);
    if (r != 0) {
        CAPD_LOG_AS(function, LOG_WARNING, "hdmirx_get_info failed: %d\n", r);
        show_error(RecorderError::NoInput);
        return r;
    }
    r = av_rec_configure(settings.config_no, &info);
    if (r != 0) report_refusal(function, r, info);
    return r;
}

/** Start the encoder on output_filename. */
static int start_encoder(const char* function)
{
    const char* file = status.output_filename.data();
    CAPD_LOG_AS(function, LOG_INFO, "Calling av_rec_start with config_no=%d, output_filename=%s\n", settings.config_no,
                file);
    const int r = av_rec_start(settings.config_no, file);
    if (r != 0)
        CAPD_LOG_AS(function, LOG_WARNING, "av_rec_start failed: %d\n", r);
    else
        CAPD_LOG_AS(function, LOG_INFO, "av_rec_start succeeded: %d\n", r);
    return r;
}

int32_t _av_rec_start(int32_t next_part)
{
    if (status.input_stable == 0) {
        CAPD_LOG(LOG_NOTICE, "hdmirx_isn't stable");
        show_error(RecorderError::NoInput);
        return start_failed(1);
    }
    int r = configure_for_input(__func__);
    if (r != 0) return start_failed(r);
    r = _storage_mount();
    if (r != 0) {
        show_error(RecorderError::NoCard);
        return start_failed(r);
    }
    r = storage_check_writable();
    if (r != 0) {
        show_error(RecorderError::CardNotWritable);
        return start_failed_mounted(r);
    }
    panel_set(settings.rec_led, LED_BLINK);
    if (_storage_is_full()) {
        CAPD_LOG(LOG_WARNING, "Not enough disk space to record\n");
        return start_failed_mounted(1);
    }
    r = storage_get_next_filename(next_part, status.output_filename.data(), OUTPUT_FILENAME_LIMIT);
    if (r != 0) {
        CAPD_LOG(LOG_WARNING, "storage_get_next_filename failed: %d\n", r);
        if (r == 1) show_error(RecorderError::CardNotWritable);
        return start_failed_mounted(r);
    }
    r = start_encoder(__func__);
    if (r != 0) return start_failed_mounted(r);
    panel_set(settings.rec_led, LED_ON);
    status.last_status_check = 0;
    set_recorder_state(STATE_RECORDING);
    return 0;
}

/** What the end of every recording has in common. */
static void enter_idle()
{
    status.last_status_check = 0;
    set_recorder_state(STATE_IDLE);
    panel_set(settings.rec_led, LED_OFF);
}

int32_t _av_rec_stop(int32_t /*argument*/)
{
    panel_set(settings.rec_led, LED_BLINK);
    const int stopped = av_rec_stop();
    if (stopped != 0) CAPD_LOG(LOG_WARNING, "av_rec_stop failed: %d\n", stopped);
    if (recorder_state() == STATE_AUTO_STOPPED) {
        const unsigned long min_kb = settings.min_file_size;
        CAPD_LOG(LOG_INFO, "Remove file from storage if smaller than %lukb\n", min_kb);
        storage_remove_small_file(min_kb);
    }
    _sddisk_available_kb_update();
    const int unmounted = _storage_umount();
    enter_idle();
    return stopped | unmounted;
}

/** Go on in the next part, on a card that is still mounted. */
static int start_next_part(const char* function)
{
    if (_storage_is_full()) {
        CAPD_LOG_AS(function, LOG_WARNING, "Not enough disk space to record\n");
        return 1;
    }
    int r = storage_get_next_filename(1, status.output_filename.data(), OUTPUT_FILENAME_LIMIT);
    if (r != 0) {
        CAPD_LOG_AS(function, LOG_WARNING, "storage_get_next_filename failed: %d\n", r);
        return r;
    }
    hdmirx_info info{};
    r = hdmirx_get_info(settings.config_no, &info, 1);
    if (r != 0) {
        CAPD_LOG_AS(function, LOG_WARNING, "hdmirx_get_info failed: %d\n", r);
        return r;
    }
    hdmirx_debug(0);
    return start_encoder(function);
}

int _av_rec_stop_start()
{
    panel_set(PANEL_ERROR, LED_BLINK);
    int r = av_rec_stop();
    if (r != 0) CAPD_LOG(LOG_WARNING, "av_rec_stop failed: %d\n", r);
    for (int i = 0; i < 3; ++i) sync(); // the closed part must survive whatever happens to the next one
    _sddisk_available_kb_update();
    r = start_next_part(__func__);
    if (r != 0) {
        // No encoder runs any more: staying in STATE_RECORDING would show a recording that is none.
        _storage_umount();
        enter_idle();
    }
    panel_set(PANEL_ERROR, LED_OFF);
    return r;
}

int _auto_stop()
{
    if (recorder_state() != STATE_RECORDING) return 0;
    panel_set(PANEL_ERROR, LED_BLINK);
    set_recorder_state(STATE_AUTO_STOPPED); // before the stop, which removes a file that is too small in this state
    _av_rec_stop();
    set_recorder_state(STATE_AUTO_STOPPED);
    timer_start(&status.auto_stop_timer);
    return 0;
}

} // namespace capd
