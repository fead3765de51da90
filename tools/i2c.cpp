// i2c read, write, scan: any chip on the bus, by the driver's first request form.
#include "tools/bytes.h"
#include "tools/commands.h"

#include "devaccess/diagnostics/diagnostics.h"
#include "devaccess/i2c.h"
#include "devaccess/i2c_request.h"
#include "devaccess/video_device.h"

namespace boxtool {

namespace {

constexpr int SCAN_FIRST = 0x08; // the addresses below and above are reserved
constexpr int SCAN_LAST = 0x77;

std::string chip_name(int device)
{
    switch (device) {
    case capd::I2C_RECEIVER: return "HDMI receiver";
    case capd::I2C_TRANSMITTER: return "HDMI transmitter";
    case capd::I2C_TRANSMITTER_TOO: return "HDMI transmitter, second device";
    case capd::I2C_EDID_ROM: return "EDID ROM";
    case capd::I2C_BOARD: return "board controller";
    default: return "";
    }
}

void read_registers(Session& session, int device, int reg, int count)
{
    std::vector<unsigned int> values(static_cast<size_t>(count));
    const auto address = static_cast<unsigned int>(reg);
    check(capd::do_rdi2cnb(capd::I2C_FIRST_FORM, device, 1, &address, count, values.data()),
          format("i2c read 0x%02x", device));
    session.say("%s\n", hex_values<unsigned int>(values).c_str());
    session.report({{"device", device}, {"register", reg}, {"values", values}});
}

void write_registers(Session& session, int device, int reg, const std::vector<unsigned int>& values)
{
    session.ask(format("Write %zu byte(s) from register 0x%02x of I2C device 0x%02x on.", values.size(), reg, device));
    std::vector<unsigned int> bytes = {static_cast<unsigned int>(reg)};
    bytes.insert(bytes.end(), values.begin(), values.end());
    check(capd::do_wri2cnb(capd::I2C_FIRST_FORM, device, static_cast<int>(bytes.size()), bytes.data()),
          format("i2c write 0x%02x", device));
    session.report({{"device", device}, {"register", reg}, {"values", values}});
}

/** One read of one byte without a retry: whoever does not answer is not there. */
bool answers(int device)
{
    capd::I2cReadRecord record{static_cast<uint8_t>(device), 1, {}, 1, {}};
    return capd::video_device_request(capd::I2C_READ_FIRST, &record) >= 0;
}

void scan(Session& session)
{
    Json found = Json::array();
    std::vector<Cell> grid(SCAN_LAST + 1, CELL_LEFT_OUT);
    std::string names;
    for (int device = SCAN_FIRST; device <= SCAN_LAST; ++device) {
        Cell& shown = grid[static_cast<size_t>(device)];
        shown = CELL_MISSING;
        if (!answers(device)) continue;
        const std::string name = chip_name(device);
        shown = cell(static_cast<uint8_t>(device));
        if (!name.empty()) names += format("0x%02x  %s\n", device, name.c_str());
        found.push_back({{"device", device}, {"name", name}});
    }
    session.say("%s%s", hex_grid(grid).c_str(), names.c_str());
    session.report({{"devices", found}});
}

} // namespace

void add_i2c_commands(Commands& commands)
{
    CLI::App& group = commands.group("i2c", "Chips on the I2C bus", HEADING_HARDWARE);

    Command& read = commands.add(group, "read", "Read registers of a chip", DEVICE);
    const auto device = read.number<int>("device", I2C_ADDRESS, "7-bit address");
    const auto reg = read.number<int>("register", BYTE, "first register");
    const auto count = read.optional_number<int>("count", {1, capd::I2C_MAX_DATA}, "registers to read, 1 if left out");
    read.run([=](Session& session) { read_registers(session, *device, *reg, count->value_or(1)); });

    Command& write = commands.add(group, "write", "Write registers of a chip", ASKS | DEVICE);
    const auto to_device = write.number<int>("device", I2C_ADDRESS, "7-bit address");
    const auto to_reg = write.number<int>("register", BYTE, "first register");
    const auto values = write.numbers<unsigned int>("value", BYTE, capd::I2C_MAX_DATA - 1, true, "bytes to write");
    write.run([=](Session& session) { write_registers(session, *to_device, *to_reg, *values); });

    commands.add(group, "scan", "Read one byte from every address and list who answers", DEVICE).run(scan);
}

} // namespace boxtool
