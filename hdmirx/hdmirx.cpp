#include "hdmirx/hdmirx.h"

#include "devaccess/board.h"
#include "devaccess/i2c.h"
#include "devaccess/iec60958.h"
#include "devaccess/video_device.h"
#include "hdmirx/hdmirx_corrections.h"
#include "hdmirx/src/hdmirx/access.h"
#include "hdmirx/src/hdmirx/audio_status.h"
#include "hdmirx/src/hdmirx/events.h"
#include "hdmirx/src/hdmirx/init.h"
#include "hdmirx/src/hdmirx/mute.h"
#include "hdmirx/src/hdmirx/registers.h"
#include "hdmirx/src/hdmirx/tick.h"
#include "hdmirx/src/hdmirx/video_mode.h"
#include "hdmirx/src/hdmirx/video_state.h"
#include "hdmirx/status_report.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iterator>

namespace capd {

using namespace rx;

int hdmirx_init()
{
    video_device_open();
    printf("\n%s\n", "HDMIRX_SAMPLE_2.15");
    SetMuteMode(MUTE_MODE_AUTO);
    InitHDMIRX(true);
    reset_video_report();
    return 0;
}

int hdmirx_run()
{
    VideoTimerHandler();
    Video_Handler();
    return 0;
}

int hdmirx_set_callback(hdmirx_callback callback)
{
    SetEventCallback(callback);
    return 0;
}

int hdmirx_is_stable(int port)
{
    if ((i2c_read_rx(REG_RX_STATUS) & STATUS_STABLE) != STATUS_STABLE) return 1;
    hdmirx_info scratch = {};
    return hdmirx_get_info(port, &scratch, 0);
}

namespace {

int get_audio_info(hdmirx_info* info)
{
    info->audio_sample_rate = 48000; // what the encoder is set to when there is nothing to encode
    info->audio_iec61937 = info->audio_channels = info->audio_word_length = 0;
    if (!IsAudioPresent()) return 0;

    info->audio_sample_rate = sampling_frequency_hz(ReadAudioFs());
    ChannelStatus status = {};
    if (GetAudioChannelStatus(status) == 0) {
        info->audio_iec61937 = info->audio_channels = info->audio_word_length = -1;
        return -1;
    }
    info->audio_iec61937 = (status[0] & CHANNEL_NOT_LPCM) != 0 ? 1 : 0;
    // The field is a channel's number, not how many there are: many sources leave it at 0, or at 2 for eight.
    info->audio_channels = hdmirx_corrections.formats ? ReadAudioChannels() : status[2] >> 4;
    info->audio_word_length = status[4] & 0x0F;
    return 0;
}

// Hz up to which a rate counts as 24, then as 30, and then as what it is; all above counts as 60.
constexpr int MOST_FOR_24 = 26;
constexpr int MOST_FOR_30 = 35;
constexpr int MOST_AS_MEASURED = 54;

/** Rates that pictures have; 1000/1001 of 24, 30 and 60 count as these. */
constexpr int RATES[] = {24, 25, 30, 50, 60};

int nearest_rate(uint32_t centihertz)
{
    const auto distance = [centihertz](int rate) { return std::abs(static_cast<int>(centihertz) - 100 * rate); };
    return *std::min_element(std::begin(RATES), std::end(RATES),
                             [&](int one, int other) { return distance(one) < distance(other); });
}

} // namespace

int hdmirx_get_info([[maybe_unused]] int port, hdmirx_info* info, int with_audio)
{
    info->interlaced = hdmirx_is_interlaced();
    info->active_width = hdmirx_get_width();
    info->active_height = hdmirx_get_height();
    info->frame_rate = hdmirx_get_frame_rate();
    if (info->interlaced != 0) {
        info->frame_rate /= 2; // an unknown rate becomes 0 here and passes: the daemon has always recorded such input
        info->active_height *= 2;
    }
    if (info->frame_rate == -1) return -1;
    return with_audio != 0 ? get_audio_info(info) : 0;
}

int hdmirx_select_port(int port)
{
    ResetRxOutputControl();
    const int r = board_select_hdmirx_port(port);
    RXINT_VideoMode_Chg();
    // A board that did not switch shows one port's picture with the other one's LED.
    return hdmirx_corrections.panel ? r : 0;
}

int hdmirx_auto_select_port()
{
    for (int port = 0; port < 2; ++port) {
        hdmirx_select_port(port);
        if (hdmirx_is_stable(port) == 0) return port;
    }
    return -1;
}

int hdmirx_get_port()
{
    return board_get_hdmirx_port();
}

int hdmirx_is_interlaced()
{
    return (ReadRxReg(REG_RX_SCAN) & SCAN_INTERLACED) != 0 ? 1 : 0;
}

int hdmirx_get_width()
{
    return ReadHActive();
}

int hdmirx_get_height()
{
    return ReadVActive();
}

int hdmirx_get_frame_rate()
{
    const uint8_t xcnt = ReadRxReg(REG_RX_XCNT);
    const uint16_t htotal = ReadHTotal();
    const uint16_t vtotal = ReadVTotal();
    if (xcnt == 0 || htotal == 0 || vtotal == 0) return -1;
    const uint32_t centihertz = ((XCNT_CLOCK_KHZ / xcnt) * 1000 / htotal) * 100 / vtotal;
    // The pixel clock is counted coarsely: 50 Hz measure as 51, and 25 Hz would be taken for 24.
    if (hdmirx_corrections.formats) return nearest_rate(centihertz);
    const auto rate = static_cast<int>((uint64_t{centihertz} + 50) / 100); // to the nearest, halves upwards
    return rate <= MOST_FOR_24 ? 24 : rate <= MOST_FOR_30 ? 30 : rate <= MOST_AS_MEASURED ? rate : 60;
}

int hdmirx_debug(int port)
{
    const int stable = hdmirx_is_stable(port);
    int count = printf("---HDMI_RX debug----\n");
    count += printf("port %d\n", hdmirx_get_port());
    count += printf("stable? %d\n", stable);
    count += printf("interlaced? %d\n", hdmirx_is_interlaced());
    count += printf("active width %dpx\n", hdmirx_get_width());
    count += printf("active height %dpx\n", hdmirx_get_height());
    count += printf("frame rate %d\n", hdmirx_get_frame_rate());
    count += printf("---HDMI_RX debug done---\n");
    return count;
}

} // namespace capd
