#include "emulator/world/card.h"

#include "emulator/commands/commands.h"

namespace emu {

namespace {

std::string describe_card(const Card& card)
{
    std::string text = card.present() ? "in the slot" : "not in the slot";
    text += ", " + std::to_string(card.size_kb()) + " kB, " + std::to_string(card.free_kb()) + " kB free";
    if (card.write_protected()) text += ", write-protected";
    if (card.trouble().slow_kb != 0) text += ", slow: " + std::to_string(card.trouble().slow_kb) + " kB/s";
    if (card.trouble().broken_at != 0) text += ", errors behind " + std::to_string(card.trouble().broken_at) + " kB";
    if (card.trouble().full_at != 0) text += ", full at " + std::to_string(card.trouble().full_at) + " kB";
    if (card.mounted()) text += card.mounted_read_only() ? ", mounted read-only" : ", mounted";
    text += "\n";
    for (const auto& [name, size] : card.files()) text += name + "  " + std::to_string(size) + " bytes\n";
    return text;
}

std::string take_name(Args& args)
{
    std::string name = args.word("a file name on the card");
    if (const char* wrong = Card::wrong_name(name); wrong != nullptr) args.refuse(wrong);
    return name;
}

/** The largest number of kB that any card here has: 2 TiB. */
constexpr long long SIZE_LIMIT_KB = 1LL << 31;

Reply insert_command(Card& card, Args& args)
{
    const bool sized = args.more();
    const long long size = sized ? args.number("a size in kB", 1, SIZE_LIMIT_KB) : 0;
    args.end();
    if (sized) card.set_size_kb(static_cast<uint64_t>(size));
    card.insert();
    return {};
}

Reply busy_command(Card& card, Args& args)
{
    unsigned umounts = 0;
    if (!args.optional("off"))
        umounts = args.optional("on")
                      ? UINT32_MAX
                      : static_cast<unsigned>(args.number("on, off or a number of umounts", 1, 1'000'000));
    args.end();
    card.set_busy(umounts);
    return {};
}

void add_trouble_commands(CommandTable& commands, Card& card)
{
    static constexpr struct {
        const char *name, *usage;
        uint64_t CardTrouble::*value;
    } TROUBLES[] = {
        {"card slow", "KB|off   take no more kB of a recording in a second", &CardTrouble::slow_kb},
        {"card error", "KB|off   end the encoder's writes with an error behind so many kB of a file",
         &CardTrouble::broken_at},
        {"card full", "KB|off   be full with so many kB of files, whatever the card says of its free space",
         &CardTrouble::full_at},
    };
    for (const auto& row : TROUBLES)
        commands.add(row.name, row.usage, [&card, value = row.value](Args& args) {
            const auto kb = args.optional("off") ? 0 : args.number("kB or off", 1, SIZE_LIMIT_KB);
            args.end();
            CardTrouble trouble = card.trouble();
            trouble.*value = static_cast<uint64_t>(kb);
            card.set_trouble(trouble);
            return Reply{};
        });
}

void add_slot_commands(CommandTable& commands, Card& card)
{
    commands.add("card insert", "[KB]   put the card into the slot, of this size",
                 [&card](Args& args) { return insert_command(card, args); });
    commands.add_action("card remove", "  pull the card, mounted or not", [&card] { card.remove(); });
    commands.add("card path", "  the folder of this machine that holds the card's files now", [&card](Args& args) {
        args.end();
        return Reply{true, card.folder() + "\n"};
    });
    commands.add_number("card size", "KB   let the card have another size", {"a size in kB", 1, SIZE_LIMIT_KB},
                        [&card](long long size) { card.set_size_kb(static_cast<uint64_t>(size)); });
    commands.add_switch("card protect", "on|off   move the card's lock slider", [&card](bool on) { card.protect(on); });
    commands.add_action("card read-only", "  the mounted file system finds an error and turns read-only", [&card] {
        if (!card.mounted()) throw NotNow("the card is not mounted");
        card.turn_read_only();
    });
    commands.add("card busy", "N|on|off   refuse the next N umounts, or all",
                 [&card](Args& args) { return busy_command(card, args); });
}

void add_file_commands(CommandTable& commands, Card& card)
{
    commands.add("card put", "FILE [KB]   put a file of this size on the card, or an empty one", [&card](Args& args) {
        const std::string name = take_name(args);
        const long long size = args.more() ? args.number("a size in kB", 0, SIZE_LIMIT_KB) : 0;
        args.end();
        card.put(name, static_cast<uint64_t>(size));
        return Reply{};
    });
    commands.add("card write", "FILE TEXT   put a file with this text on the card", [&card](Args& args) {
        const std::string name = take_name(args), text = args.word("a text");
        args.end();
        card.write(name, text);
        return Reply{};
    });
    commands.add("card erase", "[FILE]   erase a file or folder, or all", [&card](Args& args) {
        const std::string name = args.more() ? take_name(args) : std::string();
        args.end();
        if (name.empty())
            card.erase_all();
        else if (!card.erase(name))
            throw NotNow("'" + name + "' is not on the card");
        return Reply{};
    });
}

} // namespace

void add_card_commands(CommandTable& commands, Card& card)
{
    add_trouble_commands(commands, card);
    add_slot_commands(commands, card);
    add_file_commands(commands, card);
    commands.add_show("card", [&card] { return describe_card(card); });
}

} // namespace emu
