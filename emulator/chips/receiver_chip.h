/**
 * @file
 * The HDMI receiver chip: status, measured timing, received packets and sound of the source on the selected port.
 *
 * It locks to a picture that arrives, then measures it for two fields; only then do its timing registers, its stable
 * bits and the received frames move. They hold what they had when the picture goes. Events are latched in the interrupt
 * status registers whether or not a mask lets them to the interrupt pin, which nothing on this board is wired to.
 */
#pragma once

#include "emulator/base/timeline.h"
#include "emulator/bus/register_file.h"
#include "emulator/world/source.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>

namespace emu {

class CommandTable;

class ReceiverChip : public RegisterFile {
public:
    ReceiverChip(Timeline& time, Source& port0, Source& port1);
    ReceiverChip(const ReceiverChip&) = delete;
    ReceiverChip& operator=(const ReceiverChip&) = delete;

    int read(std::span<const uint8_t> address, std::span<uint8_t> out) override;

    /** @name The board and the world.
     * @{ */
    /** Connect an input port, 0 or 1, or none of them with -1. Port 0 is connected at power-on. */
    void select_port(int port);
    /** Revision that register 0x04 tells. */
    void set_revision(uint8_t revision) { revision_ = revision; }
    /** Time from a picture's arrival to sync; with 0 it is measured at once, too. */
    void set_lock_time(Micros time) { lock_time_ = time; }

    enum class Fault : uint8_t { Fifo, Audio, Ecc };
    /** Latch a fault of the received data. */
    void fault(Fault fault) { latch(REG_INT3, fault_bits(fault)); }
    /** Latch a fault again at a reader's next look whenever so long has passed since the last time; 0 ends it. */
    void repeat_fault(Fault fault, Micros period);
    /** The same with every bit of all interrupt status registers. */
    void storm(Micros period) { storm_ = {0xFF, 0xFF, 0xFF, 0xFF, period, time_.now()}; }
    /** @} */

    /** @name A look.
     * @{ */
    int selected_port() const { return selected_; }
    bool in_sync() const { return locked_; }
    /** A picture as the chip has measured it. */
    struct Measured {
        bool hdmi; ///< else DVI
        unsigned width, height;
        bool interlaced;
        /** As in "HDMI 1920x1080p". */
        std::string text() const;
    };
    /** The picture on the selected port, once its timing is stable. */
    std::optional<Measured> measured() const;
    bool mute_received() const { return (registers_[REG_MUTE] & MUTE_SET) != 0; }
    bool terminated(int port) const { return sources_.at(static_cast<size_t>(port))->terminated(); }
    /** The picture reaches the encoder: measured, output on, not blanked. */
    bool lets_video_out() const;
    /** The sound reaches the encoder: present, all outputs on, the sound path not in reset. */
    bool lets_audio_out() const;
    enum class Converter : uint8_t { None, Undefined, RgbToYuv, YuvToRgb };
    Converter converter() const { return static_cast<Converter>(registers_[REG_CONVERTER] & 0x03); }
    /** The colour conversion that is set up, in words, its matrix judged by its coefficients. */
    std::string conversion() const;
    /** Resets of the sound path since power-on. */
    unsigned audio_resets() const { return audio_resets_; }
    /** Software resets since power-on. */
    unsigned software_resets() const { return software_resets_; }
    /** What a person would see of the input: both sources and the receiver. */
    std::string describe() const;
    /** @} */

protected:
    uint8_t read_register(uint8_t reg) override;
    void write_register(uint8_t reg, uint8_t value) override;

private:
    // Registers by what they do here; those without a name only keep what is written.
    static constexpr uint8_t REG_REVISION = 0x04;
    static constexpr uint8_t REG_RESET = 0x05;
    static constexpr uint8_t RESET_SOFTWARE = 0x01;
    static constexpr uint8_t RESET_AUDIO = 0x04;
    static constexpr uint8_t RESET_REGISTERS = 0x10;
    static constexpr uint8_t RESET_VIDEO = 0x80;
    static constexpr uint8_t REG_PORT = 0x07;
    static constexpr uint8_t PORT_TERMINATOR_OFF = 0x04; // port 0's; port 1's is the next bit
    static constexpr uint8_t REG_BANK = 0x0F;
    static constexpr uint8_t REG_STATUS = 0x10;
    static constexpr uint8_t STATUS_POWER_0 = 0x01, STATUS_POWER_1 = 0x08;
    static constexpr uint8_t STATUS_SCDT = 0x06;
    static constexpr uint8_t STATUS_HDMI = 0x10;
    static constexpr uint8_t STATUS_MEASURED = 0xA0;
    static constexpr uint8_t REG_INT1 = 0x13;
    static constexpr uint8_t INT1_POWER_ON = 0x01, INT1_POWER_OFF = 0x02;
    static constexpr uint8_t INT1_SCDT_ON = 0x04, INT1_SCDT_OFF = 0x08;
    static constexpr uint8_t INT1_HDMI_CHANGE = 0x10, INT1_MODE_CHANGE = 0x20;
    static constexpr uint8_t REG_INT2 = 0x14;
    static constexpr uint8_t INT2_MUTE_SET = 0x01, INT2_AVI = 0x04, INT2_MUTE_CLEAR = 0x80;
    static constexpr uint8_t REG_INT3 = 0x15;
    static constexpr uint8_t INT3_FIFO = 0x03, INT3_ECC = 0x04, INT3_AUDIO = 0x18;
    static constexpr uint8_t REG_MASK3 = 0x18;
    static constexpr uint8_t MASK3_FIFO_CLEAR = 0x80;
    static constexpr uint8_t REG_PULSE = 0x19;
    static constexpr uint8_t PULSE_GROUP1 = 0x01, PULSE_GROUP2 = 0xC2, PULSE_ECC = 0x04, PULSE_AUDIO = 0x08;
    static constexpr uint8_t REG_CONVERTER = 0x20; // bits 0, 1: what it does
    static constexpr uint8_t CONVERTER_BLANK = 0x80;
    static constexpr uint8_t REG_MATRIX = 0x24;
    static constexpr uint8_t REG_TIMING = 0x58; // to 0x64
    static constexpr uint8_t REG_MUTE = 0x65;
    static constexpr uint8_t MUTE_SET = 0x04;
    static constexpr uint8_t REG_FS_DEPTH = 0x84;
    static constexpr uint8_t REG_OUTPUT = 0x89;
    static constexpr uint8_t OUTPUT_AUDIO_OFF = 0x1F, OUTPUT_VIDEO_OFF = 0x20, OUTPUT_IGNORE_MUTE = 0x80;
    static constexpr uint8_t REG_AUDIO = 0x8A; // bits 0 to 3: lines in use
    static constexpr uint8_t AUDIO_PRESENT = 0x80, AUDIO_HBR = 0x40, AUDIO_DSD = 0x20, AUDIO_LAYOUT_1 = 0x10;
    static constexpr uint8_t REG_INT2_MORE = 0x8B;
    static constexpr uint8_t INT2_VENDOR = 0x04;
    static constexpr uint8_t REG_LINK_COUNT = 0x9A;
    static constexpr uint8_t REG_CHANNEL_STATUS = 0x9C; // to 0x9F
    static constexpr uint8_t REG_AVI = 0xAC;            // version, checksum, data: to 0xBA
    static constexpr uint8_t REG_VENDOR = 0xBD;         // whole frame: to 0xDB
    static constexpr uint8_t REG_AUDIO_FRAME = 0xDC;    // version, checksum, data, length: to 0xE3

    struct Repeat {
        uint8_t int1 = 0, int2 = 0, int2_more = 0, int3 = 0; ///< bits to latch
        Micros period = 0;                                   ///< 0: none
        Micros last = 0;
    };

    static constexpr bool is_read_only(uint8_t reg);
    static uint8_t fault_bits(Fault fault);
    bool in_reset(uint8_t bits) const { return (registers_[REG_RESET] & bits) != 0; }
    const Signal* signal() const
    {
        return selected_ < 0 ? nullptr : &sources_[static_cast<size_t>(selected_)]->signal();
    }
    bool picture_arrives() const;

    uint8_t held(uint8_t reg) const;
    void latch(uint8_t reg, uint8_t bits);
    void clear_held();
    void play(Repeat& repeat);

    void on_change(int port, Source::Change change);
    void update_power();
    void update_link();
    void lock();
    void unlock();
    void start_measuring();
    void measure();
    void show_timing(const Signal& signal);
    void receive_packets(bool first);
    void receive_mute(bool muted);
    void receive_frames(bool first);
    void receive_audio();
    void show_audio();
    void write_reset(uint8_t value);
    void clear_received();

    Timeline& time_;
    std::array<Source*, 2> sources_;
    std::array<uint8_t, 256> second_bank_{};
    bool powered_ = false; ///< 5 V from the selected connector
    int selected_ = 0;
    uint8_t revision_ = 0xA3;
    Micros lock_time_ = 10'000;
    Timeline::EventId lock_event_{}, measure_event_{};
    bool arriving_ = false, locked_ = false, measured_ = false, hdmi_ = false;
    std::array<uint8_t, 12> measured_timing_{}; ///< the last picture's, the pixel clock not counted
    InfoFrame avi_, vendor_, audio_frame_;
    AudioSignal sound_;
    Repeat storm_, repeated_fault_;
    unsigned audio_resets_ = 0, software_resets_ = 0;
};

/** Add "receiver error|storm|revision|lock-time" and the section "input" of show. */
void add_receiver_commands(CommandTable& commands, ReceiverChip& receiver);

} // namespace emu
