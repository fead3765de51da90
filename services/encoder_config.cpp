#include "services/encoder_config.h"

#include "platform/platform.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <iterator>

namespace capd {

namespace {

constexpr int32_t MAX_SAMPLE_RATE = 192000;
constexpr uint32_t MAX_CHANNELS = 2;
constexpr int OUTPUT_FRAME_RATE = 30;

constexpr uint32_t TAKES_INTERLACED = 1;
constexpr uint32_t TAKES_PROGRESSIVE = 2;
constexpr struct VideoFormat {
    int32_t width;
    int32_t height;
    uint32_t flags;
} FORMATS[] = {
    {1920, 1080, TAKES_PROGRESSIVE | TAKES_INTERLACED},
    {1280, 720, TAKES_PROGRESSIVE},
};

constexpr const char* SCAN_WORDS[] = {"progressive", "interlace"};

bool format_fits(const hdmirx_info& info)
{
    if (info.interlaced != 0 && info.interlaced != 1) return false;
    const uint32_t scan = info.interlaced == 1 ? TAKES_INTERLACED : TAKES_PROGRESSIVE;
    return std::any_of(std::begin(FORMATS), std::end(FORMATS), [&](const VideoFormat& format) {
        return format.width == info.active_width && format.height == info.active_height && (format.flags & scan) != 0;
    });
}

int run_edit(const char* command)
{
    printf("%s\n", command);
    const int result = platform::run_shell(command);
    printf("system return: %d\n", result);
    return result;
}

} // namespace

EncoderRefusal av_rec_refusal(const hdmirx_info& info)
{
    if (info.audio_sample_rate > MAX_SAMPLE_RATE) return EncoderRefusal::SampleRate;
    if (static_cast<uint32_t>(info.audio_channels) > MAX_CHANNELS) return EncoderRefusal::Channels; // -1 as well
    if (info.audio_iec61937 == 1 && info.audio_word_length == 0) return EncoderRefusal::WordLength;
    return format_fits(info) ? EncoderRefusal::None : EncoderRefusal::Picture;
}

const char* av_rec_config_file(int config_no)
{
    return config_no == 0 ? "low.cfg" : "high.cfg";
}

int av_rec_configure(int config_no, const hdmirx_info* info)
{
    const EncoderRefusal refusal = av_rec_refusal(*info);
    if (refusal != EncoderRefusal::None) return static_cast<int>(refusal);
    const char* scan = SCAN_WORDS[info->interlaced];
    char command[1024];
    // Each line keeps a key with the blanks after it and replaces the rest of its line.
    snprintf(command, sizeof(command),
             "sed -ie \"{\n"
             "s/\\(^PictureResolution-InPicWidth[ \t]*\\).*$/\\1%d/;\n"
             "s/\\(^PictureResolution-InPicHeight[ \t]*\\).*$/\\1%d/;\n"
             "s/\\(^InputControl-InFrameRate[ \t]*\\).*$/\\1%d/;\n"
             "s/\\(^InputControl-OutFrameRate[ \t]*\\).*$/\\1%d/;\n"
             "s/\\(^InputControl-ScanFormat[ \t]*\\).*$/\\1%s/;\n"
             "s/\\(^InputControl-Fmt[ \t]*\\).*$/\\1%s/;\n"
             "s/\\(^AudioControlParam-SampleRate[ \t]*\\).*$/\\1%gk/;\n"
             "s/\\(^AudioControlParam-ChNum[ \t]*\\).*$/\\1%d/;\n"
             " }\" %s",
             info->active_width, info->active_height, info->frame_rate, OUTPUT_FRAME_RATE, scan, scan,
             info->audio_sample_rate / 1000.0, info->audio_channels == 1 ? 1 : 2, av_rec_config_file(config_no));
    return run_edit(command);
}

int av_rec_set_bitrate(int config_no, long bitrate)
{
    char command[512];
    snprintf(command, sizeof(command),
             "sed -ie \"{\n"
             "s/\\(^RateControl-AvgBitRate[ \t]*\\).*$/\\1%ld/;\n"
             " }\" %s",
             bitrate, av_rec_config_file(config_no));
    return run_edit(command);
}

} // namespace capd
