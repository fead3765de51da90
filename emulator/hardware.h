/**
 * @file
 * What the emulated box is made of: its chips, card, nvram and encoder, wired as on the board, behind the few calls by
 * which a daemon reaches them, each with its own commands.
 *
 * One thread at a time uses it. No call blocks.
 */
#pragma once

#include "emulator/base/timeline.h"
#include "emulator/bus/i2c_bus.h"
#include "emulator/chips/board_controller.h"
#include "emulator/chips/edid_rom.h"
#include "emulator/chips/receiver_chip.h"
#include "emulator/chips/transmitter_chip.h"
#include "emulator/commands/commands.h"
#include "emulator/kernel/capture_driver.h"
#include "emulator/kernel/nvram_device.h"
#include "emulator/kernel/rootfs.h"
#include "emulator/world/card.h"
#include "emulator/world/encoder.h"
#include "emulator/world/source.h"

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace emu {

struct BoxOptions {
    std::string root;                               ///< folder that holds the root file system; filled when it is empty
    EncoderKind encoder = EncoderKind::Bookkeeping; ///< who writes the recordings
};

class Hardware {
public:
    explicit Hardware(const BoxOptions& options);
    /** What the box's kernel kept ends with it; what lies in its root stays. */
    ~Hardware();
    Hardware(const Hardware&) = delete;
    Hardware& operator=(const Hardware&) = delete;

    /** @name The kernel's side, as the daemon's seam asks for it. Negative results are errno values.
     * @{ */
    /** Open a device node. @return a handle above 0, or -ENOENT */
    int open(std::string_view path);
    /** A request with a record. @return the driver's result */
    int request(int handle, uint32_t code, void* record);
    /** A request with an integer by value. @return the driver's result */
    int request_value(int handle, uint32_t code, int value);
    void close(int handle);
    /** @} */

    /**
     * Switch the box off and on: every chip has its power-on values, the capture driver and nvram's memory are new. The
     * EDID ROM, nvram's flash, the root file system, the card and what is plugged in stay; a daemon does not notice by
     * itself that it should have ended.
     */
    void power_cycle();

    /** Run one command line. */
    Reply command(std::string_view line, const Caller& caller = {}) const { return commands_.run(line, caller); }

    Timeline& time() { return time_; }
    I2cBus& i2c() { return i2c_; }
    CaptureDriver& capture() { return capture_; }
    Source& source(int port) { return sources_.at(static_cast<size_t>(port)); }
    ReceiverChip& receiver() { return receiver_; }
    TransmitterChip& transmitter() { return transmitter_; }
    BoardController& board() { return board_; }
    EdidRom& edid_rom() { return edid_rom_; }
    NvramDevice& nvram() { return nvram_; }
    RootFs& root() { return root_; }
    const RootFs& root() const { return root_; }
    Card& card() { return card_; }
    Encoder& encoder() { return encoder_; }
    CommandTable& commands() { return commands_; }

private:
    enum class Node : uint8_t { None, Video, Nvram };
    struct OpenNode {
        Node node = Node::None;
        int number = 0; ///< of a video node
    };

    void wire_board();
    void show_input();
    void feed_output();
    void add_commands();

    Timeline time_;
    CommandTable commands_;
    RootFs root_;
    I2cBus i2c_;
    std::array<Source, 2> sources_;
    ReceiverChip receiver_;
    TransmitterChip transmitter_;
    RegisterFile transmitter_companion_; ///< answers at 0x4E; nothing of the box uses it
    BoardController board_;
    EdidRom edid_rom_;
    CaptureDriver capture_;
    NvramDevice nvram_;
    Card card_;
    Encoder encoder_;
    std::array<OpenNode, 64> open_nodes_{};
};

} // namespace emu
