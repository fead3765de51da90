// edid show, read, write, compare: the EDID ROM of the input, which tells the source what the box takes.
#include "tools/commands.h"
#include "tools/display.h"

#include "devaccess/i2c.h"
#include "hdmitx/edid_rom.h"

#include <algorithm>
#include <nlohmann/json.hpp>

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

void show(Session& session)
{
    const Bytes rom = read_rom();
    const std::string faults = edid_faults(rom);
    session.say("%s%s\n", hex_dump(rom).c_str(), faults.empty() ? "header and checksums are right" : faults.c_str());
    session.report({{"edid", hex_digits(rom)}, {"faults", faults}});
}

void read(Session& session, const std::string& path)
{
    const Bytes rom = read_rom();
    write_file(path, rom);
    session.say("%zu bytes written to %s\n", rom.size(), path.c_str());
    session.report({{"file", path}, {"bytes", rom.size()}});
}

/** Offset of the first byte that differs, nothing when none does. What one of the two lacks is not compared. */
std::optional<size_t> first_difference(const Bytes& a, const Bytes& b)
{
    const size_t length = std::min(a.size(), b.size());
    for (size_t i = 0; i < length; ++i)
        if (a[i] != b[i]) return i;
    return std::nullopt;
}

void write(Session& session, const Bytes& edid)
{
    const std::string faults = edid_faults(edid);
    session.ask("Overwrite the EDID ROM of the input" + (faults.empty() ? "." : " (" + faults + ")."));
    need_chip(capd::I2C_BOARD, "board controller");
    check(capd::edidrom_write(edid.data(), 0, capd::EDID_ROM_SIZE), "edid write");
    // A ROM that is not writable acknowledges all the same.
    const auto lost = first_difference(edid, read_rom());
    if (lost) throw Refused(format("edid write: the ROM did not keep the byte at 0x%02zx", *lost));
    session.say("%zu bytes written\n", edid.size());
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
    Command& command = commands.add(group, "compare", "Compare the ROM with a file or with the display's EDID",
                                    REPORTS | DEVICE | OWN_TEXT);
    const auto path = command.optional_file("file", "compare with this file, of 128 or 256 bytes");
    const auto display = command.flag("--display", "compare with the EDID of the connected display");
    const auto bytes = std::make_shared<Bytes>();
    command.verify([=] {
        if (*display != path->empty()) throw UsageError("give either a file or --display");
        if (!*display) *bytes = read_file(*path, EDID_BLOCK_SIZE, ROM_SIZE);
    });
    command.run([=](Session& session) {
        if (*display) need_transmitter();
        compare(session, *display ? rom_image(read_display_edid()) : *bytes, *display ? "the display" : *path);
    });
}

} // namespace

void add_edid_commands(Commands& commands)
{
    CLI::App& group = commands.group("edid", "EDID ROM of the input, read by the source", HEADING_HDMI);
    commands.add(group, "show", "Show the ROM", REPORTS | DEVICE | OWN_TEXT).run(show);

    Command& reading = commands.add(group, "read", "Copy the ROM to a file", REPORTS | DEVICE | OWN_TEXT);
    const auto to = reading.file("file", "file to write");
    reading.run([=](Session& session) { read(session, *to); });

    Command& writing = commands.add(group, "write", "Copy a file to the ROM", ASKS | DEVICE | OWN_TEXT);
    const auto from = writing.file("file", "file of 256 bytes");
    const auto bytes = std::make_shared<Bytes>();
    writing.verify([=] { *bytes = read_file(*from, ROM_SIZE, ROM_SIZE); });
    writing.run([=](Session& session) { write(session, *bytes); });

    add_compare(commands, group);
}

} // namespace boxtool
