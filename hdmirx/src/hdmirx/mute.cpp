#include "hdmirx/src/hdmirx/mute.h"

#include "hdmirx/src/hdmirx/access.h"
#include "hdmirx/src/hdmirx/message.h"
#include "hdmirx/src/hdmirx/registers.h"

namespace capd::rx {

namespace {

constexpr uint16_t MUTE_RESUMING_TICKS = 79; // 1.58 s for a source to end its AV mute

constinit struct {
    MuteMode mute_mode = MUTE_MODE_AUTO;
    bool picture_on = false;
    bool sound_on = false;
    bool av_mute = false;      // the source signals AV mute
    bool mute_pending = false; // set with av_mute, until the chip's mute status drops
    uint16_t MuteResumingTimer = 0;
} state;

bool source_mutes()
{
    return (ReadRxReg(REG_RX_MUTE_STATUS) & MUTE_BY_SOURCE) != 0;
}

void write_and_show(uint8_t reg, uint8_t value)
{
    WriteRxReg(reg, value);
    message("reg %02X <- %02X = %02X\n", reg, value, ReadRxReg(reg));
}

void release_mute()
{
    if (!state.picture_on) return;
    const uint8_t mode = ReadRxReg(REG_RX_OUTPUT_MODE);
    WriteRxReg(REG_RX_OUTPUT_MODE, mode | OUTPUT_MODE_SYNC);
    WriteRxReg(REG_RX_OUTPUT_MODE, without(mode, OUTPUT_MODE_SYNC));
    if (source_mutes()) {
        SetRxOutputControl(OUT_MUTE_STEP, OUT_MUTE_IGNORE);
        return;
    }
    const uint8_t output = without(ReadRxReg(REG_RX_OUTPUT), OUT_MUTE_IGNORE) | OUT_MUTE_STEP;
    write_and_show(REG_RX_OUTPUT, output);
    write_and_show(REG_RX_OUTPUT, without(output, OUT_MUTE_STEP));
    const uint8_t colour = ReadRxReg(REG_RX_COLOUR) | COLOUR_MUTE;
    write_and_show(REG_RX_COLOUR, colour);
    write_and_show(REG_RX_COLOUR, without(colour, COLOUR_MUTE_NOW));
}

// Has the wait for the end of an AV mute that outlasted the start of the audio come to its end?
bool mute_wait_is_over()
{
    if (state.MuteResumingTimer == 0 || !state.picture_on) return false;
    --state.MuteResumingTimer;
    const uint8_t status = ReadRxReg(REG_RX_MUTE_STATUS);
    message("MuteResumingTimer = %d uc = %02X\n", state.MuteResumingTimer, status);
    if ((status & MUTE_BY_SOURCE) != 0) {
        if (state.MuteResumingTimer != 0) return false;
        SetRxOutputControl(OUT_MUTE_IGNORE, OUT_MUTE_IGNORE); // it had time enough
    }
    state.av_mute = false;
    return true;
}

} // namespace

void SetMuteMode(int mode)
{
    state.mute_mode = mode == 0 ? MUTE_MODE_ALWAYS : mode == 1 ? MUTE_MODE_NEVER : MUTE_MODE_AUTO;
    BlankVideo(state.picture_on);
}

void ResetRxOutputControl()
{
    const bool blank = state.mute_mode != MUTE_MODE_NEVER;
    SetRxOutputControl(OUT_RESET, blank ? OUT_RESET : without(OUT_RESET, OUT_VIDEO_OFF));
}

void BlankVideo(bool synced)
{
    const bool show = state.mute_mode == MUTE_MODE_NEVER || (state.mute_mode == MUTE_MODE_AUTO && synced);
    SetRxOutputControl(OUT_VIDEO_OFF, show ? 0 : OUT_VIDEO_OFF);
}

void TellPicture(bool on)
{
    state.picture_on = on;
}

void TellSound(bool on)
{
    state.sound_on = on;
}

bool PictureIsOn()
{
    return state.picture_on;
}

bool AVMute()
{
    return state.av_mute;
}

void SetRxAudioMute(bool on)
{
    SetRxOutputControl(OUT_AUDIO_OFF, on ? OUT_AUDIO_OFF : 0);
}

void SetRxMute(bool on)
{
    if (on) {
        SetRxRegFlags(REG_RX_COLOUR, COLOUR_MUTE);
        SetRxOutputControl(OUT_MUTE_STEP, 0);
    } else {
        release_mute();
    }
}

bool TakeMuteFromSource()
{
    state.av_mute = source_mutes();
    SetRxMute(state.av_mute);
    return state.av_mute;
}

void StartMuteResuming()
{
    state.MuteResumingTimer = MUTE_RESUMING_TICKS;
}

void RXINT_AVMute_Set()
{
    state.av_mute = true;
    SetRxAudioMute(true);
    SetRxMute(true);
    state.mute_pending = true;
    SetRxRegFlags(REG_RX_CTRL2, CTRL2_MUTE_CLEAR);
    SetRxOutputControl(OUT_MUTE_IGNORE, 0);
}

void RXINT_AVMute_Clear()
{
    state.av_mute = false;
    SetRxOutputControl(OUT_MUTE_IGNORE, 0);
    state.mute_pending = false;
    if (state.picture_on) SetRxMute(false);
    if (state.sound_on) {
        const uint8_t value = ReadRxReg(REG_RX_AUDIO_RESET);
        WriteRxReg(REG_RX_AUDIO_RESET, value | AUDIO_RESET_UNMUTE);
        WriteRxReg(REG_RX_AUDIO_RESET, without(value, AUDIO_RESET_UNMUTE));
        SetRxAudioMute(false);
    }
    ClearRxRegFlags(REG_RX_CTRL2, CTRL2_MUTE_CLEAR);
}

void ResumeFromMute()
{
    if (!state.av_mute) return;
    bool resume = mute_wait_is_over();
    if (state.mute_pending && !source_mutes()) {
        state.mute_pending = false;
        resume = true;
    }
    if (!resume || !state.picture_on) return;
    SetRxMute(false);
    if (state.sound_on) SetRxAudioMute(false);
}

} // namespace capd::rx
