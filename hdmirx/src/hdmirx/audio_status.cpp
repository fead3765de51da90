#include "hdmirx/src/hdmirx/audio_status.h"

#include "devaccess/iec60958.h"
#include "hdmirx/src/hdmirx/access.h"
#include "hdmirx/src/hdmirx/registers.h"

#include <bit>

namespace capd::rx {

uint8_t GetAudioType()
{
    WriteRxReg(REG_RX_BANK, BANK_0);
    const uint8_t audio = ReadRxReg(REG_RX_AUDIO_STATE);
    if ((audio & AUDIO_KIND) == (AUDIO_PRESENT | AUDIO_HBR)) return AUDIO_TYPE_HBR;
    if ((audio & AUDIO_KIND) == (AUDIO_PRESENT | AUDIO_DSD)) return AUDIO_TYPE_DSD;
    if ((audio & AUDIO_PRESENT) == 0) return AUDIO_TYPE_NONE;
    uint8_t type = AUDIO_TYPE_LPCM;
    if ((ReadRxReg(REG_RX_CHANNEL_STATUS) & CHANNEL_NOT_LPCM) != 0) type |= AUDIO_TYPE_COMPRESSED;
    if ((audio & AUDIO_LAYOUT1) != 0) type |= AUDIO_TYPE_LAYOUT1;
    for (int line = 4; line > 0; --line) {
        if ((audio & (1 << (line - 1))) != 0) return static_cast<uint8_t>(type | line);
    }
    return type;
}

AudioSnapshot PollAudioStatus()
{
    WriteRxReg(REG_RX_BANK, BANK_0);
    const uint8_t audio = ReadRxReg(REG_RX_AUDIO_STATE);
    AudioSnapshot snapshot = {static_cast<uint8_t>(audio & ~AUDIO_LINES), static_cast<uint8_t>(audio & AUDIO_LINES), 0};
    if ((audio & (AUDIO_DSD | AUDIO_HBR)) == 0 && (ReadRxReg(REG_RX_CHANNEL_STATUS) & CHANNEL_NOT_LPCM) == 0) {
        snapshot.kind |= SNAPSHOT_LPCM;
    }
    for (int sample = 1; sample < 4; ++sample) { // a line may be idle at any one moment
        sleep_ms(1);
        snapshot.lines = static_cast<uint8_t>(snapshot.lines | (ReadRxReg(REG_RX_AUDIO_STATE) & AUDIO_LINES));
    }
    snapshot.fs = ReadAudioFs();
    return snapshot;
}

int GetAudioChannelStatus(ChannelStatus& status)
{
    const uint8_t kind = GetAudioType() & AUDIO_TYPE_KIND;
    if (kind == AUDIO_TYPE_NONE || kind == AUDIO_TYPE_DSD) return 0;
    for (uint8_t i = 0; i < 3; ++i) status[i] = ReadRxReg(static_cast<uint8_t>(REG_RX_CHANNEL_STATUS + i));
    const uint8_t fs = kind == AUDIO_TYPE_HBR ? FS_CODE_768_KHZ : ReadAudioFs();
    if (kind == AUDIO_TYPE_HBR) status[0] |= CHANNEL_NOT_LPCM;
    const uint8_t rest = ReadRxReg(REG_RX_CHANNEL_STATUS_3);
    status[3] = static_cast<uint8_t>(fs | ((rest & CHANNEL_CLOCK) << 4));
    status[4] = static_cast<uint8_t>((rest & CHANNEL_WORD) >> 4 | ((~fs & AUDIO_FS_CODE) << 4));
    return 1;
}

int ReadAudioChannels()
{
    if ((GetAudioType() & AUDIO_TYPE_LAYOUT1) == 0) return 2;
    return 2 * std::popcount(PollAudioStatus().lines);
}

uint8_t ReadAudioFs()
{
    return ReadRxReg(REG_RX_AUDIO_FS) & AUDIO_FS_CODE;
}

bool IsAudioPresent()
{
    const uint8_t kind = GetAudioType() & AUDIO_TYPE_KIND;
    return kind != AUDIO_TYPE_NONE && kind != AUDIO_TYPE_DSD;
}

} // namespace capd::rx
