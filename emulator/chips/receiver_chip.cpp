#include "emulator/chips/receiver_chip.h"

#include "emulator/chips/matrix.h"
#include "emulator/chips/receiver_colour.h"
#include "emulator/chips/receiver_timing.h"

#include <algorithm>

namespace emu {

using namespace rx;

namespace {

// clang-format off
constexpr RegisterRow REGISTERS[] = {
    ALL_KEPT,
    {REG_REVISION, REG_REVISION, 0x00, 0x00, 0x00, "revision"},
    {REG_RESET, REG_RESET, 0x20, 0xFF, 0x00, "reset"},
    {REG_PORT, REG_PORT, 0x00, 0xFF, 0x00, "port"},
    {REG_BANK, REG_BANK, 0x00, 0xFF, 0x00, "bank"},
    {REG_STATUS, REG_STATUS, 0x00, 0x00, 0x00, "status"},
    {REG_INT1, REG_INT3, 0x00, 0x00, 0x00, "interrupt status"}, // cleared by the pulse register
    {REG_MASK3, REG_MASK3, 0x00, 0xFF, 0x00, "mask of group 3"},
    {REG_PULSE, REG_PULSE, 0x00, 0xFF, 0x00, "reset pulses"},
    {REG_CONVERTER, REG_CONVERTER, 0x00, 0xFF, 0x00, "converter"},
    {REG_MATRIX, REG_MATRIX_LAST, 0x00, 0xFF, 0x00, "colour matrix"},
    {REG_TIMING, REG_MUTE - 1, 0x00, 0x00, 0x00, "timing"},
    {REG_MUTE, REG_MUTE, 0x00, 0x00, 0x00, "mute status"},
    {REG_FS_DEPTH, REG_FS_DEPTH, 0x00, 0x00, 0x00, "sampling frequency and depth"},
    {REG_OUTPUT, REG_OUTPUT, OUTPUT_AUDIO_OFF | OUTPUT_VIDEO_OFF, 0xFF, 0x00, "output control"},
    {REG_AUDIO, REG_AUDIO, 0x00, 0x00, 0x00, "audio"},
    {REG_INT2_MORE, REG_INT2_MORE, 0x00, 0x00, 0x00, "interrupt status"},
    {REG_LINK_COUNT, REG_LINK_COUNT, 0xFF, 0x00, 0x00, "link clock"}, // no picture
    {REG_CHANNEL_STATUS, REG_CHANNEL_STATUS + 3, 0x00, 0x00, 0x00, "channel status"},
    {REG_AVI, REG_FRAMES_LAST, 0x00, 0x00, 0x00, "info frames"},
};
// clang-format on
constexpr RegisterMap MAP{REGISTERS};

} // namespace

uint8_t ReceiverChip::fault_bits(Fault fault)
{
    switch (fault) {
    case Fault::Fifo: return INT3_FIFO;
    case Fault::Audio: return INT3_AUDIO;
    case Fault::Ecc: break;
    }
    return INT3_ECC;
}

ReceiverChip::ReceiverChip(Timeline& time, Source& port0, Source& port1)
    : RegisterFile(MAP), time_(time), sources_{&port0, &port1}
{
    for (int port = 0; port < 2; ++port)
        sources_[static_cast<size_t>(port)]->listen([this, port](Source::Change change) { on_change(port, change); });
    update_power();
    update_link();
}

void ReceiverChip::power_on()
{
    unlock();
    time_.cancel(lock_event_);
    RegisterFile::power_on();
    second_bank_ = {};
    measured_timing_ = {};
    avi_ = vendor_ = audio_frame_ = {};
    arriving_ = hdmi_ = powered_ = false;
    for (Source* source : sources_) source->set_terminated(true);
    update_power();
    update_link();
}

// --- the bus
// -----------------------------------------------------------------------------------------------------------

int ReceiverChip::read(std::span<const uint8_t> address, std::span<uint8_t> out)
{
    play(storm_);
    play(repeated_fault_);
    if (measured_ && varies(picture_)) show_timing();
    return RegisterFile::read(address, out);
}

uint8_t ReceiverChip::read_register(uint8_t reg)
{
    if (reg == REG_BANK || (registers_[REG_BANK] & 1) == 0) return reg == REG_REVISION ? revision_ : registers_[reg];
    return second_bank_[reg];
}

void ReceiverChip::write_register(uint8_t reg, uint8_t value)
{
    if (reg != REG_BANK && (registers_[REG_BANK] & 1) != 0) {
        second_bank_[reg] = value;
        return;
    }
    if (reg == REG_RESET)
        write_reset(value);
    else
        RegisterFile::write_register(reg, value);
    if (reg == REG_PULSE || reg == REG_MASK3) clear_held();
    if (reg == REG_PORT)
        for (size_t port = 0; port < sources_.size(); ++port)
            sources_[port]->set_terminated((value & PORT_TERMINATOR_OFF << port) == 0);
    output_listener_();
}

// --- interrupt status
// --------------------------------------------------------------------------------------------------

/** Bits of an interrupt status register that are being cleared now: they latch nothing while they are. */
uint8_t ReceiverChip::held(uint8_t reg) const
{
    const uint8_t pulse = registers_[REG_PULSE];
    if (in_reset(RESET_SOFTWARE)) return 0xFF;
    if (reg == REG_INT1) return (pulse & PULSE_GROUP1) != 0 ? 0xFF : 0;
    if (reg != REG_INT3) return (pulse & PULSE_GROUP2) == PULSE_GROUP2 ? 0xFF : 0;
    unsigned bits = (registers_[REG_MASK3] & MASK3_FIFO_CLEAR) != 0 ? INT3_FIFO : 0;
    if ((pulse & PULSE_ECC) != 0) bits |= INT3_ECC;
    if ((pulse & PULSE_AUDIO) != 0) bits |= INT3_AUDIO;
    if ((pulse & PULSE_ECC) != 0 && (pulse & PULSE_AUDIO) != 0) bits |= 0xE0;
    return static_cast<uint8_t>(bits);
}

void ReceiverChip::latch(uint8_t reg, uint8_t bits)
{
    registers_[reg] = static_cast<uint8_t>(registers_[reg] | (bits & ~held(reg)));
}

void ReceiverChip::clear_held()
{
    for (uint8_t reg : {REG_INT1, REG_INT2, REG_INT3, REG_INT2_MORE})
        registers_[reg] = static_cast<uint8_t>(registers_[reg] & ~held(reg));
}

void ReceiverChip::play(Repeat& repeat)
{
    if (repeat.period == 0 || time_.now() - repeat.last < repeat.period) return;
    repeat.last = time_.now();
    latch(REG_INT1, repeat.int1);
    latch(REG_INT2, repeat.int2);
    latch(REG_INT2_MORE, repeat.int2_more);
    latch(REG_INT3, repeat.int3);
}

void ReceiverChip::repeat_fault(Fault fault, Micros period)
{
    repeated_fault_ = {.int3 = fault_bits(fault), .period = period, .last = time_.now()};
}

// --- resets
// ------------------------------------------------------------------------------------------------------------

void ReceiverChip::write_reset(uint8_t value)
{
    const uint8_t before = registers_[REG_RESET];
    const auto begins = static_cast<uint8_t>(value & ~before);
    const auto ends = static_cast<uint8_t>(before & ~value);
    if ((begins & RESET_REGISTERS) != 0) {
        // Back to the power-on values, but for what stands between source and terminators.
        for (unsigned reg = 0; reg < 256; ++reg)
            if (!MAP.is_read_only(static_cast<uint8_t>(reg)) && reg != REG_PORT) registers_[reg] = MAP.reset()[reg];
        second_bank_ = {};
    }
    registers_[REG_RESET] = value;
    if ((begins & RESET_SOFTWARE) != 0) {
        clear_received();
        clear_held();
    }
    if ((begins & RESET_VIDEO) != 0) {
        time_.cancel(measure_event_);
        measured_ = false;
        registers_[REG_STATUS] &= static_cast<uint8_t>(~STATUS_MEASURED);
        std::fill(&registers_[REG_TIMING], &registers_[REG_MUTE], uint8_t{0});
        registers_[REG_LINK_COUNT] = 0xFF;
    }
    if (((begins | ends) & RESET_AUDIO) != 0) receive_audio();
    update_link();
    if ((ends & RESET_VIDEO) != 0 && locked_ && !measured_) start_measuring();
}

void ReceiverChip::clear_received()
{
    unlock();
    measured_timing_ = {};
    avi_ = vendor_ = audio_frame_ = {};
    std::fill(&registers_[REG_TIMING], &registers_[REG_MUTE] + 1, uint8_t{0});
    std::fill(&registers_[REG_AVI], &registers_[REG_FRAMES_LAST] + 1, uint8_t{0});
}

// --- the link
// ----------------------------------------------------------------------------------------------------------

void ReceiverChip::on_change(int port, Source::Change change)
{
    if (change == Source::Change::Power) return update_power();
    if (port != selected_) return;
    if (change == Source::Change::Link) return update_link();
    if (change == Source::Change::Timing && locked_) {
        start_measuring();
        output_listener_();
    }
    if (change == Source::Change::Content && measured_) receive_packets(false);
}

/**
 * The board's switch leads the selected connector to the chip's port 0, the one that the firmware uses; connector 1 has
 * a 5 V line of its own to the chip besides.
 */
void ReceiverChip::update_power()
{
    const bool selected = selected_ >= 0 && sources_[static_cast<size_t>(selected_)]->power();
    if (selected != powered_) {
        powered_ = selected;
        registers_[REG_STATUS] ^= STATUS_POWER_0;
        latch(REG_INT1, selected ? INT1_POWER_ON : INT1_POWER_OFF);
    }
    const uint8_t second = sources_[1]->power() ? STATUS_POWER_1 : 0;
    registers_[REG_STATUS] = static_cast<uint8_t>((registers_[REG_STATUS] & ~STATUS_POWER_1) | second);
}

bool ReceiverChip::picture_arrives() const
{
    return selected_ >= 0 && sources_[static_cast<size_t>(selected_)]->sends() && !in_reset(RESET_SOFTWARE);
}

void ReceiverChip::select_port(int port)
{
    if (port == selected_) return;
    selected_ = -1; // whatever comes next is another picture
    update_link();
    selected_ = port;
    update_power();
    update_link();
}

void ReceiverChip::update_link()
{
    const bool arrives = picture_arrives();
    if (arrives == arriving_) return;
    arriving_ = arrives;
    time_.cancel(lock_event_);
    if (!arrives) return unlock();
    const Micros lock_time = lock_time_ + signal()->late_lock;
    if (lock_time == 0) return lock();
    lock_event_ = time_.after(lock_time, [this] { lock(); });
}

void ReceiverChip::lock()
{
    locked_ = true;
    registers_[REG_STATUS] |= STATUS_SCDT;
    latch(REG_INT1, INT1_SCDT_ON);
    start_measuring();
    output_listener_();
}

void ReceiverChip::unlock()
{
    if (!locked_) return;
    locked_ = measured_ = false;
    time_.cancel(measure_event_);
    registers_[REG_STATUS] &= static_cast<uint8_t>(~(STATUS_SCDT | STATUS_MEASURED | STATUS_HDMI));
    registers_[REG_LINK_COUNT] = 0xFF;
    registers_[REG_MUTE] &= static_cast<uint8_t>(~MUTE_SET);
    latch(REG_INT1, INT1_SCDT_OFF);
    receive_audio();
    output_listener_();
}

void ReceiverChip::start_measuring()
{
    time_.cancel(measure_event_);
    if (in_reset(RESET_VIDEO)) return;
    if (lock_time_ == 0) return measure();
    measure_event_ = time_.after(Micros{2} * signal()->on_cable().field_us(), [this] { measure(); });
}

/** The chip goes on measuring: what its registers show depends on when they are looked at. */
void ReceiverChip::show_timing()
{
    const uint64_t measurement = (time_.now() - measured_at_) / std::max(1u, picture_.on_cable().field_us());
    const CountedTiming counted = count_timing(picture_, measurement);
    std::ranges::copy(counted.timing, &registers_[REG_TIMING]);
    registers_[REG_LINK_COUNT] = counted.link;
}

void ReceiverChip::measure()
{
    const bool first = !measured_;
    measured_ = true;
    measured_at_ = time_.now();
    picture_ = *signal();
    show_timing();
    registers_[REG_STATUS] |= STATUS_MEASURED;
    decltype(measured_timing_) now;
    std::copy_n(&registers_[REG_TIMING], now.size(), now.begin());
    if (now != measured_timing_) latch(REG_INT1, INT1_MODE_CHANGE);
    measured_timing_ = now;
    receive_packets(first);
}

// --- packets and sound
// -------------------------------------------------------------------------------------------------

void ReceiverChip::receive_packets(bool first)
{
    const bool hdmi = signal()->hdmi;
    if (hdmi != hdmi_) latch(REG_INT1, INT1_HDMI_CHANGE);
    hdmi_ = hdmi;
    registers_[REG_STATUS] = static_cast<uint8_t>((registers_[REG_STATUS] & ~STATUS_HDMI) | (hdmi ? STATUS_HDMI : 0));
    receive_mute(hdmi && source()->muted());
    receive_frames(first);
    receive_audio();
    output_listener_();
}

void ReceiverChip::receive_mute(bool muted)
{
    const bool before = (registers_[REG_MUTE] & MUTE_SET) != 0;
    if (muted == before) return;
    registers_[REG_MUTE] ^= MUTE_SET;
    latch(REG_INT2, muted ? INT2_MUTE_SET : INT2_MUTE_CLEAR);
}

/**
 * Frames stay as they were received last when the source sends none any more. Their checksums are for the firmware to
 * judge: the chip corrects and drops packets by the error code of the link, which a source with a wrong sum gets right.
 */
void ReceiverChip::receive_frames(bool first)
{
    const InfoFrame avi = source()->told().avi, vendor = signal()->vendor_frame(), audio = source()->told().audio;
    if (avi.type != 0 && (first || avi != avi_)) {
        avi_ = avi;
        registers_[REG_AVI] = avi.version;
        std::copy_n(avi.body.begin(), 14, &registers_[REG_AVI + 1]);
        latch(REG_INT2, INT2_AVI);
    }
    if (vendor.type != 0 && (first || vendor != vendor_)) {
        vendor_ = vendor;
        registers_[REG_VENDOR] = vendor.type;
        registers_[REG_VENDOR + 1] = vendor.version;
        registers_[REG_VENDOR + 2] = vendor.length;
        std::copy(vendor.body.begin(), vendor.body.end(), &registers_[REG_VENDOR + 3]);
        latch(REG_INT2_MORE, INT2_VENDOR);
    }
    if (audio.type != 0 && audio != audio_frame_) {
        audio_frame_ = audio;
        registers_[REG_AUDIO_FRAME] = audio.version;
        std::copy_n(audio.body.begin(), 6, &registers_[REG_AUDIO_FRAME + 1]);
        registers_[REG_AUDIO_FRAME + 7] = audio.length;
    }
}

/**
 * Take over what runs through the sound path; a change in mid-stream upsets its FIFO and its clock. A channel status
 * that tells something else upsets neither.
 */
void ReceiverChip::receive_audio()
{
    AudioSignal now{.kind = AudioKind::None};
    if (measured_ && signal()->sound() != AudioKind::None) now = signal()->audio;
    const bool running = sound_.kind != AudioKind::None && now.kind != AudioKind::None;
    if (running && now != sound_) latch(REG_INT3, INT3_FIFO | INT3_AUDIO);
    sound_ = now;
    show_audio();
}

void ReceiverChip::show_audio()
{
    static constexpr uint8_t KINDS[] = {0, AUDIO_PRESENT, AUDIO_PRESENT, AUDIO_PRESENT | AUDIO_HBR,
                                        AUDIO_PRESENT | AUDIO_DSD};
    static constexpr struct {
        uint8_t bits, code;
    } DEPTHS[] = {{24, 4}, {30, 5}, {36, 6}, {48, 7}};
    uint8_t depth = 0;
    if (measured_ && hdmi_)
        for (const auto& row : DEPTHS)
            if (row.bits == signal()->depth_bits) depth = row.code;
    const bool present = sound_.kind != AudioKind::None;
    const auto status = present ? source()->told().status : Told{}.status;
    registers_[REG_FS_DEPTH] = static_cast<uint8_t>(depth << 4 | (present ? status[3] & 0x0F : 0));
    if (!present || in_reset(RESET_AUDIO)) {
        registers_[REG_AUDIO] = 0;
        return;
    }
    const bool layout_1 = sound_.kind != AudioKind::Hbr && sound_.is_layout_1();
    registers_[REG_AUDIO] = static_cast<uint8_t>(KINDS[static_cast<size_t>(sound_.kind)] |
                                                 (layout_1 ? AUDIO_LAYOUT_1 : 0) | sound_.lines());
    std::copy_n(status.begin(), 3, &registers_[REG_CHANNEL_STATUS]);
    registers_[REG_CHANNEL_STATUS + 3] = static_cast<uint8_t>(status[4] << 4 | (status[3] >> 4 & 0x03));
}

// --- a look
// ------------------------------------------------------------------------------------------------------------

bool ReceiverChip::lets_video_out() const
{
    const uint8_t output = registers_[REG_OUTPUT];
    const bool blanked = (registers_[REG_CONVERTER] & CONVERTER_BLANK) != 0 && (output & OUTPUT_IGNORE_MUTE) == 0;
    return measured_ && (output & OUTPUT_VIDEO_OFF) == 0 && !blanked;
}

bool ReceiverChip::lets_audio_out() const
{
    return (registers_[REG_AUDIO] & AUDIO_PRESENT) != 0 && (registers_[REG_OUTPUT] & OUTPUT_AUDIO_OFF) == 0;
}

ReceiverChip::Output ReceiverChip::output() const
{
    if (!locked_) return {};
    static constexpr Colour COLOURS[] = {Colour::Rgb, Colour::Yuv422, Colour::Yuv444, Colour::Rgb};
    const unsigned told = signal()->hdmi && avi_.type != 0 ? avi_.body[1] >> 5 & 0x03u : 0;
    return {.timing = signal()->timing(),
            .colours = received_colours(registers_, signal()->colours(), COLOURS[told]),
            .black = !lets_video_out(),
            .sound = lets_audio_out()};
}

std::string ReceiverChip::conversion() const
{
    if (converter() == Converter::None) return "none";
    if (converter() == Converter::Undefined) return "undefined";
    const bool to_yuv = converter() == Converter::RgbToYuv;
    const Matrix matrix = recognise_coefficients(std::span(registers_).subspan<REG_MATRIX, 18>());
    if (matrix.kind != (to_yuv ? MatrixKind::RgbToYuv : MatrixKind::YuvToRgb)) return "unknown matrix";
    return std::string(to_yuv ? "RGB to YUV, " : "YUV to RGB, ") + (matrix.itu709 ? "BT.709, " : "BT.601, ") +
           (matrix.limited ? "16-235" : "0-255");
}

std::optional<ReceiverChip::Measured> ReceiverChip::measured() const
{
    if (!measured_) return std::nullopt;
    const bool interlaced = (registers_[REG_TIMING] & 0x02) != 0;
    const Format& f = picture_.format;
    return Measured{hdmi_, f.h_active, interlaced ? f.v_active * 2u : f.v_active, interlaced};
}

std::string ReceiverChip::Measured::text() const
{
    return (hdmi ? "HDMI " : "DVI ") + std::to_string(width) + "x" + std::to_string(height) + (interlaced ? "i" : "p");
}

std::string ReceiverChip::describe() const
{
    std::string text;
    for (const Source* source : sources_)
        text += "port " + std::to_string(source->port()) + ": " + source->describe() +
                (source->terminated() ? "" : "; terminators off") + "\n";
    text += "receiver: " + (selected_ < 0 ? std::string("no port") : "port " + std::to_string(selected_)) + ", ";
    if (const auto picture = measured(); picture)
        text += picture->text();
    else
        text += locked_ ? "in sync, not measured yet" : "no sync";
    text += mute_received() ? ", AV mute received\n" : "\n";
    text += std::string("picture ") + (lets_video_out() ? "let out" : "held back") + ", sound " +
            (lets_audio_out() ? "let out" : "held back") + ", conversion: " + conversion() + "\n";
    return text;
}

} // namespace emu
