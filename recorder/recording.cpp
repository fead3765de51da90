#include "recorder/recording.h"

#include "hdmirx/hdmirx.h"
#include "recorder/card.h"
#include "recorder/corrections.h"
#include "recorder/daemon_settings.h"
#include "recorder/input_watch.h"
#include "recorder/log.h"
#include "recorder/panel.h"
#include "recorder/selection.h"
#include "recorder/state.h"
#include "services/encoder.h"
#include "services/encoder_config.h"
#include "services/storage.h"

#include <array>
#include <unistd.h>

namespace capd {

namespace {

std::array<char, 128> file{};
constexpr int FILE_LIMIT = 127; // handed over with it; the writer keeps one character of it spare

/** How the log tells a refusal. Audio often lags behind the picture when an input comes back: a restart tries again and
 * its LED keeps blinking. */
constexpr struct {
    EncoderRefusal reason;
    const char* text;
    int32_t hdmirx_info::*value;
    bool shown_at_restart;
} REFUSALS[] = {
    {EncoderRefusal::Picture, "video resolution invalid", &hdmirx_info::active_width, true},
    {EncoderRefusal::WordLength, "audio sample word length not valid", &hdmirx_info::audio_word_length, true},
    {EncoderRefusal::Channels, "audio channels not supported", &hdmirx_info::audio_channels, false},
    {EncoderRefusal::SampleRate, "bitrate not supported", &hdmirx_info::audio_sample_rate, false},
};

void tell_refusal(EncoderRefusal reason, const hdmirx_info& info)
{
    for (const auto& row : REFUSALS) {
        if (row.reason != reason) continue;
        CAPD_LOG_STEP(LOG_WARNING, "%s: %d\n", row.text, info.*row.value);
        if (row.shown_at_restart || recorder_state() != STATE_AUTO_STOPPED) show_error(RecorderError::BadFormat);
    }
}

/** Read what the input carries. @return 0, or what hdmirx_get_info() returned */
int describe_input(hdmirx_info& info)
{
    const int r = hdmirx_get_info(selected_config(), &info, 1);
    CAPD_LOG_STEP(LOG_INFO, "audio_bitrate: %d\n", info.audio_sample_rate);
    CAPD_LOG_STEP(LOG_INFO, "audio_ch_no: %d\n", info.audio_channels);
    CAPD_LOG_STEP(LOG_INFO, "audio_is_IEC61937: %d\n", info.audio_iec61937);
    CAPD_LOG_STEP(LOG_INFO, "sample_word_len: %d\n", info.audio_word_length);
    hdmirx_debug(0);
    if (r == 0) return 0;
    CAPD_LOG_STEP(LOG_WARNING, "hdmirx_get_info failed: %d\n", r);
    show_error(RecorderError::NoInput);
    return r;
}

/** Write what the input carries into the encoder's configuration. */
int configure_for_input()
{
    hdmirx_info info{};
    int r = describe_input(info);
    if (r != 0) return r;
    tell_refusal(av_rec_refusal(info), info);
    r = av_rec_configure(selected_config(), &info);
    watch_format(info);
    if (r != 0) CAPD_LOG_STEP(LOG_WARNING, "av_rec_configure failed: %d\n", r);
    return r;
}

bool card_has_room()
{
    // A restart may be faster than the look at the slot that measures a new card.
    if (recorder_corrections.space && !free_space_is_known()) _storage_check_led_update();
    if (!_storage_is_full()) return true;
    CAPD_LOG_STEP(LOG_WARNING, "Not enough disk space to record\n");
    return false;
}

int name_file(int32_t next_part)
{
    const int r = storage_get_next_filename(next_part, file.data(), FILE_LIMIT);
    if (r != 0) CAPD_LOG_STEP(LOG_WARNING, "storage_get_next_filename failed: %d\n", r);
    return r;
}

int start_encoder()
{
    CAPD_LOG_STEP(LOG_INFO, "Calling av_rec_start with config_no=%d, output_filename=%s\n", selected_config(),
                  file.data());
    const int r = av_rec_start(selected_config(), file.data());
    if (r != 0)
        CAPD_LOG_STEP(LOG_WARNING, "av_rec_start failed: %d\n", r);
    else
        CAPD_LOG_STEP(LOG_INFO, "av_rec_start succeeded: %d\n", r);
    return r;
}

int start_on_mounted_card(int32_t next_part)
{
    int r = storage_check_writable();
    if (r != 0) {
        show_error(RecorderError::CardNotWritable);
        return r;
    }
    panel_set(recording_led(), LED_BLINK);
    if (!card_has_room()) return 1;
    r = name_file(next_part);
    if (r != 0) {
        show_error(RecorderError::CardNotWritable);
        return r;
    }
    return start_encoder();
}

/** Mount the card and start the encoder on it; unmounted again when that fails. */
int start_on_card(int32_t next_part)
{
    int r = _storage_mount();
    if (r != 0) {
        show_error(RecorderError::NoCard);
        return r;
    }
    r = start_on_mounted_card(next_part);
    if (r != 0) _storage_umount();
    return r;
}

int try_to_start(int32_t next_part)
{
    if (!input_is_stable()) {
        CAPD_LOG_STEP(LOG_NOTICE, "hdmirx_isn't stable");
        show_error(RecorderError::NoInput);
        return 1;
    }
    const int r = configure_for_input();
    return r != 0 ? r : start_on_card(next_part);
}

int stop_encoder()
{
    const int r = av_rec_stop();
    if (r != 0) CAPD_LOG_STEP(LOG_WARNING, "av_rec_stop failed: %d\n", r);
    return r;
}

void remove_if_small()
{
    const unsigned long min_kb = settings.min_file_size;
    CAPD_LOG_STEP(LOG_INFO, "Remove file from storage if smaller than %lukb\n", min_kb);
    storage_remove_small_file(min_kb);
}

/** Close the file and go to the state in which the recorder is without it. */
int stop_recording(bool automatic, RecorderState next)
{
    const LogOperation operation("_av_rec_stop");
    panel_set(recording_led(), LED_BLINK);
    const int stopped = stop_encoder();
    if (automatic) remove_if_small();
    _sddisk_available_kb_update(file.data());
    const int unmounted = _storage_umount();
    enter_state(next);
    return stopped | unmounted;
}

/** Go on in the next part, on a card that is still mounted. */
int start_next_part()
{
    if (!card_has_room()) return 1;
    int r = name_file(1);
    if (r != 0) return r;
    hdmirx_info info{};
    r = hdmirx_get_info(selected_config(), &info, 1);
    if (r != 0) {
        CAPD_LOG_STEP(LOG_WARNING, "hdmirx_get_info failed: %d\n", r);
        return r;
    }
    hdmirx_debug(0);
    begin_status_period();
    return start_encoder();
}

} // namespace

int32_t _av_rec_start(int32_t next_part)
{
    const LogOperation operation(__func__);
    const int r = try_to_start(next_part);
    if (r != 0)
        panel_set(recording_led(), LED_OFF);
    else
        enter_state(STATE_RECORDING);
    return r;
}

int32_t _av_rec_stop(int32_t /*argument*/)
{
    return stop_recording(recorder_state() == STATE_AUTO_STOPPED, STATE_IDLE);
}

int _av_rec_stop_start()
{
    const LogOperation operation(__func__);
    panel_set(PANEL_ERROR, LED_BLINK);
    const bool stuck = stop_encoder() == AV_REC_STUCK; // as with a card that does not answer: sync() would not, either
    for (int i = 0; i < 3 && !stuck; ++i) sync();      // the closed part must survive whatever happens to the next one
    _sddisk_available_kb_update(file.data());
    const int r = stuck ? AV_REC_STUCK : start_next_part();
    if (r != 0) {
        // No encoder runs any more: staying in STATE_RECORDING would show a recording that is none.
        _storage_umount();
        enter_state(STATE_IDLE);
    }
    panel_set(PANEL_ERROR, LED_OFF);
    return r;
}

int _auto_stop()
{
    if (recorder_state() != STATE_RECORDING) return 0;
    panel_set(PANEL_ERROR, LED_BLINK);
    stop_recording(true, STATE_AUTO_STOPPED);
    return 0;
}

int32_t _auto_stop_cancel(int32_t /*argument*/)
{
    panel_set(PANEL_ERROR, LED_OFF);
    enter_state(STATE_IDLE);
    return 0;
}

const char* output_filename()
{
    return file.data();
}

} // namespace capd
