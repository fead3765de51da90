/**
 * @file
 * The HDMI receiver chip: status, measured timing, received packets and sound of the source on the selected port.
 *
 * It locks to a picture that arrives, then measures it for two fields; only then do its timing registers, its stable
 * bits and the received frames move. They hold what they had when the picture goes. Counts of a source that jitters
 * differ from look to look; its own comparison for a mode change is coarser than that. Info frames are stored as they
 * come, whatever their checksums say. Events are latched in the interrupt status registers whether or not a mask lets
 * them to the interrupt pin, which nothing on this board is wired to.
 */
#pragma once

#include "emulator/base/timeline.h"
#include "emulator/bus/register_file.h"
#include "emulator/chips/receiver_registers.h"
#include "emulator/world/source.h"

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace emu {

class CommandTable;

class ReceiverChip : public RegisterFile {
public:
    ReceiverChip(Timeline& time, Source& port0, Source& port1);
    ReceiverChip(const ReceiverChip&) = delete;
    ReceiverChip& operator=(const ReceiverChip&) = delete;

    /** As after power-on: outputs off, terminators on, nothing received; it begins to look for a picture anew. */
    void power_on() override;

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
    void fault(Fault fault) { latch(rx::REG_INT3, fault_bits(fault)); }
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
    bool mute_received() const { return (registers_[rx::REG_MUTE] & rx::MUTE_SET) != 0; }
    bool terminated(int port) const { return sources_.at(static_cast<size_t>(port))->terminated(); }
    /** The picture reaches the encoder: measured, output on, not blanked. */
    bool lets_video_out() const;
    /** The sound reaches the encoder: present, all outputs on, the sound path not in reset. */
    bool lets_audio_out() const;
    enum class Converter : uint8_t { None, Undefined, RgbToYuv, YuvToRgb };
    Converter converter() const { return static_cast<Converter>(registers_[rx::REG_CONVERTER] & 0x03); }
    /** What leaves the chip for the box's video hardware. */
    struct Output {
        PictureTiming timing; ///< without a clock while there is no sync
        PictureColours colours;
        bool black = false; ///< the picture is held back
        bool sound = false;
    };
    Output output() const;
    /** Whoever takes the output is told when it may have changed. */
    void on_output(std::function<void()> listener) { output_listener_ = std::move(listener); }
    /** The colour conversion that is set up, in words, its matrix judged by its coefficients. */
    std::string conversion() const;
    /** What a person would see of the input: both sources and the receiver. */
    std::string describe() const;
    /** @} */

protected:
    uint8_t read_register(uint8_t reg) override;
    void write_register(uint8_t reg, uint8_t value) override;

private:
    struct Repeat {
        uint8_t int1 = 0, int2 = 0, int2_more = 0, int3 = 0; ///< bits to latch
        Micros period = 0;                                   ///< 0: none
        Micros last = 0;
    };

    static uint8_t fault_bits(Fault fault);
    bool in_reset(uint8_t bits) const { return (registers_[rx::REG_RESET] & bits) != 0; }
    /** At the selected port; nullptr when none is. */
    const Source* source() const { return selected_ < 0 ? nullptr : sources_[static_cast<size_t>(selected_)]; }
    const Signal* signal() const { return selected_ < 0 ? nullptr : &source()->signal(); }
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
    void show_timing();
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
    Signal picture_;                            ///< as it was measured last
    Micros measured_at_ = 0;                    ///< when the first measurement of it was complete
    std::array<uint8_t, 12> measured_timing_{}; ///< the last picture's, the pixel clock not counted
    InfoFrame avi_, vendor_, audio_frame_;
    AudioSignal sound_;
    Repeat storm_, repeated_fault_;
    std::function<void()> output_listener_ = [] {};
};

/** Add "receiver error|storm|revision|lock-time" and the section "input" of show. */
void add_receiver_commands(CommandTable& commands, ReceiverChip& receiver);

} // namespace emu
