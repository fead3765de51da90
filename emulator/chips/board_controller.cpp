#include "emulator/chips/board_controller.h"

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

} // namespace

BoardController::BoardController(const Timeline& time) : RegisterFile(MAP), time_(time) {}

void BoardController::power_on()
{
    for (int group = 0; group < LED_GROUPS; ++group) light(group, 0);
    RegisterFile::power_on();
    if (control_changed_) control_changed_();
}

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
    for (int i = 0; i < LEDS_PER_GROUP; ++i)
        flashes_[slot(group, i)] += static_cast<unsigned>((value & ~before) >> i) & 1;
    history_.push_back({time_.now(), group, value});
    if (history_.size() > HISTORY_SIZE) history_.pop_front();
}

const char* look_word(LedLook look)
{
    static constexpr const char* WORDS[] = {"off", "on", "blinking"};
    return WORDS[static_cast<size_t>(look)];
}

} // namespace emu
