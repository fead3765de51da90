#include "emulator/chips/transmitter_chip.h"

#include "emulator/chips/transmitter_registers.h"

#include <algorithm>
#include <utility>

namespace emu {

namespace {

using namespace tx;

// clang-format off
constexpr RegisterRow BANK_0[] = {
    {0x00, 0x00, 0x45, 0x00, 0x00, "identity"},
    {0x01, 0x01, 0x4D, 0x00, 0x00, "identity"},
    {0x02, 0x02, 0x54, 0x00, 0x00, "identity"},
    {0x03, 0x03, 0x01, 0x00, 0x00, "identity"},
    {REG_RESET, REG_RESET, 0x1D, 0x3F, 0x00, "reset"}, // everything held
    {REG_POWER, REG_POWER, 0x01, 0xFF, 0x00, "power"}, // down
    {REG_STATUS_1, 0x08, 0x00, 0x00, 0x00, "interrupt status"},
    {REG_MASK_1, REG_MASK_EXTENDED, 0xFF, 0xFF, 0x00, "interrupt masks"}, // all masked
    {REG_CLEAR_1, REG_CLEAR_2, 0x00, 0xFF, 0x00, "interrupts to clear"},
    {REG_SYSTEM, REG_SYSTEM, 0x00, SYSTEM_CLEAR, 0x00, "system"},
    {REG_CLOCKS, REG_CLOCKS, 0x78, 0x7F, 0x00, "clocks and bank"}, // all gated
    {REG_DDC_MASTER, REG_DDC_FIFO, 0x00, 0x00, 0x00, "DDC"}, // the DDC master keeps its own
    {0x20, 0x20, 0x00, 0xFF, 0x00, "", true},
    {0x37, 0x37, 0x01, 0xFF, 0x00, "", true},
    {REG_AUDIO_CLOCK, 0x59, 0x00, 0xFF, 0x00, ""},
    {0x5C, 0x5C, 0x00, 0xFF, 0x00, ""},
    {REG_SPDIF_STATUS, REG_SPDIF_STATUS, 0x00, 0x00, 0x00, "S/PDIF status"},
    {REG_AFE_DRIVER, REG_AFE_DRIVER, 0x30, 0xFF, 0x00, "front end: driver"}, // off
    {REG_AFE_PLL_1, REG_AFE_PLL_1, 0x44, 0xFF, 0x00, "front end: PLL 1"}, // off
    {REG_AFE_PLL_2, REG_AFE_PLL_2, 0x40, 0xFF, 0x00, "front end: PLL 2"}, // off
    {0x65, 0x65, 0x00, 0xFF, 0x00, ""},
    {REG_AFE_SWING, REG_AFE_SWING, 0x00, 0xFF, 0x00, "front end: swing"},
    {REG_INPUT, REG_MATRIX_LAST, 0x00, 0xFF, 0x00, "input and colour matrix"},
    {0x8D, 0x8D, 0x00, 0xFF, 0x00, ""},
    {REG_HDMI, REG_GENERAL, 0x00, 0xFF, 0x00, "HDMI mode and general control"},
    {REG_CTS_SOURCE, REG_CTS_SOURCE, 0x00, 0xFF, 0x00, "packet control", true},
    {0xC6, 0xC6, 0x00, 0xFF, 0x00, "packet control"},
    {REG_SEND_AVI, REG_SEND_AUDIO, 0x00, 0x03, 0x00, "info frames to send"},
    {0xD1, 0xD1, 0x00, 0xFF, 0x00, ""},
    {REG_SEND_VENDOR, REG_SEND_VENDOR, 0x00, 0x03, 0x00, "vendor frame to send"},
    {REG_AUDIO_ENABLE, REG_AUDIO_TYPE + 1, 0x00, 0xFF, 0x00, "audio"},
    {REG_STATUS_EXTENDED, REG_STATUS_EXTENDED, 0x00, 0x00, 0xFF, "extended status"},
    {REG_LOCK, REG_LOCK, 0xFF, 0xFF, 0x00, "lock"},
};
constexpr RegisterRow BANK_1[] = {
    {REG_CTS, REG_N + 2, 0x00, 0xFF, 0x00, "N and CTS"},
    {REG_AVI, 0x65, 0x00, 0xFF, 0x00, "AVI frame"},
    {REG_AUDIO_FRAME, 0x6D, 0x00, 0xFF, 0x00, "audio frame"},
    {REG_VENDOR_FRAME, 0x83, 0x00, 0xFF, 0x00, "vendor frame"},
    {REG_STATUS_MODE, REG_STATUS_CHANNEL, 0x00, 0xFF, 0x00, "channel status"},
    {REG_STATUS_RATE, REG_STATUS_WORD, 0x00, 0xFF, 0x00, "channel status"},
};
// clang-format on

constexpr uint8_t FIRST_BANKED = 0x30;

constexpr RegisterMap MAP_0{BANK_0}, MAP_1{BANK_1};

bool is_ddc(uint8_t reg)
{
    return reg >= REG_DDC_MASTER && reg <= REG_DDC_FIFO;
}

} // namespace

TransmitterChip::TransmitterChip(Timeline& time)
    : RegisterFile(MAP_0), time_(time), bank1_(MAP_1.reset()),
      ddc_(time, display_,
           [this](DdcMaster::Interrupt what) {
               latch(what == DdcMaster::Interrupt::BusHang ? STATUS_DDC_HANG : STATUS_DDC_FIFO);
               if (what == DdcMaster::Interrupt::BusHang) raise_extended(EXTENDED_DDC_HANG);
           }),
      hot_plug_(time, [this] { after_hot_plug(); })
{
}

void TransmitterChip::power_on()
{
    RegisterFile::power_on();
    bank1_ = MAP_1.reset();
    ddc_.power_on();
    lock_ = Lock::Closed;
    audio_overflown_ = false;
    note_signal();
}

void TransmitterChip::enable_output(bool on)
{
    enabled_ = on;
    note_signal();
}

void TransmitterChip::plug(Display display)
{
    display_ = std::move(display);
    signal_since_ = time_.now();
    hot_plug_.set(true);
}

void TransmitterChip::unplug()
{
    if (!display_.plugged()) return;
    display_ = {};
    hot_plug_.set(false);
}

void TransmitterChip::replace_display(Display display, bool announced)
{
    display_ = std::move(display);
    if (announced) hot_plug_.bounce(1, HOT_PLUG_PULSE);
}

void TransmitterChip::set_standby(bool on)
{
    if (display_.standby() && !on) signal_since_ = time_.now();
    display_.stand_by(on);
}

void TransmitterChip::set_ddc_silence(Micros time)
{
    ddc_silence_ = time;
    ddc_.silence_until(hot_plug_.high() ? hot_plug_.risen_at() + time : NEVER);
}

void TransmitterChip::after_hot_plug()
{
    latch(STATUS_HOT_PLUG);
    set_ddc_silence(ddc_silence_);
}

void TransmitterChip::pulse_hot_plug()
{
    latch(STATUS_HOT_PLUG);
}

void TransmitterChip::set_input(TransmitterInput input)
{
    input_ = std::move(input);
    note_signal();
}

void TransmitterChip::overflow_audio()
{
    audio_overflown_ = true;
    latch(STATUS_AUDIO_OVERFLOW);
}

void TransmitterChip::fail_ddc_fifo()
{
    latch(STATUS_DDC_FIFO);
}

void TransmitterChip::raise_extended(uint8_t bits)
{
    registers_[REG_STATUS_EXTENDED] |= bits;
}

void TransmitterChip::latch(uint8_t bits)
{
    registers_[REG_STATUS_1] |= bits;
}

bool TransmitterChip::pending() const
{
    const unsigned unmasked = (registers_[REG_STATUS_1] & ~registers_[REG_MASK_1]) |
                              (registers_[REG_STATUS_EXTENDED] & ~registers_[REG_MASK_EXTENDED]);
    return (unmasked & 0xFF) != 0;
}

bool TransmitterChip::second_bank(uint8_t reg) const
{
    return reg >= FIRST_BANKED && (registers_[REG_CLOCKS] & CLOCKS_BANK) != 0;
}

uint8_t TransmitterChip::peek(int bank, uint8_t reg) const
{
    if (bank == 1 && reg >= FIRST_BANKED) return bank1_[reg];
    if (is_ddc(reg)) return ddc_.peek(reg);
    if (reg != REG_SYSTEM) return registers_[reg];
    const unsigned level = hot_plug_.high() ? SYSTEM_HOT_PLUG : 0;
    return static_cast<uint8_t>(registers_[REG_SYSTEM] | level | (pending() ? SYSTEM_PENDING : 0));
}

const char* TransmitterChip::register_name(int bank, uint8_t reg)
{
    return (bank == 1 && reg >= FIRST_BANKED ? MAP_1 : MAP_0).name(reg);
}

uint8_t TransmitterChip::read_register(uint8_t reg)
{
    return is_ddc(reg) ? ddc_.read(reg) : peek(second_bank(reg) ? 1 : 0, reg);
}

void TransmitterChip::write_register(uint8_t reg, uint8_t value)
{
    const bool bank_1 = second_bank(reg);
    if (!(bank_1 ? MAP_1 : MAP_0).exists(reg))
        ++stray_writes_;
    else if (bank_1)
        bank1_[reg] = MAP_1.written(reg, bank1_[reg], value);
    else
        write_bank_0(reg, value);
}

void TransmitterChip::write_bank_0(uint8_t reg, uint8_t value)
{
    if (MAP_0.is_protected(reg) && lock_ != Lock::Open) {
        ++locked_writes_;
        return;
    }
    if (is_ddc(reg)) return ddc_.write(reg, value);
    RegisterFile::write_register(reg, value);
    after_write(reg);
}

void TransmitterChip::after_write(uint8_t reg)
{
    const uint8_t value = registers_[reg];
    if (reg == REG_LOCK) write_lock(value);
    if (reg == REG_RESET && (value & RESET_AUDIO) != 0) audio_overflown_ = false;
    if (reg == REG_SYSTEM && (value & SYSTEM_CLEAR) == SYSTEM_CLEAR) {
        registers_[REG_STATUS_1] &= static_cast<uint8_t>(~registers_[REG_CLEAR_1]);
        registers_[REG_STATUS_2] &= static_cast<uint8_t>(~registers_[REG_CLEAR_2]);
    }
    note_signal();
}

void TransmitterChip::write_lock(uint8_t value)
{
    if (value == LOCK_FIRST)
        lock_ = Lock::HalfOpen;
    else
        lock_ = value == LOCK_SECOND && lock_ == Lock::HalfOpen ? Lock::Open : Lock::Closed;
}

TransmitterOutput TransmitterChip::output() const
{
    return {.bank0 = registers_,
            .bank1 = bank1_,
            .enabled = enabled_,
            .audio_overflown = audio_overflown_,
            .input = input_,
            .locking = time_.now() - signal_since_ < lock_time_};
}

void TransmitterChip::note_signal()
{
    const CableSignal now = signal_on_cable(output());
    if (now.same_as(signal_)) return;
    signal_ = now;
    signal_since_ = time_.now();
}

DisplayView TransmitterChip::view() const
{
    return look(display_, output());
}

} // namespace emu
