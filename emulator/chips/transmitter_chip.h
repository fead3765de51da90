/**
 * @file
 * The HDMI transmitter chip: two register banks, hot plug, interrupts, the lock of its protected registers, the DDC
 * master, and the display that is plugged into its output.
 *
 * Registers 0x00 to 0x2F are the same in both banks. A bit of status 1 or of the extended status latches whether it is
 * masked or not; masked ones do not raise "pending" and wait there for the next interrupt that does. Hot plug and DDC
 * work without the board's enable and in power-down. One thread at a time; no call blocks.
 */
#pragma once

#include "emulator/base/timeline.h"
#include "emulator/bus/register_file.h"
#include "emulator/chips/ddc.h"
#include "emulator/chips/display_view.h"
#include "emulator/chips/hot_plug.h"
#include "emulator/world/display.h"

#include <array>
#include <cstdint>
#include <utility>

namespace emu {

class CommandTable;

class TransmitterChip : public RegisterFile {
public:
    explicit TransmitterChip(Timeline& time);
    TransmitterChip(const TransmitterChip&) = delete;
    TransmitterChip& operator=(const TransmitterChip&) = delete;

    /** As after power-on: held in reset, powered down, locked, all interrupts masked. The display stays plugged in. */
    void power_on() override;

    /** @name The world
     * @{ */
    /** The board's enable line: without it the display sees no signal. */
    void enable_output(bool on);
    /** Plug a display in; one that is there is unplugged in the same moment. */
    void plug(Display display);
    void unplug();
    /** The display pulls its hot-plug line down for too short a time to be seen in the level. */
    void pulse_hot_plug();
    /** The display pulls it down so many times for a time each, during which its EDID cannot be read. */
    void bounce_hot_plug(unsigned times, Micros each) { hot_plug_.bounce(times, each); }
    /** A repeater has another display behind it, whose EDID it gives from now on; announced by a hot-plug pulse or not.
     */
    void replace_display(Display display, bool announced);
    /** Send the display to standby or wake it up. */
    void set_standby(bool on);
    /** Time that a display needs from the begin of a signal to the picture; default 0. */
    void set_lock_time(Micros time) { lock_time_ = time; }
    /** Time for which DDC stays silent after each rise of hot plug, the last one included; default 0. */
    void set_ddc_silence(Micros time);
    /** What comes in from the box: its clock runs the chip's output and measures the audio's. Nothing at power-on. */
    void set_input(TransmitterInput input);
    /** Let the audio FIFO run over; there is no sound until the audio path has been held and released. */
    void overflow_audio();
    void fail_ddc_fifo();
    void hang_ddc_bus() { ddc_.hang(); }
    /** Latch bits of the extended status. */
    void raise_extended(uint8_t bits);
    DdcMaster& ddc() { return ddc_; }
    const DdcMaster& ddc() const { return ddc_; }
    /** @} */

    /** @name A look
     * @{ */
    const Display& display() const { return display_; }
    bool hot_plug() const { return hot_plug_.high(); }
    /** What the display makes of the output now. */
    DisplayView view() const;
    bool output_enabled() const { return enabled_; }
    /** A register of a bank as the bus would read it, without taking anything. */
    uint8_t peek(int bank, uint8_t reg) const;
    /** What people call a register of a bank; "" where it has no name. */
    static const char* register_name(int bank, uint8_t reg);
    bool unlocked() const { return lock_ == Lock::Open; }
    /** Writes to protected registers while they were locked. */
    uint64_t locked_writes() const { return locked_writes_; }
    /** Writes to registers that the chip does not have in the selected bank. */
    uint64_t stray_writes() const { return stray_writes_; }
    /** @} */

protected:
    uint8_t read_register(uint8_t reg) override;
    void write_register(uint8_t reg, uint8_t value) override;

private:
    enum class Lock : uint8_t { Closed, HalfOpen, Open };

    bool second_bank(uint8_t reg) const;
    void write_bank_0(uint8_t reg, uint8_t value);
    void write_lock(uint8_t value);
    void after_write(uint8_t reg);
    bool pending() const;
    void latch(uint8_t bits);
    void after_hot_plug();
    TransmitterOutput output() const;
    void note_signal();

    Timeline& time_;
    std::array<uint8_t, 256> bank1_{}; ///< the other bank is RegisterFile's
    Display display_;
    DdcMaster ddc_;
    HotPlug hot_plug_;
    Micros lock_time_ = 0, ddc_silence_ = 0;
    CableSignal signal_;      ///< on the cable
    Micros signal_since_ = 0; ///< since when it is this one at a display that is awake
    bool enabled_ = false;
    bool audio_overflown_ = false;
    Lock lock_ = Lock::Closed;
    TransmitterInput input_;
    uint64_t locked_writes_ = 0, stray_writes_ = 0;
};

/** Add "display ...", "transmitter ..." and the sections "output" and "display" of show. */
void add_transmitter_commands(CommandTable& commands, TransmitterChip& chip);

} // namespace emu
