// edid show, read, write, compare: the EDID ROM of the input, which tells the source what the box takes.
#include "tools/commands.h"
#include "tools/display.h"

#include "devaccess/i2c.h"
#include "hdmitx/edid_rom.h"

#include <algorithm>

namespace boxtool {

namespace {

constexpr size_t ROM_SIZE = capd::EDID_ROM_SIZE;

Bytes read_rom()
{
    need_chip(capd::I2C_BOARD, "board controller");
    Bytes rom(ROM_SIZE);
    check(capd::edidrom_read(rom.data(), 0, capd::EDID_ROM_SIZE), "edid read");
    return rom;
}

/** Blocks that the ROM has room for, whatever block 0 counts. */
constexpr size_t ROM_BLOCKS = ROM_SIZE / EDID_BLOCK_SIZE;

void throw_faults(const std::string& faults)
{
    if (!faults.empty()) throw Refused("the EDID in the ROM is wrong: " + faults);
}

void show(Session& session)
{
    const Bytes rom = read_rom();
    const std::string faults = edid_faults(rom, ROM_BLOCKS);
    session.say("%s%s\n", hex_grid(rom).c_str(), edid_verdict(faults).c_str());
    session.report({{"edid", hex_digits(rom)}, {"faults", faults}});
    throw_faults(faults);
}

void read(Session& session, const std::string& path)
{
    const Bytes rom = read_rom();
    const std::string faults = edid_faults(rom, ROM_BLOCKS);
    write_file(session, path, rom);
    session.say("%zu bytes written to %s\n", rom.size(), path.c_str());
    session.report({{"file", path}, {"bytes", rom.size()}, {"faults", faults}});
    throw_faults(faults);
}

/** Offset of the first byte that differs, nothing when none does. What one of the two lacks is not compared. */
std::optional<size_t> first_difference(const Bytes& a, const Bytes& b)
{
    const size_t length = std::min(a.size(), b.size());
    for (size_t i = 0; i < length; ++i)
        if (a[i] != b[i]) return i;
    return std::nullopt;
}

void write(Session& session, Bytes edid, bool force)
{
    const size_t size = edid.size();
    const std::string faults = edid_faults(edid, ROM_BLOCKS);
    if (!faults.empty() && !force)
        throw Refused("not written, the file holds no good EDID: " + faults + "; --force writes it all the same");
    session.ask("Overwrite the EDID ROM of the input" + (faults.empty() ? "." : " (" + faults + ")."));
    need_chip(capd::I2C_BOARD, "board controller");
    edid.resize(ROM_SIZE); // nothing of an EDID before stays behind a single block
    check(capd::edidrom_write(edid.data(), 0, capd::EDID_ROM_SIZE), "edid write");
    // A ROM that is not writable acknowledges all the same.
    const auto lost = first_difference(edid, read_rom());
    if (lost) throw Refused(format("edid write: the ROM did not keep the byte at 0x%02zx", *lost));
    session.say("%zu bytes written\n", size);
    session.report({{"bytes", size}, {"faults", faults}});
}

/** The image that the daemon would put into the ROM for a display: block 0 and the last extension that it reads. */
Bytes rom_image(const Bytes& edid)
{
    if (edid.size() <= ROM_SIZE) return edid;
    Bytes image(edid.begin(), edid.begin() + EDID_BLOCK_SIZE);
    image.insert(image.end(), edid.end() - EDID_BLOCK_SIZE, edid.end());
    return image;
}

void compare(Session& session, const Bytes& other, const std::string& name)
{
    const auto difference = first_difference(read_rom(), other);
    session.report({{"with", name},
                    {"bytes", std::min(other.size(), ROM_SIZE)},
                    {"same", !difference},
                    {"first_difference", difference ? Json(*difference) : Json()}});
    if (difference) throw Refused(format("the EDID ROM and %s differ from byte 0x%02zx on", name.c_str(), *difference));
    session.say("the EDID ROM and %s are the same, %zu bytes\n", name.c_str(), std::min(other.size(), ROM_SIZE));
}

void add_compare(Commands& commands, CLI::App& group)
{
    Command& command = commands.add(group, "compare", "Compare the ROM with a file or with the display's EDID", DEVICE);
    const auto path = command.file("file,--file", false, "compare with this file: see write");
    const auto display = command.flag("--display", "compare with the EDID of the connected display");
    const auto bytes = std::make_shared<Bytes>();
    command.verify([=] {
        if (*display != path->empty()) throw UsageError("give either a file or --display");
        if (!*display) *bytes = read_edid_file(*path);
    });
    command.run([=](Session& session) {
        compare(session, *display ? rom_image(read_whole_display_edid()) : *bytes, *display ? "the display" : *path);
    });
}

} // namespace

void add_edid_commands(Commands& commands)
{
    CLI::App& group = commands.group("edid", "EDID ROM of the input, read by the source", HEADING_HDMI);
    commands.add(group, "show", "Show the ROM, and whether it holds a good EDID", DEVICE).run(show);

    Command& reading = commands.add(group, "read", "Copy the ROM to a file", DEVICE);
    const auto to = reading.output_file("file,--file", true, "file to write, of 256 bytes");
    reading.run([=](Session& session) { read(session, *to); });

    Command& writing = commands.add(group, "write", "Copy a file to the ROM", ASKS | DEVICE);
    const auto from =
        writing.file("file,--file", true, "128 or 256 bytes, their hexadecimal digits, or edid-decode's text");
    const auto force = writing.flag("--force", "write it although header, checksums or length are wrong");
    const auto bytes = std::make_shared<Bytes>();
    writing.verify([=] { *bytes = read_edid_file(*from); });
    writing.run([=](Session& session) { write(session, *bytes, *force); });

    add_compare(commands, group);
}

} // namespace boxtool
