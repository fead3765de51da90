#include "hdmitx/info_frames.h"

#include <cstdio>

#include "hdmitx/access.h"
#include "hdmitx/registers.h"
#include "hdmitx/state.h"

namespace capd {

namespace {

// All bytes of an info frame sum to 0: what is left of that sum after type, version and length (and for the vendor's
// also its 24-bit identifier) is the base that the data bytes are taken from.
constexpr uint8_t AVI_CHECKSUM_BASE = 0x6F;
constexpr uint8_t AUDIO_CHECKSUM_BASE = 0x71;
constexpr uint8_t VENDOR_CHECKSUM_BASE = 0x6A;      // length 5
constexpr uint8_t VENDOR_LONG_CHECKSUM_BASE = 0x69; // length 6

// CTA-861: type codes as sent (0x80 and the type), and the fields of the AVI frame's first two bytes.
constexpr uint8_t FRAME_AVI = 0x82;
constexpr uint8_t FRAME_AUDIO = 0x84;
constexpr uint8_t AVI_ACTIVE_FORMAT = 0x10; // byte 1: byte 2 has an active format
constexpr uint8_t AVI_YUV422 = 0x20;
constexpr uint8_t AVI_YUV444 = 0x40;
constexpr uint8_t AVI_ITU601 = 0x40; // byte 2
constexpr uint8_t AVI_ITU709 = 0x80;
constexpr uint8_t AVI_4_BY_3 = 0x10;
constexpr uint8_t AVI_16_BY_9 = 0x20;
constexpr uint8_t AVI_FORMAT_AS_PICTURE = 0x08; // the picture fills its frame

HdmitxInfoFrame info_frame; // scratch for the AVI and audio info frames

uint8_t write_and_read_back(uint8_t reg, uint8_t value)
{
    hdmitx_WriteReg(reg, value);
    return hdmitx_ReadReg(reg);
}

} // namespace

void ConfigAVIInfoFrame(uint8_t vic, uint8_t pixelRep)
{
    const uint8_t mode = hdmitx_video.bOutputColorMode;
    const uint8_t colour = mode == COLOUR_YUV422 ? AVI_YUV422 : mode == COLOUR_YUV444 ? AVI_YUV444 : 0;
    const uint8_t colorimetry = hdmitx_video.bColorimetry709 == 1 ? AVI_ITU709 : AVI_ITU601;
    const uint8_t aspect = hdmitx_video.bAspect16x9 == 1 ? AVI_16_BY_9 : AVI_4_BY_3;
    info_frame = {.type = FRAME_AVI, .version = 2, .length = 13, .checksum = 0, .data = {}};
    info_frame.data[0] = AVI_ACTIVE_FORMAT | colour;
    info_frame.data[1] = colorimetry | aspect | AVI_FORMAT_AS_PICTURE;
    info_frame.data[3] = vic;
    info_frame.data[4] = pixelRep & 3;
    hdmitx_SetAVIInfoFrame(1, &info_frame);
}

void ConfigAudioInfoFrm()
{
    printf("ConfigAudioInfoFrm(%d)\n", 2);
    info_frame = {.type = FRAME_AUDIO, .version = 1, .length = 10, .checksum = 0, .data = {1}}; // two channels
    hdmitx_SetAudioInfoFrame(&info_frame);
}

int hdmitx_SetAVIInfoFrame(int enable, const HdmitxInfoFrame* buffer)
{
    if (enable == 0) {
        hdmitx_WriteReg(txreg::AVI_PACKET, txreg::PACKET_OFF);
        return 1;
    }
    if (buffer == nullptr) return 0;
    hdmitx_SwitchBank(1);
    unsigned int sum = 0;
    for (size_t n = 0; n < buffer->data.size(); ++n) {
        const size_t reg = n < 5 ? txreg::B1_AVI_1 + n : txreg::B1_AVI_6 + (n - 5);
        hdmitx_WriteReg(static_cast<uint8_t>(reg), buffer->data[n]);
        sum += buffer->data[n];
    }
    hdmitx_WriteReg(txreg::B1_AVI_CHECKSUM, static_cast<uint8_t>(AVI_CHECKSUM_BASE - sum));
    hdmitx_SwitchBank(0);
    hdmitx_WriteReg(txreg::AVI_PACKET, txreg::PACKET_SEND);
    return 1;
}

int hdmitx_SetAudioInfoFrame(const HdmitxInfoFrame* buffer)
{
    if (buffer == nullptr) return 0;
    hdmitx_SwitchBank(1);
    unsigned int sum = 0;
    for (uint8_t n = 0; n < 5; ++n) {
        if (n == 2) continue; // depends on the coding: its register stays 0
        sum += write_and_read_back(txreg::B1_AUDIO_1 + n, buffer->data[n]);
    }
    hdmitx_WriteReg(txreg::B1_AUDIO_CHECKSUM, static_cast<uint8_t>(AUDIO_CHECKSUM_BASE - sum));
    hdmitx_SwitchBank(0);
    hdmitx_WriteReg(txreg::AUDIO_PACKET, txreg::PACKET_SEND);
    return 1;
}

int hdmitx_SetVSInfoFrame(int enable, HdmitxInfoFrame* buffer)
{
    if (enable == 0) {
        hdmitx_WriteReg(txreg::VENDOR_PACKET, txreg::PACKET_OFF);
        return 1;
    }
    if (buffer == nullptr) return 0;
    const std::array<uint8_t, 13>& data = buffer->data;
    const bool has_extension = data[4] > 127;
    hdmitx_SwitchBank(1);
    hdmitx_WriteReg(txreg::B1_VENDOR_4, data[3]);
    hdmitx_WriteReg(txreg::B1_VENDOR_4 + 1, data[4]);
    int checksum = VENDOR_CHECKSUM_BASE - data[3] - data[4];
    if (has_extension) {
        hdmitx_WriteReg(txreg::B1_VENDOR_4 + 2, data[5]);
        checksum = VENDOR_LONG_CHECKSUM_BASE - data[3] - data[4] - data[5];
    }
    buffer->checksum = static_cast<uint8_t>(checksum);
    hdmitx_WriteReg(txreg::B1_VENDOR_CHECKSUM, buffer->checksum);
    hdmitx_SwitchBank(0);
    hdmitx_WriteReg(txreg::VENDOR_PACKET, txreg::PACKET_SEND);
    return 1;
}

} // namespace capd
