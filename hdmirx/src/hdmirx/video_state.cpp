#include "hdmirx/src/hdmirx/video_state.h"

#include "hdmirx/src/hdmirx/access.h"
#include "hdmirx/src/hdmirx/audio.h"
#include "hdmirx/src/hdmirx/colour.h"
#include "hdmirx/src/hdmirx/init.h"
#include "hdmirx/src/hdmirx/interrupts.h"
#include "hdmirx/src/hdmirx/message.h"
#include "hdmirx/src/hdmirx/registers.h"

#include <cstdio>
#include <cstdlib>

namespace capd::rx {

// Ticks of 20 ms.
static constexpr uint16_t SYNC_WAIT_TICKS = 250;
static constexpr uint16_t SW_RESET_TICKS = 16;
static constexpr uint16_t SYNC_CHECKING_TICKS = 5;
static constexpr uint16_t VIDEO_ON_TICKS = 94;
static constexpr uint16_t COLOR_DETECT_TICKS = 13;
static constexpr uint16_t MUTED_TICKS = 5; // held at this while the source mutes
static constexpr uint8_t SCDT_OFF_LIMIT = 14;

static bool source_mutes()
{
    return (ReadRxReg(REG_RX_MUTE_STATUS) & MUTE_BY_SOURCE) != 0;
}

static void save_timing()
{
    driver.saved_htotal = driver.s_CurrentVM.HTotal;
    driver.saved_xcnt = driver.s_CurrentVM.xCnt;
    driver.saved_progressive = driver.s_CurrentVM.flags & MODE_PROGRESSIVE;
}

static void blank_for_state(VideoState state)
{
    const bool synced = state == VSTATE_SyncChecking || state == VSTATE_ModeDetecting || state == VSTATE_VideoOn;
    const bool show = driver.mute_mode == MUTE_MODE_NEVER || (driver.mute_mode == MUTE_MODE_AUTO && synced);
    SetRxOutputControl(static_cast<uint8_t>(~OUTPUT_VIDEO_OFF), show ? 0 : OUTPUT_VIDEO_OFF);
}

static void enter_sync_wait()
{
    WriteRxReg(REG_RX_SYNC_PROC, SYNC_PROC_IDLE);
    ClearRxRegFlags(REG_RX_CTRL1, CTRL1_WATCH);
    if (driver.ChipRevision > CHIP_REV_A2) ClearRxRegFlags(REG_RX_3D, THREE_D_PICTURE);
    SetRxMute(true);
    driver.video_timer = SYNC_WAIT_TICKS;
}

static void enter_sync_checking()
{
    WriteRxReg(REG_RX_LINK_RESTART, LINK_RESTART);
    WriteRxReg(REG_RX_SYNC_PROC, SYNC_PROC_RUN);
    driver.video_timer = SYNC_CHECKING_TICKS;
    ReadRxReg(REG_RX_LINK_STATE); // whether reading it clears something in the chip is not known
    message("switch VSTATE_SyncChecking, reg9A = %02X\n", ReadRxReg(REG_RX_CLOCK_STATE));
}

static void start_hdmi_picture()
{
    if (driver.NewAVIInfoFrameF) ApplyAVIInfo();
    SetRxRegBits(REG_RX_CTRL3, static_cast<uint8_t>(~CTRL3_FIFO), CTRL3_ECC);
    SetRxRegFlags(REG_RX_CTRL2, CTRL2_START);
    SetRxRegFlags(REG_RX_CTRL1, CTRL1_MODE);
    WriteRxReg(REG_RX_CTRL2_EXT, CTRL2_EXT_PICTURE);
    driver.av_mute = driver.mute_at_entry = source_mutes();
    SetRxMute(driver.av_mute);
    EnableAudio();
}

static void start_dvi_picture()
{
    SetRxRegFlags(REG_RX_CTRL1, CTRL1_MODE);
    SetRxMute(false);
    message("### Audio Off 2\n");
    SetAState(ASTATE_AudioOff);
    driver.NewAVIInfoFrameF = false;
}

static void enter_video_on()
{
    SetRxRegFlags(REG_RX_CTRL1, CTRL1_WATCH);
    driver.video_timer = VIDEO_ON_TICKS;
    if (!driver.NewAVIInfoFrameF) ApplyDefaultColour();
    if (IsHDMIMode()) {
        start_hdmi_picture();
    } else {
        start_dvi_picture();
    }
    save_timing();
}

static void enter_color_detect_reset()
{
    ClearRxRegFlags(REG_RX_CTRL1, CTRL1_COLOUR);
    PulseRxReset(PULSE_INT1);
    const uint8_t value = ReadRxReg(REG_RX_DETECT) & ~DETECT_RESET;
    WriteRxReg(REG_RX_DETECT, value | DETECT_RESET);
    WriteRxReg(REG_RX_DETECT, value);
    driver.video_timer = COLOR_DETECT_TICKS;
}

void SetVState(VideoState state)
{
    if (state == driver.VState) return;
    if (driver.VState == VSTATE_VideoOn) {
        message("### Audio Off 1\n");
        SetAState(ASTATE_AudioOff);
    }
    message("RX VState %s -> %s\n", VStateName(driver.VState), VStateName(state));
    if (state != VSTATE_SyncWait && state != VSTATE_SyncChecking) driver.SoftwareResetTimeout = SOFTWARE_RESET_TICKS;
    blank_for_state(state);
    driver.VState = state;

    switch (state) {
    case VSTATE_SyncWait: enter_sync_wait(); break;
    case VSTATE_SWReset: driver.video_timer = SW_RESET_TICKS; break;
    case VSTATE_SyncChecking: enter_sync_checking(); break;
    case VSTATE_VideoOn: enter_video_on(); break;
    case VSTATE_ColorDetectReset: enter_color_detect_reset(); break;
    case VSTATE_Off:
    case VSTATE_PwrOff:
    case VSTATE_ModeDetecting:
    case VSTATE_Reserved: break;
    }
}

static void write_and_show(uint8_t reg, uint8_t value)
{
    WriteRxReg(reg, value);
    message("reg %02X <- %02X = %02X\n", reg, value, ReadRxReg(reg));
}

static void release_mute()
{
    if (driver.VState != VSTATE_VideoOn) return;
    const uint8_t mode = ReadRxReg(REG_RX_OUTPUT_MODE);
    WriteRxReg(REG_RX_OUTPUT_MODE, mode | OUTPUT_SYNC);
    WriteRxReg(REG_RX_OUTPUT_MODE, mode & ~OUTPUT_SYNC);
    if (source_mutes()) {
        SetRxOutputControl(static_cast<uint8_t>(~OUTPUT_MUTE_STEP), OUTPUT_MUTE_IGNORE);
        return;
    }
    const uint8_t output = (ReadRxReg(REG_RX_OUTPUT) & ~OUTPUT_MUTE_IGNORE) | OUTPUT_MUTE_STEP;
    write_and_show(REG_RX_OUTPUT, output);
    write_and_show(REG_RX_OUTPUT, output & ~OUTPUT_MUTE_STEP);
    const uint8_t colour = ReadRxReg(REG_RX_COLOUR) | COLOUR_MUTE;
    write_and_show(REG_RX_COLOUR, colour);
    write_and_show(REG_RX_COLOUR, colour & ~COLOUR_MUTE_NOW);
}

void SetRxMute(bool on)
{
    if (on) {
        SetRxRegFlags(REG_RX_COLOUR, COLOUR_MUTE);
        SetRxOutputControl(static_cast<uint8_t>(~OUTPUT_MUTE_STEP), 0);
    } else {
        release_mute();
    }
}

void RXINT_VideoMode_Chg()
{
    message("RXINT_VideoMode_Chg\n");
    const bool ignore = driver.mute_at_entry; // some sources send one mode change as they end the mute they began with
    driver.mute_at_entry = false;
    if (!Has5VPwr(ReadRxReg(REG_RX_STATUS))) {
        SWReset_HDMIRX();
    } else if (!ignore) {
        print_position();
        SetVState(VSTATE_SyncWait);
    }
}

static bool htotal_changed()
{
    if (abs(ReadHTotal() - driver.saved_htotal) < 5) return false;
    message("HTotal changed.\n");
    return true;
}

// The count is coarser the slower the pixel clock is, so the tolerance grows with it.
static bool xcnt_changed()
{
    const uint8_t now = ReadRxReg(REG_RX_XCNT);
    const uint8_t difference = static_cast<uint8_t>(abs(now - driver.saved_xcnt));
    const int limit = now > 128 ? 6 : now > 64 ? 4 : now > 32 ? 2 : 1;
    if (difference <= limit) return false;
    message("Xcnt changed. %02x -> %02x ", now, driver.saved_xcnt);
    printf(limit == 2 ? "diff = %d\n\r" : "diff = %d\r\n", difference);
    return true;
}

// Only reports: glitches of the measurement are common, and a real change raises a mode change event.
static void check_for_change()
{
    if (htotal_changed() || xcnt_changed()) {
        printf("\nIgnoring video change. Setting to false\r\n");
    } else if (driver.s_CurrentVM.VActive < 300 && ReadProgressive() != (driver.saved_progressive != 0)) {
        message("ScanMode change.\r\n");
        printf("\nIgnoring video change. Setting to false\r\n");
    }
}

static void follow_avi_bytes()
{
    const uint8_t db1 = ReadRxReg(REG_RX_AVI_DB1);
    const uint8_t db2 = ReadRxReg(REG_RX_AVI_DB2);
    if ((db1 != driver.saved_avi_db1 || db2 != driver.saved_avi_db2) && IsHDMIMode()) RXINT_AVIInfoFrame_Chg();
    driver.saved_avi_db1 = db1;
    driver.saved_avi_db2 = db2;
}

static void tick_video_on()
{
    if (driver.av_mute) {
        driver.video_timer = MUTED_TICKS;
    } else if (driver.video_timer == 1) {
        DetectVideoMode();
        save_timing();
    }
    if (driver.video_timer == 0) {
        driver.ScdtOffCount = 0;
        if (!driver.av_mute) check_for_change();
    }
    follow_avi_bytes();
}

// Is the source still there? Starts over and returns false when it is not.
static bool line_is_up()
{
    switch (driver.VState) {
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
static bool sync_in_time()
{
    if (--driver.SoftwareResetTimeout != 0) return true;
    printf("\nsoftware reset timeout setting failed\n");
    SWReset_HDMIRX();
    return false;
}

static void tick_sync_wait()
{
    if (!sync_in_time()) return;
    if (driver.video_timer == 0) {
        message("VsyncWaitResetTimer up, call SWReset_HDMIRX()\n");
        SWReset_HDMIRX();
    } else if ((ReadRxReg(REG_RX_STATUS) & STATUS_COMPLETE) == STATUS_COMPLETE) {
        print_position();
        SetVState(VSTATE_ColorDetectReset);
    }
}

static void when_timer_is_up(VideoState next)
{
    if (driver.video_timer != 0) return;
    print_position();
    SetVState(next);
}

static void tick_video()
{
    if (!line_is_up()) return;
    switch (driver.VState) {
    case VSTATE_SWReset:
        if (driver.video_timer == 0) Terminator_On();
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

// Has the wait for the end of an AV mute that outlasted the start of the audio come to its end?
static bool mute_wait_is_over()
{
    if (driver.MuteResumingTimer == 0 || driver.VState != VSTATE_VideoOn) return false;
    --driver.MuteResumingTimer;
    const uint8_t status = ReadRxReg(REG_RX_MUTE_STATUS);
    message("MuteResumingTimer = %d uc = %02X\n", driver.MuteResumingTimer, status);
    if ((status & MUTE_BY_SOURCE) != 0) {
        if (driver.MuteResumingTimer != 0) return false;
        SetRxOutputControl(static_cast<uint8_t>(~OUTPUT_MUTE_IGNORE), OUTPUT_MUTE_IGNORE); // it had time enough
    }
    driver.av_mute = false;
    return true;
}

static void resume_from_mute()
{
    if (!driver.av_mute) return;
    bool resume = mute_wait_is_over();
    if (driver.mute_pending && !source_mutes()) {
        driver.mute_pending = false;
        resume = true;
    }
    if (!resume || driver.VState != VSTATE_VideoOn) return;
    SetRxMute(false);
    if (driver.AState == ASTATE_AudioOn) SetRxAudioMute(false);
}

void VideoTimerHandler()
{
    RXINT_Handler();
    if (driver.VState != VSTATE_Off) {
        if (driver.video_timer != 0) --driver.video_timer;
        if (driver.ScdtOffCount > SCDT_OFF_LIMIT) SWReset_HDMIRX();
        tick_video();
    }
    resume_from_mute();
    AudioStep();
}

void Video_Handler()
{
    if (driver.VState != VSTATE_ModeDetecting) return;
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
        driver.NewAVIInfoFrameF = false;
    }
    const bool lost = (ReadRxReg(REG_RX_INT1) & (INT1_5V_OFF | INT1_SCDT_OFF)) != 0;
    print_position();
    SetVState(lost ? VSTATE_SyncWait : VSTATE_VideoOn);
}

} // namespace capd::rx
