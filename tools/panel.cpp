// leds, key: what the front panel shows and what the remote has sent, from the board controller's registers.
#include "tools/commands.h"

#include "devaccess/board_registers.h"
#include "devaccess/i2c.h"
#include "services/key_input.h"

#include <array>

namespace boxtool {

namespace {

constexpr int GROUPS = 2;
constexpr int LEDS = 8;

constexpr std::array<std::array<const char*, LEDS>, GROUPS> LED_NAMES = {{
    {"power", "port 0", "record 0", "port 1", "record 1", "configuration", "error", "not used"},
    {"storage 1", "storage 2", "storage 3", "storage 4", "storage 5", "storage 6", "not used", "not used"},
}};

unsigned board_register(int reg)
{
    unsigned value = 0;
    check(capd::i2c_read_register(capd::I2C_BOARD, reg, &value), "board controller");
    return value;
}

void show_leds(Session& session)
{
    Json groups = Json::array();
    for (unsigned group = 0; group < GROUPS; ++group) {
        const unsigned value = board_register(capd::BOARD_LEDS + static_cast<int>(group));
        Json leds = Json::array();
        for (unsigned index = 0; index < LEDS; ++index) {
            const bool lit = (value >> index & 1) != 0;
            leds.push_back(lit);
            session.say("%u:%u  %-4s  %s\n", group, index, lit ? "on" : "off", LED_NAMES[group][index]);
        }
        groups.push_back(leds);
    }
    session.report({{"lit", groups}});
}

const char* key_name(int key)
{
    switch (key) {
    case capd::KEYINPUT_RECORD: return "record";
    case capd::KEYINPUT_STOP: return "stop";
    case capd::KEYINPUT_CONFIG_LOW: return "configuration low";
    case capd::KEYINPUT_CONFIG_HIGH: return "configuration high";
    case capd::KEYINPUT_PORT_0: return "port 0";
    case capd::KEYINPUT_PORT_1: return "port 1";
    case capd::KEYINPUT_POWER: return "power";
    default: return "not a key of this box";
    }
}

void read_raw(Session& session)
{
    const int code = capd::keyinput_read_raw();
    if (code < -1) refuse("board controller");
    session.say(code < 0 ? "no code waits\n" : "0x%02x\n", static_cast<unsigned>(code));
    session.report({{"waiting", code >= 0}, {"code", code < 0 ? Json() : Json(code)}});
}

void read_key(Session& session, bool only_look)
{
    const bool waiting = (board_register(capd::BOARD_STATUS) & capd::BOARD_CODE_WAITING) != 0;
    if (!waiting || only_look) {
        session.say(waiting ? "a code waits\n" : "no code waits\n");
        session.report({{"waiting", waiting}});
        return;
    }
    const int key = capd::keyinput_get_key();
    session.say("%s\n", key_name(key));
    session.report({{"waiting", true}, {"key", key}, {"name", key_name(key)}});
}

} // namespace

void add_panel_commands(Commands& commands)
{
    commands.add("leds", "Show which LEDs are lit", HEADING_BOX, DEVICE).run(show_leds);

    Command& key = commands.add("key", "Take the remote's waiting code; a running daemon does not get it then",
                                HEADING_BOX, DEVICE);
    const auto peek = key.flag("--peek", "only say whether a code waits, and leave it");
    const auto raw = key.flag("--raw", "show the code as the remote sends it");
    key.verify([=] {
        if (*peek && *raw) throw UsageError("give either --peek or --raw");
    });
    key.run([=](Session& session) {
        if (*raw)
            read_raw(session);
        else
            read_key(session, *peek);
    });
}

} // namespace boxtool
