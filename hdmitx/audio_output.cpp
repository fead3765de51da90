#include "hdmitx/audio_output.h"

#include <algorithm>
#include <cstdio>

#include "devaccess/iec60958.h"
#include "hdmitx/access.h"
#include "hdmitx/info_frames.h"
#include "hdmitx/registers.h"
#include "hdmitx/state.h"

namespace capd {

namespace {

// N of the audio clock regeneration by sampling-frequency code, as HDMI 1.4 recommends it (tables 7-1 to 7-3, row
// "Other").
constexpr struct {
    uint8_t code;
    uint16_t n;
} CLOCK_REGENERATION[] = {
    {0, 6272},   {FS_CODE_48_KHZ, 6144}, {3, 4096}, {8, 12544}, {FS_CODE_768_KHZ, 24576}, {10, 12288}, {12, 25088},
    {14, 24576},
};
constexpr uint16_t N_48_KHZ = 6144;        // what everything unknown counts as
constexpr uint32_t HZ_OF_UNKNOWN = 48'000; // likewise

constexpr uint8_t WORD_24_BITS = 0x0B;      // channel status byte 4
constexpr uint8_t NOT_LINEAR_PCM = 0x02;    // channel status byte 0
constexpr uint8_t HBR_STATUS_BYTE_4 = 0x6B; // complement of the above, and 24 bits
constexpr uint8_t DEFAULT_STATUS_WORD = 0x60;
constexpr int SPDIF_POLLS = 100;

uint16_t n_of_code(uint8_t code)
{
    for (const auto& row : CLOCK_REGENERATION) {
        if (row.code == code) return row.n;
    }
    return N_48_KHZ;
}

HdmitxChannelStatus default_channel_status(uint8_t channels, uint8_t code)
{
    const int pairs = std::clamp((channels + 1) / 2, 1, 4);
    const int complement = ~code & 0x0F;
    return {0, 0, static_cast<uint8_t>(pairs), code, static_cast<uint8_t>(complement << 4 | WORD_24_BITS)};
}

void open_protected_registers()
{
    hdmitx_WriteReg(txreg::LOCK, txreg::LOCK_OPEN_1);
    hdmitx_WriteReg(txreg::LOCK, txreg::LOCK_OPEN_2);
}

void close_protected_registers()
{
    hdmitx_WriteReg(txreg::LOCK, txreg::LOCK_CLOSE);
}

void wait_for_spdif_input()
{
    for (int poll = 0; poll < SPDIF_POLLS; ++poll) {
        if ((hdmitx_ReadReg(txreg::SPDIF_STATUS) & txreg::SPDIF_READY) != 0) return;
    }
}

void select_source(uint8_t type, uint8_t spdif)
{
    if (spdif != 0) {
        if (type == T_AUDIO_HBR) hdmitx_WriteReg(txreg::AUDIO_CLOCK, txreg::AUDIO_CLOCK_HBR_SPDIF);
        hdmitx_SetRegBits(txreg::AUDIO_CTRL, txreg::AUDIO_SPDIF, txreg::AUDIO_SPDIF);
    } else {
        hdmitx_SetRegBits(txreg::AUDIO_CTRL, txreg::AUDIO_SPDIF, 0);
    }
}

void set_up_lpcm(HdmitxChannelStatus cs, uint8_t channels, uint8_t spdif)
{
    printf("T_AUDIO_LPCM\n");
    cs[0] = static_cast<uint8_t>(cs[0] & ~NOT_LINEAR_PCM);
    hdmitx_SetChannelStatus(cs);
    hdmitx_SetLPCMAudio(static_cast<uint8_t>((channels + 1) / 2), 24, spdif);
}

void set_up_nlpcm(HdmitxChannelStatus cs)
{
    printf("T_AUDIO_NLPCM\n");
    cs[0] |= NOT_LINEAR_PCM;
    hdmitx_SetChannelStatus(cs);
    hdmitx_SetNLPCMAudio();
}

void set_up_dsd()
{
    printf("T_AUDIO_DSD\n");
    hdmitx_SetDSDAudio();
}

void set_up_hbr(HdmitxChannelStatus cs, uint8_t spdif)
{
    printf("T_AUDIO_HBR\n");
    cs[0] |= NOT_LINEAR_PCM;
    cs[2] = 0;
    cs[3] = (cs[3] & 0xF0) | FS_CODE_768_KHZ;
    cs[4] |= HBR_STATUS_BYTE_4;
    hdmitx_SetChannelStatus(cs);
    hdmitx_SetHBRAudio(spdif);
}

uint8_t word_length_bits(uint8_t wordLength)
{
    switch (wordLength) {
    case 16: return txreg::AUDIO_WORD_16;
    case 18: return txreg::AUDIO_WORD_18;
    case 20: return txreg::AUDIO_WORD_20;
    default: return txreg::AUDIO_WORD_24;
    }
}

uint8_t channel_enables(uint8_t pairs)
{
    return pairs >= 2 && pairs <= 4 ? static_cast<uint8_t>((1u << pairs) - 1) : txreg::AUDIO_FIRST_PAIR;
}

} // namespace

void HDMITX_SetAudioOutput()
{
    if (hdmitx_audio.bAudioEnable == 0) return;
    ConfigAudioInfoFrm();
    HDMITX_EnableAudioOutput(hdmitx_audio.bOutputAudioType, 0, hdmitx_audio.ulAudioSampleFS,
                             hdmitx_audio.bOutputAudioChannel, nullptr, hdmitx_tmds_clock());
    hdmitx_audio.bChangeAudio = 0;
}

void HDMITX_EnableAudioOutput(uint8_t type, uint8_t spdif, uint32_t rate, uint8_t channels,
                              const HdmitxChannelStatus* channelStatus, uint32_t tmdsClock)
{
    hdmitx_instance.ulTMDSClock = tmdsClock;
    hdmitx_instance.bSPDIF = spdif;
    hdmitx_instance.bAudioChannelEnable = 0;
    hdmitx_SetRegBits(txreg::RESET, txreg::RESET_AUDIO, txreg::RESET_AUDIO);
    hdmitx_WriteReg(txreg::AUDIO_CLOCK, txreg::AUDIO_CLOCK_NORMAL);
    hdmitx_SetRegBits(txreg::SYS_CTRL, txreg::SYS_CONVERTER_OFF, 0);
    select_source(type, spdif);
    HdmitxChannelStatus cs = {};
    if (type != T_AUDIO_DSD) { // one-bit audio has no channel status
        hdmitx_instance.bAudioFs = sampling_frequency_code(rate);
        hdmitx_SetNCTS(hdmitx_instance.bAudioFs);
        cs = channelStatus != nullptr ? *channelStatus : default_channel_status(channels, hdmitx_instance.bAudioFs);
    }
    hdmitx_SetRegBits(txreg::RESET, txreg::RESET_AUDIO, txreg::RESET_AUDIO_OUTPUT);
    switch (type) {
    case T_AUDIO_LPCM: set_up_lpcm(cs, channels, spdif); break;
    case T_AUDIO_NLPCM: set_up_nlpcm(cs); break;
    case T_AUDIO_DSD: set_up_dsd(); break;
    case T_AUDIO_HBR: set_up_hbr(cs, spdif); break;
    default: break;
    }
    hdmitx_SetRegBits(txreg::INT_MASK_1, txreg::INT_AUDIO_OVERFLOW, 0);
    hdmitx_WriteReg(txreg::AUDIO_CTRL, hdmitx_instance.bAudioChannelEnable);
    hdmitx_SetRegBits(txreg::RESET, txreg::RESET_AUDIO, 0);
}

void hdmitx_SetNCTS(uint8_t code)
{
    const uint8_t type = hdmitx_ReadReg(txreg::AUDIO_TYPE_1);
    const uint16_t n = n_of_code(code);
    hdmitx_SwitchBank(1);
    hdmitx_WriteReg(txreg::B1_N, static_cast<uint8_t>(n));
    hdmitx_WriteReg(txreg::B1_N + 1, static_cast<uint8_t>(n >> 8));
    hdmitx_WriteReg(txreg::B1_N + 2, 0);
    for (uint8_t byte = 0; byte < 3; ++byte) hdmitx_WriteReg(txreg::B1_CTS + byte, 0);
    hdmitx_SwitchBank(0);
    open_protected_registers();
    hdmitx_SetRegBits(txreg::CTS_CTRL, txreg::CTS_FIXED, 0);
    close_protected_registers();
    if ((type & txreg::AUDIO_TYPE_1_HBR) != 0) return;
    hdmitx_SwitchBank(1);
    hdmitx_WriteReg(txreg::B1_STATUS_RATE, FS_CODE_768_KHZ);
    hdmitx_WriteReg(txreg::B1_STATUS_WORD, (hdmitx_ReadReg(txreg::B1_STATUS_WORD) & 0x0F) | DEFAULT_STATUS_WORD);
    hdmitx_SwitchBank(0);
}

void hdmitx_SetChannelStatus(const HdmitxChannelStatus& cs)
{
    hdmitx_SwitchBank(1);
    hdmitx_WriteReg(txreg::B1_STATUS_MODE, (cs[0] << 1) & txreg::STATUS_MODE_BITS);
    hdmitx_WriteReg(txreg::B1_STATUS_CATEGORY, cs[1]);
    hdmitx_WriteReg(txreg::B1_STATUS_SOURCE, cs[2] & 0x0F);
    hdmitx_WriteReg(txreg::B1_STATUS_CHANNEL, cs[2] >> 4);
    hdmitx_WriteReg(txreg::B1_STATUS_RATE, cs[3]);
    hdmitx_WriteReg(txreg::B1_STATUS_WORD, cs[4]);
    hdmitx_SwitchBank(0);
}

void hdmitx_SetLPCMAudio(uint8_t pairs, uint8_t wordLength, uint8_t spdif)
{
    const bool multichannel = spdif == 0 && pairs >= 2 && pairs <= 4;
    const uint8_t base = hdmitx_instance.audio_mode;
    const uint8_t mode =
        static_cast<uint8_t>(multichannel ? base | txreg::AUDIO_MULTICHANNEL : base & ~txreg::AUDIO_MULTICHANNEL);
    const uint8_t source = spdif != 0 ? txreg::AUDIO_SPDIF | txreg::AUDIO_FIRST_PAIR : channel_enables(pairs);
    const uint8_t control = word_length_bits(wordLength) | source;
    hdmitx_instance.bAudioChannelEnable = control;
    hdmitx_SwitchBank(0);
    hdmitx_WriteReg(txreg::AUDIO_CTRL, static_cast<uint8_t>(control & ~txreg::AUDIO_CHANNELS)); // channels off for now
    hdmitx_WriteReg(txreg::AUDIO_MODE, mode | txreg::AUDIO_MODE_BIT0);
    hdmitx_WriteReg(txreg::AUDIO_MAP, txreg::AUDIO_MAP_IDENTITY);
    hdmitx_WriteReg(txreg::AUDIO_SOURCE, spdif != 0 ? txreg::AUDIO_SOURCE_SPDIF : txreg::AUDIO_SOURCE_I2S);
    hdmitx_WriteReg(txreg::AUDIO_TYPE_0, 0);
    hdmitx_WriteReg(txreg::AUDIO_TYPE_1, 0);
    if (spdif == 0) return;
    hdmitx_SetRegBits(txreg::SPDIF_CTRL, txreg::SPDIF_INPUT, txreg::SPDIF_INPUT);
    wait_for_spdif_input();
}

void hdmitx_SetNLPCMAudio()
{
    constexpr uint8_t CONTROL = txreg::AUDIO_WORD_24 | txreg::AUDIO_SPDIF;
    hdmitx_SwitchBank(0);
    hdmitx_WriteReg(txreg::AUDIO_CTRL, CONTROL);
    hdmitx_WriteReg(txreg::AUDIO_MODE, txreg::AUDIO_MODE_BIT0);
    hdmitx_WriteReg(txreg::AUDIO_MAP, txreg::AUDIO_MAP_IDENTITY);
    hdmitx_WriteReg(txreg::AUDIO_SOURCE, txreg::AUDIO_SOURCE_SPDIF);
    hdmitx_WriteReg(txreg::AUDIO_TYPE_0, 0);
    hdmitx_WriteReg(txreg::AUDIO_TYPE_1, 0);
    wait_for_spdif_input();
    hdmitx_WriteReg(txreg::AUDIO_CTRL, CONTROL | txreg::AUDIO_FIRST_PAIR);
    // Kept for the caller's last step, which would switch every channel off again.
    hdmitx_instance.bAudioChannelEnable = CONTROL | txreg::AUDIO_FIRST_PAIR;
}

void hdmitx_SetHBRAudio(uint8_t spdif)
{
    const uint8_t control = spdif != 0 ? txreg::AUDIO_WORD_24 | txreg::AUDIO_SPDIF : txreg::AUDIO_WORD_24;
    hdmitx_SwitchBank(0);
    hdmitx_WriteReg(txreg::AUDIO_MODE, txreg::AUDIO_MODE_HBR);
    hdmitx_WriteReg(txreg::AUDIO_MAP, txreg::AUDIO_MAP_IDENTITY);
    hdmitx_WriteReg(txreg::AUDIO_CTRL, control);
    hdmitx_WriteReg(txreg::AUDIO_SOURCE, spdif != 0 ? txreg::AUDIO_SOURCE_SPDIF : txreg::AUDIO_SOURCE_I2S);
    hdmitx_WriteReg(txreg::AUDIO_TYPE_0, txreg::AUDIO_TYPE_0_HBR);
    hdmitx_WriteReg(txreg::AUDIO_TYPE_1, txreg::AUDIO_TYPE_1_HBR);
    if (spdif != 0) wait_for_spdif_input();
    hdmitx_WriteReg(txreg::AUDIO_CTRL, control | (spdif != 0 ? txreg::AUDIO_FIRST_PAIR : txreg::AUDIO_CHANNELS));
    hdmitx_SetRegBits(txreg::SPDIF_CTRL, txreg::SPDIF_INPUT, 0);
    hdmitx_instance.bAudioChannelEnable = hdmitx_ReadReg(txreg::AUDIO_CTRL);
}

void hdmitx_SetDSDAudio()
{
    hdmitx_WriteReg(txreg::AUDIO_MODE, txreg::AUDIO_MODE_DSD);
    hdmitx_WriteReg(txreg::AUDIO_MAP, txreg::AUDIO_MAP_IDENTITY);
    hdmitx_WriteReg(txreg::AUDIO_CTRL, txreg::AUDIO_WORD_24);
    hdmitx_WriteReg(txreg::AUDIO_SOURCE, txreg::AUDIO_SOURCE_I2S);
    hdmitx_WriteReg(txreg::AUDIO_TYPE_0, 0);
    hdmitx_WriteReg(txreg::AUDIO_TYPE_1, txreg::AUDIO_TYPE_1_DSD);
    hdmitx_WriteReg(txreg::AUDIO_CTRL, txreg::AUDIO_WORD_24 | txreg::AUDIO_CHANNELS);
    // Kept for the caller's last step, which would switch every channel off again.
    hdmitx_instance.bAudioChannelEnable = txreg::AUDIO_WORD_24 | txreg::AUDIO_CHANNELS;
}

void HDMITX_ChangeAudioOption(uint8_t option, uint8_t channels, uint8_t code)
{
    HdmitxAudioState& audio = hdmitx_audio;
    switch (option) {
    case T_AUDIO_HBR:
        audio.bOutputAudioChannel = 8;
        audio.bOutputAudioType = T_AUDIO_HBR;
        audio.ulAudioSampleFS = 768000;
        return;
    case T_AUDIO_NLPCM:
        audio.bOutputAudioChannel = 2;
        audio.bOutputAudioType = T_AUDIO_NLPCM;
        break;
    default:
        audio.bOutputAudioType = T_AUDIO_LPCM;
        audio.bOutputAudioChannel = std::clamp<uint8_t>(channels, 1, 8);
        break;
    }
    const int32_t hz = sampling_frequency_hz(code);
    audio.ulAudioSampleFS = hz != 0 ? static_cast<uint32_t>(hz) : HZ_OF_UNKNOWN;
    printf("HDMITX_ChangeAudioOption():bOutputAudioType = %02X, ulAudioSampleFS = %8ld, bOutputAudioChannel = %d\n",
           audio.bOutputAudioType, static_cast<long>(audio.ulAudioSampleFS), audio.bOutputAudioChannel);
    audio.bChangeAudio = 1;
}

} // namespace capd
