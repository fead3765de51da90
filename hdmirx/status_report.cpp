#include "hdmirx/status_report.h"

#include "hdmirx/src/hdmirx/access.h"
#include "hdmirx/src/hdmirx/audio_status.h"
#include "hdmirx/src/hdmirx/info_frames.h"
#include "hdmirx/src/hdmirx/port.h"
#include "hdmirx/src/hdmirx/registers.h"
#include "hdmirx/src/hdmirx/video_mode.h"

#include <cstdio>
#include <cstring>

namespace capd {

using namespace rx;

namespace {

constexpr char SEPARATOR[] = "========================================================================\n";

uint32_t report_samples;  // video reports taken
uint32_t report_xcnt_sum; // sum of their pixel-clock counts

void open_report()
{
    printf("\n%s", SEPARATOR);
}

void close_report()
{
    printf("%s", SEPARATOR);
}

void read_porches(VideoReport* r)
{
    const uint8_t high = ReadRxReg(REG_RX_HSYNC_HIGH);
    r->h_front = static_cast<uint16_t>(ReadRxReg(REG_RX_HFRONT) | ((high & HSYNC_HIGH_FRONT_REPORT) << 4));
    r->h_sync = static_cast<uint16_t>(ReadRxReg(REG_RX_HSYNC) | ((high & HSYNC_HIGH_WIDTH) << 8));
    r->h_back = static_cast<uint16_t>(r->h_total - r->h_active - r->h_front - r->h_sync);
    r->v_front = ReadRxReg(REG_RX_VFRONT) & VFRONT_REPORT;
    if (r->v_active == 600 && r->v_total == 666) r->v_front += 0x20; // 37 lines do not fit into the field
    r->v_sync = r->v_active < 300 ? 3 : 5;                           // not measured; that of the television formats
    r->vsync_to_de = ReadRxReg(REG_RX_VSYNC_TO_DE);
    r->v_back = static_cast<uint16_t>(r->vsync_to_de - r->v_sync);
}

const char* depth_text(uint8_t code)
{
    switch (code) {
    case 4: return "@24bits";
    case 5: return "@30bits";
    case 6: return "@36bits";
    case 7: return "@48bits";
    default: return "@No def(24bits)";
    }
}

int get_frame(InfoFrameKind kind, InfoFrame& frame)
{
    switch (kind) {
    case InfoFrameKind::Avi: return GetAVIInfoFrame(frame);
    case InfoFrameKind::Audio: return GetAudioInfoFrame(frame);
    case InfoFrameKind::Vendor: break;
    }
    return GetVENDORSPECInfoFrame(frame);
}

AudioReport::Kind audio_kind(uint8_t type)
{
    switch (type & AUDIO_TYPE_KIND) {
    case AUDIO_TYPE_NONE: return AudioReport::Kind::None;
    case AUDIO_TYPE_HBR: return AudioReport::Kind::Hbr;
    case AUDIO_TYPE_DSD: return AudioReport::Kind::Dsd;
    default: return (type & AUDIO_TYPE_COMPRESSED) != 0 ? AudioReport::Kind::Compressed : AudioReport::Kind::Lpcm;
    }
}

} // namespace

void reset_video_report()
{
    report_samples = 0;
    report_xcnt_sum = 0;
}

bool read_video_report(VideoReport* report)
{
    *report = {};
    report_xcnt_sum += ReadRxReg(REG_RX_XCNT);
    ++report_samples;
    const uint64_t sum = report_xcnt_sum;
    const uint64_t samples = report_samples;

    report->h_active = ReadHActive();
    report->v_active = ReadVActive();
    report->h_total = ReadHTotal();
    report->v_total = ReadVTotal();
    report->hdmi = IsHDMIMode();
    if (sum == 0 || report->h_total == 0 || report->v_total == 0) return false;

    const uint64_t clock_hz = samples * XCNT_CLOCK_KHZ / sum * 1000;
    report->pixel_clock_hz = static_cast<uint32_t>(clock_hz);
    report->field_centihertz = static_cast<uint32_t>(clock_hz / report->h_total * 100 / report->v_total);
    report->xcnt_whole = static_cast<uint32_t>(sum / samples);
    report->xcnt_hundredths = static_cast<uint32_t>(100 * sum / samples - 100 * (sum / samples));
    report->depth_code = (ReadRxReg(REG_RX_AUDIO_FS) & PICTURE_DEPTH) >> 4;
    read_porches(report);
    return true;
}

void ShowVideoStatus()
{
    VideoReport r;
    const bool signal = read_video_report(&r);
    open_report();
    if (!signal) {
        printf("No video signal.\n");
        close_report();
        return;
    }
    const long clock = static_cast<long>(r.pixel_clock_hz / 10000);
    const long rate = static_cast<long>(r.field_centihertz);
    printf("%s mode\n", r.hdmi ? "HDMI" : "DVI");
    printf("Mode - %dx%d@", r.h_active, r.v_active);
    printf("%ld.%02ldHz", rate / 100, rate % 100);
    printf("%s", depth_text(r.depth_code));
    printf(", PCLK = %ld.%02ldMHz", clock / 100, clock % 100);
    printf(",xCnt= %d.%02ld\n", static_cast<int>(r.xcnt_whole), static_cast<long>(r.xcnt_hundredths));
    printf("<%4dx%4d>,", r.h_total, r.v_total);
    printf("H:(%d,%d,%d),", r.h_front, r.h_sync, r.h_back);
    printf("V:(%d,%d,%d), ", r.v_front, r.v_sync, r.v_back);
    printf("VSyncToDE = %d\n", r.vsync_to_de);
    close_report();
    close_report();
}

bool read_info_frame(InfoFrameKind kind, InfoFrameReport* report)
{
    InfoFrame frame;
    if (get_frame(kind, frame) == 0) return false;
    static_assert(sizeof report->bytes == sizeof frame);
    memcpy(report->bytes, frame.data(), sizeof report->bytes);
    report->count = (frame[2] & 0x1F) + 4;
    return true;
}

void ShowInfoFrames()
{
    static constexpr struct {
        InfoFrameKind kind;
        const char *title, *failure;
    } FRAMES[] = {
        {InfoFrameKind::Avi, "GetAVIInfoFrame():", "Cannot get AVI Infoframe()\n"},
        {InfoFrameKind::Audio, "GetAudioInfoFrame():", "Cannot get audio infoframe.\n"},
        {InfoFrameKind::Vendor, "GetVENDORSPECInfoFrame():", "Cannot GetVENDORSPECInfoFrame()\n"},
    };
    for (const auto& f : FRAMES) {
        InfoFrameReport report;
        if (!read_info_frame(f.kind, &report)) {
            printf("%s", f.failure);
            continue;
        }
        printf("%s", f.title);
        for (int i = 0; i < report.count; ++i) printf(" %02X", report.bytes[i]);
        printf("\n");
    }
}

void read_audio_report(AudioReport* report)
{
    *report = {};
    const uint8_t type = GetAudioType();
    report->kind = audio_kind(type);
    if (report->kind != AudioReport::Kind::Lpcm && report->kind != AudioReport::Kind::Compressed) return;
    report->layout = (type & AUDIO_TYPE_LAYOUT1) != 0 ? 1 : 0;
    report->sources = type & AUDIO_TYPE_LINE;
    ChannelStatus status = {};
    GetAudioChannelStatus(status); // stays 0 when the audio has stopped since
    memcpy(report->channel_status, status.data(), sizeof report->channel_status);
}

void ShowAudioStatus()
{
    AudioReport r;
    read_audio_report(&r);
    open_report();
    switch (r.kind) {
    case AudioReport::Kind::None: printf("No Audio.\n"); break;
    case AudioReport::Kind::Hbr: printf("Audio input is HBR (High Bit Rate) audio.\n"); break;
    case AudioReport::Kind::Dsd: printf("Audio input is DSD (One Bit Audio) audio.\n"); break;
    case AudioReport::Kind::Compressed: printf("Audio input is IEC 61937 compressed audio.\n"); break;
    case AudioReport::Kind::Lpcm: printf("Audio input is IEC 60958 linear PCM audio.\n"); break;
    }
    if (r.kind == AudioReport::Kind::Compressed || r.kind == AudioReport::Kind::Lpcm) {
        const uint8_t* s = r.channel_status;
        printf("layout %d, ", r.layout);
        printf("%d source\n", r.sources);
        printf("Channel Status: %02X %02X %02X %02X %02X\n", s[0], s[1], s[2], s[3], s[4]);
    }
    close_report();
}

} // namespace capd
