#include "emulator/hardware.h"

#include "emulator/kernel/paths.h"

#include <cerrno>
#include <charconv>

namespace emu {

constexpr uint32_t BOARD_AUDIO_HZ = 48'000; // at the transmitter, whatever the source sends

Hardware::Hardware(const BoxOptions& options)
    : root_(options.root), i2c_(time_), sources_{Source(time_, 0), Source(time_, 1)},
      receiver_(time_, sources_[0], sources_[1]), transmitter_(time_), board_(time_), edid_rom_(time_, i2c_),
      capture_(i2c_, time_), nvram_(root_), card_(root_), encoder_(root_, time_, card_, options.encoder)
{
    i2c_.attach(i2c_address::RECEIVER, receiver_);
    i2c_.attach(i2c_address::TRANSMITTER, transmitter_);
    i2c_.attach(i2c_address::TRANSMITTER_COMPANION, transmitter_companion_);
    i2c_.attach(i2c_address::EDID_ROM, edid_rom_);
    i2c_.attach(i2c_address::BOARD, board_);
    wire_board();
    add_commands();
}

Hardware::~Hardware()
{
    remove_queue(root_.path());
}

void Hardware::wire_board()
{
    board_.on_control([this] {
        receiver_.select_port(board_.selected_port());
        transmitter_.enable_output(board_.output_enabled());
        edid_rom_.give_access(board_.rom_readable(), board_.rom_writable());
        show_input();
    });
    for (Source& source : sources_) source.listen([this](Source::Change) { show_input(); });
    receiver_.on_output([this] { feed_output(); });
    card_.on_removal([this] { encoder_.lose_card(); });
    card_.on_trouble([this] { encoder_.watch_card(); });
}

void Hardware::show_input()
{
    const int port = board_.selected_port();
    const bool sends = port >= 0 && source(port).sends();
    encoder_.show_input(port, sends ? source(port).signal().format.name : "");
}

/** The video hardware between the two chips hands on what it gets. */
void Hardware::feed_output()
{
    const ReceiverChip::Output output = receiver_.output();
    transmitter_.set_input({.timing = output.timing,
                            .colours = output.colours,
                            .black = output.black,
                            .audio_rate_hz = output.sound ? BOARD_AUDIO_HZ : 0});
}

void Hardware::power_cycle()
{
    for (RegisterFile* chip :
         std::initializer_list<RegisterFile*>{&board_, &receiver_, &transmitter_, &transmitter_companion_})
        chip->power_on();
    capture_.power_on();
    nvram_.power_cut();
}

void Hardware::add_commands()
{
    commands_.add_action("power-cycle", "  switch the box off and on: its chips forget what they were told",
                         [this] { power_cycle(); });
    add_board_commands(commands_, board_);
    add_source_commands(commands_, sources_[0], sources_[1]);
    add_receiver_commands(commands_, receiver_);
    add_transmitter_commands(commands_, transmitter_);
    add_edid_rom_commands(commands_, edid_rom_);
    add_card_commands(commands_, card_);
    add_encoder_commands(commands_, encoder_);
    add_nvram_commands(commands_, nvram_);
    add_capture_commands(commands_, capture_);
    add_diagnostics_commands(commands_, capture_.diagnostics());
    add_i2c_commands(commands_, i2c_);
}

int Hardware::open(std::string_view path)
{
    OpenNode opened;
    constexpr std::string_view video = "/dev/video";
    if (path == "/dev/qvnvram" && nvram_.present()) opened.node = Node::Nvram;
    if (path.starts_with(video)) {
        const auto digits = path.substr(video.size());
        const auto [end, error] = std::from_chars(digits.begin(), digits.end(), opened.number);
        if (error == std::errc() && end == digits.end() && capture_.has_node(opened.number)) opened.node = Node::Video;
    }
    if (opened.node == Node::None) return -ENOENT;
    for (size_t handle = 1; handle < open_nodes_.size(); ++handle) {
        if (open_nodes_[handle].node != Node::None) continue;
        open_nodes_[handle] = opened;
        return static_cast<int>(handle);
    }
    return -EMFILE;
}

int Hardware::request(int handle, uint32_t code, void* record)
{
    if (handle <= 0 || static_cast<size_t>(handle) >= open_nodes_.size()) return -EBADF;
    const OpenNode& node = open_nodes_[static_cast<size_t>(handle)];
    switch (node.node) {
    case Node::Video: return capture_.request(node.number, code, record);
    case Node::Nvram: return nvram_.request(code, record);
    case Node::None: break;
    }
    return -EBADF;
}

int Hardware::request_value(int handle, uint32_t code, int value)
{
    if (handle <= 0 || static_cast<size_t>(handle) >= open_nodes_.size()) return -EBADF;
    const OpenNode& node = open_nodes_[static_cast<size_t>(handle)];
    switch (node.node) {
    case Node::Video: return -ENOTTY;
    case Node::Nvram: return nvram_.request_value(code, value);
    case Node::None: break;
    }
    return -EBADF;
}

void Hardware::close(int handle)
{
    if (handle > 0 && static_cast<size_t>(handle) < open_nodes_.size()) open_nodes_[static_cast<size_t>(handle)] = {};
}

} // namespace emu
