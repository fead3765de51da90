/**
 * @file
 * The encoder: /kxbin/enc.sh, a script that the daemon starts, and what the box knows of it and does to it. The script
 * tells in /run/encoder/log when it starts, refuses and ends, and looks in /run/encoder how it is to behave.
 *
 * With Ffmpeg a real MP4 file is written in real time. With Bookkeeping the script only creates the file and the box
 * lets it grow with its own clock, at the configuration's bit rates: catch_up() brings the size up to date, so it must
 * be called before anyone looks at the file. The file has a size but no data.
 *
 * A card that takes less, or nothing more, shows in the file's size; a write that fails ends the script with an error,
 * as real encoders end, and leaves what was written. How slow a card is, counts with Bookkeeping only.
 *
 * settle() and die() wait in real time for another process; no other call waits.
 */
#pragma once

#include "emulator/base/timeline.h"
#include "emulator/kernel/rootfs.h"
#include "emulator/world/card.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <sys/types.h>

namespace emu {

class CommandTable;

enum class EncoderKind : uint8_t { Bookkeeping, Ffmpeg };

/** What the encoder was asked to write. */
struct Recording {
    pid_t pid = 0;    ///< of the script
    pid_t writer = 0; ///< of the program that writes the file; 0 with Bookkeeping
    int width = 0, height = 0, frame_rate = 0;
    int sample_rate = 0, channels = 0;
    uint64_t bit_rate = 0; ///< of picture and sound together, bit/s
    std::string file;      ///< path on this machine
    Micros start = 0;
    double bytes = 0;         ///< with Bookkeeping: that were written
    Micros written_until = 0; ///< when they were
};

class Encoder {
public:
    /** All outlive the encoder. */
    Encoder(const RootFs& root, Timeline& time, const Card& card, EncoderKind kind);
    ~Encoder();
    Encoder(const Encoder&) = delete;
    Encoder& operator=(const Encoder&) = delete;

    /** The daemon is about to start the script, which is held at its beginning until settle() waits for it. */
    void expect_start();
    /** Wait until an expected script runs, has refused or has ended. Throws std::runtime_error after two minutes. */
    void settle();
    /** Wait until a script that was told to stop has ended, unless it is to hang. Throws as settle() does. */
    void settle_stop();
    /** Take note of scripts that started, ended or were killed, and let the file grow. */
    void catch_up();

    /** The recording that runs, as of the last catch_up() or settle(). */
    const std::optional<Recording>& recording() const { return recording_; }
    /** Scripts that started to record since power-on. */
    uint64_t recordings() const { return recordings_; }

    /** Kill the script and what writes for it, and wait for their end as settle() does. @return false when none runs */
    bool die();
    /** After 'q', end only after this many milliseconds of real time or when told to go on. */
    void hang(unsigned milliseconds);
    /** The same from the next start on, with no end by SIGTERM either. */
    void be_deaf(unsigned milliseconds);
    /** Refuse to start. */
    void refuse();
    /** Take the script away, or put it back. */
    void set_missing(bool missing);
    /** Behave well, from now on and if it hangs. */
    void behave();
    /** Let files grow at this many kbit/s whatever the configuration says; 0 for the configuration's rates. */
    void set_rate(uint64_t kilobits) { rate_override_ = kilobits * 1000; }
    /** What the input is now, for the picture: the selected port, or -1, and the name of its source's format. */
    void show_input(int port, std::string_view format);
    /** The card leaves the slot: what is still to be written is lost. The script does not notice. */
    void lose_card();
    /** From now on the card fails writes: look after them while a recording runs. */
    void watch_card();

    /** Whether the script is there to be started. */
    bool script_there() const;
    /** How it is told to behave: "ok", "refuse", or "hang" or "deaf" and milliseconds. */
    std::string behaviour() const;
    /** A line for people. */
    std::string describe() const;

private:
    void read_log();
    void take_line(const std::string& line);
    void notice_death();
    void grow();
    void grow_within(uint64_t room);
    uint64_t room() const;
    void fail_write();

    const RootFs& root_;
    Timeline& time_;
    const Card& card_;
    EncoderKind kind_;
    int log_ = -1;
    off_t log_read_ = 0;
    bool starting_ = false;
    std::string input_;
    std::optional<Recording> recording_;
    uint64_t recordings_ = 0, rate_override_ = 0;
    Timeline::EventId watch_{};
};

/** Add "encoder ..." and the section "encoder". */
void add_encoder_commands(CommandTable& commands, Encoder& encoder);

} // namespace emu
