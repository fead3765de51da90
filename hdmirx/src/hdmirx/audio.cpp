#include "hdmirx/src/hdmirx/audio.h"

#include "hdmirx/src/hdmirx/access.h"
#include "hdmirx/src/hdmirx/message.h"
#include "hdmirx/src/hdmirx/registers.h"

namespace capd::rx {

static constexpr uint16_t READY_TICKS = 7;
static constexpr uint16_t AUDIO_ON_TICKS = 32;      // 640 ms without a change before the daemon is told
static constexpr uint16_t MUTE_RESUMING_TICKS = 79; // 1.58 s for a source to end its AV mute
static constexpr uint8_t AUDIO_ERROR_LIMIT = 10;
static constexpr uint8_t FS_CODE_HBR = 9; // 768 kHz, the rate of the four lines together

static void forget_audio_errors()
{
    driver.AudioErrorCount = 0;
    driver.AudioFsForError = AUDIO_FS_START;
    ClearRxRegFlags(REG_RX_FS_SELECT, FS_FORCED);
    ClearRxRegFlags(REG_RX_AUDIO_CTRL, AUDIO_CTRL_FORCE);
}

void SetRxAudioMute(bool on)
{
    SetRxOutputControl(static_cast<uint8_t>(~OUTPUT_AUDIO_OFF), on ? OUTPUT_AUDIO_OFF : 0);
}

void SetAState(AudioState state)
{
    driver.AState = state;
    message("AState -> %s\n", AStateName(state));
    switch (state) {
    case ASTATE_AudioOff: SetRxAudioMute(true); break;
    case ASTATE_WaitForReady: driver.audio_timer = READY_TICKS; break;
    case ASTATE_AudioOn:
        SetRxAudioMute(driver.av_mute);
        driver.audio_timer = AUDIO_ON_TICKS;
        if (driver.av_mute) {
            message("AudioOn, but still in mute.\n");
            driver.MuteResumingTimer = MUTE_RESUMING_TICKS;
        }
        break;
    case ASTATE_RequestAudio:
    case ASTATE_ResetAudio:
    case ASTATE_Reserved: break;
    }
}

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
        snapshot.lines |= ReadRxReg(REG_RX_AUDIO_STATE) & AUDIO_LINES;
    }
    snapshot.fs = ReadAudioFs();
    return snapshot;
}

int GetAudioChannelStatus(ChannelStatus& status)
{
    const uint8_t kind = GetAudioType() & AUDIO_TYPE_KIND;
    if (kind == AUDIO_TYPE_NONE || kind == AUDIO_TYPE_DSD) return 0;
    for (uint8_t i = 0; i < 3; ++i) status[i] = ReadRxReg(static_cast<uint8_t>(REG_RX_CHANNEL_STATUS + i));
    const uint8_t fs = kind == AUDIO_TYPE_HBR ? FS_CODE_HBR : ReadAudioFs();
    if (kind == AUDIO_TYPE_HBR) status[0] |= CHANNEL_NOT_LPCM;
    const uint8_t rest = ReadRxReg(REG_RX_CHANNEL_STATUS_3);
    status[3] = static_cast<uint8_t>(fs | ((rest & CHANNEL_CLOCK) << 4));
    status[4] = static_cast<uint8_t>((rest & CHANNEL_WORD) >> 4 | ((~fs & AUDIO_FS_CODE) << 4));
    return 1;
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

void DeliverAudioEvent(HdmirxEvent event)
{
    if (driver.callback != nullptr && IsAudioPresent()) driver.callback(event, 0);
}

static void pulse_audio_reset()
{
    SetRxRegFlags(REG_RX_AUDIO_RESET, AUDIO_RESET_ARM);
    WriteRxReg(REG_RX_RESET, RESET_AUDIO);
    sleep_ms(1);
    WriteRxReg(REG_RX_RESET, RESET_NONE);
}

static void request_hbr_or_dsd(bool hbr)
{
    if (hbr) {
        WriteRxReg(REG_RX_BANK, BANK_0);
        ClearRxRegFlags(REG_RX_AUDIO_HBR, AUDIO_HBR_BYPASS);
        ClearRxRegFlags(REG_RX_AUDIO_CTRL, AUDIO_CTRL_PATH);
    }
    pulse_audio_reset();
    PulseRxReset(PULSE_AUDIO);
    SetRxRegFlags(REG_RX_CTRL3, CTRL3_AUDIO);
    SetAState(ASTATE_WaitForReady);
}

// The order in which sampling frequencies are tried: 48, 44.1, 32, 96, 192 kHz.
static uint8_t next_forced_fs(uint8_t code)
{
    switch (code) {
    case 0: return 3;
    case 2: return 0;
    case 3: return 10;
    case 10: return 14;
    default: return 2;
    }
}

// After too many requests without a quiet spell: force the next frequency, or stop forcing the one that did not help.
static uint8_t toggle_forced_fs(uint8_t select)
{
    driver.AudioErrorCount = 0;
    if ((select & FS_FORCED) != 0) return select & ~FS_FORCED;
    driver.AudioFsForError = next_forced_fs(driver.AudioFsForError);
    message("===[Audio FS Error ]===\n");
    return select | FS_FORCED;
}

static void write_forced_fs()
{
    const uint8_t clock = ReadRxReg(REG_RX_AUDIO_CTRL) & AUDIO_CTRL_CLOCK;
    const uint8_t value = clock | (driver.AudioFsForError & FS_FORCE_CODE);
    for (int i = 0; i < 4; ++i) WriteRxReg(REG_RX_FS_FORCE, value); // the chip wants it four times in a row
}

static void request_iec60958()
{
    ClearRxRegFlags(REG_RX_AUDIO_HBR, AUDIO_HBR_BYPASS);
    ++driver.AudioErrorCount;
    uint8_t select = ReadRxReg(REG_RX_FS_SELECT);
    if (driver.AudioErrorCount > AUDIO_ERROR_LIMIT) select = toggle_forced_fs(select);
    WriteRxReg(REG_RX_FS_SELECT, select | FS_REQUESTED);
    pulse_audio_reset();
    if ((select & FS_FORCED) != 0) write_forced_fs();
    SetRxRegFlags(REG_RX_CTRL3, CTRL3_AUDIO);
    PulseRxReset(PULSE_AUDIO);
    SetRxRegFlags(REG_RX_CTRL3, CTRL3_AUDIO);
    SetAState(ASTATE_WaitForReady);
}

void Audio_Handler()
{
    driver.audio = PollAudioStatus();
    if ((driver.audio.kind & AUDIO_PRESENT) == 0) {
        forget_audio_errors();
        return;
    }
    SetRxRegBits(REG_RX_AUDIO_CTRL, static_cast<uint8_t>(~AUDIO_CTRL_PATH), AUDIO_PATH_ON);
    SetRxRegFlags(REG_RX_FS_FORCE, FS_FORCE_CLOCK);
    if ((driver.audio.kind & (AUDIO_HBR | AUDIO_DSD)) != 0) {
        request_hbr_or_dsd((driver.audio.kind & AUDIO_HBR) != 0);
    } else {
        request_iec60958();
    }
}

void EnableAudio()
{
    forget_audio_errors();
    Audio_Handler();
    sleep_ms(5);
    message("EnableAudio()\n");
    const bool well = (driver.audio.kind & AUDIO_PRESENT) != 0 && (ReadRxReg(REG_RX_INT3) & INT3_AUDIO_ERROR) == 0;
    SetAState(well ? ASTATE_AudioOn : ASTATE_RequestAudio);
}

static void watch_audio()
{
    if (PollAudioStatus().kind != driver.audio.kind) {
        forget_audio_errors();
        message("Audio change, clear Audio Error Count.\n");
        SetRxAudioMute(true);
        SetAState(ASTATE_RequestAudio);
    }
    if (driver.audio_timer == 0 || --driver.audio_timer != 0) return;
    driver.AudioErrorCount = 0;
    message("Audio On, clear Audio Error Count.\n");
    DeliverAudioEvent(HDMIRX_EVENT_AUDIO_ON);
}

void AudioStep()
{
    switch (driver.AState) {
    case ASTATE_RequestAudio: Audio_Handler(); break;
    case ASTATE_WaitForReady:
        if (driver.audio_timer == 0) {
            SetAState(ASTATE_AudioOn);
        } else {
            --driver.audio_timer;
        }
        break;
    case ASTATE_AudioOn: watch_audio(); break;
    case ASTATE_AudioOff:
    case ASTATE_ResetAudio:
    case ASTATE_Reserved: break;
    }
}

void RXINT_ResetAudio()
{
    message("RXINT_ResetAudio()\n");
    if (driver.AState == ASTATE_AudioOff) return;
    SetRxAudioMute(true);
    SetAState(ASTATE_RequestAudio);
}

} // namespace capd::rx
