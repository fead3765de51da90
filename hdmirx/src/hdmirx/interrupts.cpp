#include "hdmirx/src/hdmirx/interrupts.h"

#include "hdmirx/src/hdmirx/access.h"
#include "hdmirx/src/hdmirx/audio.h"
#include "hdmirx/src/hdmirx/colour.h"
#include "hdmirx/src/hdmirx/events.h"
#include "hdmirx/src/hdmirx/message.h"
#include "hdmirx/src/hdmirx/mute.h"
#include "hdmirx/src/hdmirx/port.h"
#include "hdmirx/src/hdmirx/registers.h"
#include "hdmirx/src/hdmirx/video_state.h"

namespace capd::rx {

namespace {

void handle_sync_events(uint8_t events)
{
    if ((events & INT1_SCDT_OFF) != 0) {
        message("SCDT Off interrupt\n");
        if (VState() != VSTATE_PwrOff) {
            message("GetSCDT OFF\n");
            SyncLost();
        }
    }
    if ((events & INT1_5V_ON) != 0 && VState() == VSTATE_PwrOff && CheckPlg5VPwr()) {
        print_position();
        SetVState(VSTATE_SyncWait);
    }
    if ((events & INT1_SCDT_ON) != 0 && VState() == VSTATE_SyncWait) {
        message("SCDT On interrupt\n");
        if (IsSCDT()) {
            print_position();
            SetVState(VSTATE_ColorDetectReset);
        }
    }
}

void handle_mode_events(uint8_t events)
{
    if (VState() != VSTATE_VideoOn) return;
    if ((events & INT1_HDMI_MODE) != 0) {
        message("HDMI Mode change interrupt.\n");
        RXINT_VideoMode_Chg();
    }
    if ((events & INT1_VIDEO_MODE) != 0) {
        message("Video mode change interrupt.\n:");
        RXINT_VideoMode_Chg();
    }
}

// Group 1: 5 V, sync and mode. Returns false when the chip was reset and the tick's other events are void.
bool handle_group1()
{
    ReadRxReg(REG_RX_STATUS);
    const uint8_t events = ReadRxReg(REG_RX_INT1);
    if (events == 0) return true;
    PulseRxReset(PULSE_INT1);
    if (!CheckPlg5VPwr() && VState() != VSTATE_PwrOff) {
        SWReset_HDMIRX();
        return false;
    }
    if ((events & INT1_5V_OFF) != 0) {
        message("5V Power Off interrupt\n");
        ReadRxReg(REG_RX_STATUS);
        SWReset_HDMIRX();
    }
    if (VState() == VSTATE_SWReset) return false;
    handle_sync_events(events);
    handle_mode_events(events);
    return true;
}

// Group 2: AV mute and info frames.
void handle_group2()
{
    const uint8_t events = ReadRxReg(REG_RX_INT2);
    const uint8_t more = VState() == VSTATE_VideoOn ? ReadRxReg(REG_RX_INT2_EXT) & INT2_EXT_VSIF : 0;
    if (events == 0 && more == 0) return;
    PulseRxReset(PULSE_INT2);
    if ((events & INT2_MUTE_SET) != 0) {
        message("AVMute set interrupt.\n");
        DeliverAudioEvent(HDMIRX_EVENT_UNSTABLE);
        RXINT_AVMute_Set();
    }
    if ((events & INT2_NEW_AVI) != 0) {
        message("New AVI Info Frame Change interrupt\n");
        DeliverEvent(HDMIRX_EVENT_AVI_CHANGE);
        RXINT_AVIInfoFrame_Chg();
    }
    if ((events & INT2_MUTE_CLEAR) != 0) {
        message("AVMute clear interrupt.\n");
        RXINT_AVMute_Clear();
    }
    if (more != 0) RXINT_VSIF_Chg();
}

void handle_audio_error()
{
    DeliverAudioEvent(HDMIRX_EVENT_AUDIO_ERROR);
    RXINT_ResetAudio();
    ClearRxRegFlags(REG_RX_CTRL3, CTRL3_AUDIO);
}

// Group 3: audio FIFO, audio errors, and errors that the link's ECC could not mend.
void handle_group3()
{
    const uint8_t events = ReadRxReg(REG_RX_INT3);
    if ((events & INT3_FIFO) != 0) {
        const uint8_t value = ReadRxReg(REG_RX_CTRL3);
        WriteRxReg(REG_RX_CTRL3, value | CTRL3_FIFO_ACK);
        sleep_ms(1);
        WriteRxReg(REG_RX_CTRL3, without(value, CTRL3_FIFO_ACK));
    }
    if (VState() != VSTATE_VideoOn || (events & (INT3_AUDIO_ERROR | INT3_ECC)) == 0) return;
    PulseRxReset(PULSE_INT3);
    if (AState() != ASTATE_AudioOff && (events & INT3_AUDIO_ERROR) != 0) handle_audio_error();
    if ((events & INT3_ECC) != 0) {
        message("int3 = %02X,ECC error interrupt\n", events);
        PulseRxReset(PULSE_ECC);
        sleep_ms(1);
    }
}

} // namespace

void RXINT_Handler()
{
    if (VState() == VSTATE_Off || VState() == VSTATE_SWReset) return;
    if (!handle_group1()) return;
    handle_group2();
    handle_group3();
}

} // namespace capd::rx
