#include "emulator/chips/edid_rom.h"

#include "emulator/commands/commands.h"

#include <cstdio>

namespace emu {

namespace {

std::string describe_rom(const EdidRom& rom)
{
    std::string text;
    char part[32];
    for (size_t i = 0; i < rom.bytes().size(); ++i) {
        if (i % 16 == 0) {
            std::snprintf(part, sizeof part, "%02zx:", i);
            text += part;
        }
        std::snprintf(part, sizeof part, " %02x%s", rom.bytes()[i], i % 16 == 15 ? "\n" : "");
        text += part;
    }
    return text + std::to_string(rom.writes()) + " bytes written, " + std::to_string(rom.lost_writes()) +
           " lost without write access, " + std::to_string(rom.refused_reads()) + " reads refused\n";
}

Reply load_command(EdidRom& rom, Args& args)
{
    const std::string file = args.file("a file"), text = args.read_file(file, rom.bytes().size());
    if (text.empty()) args.refuse("is empty");
    args.end();
    rom.load({reinterpret_cast<const uint8_t*>(text.data()), text.size()});
    return {};
}

Reply save_command(const EdidRom& rom, Args& args)
{
    const std::string file = args.file("a file");
    args.end();
    args.write_file(file, {reinterpret_cast<const char*>(rom.bytes().data()), rom.bytes().size()});
    return {};
}

} // namespace

void add_edid_rom_commands(CommandTable& commands, EdidRom& rom)
{
    commands.add("rom load", "FILE   put a file's bytes into the input's EDID ROM",
                 [&rom](Args& args) { return load_command(rom, args); });
    commands.add("rom save", "FILE   write the bytes of the input's EDID ROM to a file of this machine",
                 [&rom](Args& args) { return save_command(rom, args); });
    commands.add_number("rom fill", "BYTE   fill the input's EDID ROM", {"a byte", 0, 255},
                        [&rom](long long byte) { rom.fill(static_cast<uint8_t>(byte)); });
    commands.add_show("rom", [&rom] { return describe_rom(rom); });
}

} // namespace emu
