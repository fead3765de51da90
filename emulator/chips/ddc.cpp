#include "emulator/chips/ddc.h"

#include "emulator/chips/transmitter_registers.h"

#include <algorithm>

namespace emu {

using namespace tx;

namespace {

constexpr size_t FIFO_DEPTH = 32;

} // namespace

void DdcMaster::power_on()
{
    time_.cancel(running_);
    registers_ = {};
    fifo_.clear();
    end(DDC_DONE);
}

uint8_t DdcMaster::peek(uint8_t reg) const
{
    if (reg == REG_DDC_STATUS) return status_;
    if (reg == REG_DDC_FIFO) return fifo_.empty() ? uint8_t{0} : fifo_.front();
    return registers_.at(static_cast<size_t>(reg - REG_DDC_MASTER));
}

uint8_t DdcMaster::read(uint8_t reg)
{
    const uint8_t value = peek(reg);
    if (reg != REG_DDC_FIFO) return value;
    if (fifo_.empty())
        interrupt_(Interrupt::FifoError);
    else
        fifo_.pop_front();
    return value;
}

void DdcMaster::write(uint8_t reg, uint8_t value)
{
    if (reg == REG_DDC_STATUS || reg == REG_DDC_FIFO) return;
    registers_.at(static_cast<size_t>(reg - REG_DDC_MASTER)) = value;
    if (reg == REG_DDC_COMMAND) command(value & 0x0F);
}

void DdcMaster::command(uint8_t code)
{
    const bool host = (peek(REG_DDC_MASTER) & DDC_MASTER_HOST) != 0;
    const bool waits_for_bus = code == DDC_EDID_READ && state_ != State::Idle;
    if (!host || waits_for_bus) {
        ++lost_commands_;
        return;
    }
    if (code == DDC_EDID_READ) start_read();
    if (code == DDC_FIFO_CLEAR) {
        fifo_.clear();
        if (state_ == State::Idle) status_ = DDC_DONE; // an error is forgotten; a running transaction goes on
    }
    if (code == DDC_ABORT) {
        time_.cancel(running_);
        state_ = State::Busy;
        status_ = 0;
        // Nine clocks free a bus that a slave holds.
        running_ = time_.after(read_time_ / 4, [this] { end(DDC_DONE); });
    }
}

Micros DdcMaster::transaction_time(size_t count) const
{
    // On the wire: address, offset, address again, data; the segment pointer is two bytes more.
    const Micros byte_time = read_time_ / 4;
    const Micros segment_time = peek(REG_DDC_SEGMENT) != 0 ? 2 * byte_time : 0;
    return read_time_ + segment_time + (count > 1 ? (count - 1) * byte_time : 0);
}

DdcFault DdcMaster::next_fault(size_t first, size_t count)
{
    const bool hit = first + std::max<size_t>(count, 1) > trouble_.from_byte;
    if (trouble_.fault == DdcFault::None || trouble_.times == 0 || !hit) return DdcFault::None;
    if (trouble_.times != UINT64_MAX) --trouble_.times;
    return trouble_.fault;
}

void DdcMaster::start_read()
{
    ++transactions_;
    state_ = State::Busy;
    status_ = 0;
    const size_t count = peek(REG_DDC_COUNT);
    const DdcFault fault = next_fault(position() + peek(REG_DDC_OFFSET), count);
    if (fault == DdcFault::Never) return;
    running_ = time_.after(transaction_time(count), [this, fault] { finish_read(fault); });
}

void DdcMaster::finish_read(DdcFault fault)
{
    const uint8_t segment = peek(REG_DDC_SEGMENT);
    if (fault == DdcFault::Hang) return hang();
    if (fault == DdcFault::Arbitration) return end(DDC_ARBITRATION);
    const bool answers = display_.plugged() && time_.now() >= silent_until_ && peek(REG_DDC_SLAVE) == DDC_SLAVE_EDID;
    if (fault == DdcFault::NoAcknowledge || !answers || (segment != 0 && !display_.knows_segments()))
        return end(DDC_NO_ACKNOWLEDGE);
    uint8_t offset = peek(REG_DDC_OFFSET); // wraps inside the segment
    for (unsigned left = peek(REG_DDC_COUNT); left > 0; --left)
        push(over_the_wire(display_.edid_byte(position() + offset++)));
    end(DDC_DONE);
}

void DdcMaster::set_noise(uint32_t wrong_per_million, uint32_t seed)
{
    wrong_per_million_ = wrong_per_million;
    noise_.seed(seed);
}

uint8_t DdcMaster::over_the_wire(uint8_t byte)
{
    constexpr uint32_t million = 1'000'000;
    if (wrong_per_million_ == 0) return byte;
    for (unsigned bit = 0; bit < 8; ++bit)
        if (noise_() % million < wrong_per_million_) byte ^= static_cast<uint8_t>(1u << bit);
    return byte;
}

void DdcMaster::push(uint8_t byte)
{
    if (fifo_.size() < FIFO_DEPTH)
        fifo_.push_back(byte);
    else
        interrupt_(Interrupt::FifoError);
}

void DdcMaster::end(uint8_t status)
{
    state_ = State::Idle;
    status_ = status;
}

void DdcMaster::hang()
{
    time_.cancel(running_);
    state_ = State::Hung;
    status_ = DDC_BUS_WAIT;
    interrupt_(Interrupt::BusHang);
}

} // namespace emu
