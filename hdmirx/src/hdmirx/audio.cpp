#include "hdmirx/src/hdmirx/audio.h"

#include "hdmirx/src/hdmirx/access.h"
#include "hdmirx/src/hdmirx/audio_status.h"
#include "hdmirx/src/hdmirx/events.h"
#include "hdmirx/src/hdmirx/message.h"
#include "hdmirx/src/hdmirx/mute.h"
#include "hdmirx/src/hdmirx/registers.h"

#include <array>
#include <cstddef>

namespace capd::rx {

namespace {

constexpr uint16_t READY_TICKS = 7;
constexpr uint16_t AUDIO_ON_TICKS = 32; // 640 ms without a change before the daemon is told
constexpr uint8_t AUDIO_ERROR_LIMIT = 10;

constexpr std::array<const char*, 6> ASTATE_NAMES = {
    "ASTATE_AudioOff",     "ASTATE_RequestAudio", "ASTATE_ResetAudio",
    "ASTATE_WaitForReady", "ASTATE_AudioOn",      "ASTATE_Reserved",
};

constexpr uint8_t AUDIO_FS_START = 14; // from here the first frequency to be forced is 48 kHz

constinit struct {
    AudioState AState = ASTATE_AudioOff;
    uint16_t timer = 0; // ticks left in the state
    AudioSnapshot audio = {};
    uint8_t AudioErrorCount = 0;
    uint8_t AudioFsForError = AUDIO_FS_START;
} machine;

void forget_audio_errors()
{
    machine.AudioErrorCount = 0;
    machine.AudioFsForError = AUDIO_FS_START;
    ClearRxRegFlags(REG_RX_FS_SELECT, FS_FORCED);
    ClearRxRegFlags(REG_RX_AUDIO_CTRL, AUDIO_CTRL_FORCE);
}

void enter_audio_on()
{
    SetRxAudioMute(AVMute());
    machine.timer = AUDIO_ON_TICKS;
    if (!AVMute()) return;
    message("AudioOn, but still in mute.\n");
    StartMuteResuming();
}

void pulse_audio_reset()
{
    SetRxRegFlags(REG_RX_AUDIO_RESET, AUDIO_RESET_ARM);
    WriteRxReg(REG_RX_RESET, RESET_AUDIO);
    sleep_ms(1);
    WriteRxReg(REG_RX_RESET, RESET_NONE);
}

void request_hbr_or_dsd(bool hbr)
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
uint8_t next_forced_fs(uint8_t code)
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
uint8_t toggle_forced_fs(uint8_t select)
{
    machine.AudioErrorCount = 0;
    if ((select & FS_FORCED) != 0) return without(select, FS_FORCED);
    machine.AudioFsForError = next_forced_fs(machine.AudioFsForError);
    message("===[Audio FS Error ]===\n");
    return select | FS_FORCED;
}

void write_forced_fs()
{
    const uint8_t clock = ReadRxReg(REG_RX_AUDIO_CTRL) & AUDIO_CTRL_CLOCK;
    const uint8_t value = clock | (machine.AudioFsForError & FS_FORCE_CODE);
    for (int i = 0; i < 4; ++i) WriteRxReg(REG_RX_FS_FORCE, value); // the chip wants it four times in a row
}

void request_iec60958()
{
    ClearRxRegFlags(REG_RX_AUDIO_HBR, AUDIO_HBR_BYPASS);
    ++machine.AudioErrorCount;
    uint8_t select = ReadRxReg(REG_RX_FS_SELECT);
    if (machine.AudioErrorCount > AUDIO_ERROR_LIMIT) select = toggle_forced_fs(select);
    WriteRxReg(REG_RX_FS_SELECT, select | FS_REQUESTED);
    pulse_audio_reset();
    if ((select & FS_FORCED) != 0) write_forced_fs();
    SetRxRegFlags(REG_RX_CTRL3, CTRL3_AUDIO);
    PulseRxReset(PULSE_AUDIO);
    SetRxRegFlags(REG_RX_CTRL3, CTRL3_AUDIO);
    SetAState(ASTATE_WaitForReady);
}

void watch_audio()
{
    if (PollAudioStatus().kind != machine.audio.kind) {
        forget_audio_errors();
        message("Audio change, clear Audio Error Count.\n");
        SetRxAudioMute(true);
        SetAState(ASTATE_RequestAudio);
    }
    if (machine.timer == 0 || --machine.timer != 0) return;
    machine.AudioErrorCount = 0;
    message("Audio On, clear Audio Error Count.\n");
    DeliverAudioEvent(HDMIRX_EVENT_AUDIO_ON);
}

} // namespace

AudioState AState()
{
    return machine.AState;
}

void SetAState(AudioState state)
{
    machine.AState = state;
    TellSound(state == ASTATE_AudioOn);
    message("AState -> %s\n", ASTATE_NAMES[static_cast<size_t>(state)]);
    switch (state) {
    case ASTATE_AudioOff: SetRxAudioMute(true); break;
    case ASTATE_WaitForReady: machine.timer = READY_TICKS; break;
    case ASTATE_AudioOn: enter_audio_on(); break;
    case ASTATE_RequestAudio:
    case ASTATE_ResetAudio:
    case ASTATE_Reserved: break;
    }
}

void Audio_Handler()
{
    machine.audio = PollAudioStatus();
    if ((machine.audio.kind & AUDIO_PRESENT) == 0) {
        forget_audio_errors();
        return;
    }
    SetRxRegField(REG_RX_AUDIO_CTRL, AUDIO_CTRL_PATH, AUDIO_PATH_ON);
    SetRxRegFlags(REG_RX_FS_FORCE, FS_FORCE_CLOCK);
    if ((machine.audio.kind & (AUDIO_HBR | AUDIO_DSD)) != 0) {
        request_hbr_or_dsd((machine.audio.kind & AUDIO_HBR) != 0);
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
    const bool well = (machine.audio.kind & AUDIO_PRESENT) != 0 && (ReadRxReg(REG_RX_INT3) & INT3_AUDIO_ERROR) == 0;
    SetAState(well ? ASTATE_AudioOn : ASTATE_RequestAudio);
}

void AudioStep()
{
    switch (machine.AState) {
    case ASTATE_RequestAudio: Audio_Handler(); break;
    case ASTATE_WaitForReady:
        if (machine.timer == 0) {
            SetAState(ASTATE_AudioOn);
        } else {
            --machine.timer;
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
    if (machine.AState == ASTATE_AudioOff) return;
    SetRxAudioMute(true);
    SetAState(ASTATE_RequestAudio);
}

} // namespace capd::rx
