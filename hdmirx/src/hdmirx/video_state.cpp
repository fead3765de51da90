#include "hdmirx/src/hdmirx/video_state.h"

#include "hdmirx/src/hdmirx/access.h"
#include "hdmirx/src/hdmirx/audio.h"
#include "hdmirx/src/hdmirx/chip.h"
#include "hdmirx/src/hdmirx/colour.h"
#include "hdmirx/src/hdmirx/message.h"
#include "hdmirx/src/hdmirx/mute.h"
#include "hdmirx/src/hdmirx/port.h"
#include "hdmirx/src/hdmirx/registers.h"
#include "hdmirx/src/hdmirx/video_mode.h"

#include <array>
#include <cstddef>
#include <cstdio>
#include <cstdlib>

namespace capd::rx {

namespace {

// Ticks of 20 ms.
constexpr uint16_t SYNC_WAIT_TICKS = 250;
constexpr uint16_t SW_RESET_TICKS = 16;
constexpr uint16_t SYNC_CHECKING_TICKS = 5;
constexpr uint16_t VIDEO_ON_TICKS = 94;
constexpr uint16_t COLOR_DETECT_TICKS = 13;
constexpr uint16_t MUTED_TICKS = 5;            // held at this while the source mutes
constexpr uint16_t VSIF_TICKS = 32;            // until the timing is measured again
constexpr uint16_t SOFTWARE_RESET_TICKS = 469; // 9.38 s allowed in SyncWait and SyncChecking together
constexpr uint8_t SCDT_OFF_LIMIT = 14;

// The blank at the end of one name has always been in the logs; tools that read them look for it.
constexpr std::array<const char*, 11> VSTATE_NAMES = {
    "VSTATE_Off", "VSTATE_PwrOff",        "VSTATE_SyncWait ", "VSTATE_SWReset",          "VSTATE_SyncChecking", "",
    "",           "VSTATE_ModeDetecting", "VSTATE_VideoOn",   "VSTATE_ColorDetectReset", "VSTATE_Reserved",
};

constinit struct {
    VideoState VState = VSTATE_PwrOff;
    uint16_t timer = 0; // ticks left in the state
    uint16_t SoftwareResetTimeout = SOFTWARE_RESET_TICKS;
    uint8_t ScdtOffCount = 0;
    bool mute_at_entry = false; // the source muted when the picture came on
    uint16_t saved_htotal = 0;  // with the next two: the timing that the running picture is compared with
    uint8_t saved_xcnt = 0;
    bool saved_progressive = false;
} machine;

void save_timing()
{
    machine.saved_htotal = CurrentVideoMode().HTotal;
    machine.saved_xcnt = CurrentVideoMode().xCnt;
    machine.saved_progressive = (CurrentVideoMode().flags & MODE_PROGRESSIVE) != 0;
}

bool has_sync(VideoState state)
{
    return state == VSTATE_SyncChecking || state == VSTATE_ModeDetecting || state == VSTATE_VideoOn;
}

void enter_sync_wait()
{
    WriteRxReg(REG_RX_SYNC_PROC, SYNC_PROC_IDLE);
    ClearRxRegFlags(REG_RX_CTRL1, CTRL1_WATCH);
    if (IsChipAboveA2()) ClearRxRegFlags(REG_RX_3D, THREE_D_PICTURE);
    SetRxMute(true);
    machine.timer = SYNC_WAIT_TICKS;
}

void enter_sync_checking()
{
    WriteRxReg(REG_RX_LINK_RESTART, LINK_RESTART);
    WriteRxReg(REG_RX_SYNC_PROC, SYNC_PROC_RUN);
    machine.timer = SYNC_CHECKING_TICKS;
    ReadRxReg(REG_RX_LINK_STATE); // whether reading it clears something in the chip is not known
    message("switch VSTATE_SyncChecking, reg9A = %02X\n", ReadRxReg(REG_RX_CLOCK_STATE));
}

void start_hdmi_picture()
{
    if (HasAVIInfo()) ApplyAVIInfo();
    SetRxRegField(REG_RX_CTRL3, CTRL3_FIFO, CTRL3_ECC);
    SetRxRegFlags(REG_RX_CTRL2, CTRL2_START);
    SetRxRegFlags(REG_RX_CTRL1, CTRL1_MODE);
    WriteRxReg(REG_RX_CTRL2_EXT, CTRL2_EXT_PICTURE);
    machine.mute_at_entry = TakeMuteFromSource();
    EnableAudio();
}

void start_dvi_picture()
{
    SetRxRegFlags(REG_RX_CTRL1, CTRL1_MODE);
    SetRxMute(false);
    message("### Audio Off 2\n");
    SetAState(ASTATE_AudioOff);
    ForgetAVIInfo();
}

void enter_video_on()
{
    SetRxRegFlags(REG_RX_CTRL1, CTRL1_WATCH);
    machine.timer = VIDEO_ON_TICKS;
    if (!HasAVIInfo()) ApplyDefaultColour();
    if (IsHDMIMode()) {
        start_hdmi_picture();
    } else {
        start_dvi_picture();
    }
    save_timing();
}

void enter_color_detect_reset()
{
    ClearRxRegFlags(REG_RX_CTRL1, CTRL1_COLOUR);
    PulseRxReset(PULSE_INT1);
    const uint8_t value = without(ReadRxReg(REG_RX_DETECT), DETECT_RESET);
    WriteRxReg(REG_RX_DETECT, value | DETECT_RESET);
    WriteRxReg(REG_RX_DETECT, value);
    machine.timer = COLOR_DETECT_TICKS;
}

bool htotal_changed()
{
    if (abs(ReadHTotal() - machine.saved_htotal) < 5) return false;
    message("HTotal changed.\n");
    return true;
}

// The count is coarser the slower the pixel clock is, so the tolerance grows with it.
bool xcnt_changed()
{
    const uint8_t now = ReadRxReg(REG_RX_XCNT);
    const uint8_t difference = static_cast<uint8_t>(abs(now - machine.saved_xcnt));
    const int limit = now > 128 ? 6 : now > 64 ? 4 : now > 32 ? 2 : 1;
    if (difference <= limit) return false;
    message("Xcnt changed. %02x -> %02x ", now, machine.saved_xcnt);
    printf(limit == 2 ? "diff = %d\n\r" : "diff = %d\r\n", difference);
    return true;
}

// Only reports: glitches of the measurement are common, and a real change raises a mode change event.
void check_for_change()
{
    if (htotal_changed() || xcnt_changed()) {
        printf("\nIgnoring video change. Setting to false\r\n");
    } else if (CurrentVideoMode().VActive < 300 && ReadProgressive() != machine.saved_progressive) {
        message("ScanMode change.\r\n");
        printf("\nIgnoring video change. Setting to false\r\n");
    }
}

void tick_video_on()
{
    if (AVMute()) {
        machine.timer = MUTED_TICKS;
    } else if (machine.timer == 1) {
        DetectVideoMode();
        save_timing();
    }
    if (machine.timer == 0) {
        machine.ScdtOffCount = 0;
        if (!AVMute()) check_for_change();
    }
    FollowAVIInfo();
}

// Is the source still there? Starts over and returns false when it is not.
bool line_is_up()
{
    switch (machine.VState) {
    case VSTATE_SyncWait:
    case VSTATE_ColorDetectReset:
        if (CheckPlg5VPwr()) return true;
        printf("\n!CheckPlg5VPwr() failed\n");
        SWReset_HDMIRX();
        return false;
    case VSTATE_SyncChecking:
    case VSTATE_ModeDetecting:
    case VSTATE_VideoOn:
        if (IsSCDT()) return true;
        printf("\n!IsSCDT()\n");
        print_position();
        SetVState(VSTATE_SyncWait);
        return false;
    case VSTATE_Off:
    case VSTATE_PwrOff:
    case VSTATE_SWReset:
    case VSTATE_Reserved: break;
    }
    return true;
}

// One tick of the time allowed without a picture. Resets the chip and returns false when it is over.
bool sync_in_time()
{
    if (--machine.SoftwareResetTimeout != 0) return true;
    printf("\nsoftware reset timeout setting failed\n");
    SWReset_HDMIRX();
    return false;
}

void tick_sync_wait()
{
    if (!sync_in_time()) return;
    if (machine.timer == 0) {
        message("VsyncWaitResetTimer up, call SWReset_HDMIRX()\n");
        SWReset_HDMIRX();
    } else if ((ReadRxReg(REG_RX_STATUS) & STATUS_COMPLETE) == STATUS_COMPLETE) {
        print_position();
        SetVState(VSTATE_ColorDetectReset);
    }
}

void when_timer_is_up(VideoState next)
{
    if (machine.timer != 0) return;
    print_position();
    SetVState(next);
}

void step_in_state()
{
    switch (machine.VState) {
    case VSTATE_SWReset:
        if (machine.timer == 0) Terminator_On();
        when_timer_is_up(VSTATE_PwrOff);
        break;
    case VSTATE_PwrOff:
        if (CheckPlg5VPwr()) {
            print_position();
            SetVState(VSTATE_SyncWait);
        }
        break;
    case VSTATE_SyncWait: tick_sync_wait(); break;
    case VSTATE_ColorDetectReset: when_timer_is_up(VSTATE_SyncChecking); break;
    case VSTATE_SyncChecking:
        if (sync_in_time()) when_timer_is_up(VSTATE_ModeDetecting);
        break;
    case VSTATE_VideoOn: tick_video_on(); break;
    case VSTATE_ModeDetecting: // Video_Handler() does it all
    case VSTATE_Off:
    case VSTATE_Reserved: break;
    }
}

} // namespace

const char* VStateName(VideoState state)
{
    return VSTATE_NAMES[static_cast<size_t>(state)];
}

VideoState VState()
{
    return machine.VState;
}

uint16_t VideoTicksLeft()
{
    return machine.timer;
}

uint8_t ScdtOffCount()
{
    return machine.ScdtOffCount;
}

void SetVState(VideoState state)
{
    if (state == machine.VState) return;
    if (machine.VState == VSTATE_VideoOn) {
        message("### Audio Off 1\n");
        SetAState(ASTATE_AudioOff);
    }
    message("RX VState %s -> %s\n", VStateName(machine.VState), VStateName(state));
    if (state != VSTATE_SyncWait && state != VSTATE_SyncChecking) machine.SoftwareResetTimeout = SOFTWARE_RESET_TICKS;
    BlankVideo(has_sync(state));
    machine.VState = state;
    TellPicture(state == VSTATE_VideoOn);

    switch (state) {
    case VSTATE_SyncWait: enter_sync_wait(); break;
    case VSTATE_SWReset: machine.timer = SW_RESET_TICKS; break;
    case VSTATE_SyncChecking: enter_sync_checking(); break;
    case VSTATE_VideoOn: enter_video_on(); break;
    case VSTATE_ColorDetectReset: enter_color_detect_reset(); break;
    case VSTATE_Off:
    case VSTATE_PwrOff:
    case VSTATE_ModeDetecting:
    case VSTATE_Reserved: break;
    }
}

void SWReset_HDMIRX()
{
    PulseSoftwareReset();
    Terminator_Off();
    print_position();
    SetVState(VSTATE_SWReset);
    machine.ScdtOffCount = 0;
}

void SyncLost()
{
    print_position();
    SetVState(VSTATE_SyncWait);
    ++machine.ScdtOffCount;
}

void RXINT_VideoMode_Chg()
{
    message("RXINT_VideoMode_Chg\n");
    const bool ignore = machine.mute_at_entry; // some sources send one mode change as they end the mute they began with
    machine.mute_at_entry = false;
    if (!Has5VPwr(ReadRxReg(REG_RX_STATUS))) {
        SWReset_HDMIRX();
    } else if (!ignore) {
        print_position();
        SetVState(VSTATE_SyncWait);
    }
}

void RXINT_VSIF_Chg()
{
    if (!IsChipAboveA2()) return;
    if (ReadRxReg(REG_RX_VSIF_TYPE) == VSIF_TYPE && (ReadRxReg(REG_RX_VSIF_FORMAT) & VSIF_FORMAT) == VSIF_FORMAT_3D) {
        SetRxRegFlags(REG_RX_3D, THREE_D_PICTURE);
        ClearRxRegFlags(REG_RX_SYNC_PROC, SYNC_PROC_RUN);
    }
    machine.timer = VSIF_TICKS;
}

void VideoStep()
{
    if (machine.VState == VSTATE_Off) return;
    if (machine.timer != 0) --machine.timer;
    if (machine.ScdtOffCount > SCDT_OFF_LIMIT) SWReset_HDMIRX();
    if (line_is_up()) step_in_state();
}

void Video_Handler()
{
    if (machine.VState != VSTATE_ModeDetecting) return;
    message("Video_Handler, VState = VSTATE_ModeDetecting.\n");
    const uint8_t clock = ReadRxReg(REG_RX_CLOCK_STATE);
    message("Video_Handler(): reg9A = %02X\n", clock);
    if (clock == CLOCK_NONE) {
        WriteRxReg(REG_RX_RESET, RESET_VIDEO);
        WriteRxReg(REG_RX_RESET, RESET_NONE);
        print_position();
        SetVState(VSTATE_SyncWait);
        return;
    }
    PulseRxReset(PULSE_INT1);
    DetectVideoMode();
    if (!IsHDMIMode()) {
        message("This is DVI Mode.\n");
        ForgetAVIInfo();
    }
    const bool lost = (ReadRxReg(REG_RX_INT1) & (INT1_5V_OFF | INT1_SCDT_OFF)) != 0;
    print_position();
    SetVState(lost ? VSTATE_SyncWait : VSTATE_VideoOn);
}

} // namespace capd::rx
