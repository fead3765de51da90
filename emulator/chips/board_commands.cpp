#include "emulator/chips/board_controller.h"

#include "emulator/commands/commands.h"

#include <algorithm>
#include <cctype>

namespace emu {

namespace {

/** The remote's keys and the codes that they send. */
constexpr struct Key {
    const char* name;
    uint8_t code;
} KEYS[] = {{"record", 21}, {"stop", 84}, {"low", 65}, {"high", 66}, {"port0", 70}, {"port1", 69}, {"power", 67}};

/** What is printed beside the LEDs of group 0; group 1 is the storage bar. */
constexpr const char* LED_NAMES[] = {
    "power", "port 0", "recording from port 0", "port 1", "recording from port 1", "configuration", "error"};

std::string describe_leds(const BoardController& board)
{
    std::string text;
    for (int i = 0; i < 7; ++i) text.append(LED_NAMES[i]).append(": ").append(look_word(board.look(0, i))).append("\n");
    text += "storage bar:";
    for (int i = 0; i < 6; ++i) text.append(" ").append(look_word(board.look(1, i)));
    return text + "\n";
}

std::string describe_port(const BoardController& board)
{
    const int port = board.selected_port();
    std::string text = port < 0 ? "no input port" : "input port " + std::to_string(port);
    text += board.output_enabled() ? ", output enabled" : ", output disabled";
    text += board.rom_writable() ? ", EDID ROM open to the host" : board.rom_readable() ? ", host reads EDID ROM" : "";
    if (board.code_waiting()) text += ", remote code waiting";
    if (board.lost_codes() > 0) text += ", " + std::to_string(board.lost_codes()) + " remote codes lost";
    return text + "\n";
}

Reply key_command(BoardController& board, Args& args)
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

} // namespace

void add_board_commands(CommandTable& commands, BoardController& board)
{
    commands.add("key", "record|stop|low|high|port0|port1|power|CODE   press a key of the remote",
                 [&board](Args& args) { return key_command(board, args); });
    commands.add_action("board brown-out", "  the board controller loses its registers, and so its switches and LEDs",
                        [&board] { board.power_on(); });
    commands.add_show("leds", [&board] { return describe_leds(board); });
    commands.add_show("port", [&board] { return describe_port(board); });
}

} // namespace emu
