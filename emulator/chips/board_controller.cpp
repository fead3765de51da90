#include "emulator/chips/board_controller.h"

#include "emulator/commands/commands.h"

#include <algorithm>
#include <cctype>

namespace emu {

namespace {

constexpr uint8_t STATUS = 0;
constexpr uint8_t STATUS_CODE_WAITING = 0x10;
constexpr uint8_t REMOTE_CODE = 1;
constexpr uint8_t CONTROL = 2;
constexpr uint8_t CONTROL_PORT_0 = 0x01;
constexpr uint8_t CONTROL_PORT_1 = 0x02;
constexpr uint8_t CONTROL_PORTS = CONTROL_PORT_0 | CONTROL_PORT_1;
constexpr uint8_t CONTROL_SWITCH = 0x04; // set together with a port; the board's maker says no more
constexpr uint8_t CONTROL_OUTPUT = 0x08;
constexpr uint8_t CONTROL_ROM_WRITE = 0x10;
constexpr uint8_t CONTROL_ROM_HOST = 0x20;
constexpr uint8_t LED_GROUP_0 = 5;

// clang-format off
constexpr RegisterRow REGISTERS[] = {
    ALL_KEPT,
    {STATUS, STATUS, 0x00, 0x00, 0x00, "status"},
    {REMOTE_CODE, REMOTE_CODE, 0x00, 0x00, 0x00, "remote code"}, // reading it takes the code
    {CONTROL, CONTROL, CONTROL_PORT_0 | CONTROL_SWITCH, 0xFF, 0x00, "control"},
    {LED_GROUP_0, LED_GROUP_0 + 1, 0x00, 0xFF, 0x00, "LEDs"},
};
// clang-format on
constexpr RegisterMap MAP{REGISTERS};

constexpr Micros LOOK_TIME = 2'000'000;
constexpr size_t HISTORY_SIZE = 256;

/** The remote's keys and the codes that they send. */
constexpr struct Key {
    const char* name;
    uint8_t code;
} KEYS[] = {{"record", 21}, {"stop", 84}, {"low", 65}, {"high", 66}, {"port0", 70}, {"port1", 69}, {"power", 67}};

/** What is printed beside the LEDs of group 0; group 1 is the storage bar. */
constexpr const char* LED_NAMES[] = {
    "power", "port 0", "recording from port 0", "port 1", "recording from port 1", "configuration", "error"};

} // namespace

BoardController::BoardController(const Timeline& time) : RegisterFile(MAP), time_(time) {}

void BoardController::press(uint8_t code)
{
    if (code_waiting()) ++lost_codes_;
    registers_[STATUS] |= STATUS_CODE_WAITING;
    registers_[REMOTE_CODE] = code;
}

bool BoardController::code_waiting() const
{
    return (registers_[STATUS] & STATUS_CODE_WAITING) != 0;
}

int BoardController::selected_port() const
{
    switch (registers_[CONTROL] & CONTROL_PORTS) {
    case CONTROL_PORT_0: return 0;
    case CONTROL_PORT_1: return 1;
    default: return -1;
    }
}

bool BoardController::output_enabled() const
{
    return (registers_[CONTROL] & CONTROL_OUTPUT) != 0;
}

bool BoardController::rom_readable() const
{
    return (registers_[CONTROL] & (CONTROL_PORTS | CONTROL_ROM_HOST)) == CONTROL_ROM_HOST;
}

bool BoardController::rom_writable() const
{
    return rom_readable() && (registers_[CONTROL] & CONTROL_ROM_WRITE) != 0;
}

void BoardController::on_control(std::function<void()> changed)
{
    control_changed_ = std::move(changed);
    control_changed_();
}

uint8_t BoardController::leds(int group) const
{
    return registers_.at(LED_GROUP_0 + static_cast<size_t>(group));
}

LedLook BoardController::look(int group, int index) const
{
    const Micros from = time_.now() > LOOK_TIME ? time_.now() - LOOK_TIME : 0;
    unsigned before = 0;
    int changes = 0;
    for (const LedChange& change : history_) {
        if (change.group != group) continue;
        const unsigned lit = (change.lit >> index) & 1u;
        changes += lit != before && change.time >= from;
        before = lit;
    }
    // One change is a switch, two may be a late switch and its opposite; a third is seen as blinking.
    if (changes > 2) return LedLook::Blinking;
    return before != 0 ? LedLook::On : LedLook::Off;
}

uint8_t BoardController::read_register(uint8_t reg)
{
    if (reg == REMOTE_CODE) registers_[STATUS] &= static_cast<uint8_t>(~STATUS_CODE_WAITING);
    return registers_[reg];
}

void BoardController::write_register(uint8_t reg, uint8_t value)
{
    if (reg == LED_GROUP_0 || reg == LED_GROUP_0 + 1) light(reg - LED_GROUP_0, value);
    RegisterFile::write_register(reg, value);
    if (reg == CONTROL && control_changed_) control_changed_();
}

void BoardController::light(int group, uint8_t value)
{
    const uint8_t before = leds(group);
    if (value == before) return;
    for (int i = 0; i < LEDS_PER_GROUP; ++i) flashes_[slot(group, i)] += ((value & ~before) >> i) & 1;
    history_.push_back({time_.now(), group, value});
    if (history_.size() > HISTORY_SIZE) history_.pop_front();
}

static const char* describe_look(LedLook look)
{
    switch (look) {
    case LedLook::Off: return "off";
    case LedLook::On: return "on";
    case LedLook::Blinking: return "blinking";
    }
    return "";
}

static std::string describe_leds(const BoardController& board)
{
    std::string text;
    for (int i = 0; i < 7; ++i)
        text.append(LED_NAMES[i]).append(": ").append(describe_look(board.look(0, i))).append("\n");
    text += "storage bar:";
    for (int i = 0; i < 6; ++i) text.append(" ").append(describe_look(board.look(1, i)));
    return text + "\n";
}

static std::string describe_port(const BoardController& board)
{
    const int port = board.selected_port();
    std::string text = port < 0 ? "no input port" : "input port " + std::to_string(port);
    text += board.output_enabled() ? ", output enabled" : ", output disabled";
    text += board.rom_writable() ? ", EDID ROM open to the host" : board.rom_readable() ? ", host reads EDID ROM" : "";
    if (board.code_waiting()) text += ", remote code waiting";
    if (board.lost_codes() > 0) text += ", " + std::to_string(board.lost_codes()) + " remote codes lost";
    return text + "\n";
}

static Reply key_command(BoardController& board, Args& args)
{
    std::vector<std::string> expected;
    for (const Key& known : KEYS) expected.emplace_back(known.name);
    expected.emplace_back("a code from 0 to 255");
    const std::string word = args.word("a key: record, stop, low, high, port0, port1, power or a code");
    const auto* key = std::find_if(std::begin(KEYS), std::end(KEYS), [&word](const Key& k) { return word == k.name; });
    if (key == std::end(KEYS) && (word.empty() || std::isalpha(static_cast<unsigned char>(word[0])) != 0))
        args.refuse_unknown(expected);
    const long long code = key != std::end(KEYS) ? key->code : args.as_number(word, 0, 255);
    args.end();
    board.press(static_cast<uint8_t>(code));
    return {};
}

void add_board_commands(CommandTable& commands, BoardController& board)
{
    commands.add("key", "record|stop|low|high|port0|port1|power|CODE   press a key of the remote",
                 [&board](Args& args) { return key_command(board, args); });
    commands.add_show("leds", [&board] { return describe_leds(board); });
    commands.add_show("port", [&board] { return describe_port(board); });
}

} // namespace emu
