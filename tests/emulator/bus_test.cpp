// The time that the bus and the EDID ROM take, from the numbers of the bus' own description and of the memory's.
#include "emulator/bus/i2c_bus.h"
#include "emulator/bus/register_file.h"
#include "emulator/chips/edid_rom.h"

#include <gtest/gtest.h>
#include <vector>

namespace {

using namespace emu;
namespace at = i2c_address;

struct Board {
    Timeline time;
    I2cBus bus{time};
    RegisterFile chip;
    EdidRom rom{time, bus};

    Board()
    {
        bus.attach(at::RECEIVER, chip);
        bus.attach(at::EDID_ROM, rom);
        bus.set_speed(100'000);
    }
    /** A transfer, and the time that it takes. */
    Micros write(uint8_t device, std::vector<uint8_t> bytes, int result = 0)
    {
        EXPECT_EQ(bus.write(device, bytes), result);
        return pass();
    }
    Micros read(uint8_t device, size_t count, int result = 0)
    {
        const uint8_t reg = 0;
        data.assign(count, 0xEE);
        EXPECT_EQ(bus.read(device, {&reg, 1}, data), result);
        return pass();
    }
    Micros pass()
    {
        const Micros spent = bus.take_time();
        time.advance_to(time.now() + spent);
        return spent;
    }

    std::vector<uint8_t> data;
};

} // namespace

// Catches: bits that are not counted. A byte has nine of them, start, repeated start and stop one each; at 100 kHz a
// bit takes 10 us.
TEST(I2cTime, IsThatOfTheBitsOnTheWire)
{
    Board board;
    EXPECT_EQ(board.write(at::RECEIVER, {0x10, 0x20}), 290);            // S, address, register, value, P
    EXPECT_EQ(board.write(at::RECEIVER, {0x10, 1, 2, 3, 4}), 560);      // three values more
    EXPECT_EQ(board.read(at::RECEIVER, 1), 390);                        // S, address, register, Sr, address, value, P
    EXPECT_EQ(board.read(at::RECEIVER, 16), 1740);                      // fifteen values more
    EXPECT_EQ(board.write(at::TRANSMITTER, {0x10, 0x20}, -ENXIO), 110); // nobody there: S, address, P
    board.bus.set_speed(400'000);
    EXPECT_EQ(board.read(at::RECEIVER, 1), 98);
    board.bus.set_speed(0);
    EXPECT_EQ(board.read(at::RECEIVER, 256), 0);
}

// Catches: a ROM that answers without the board's access, takes bytes against its protection, or gives back a byte
// before it can have it.
TEST(EdidRomChip, AnswersWithAccessAndKeepsAByteAfterItsWriteTime)
{
    Board board;
    board.rom.fill(0x11);
    board.write(at::EDID_ROM, {0, 0x22}, -ENXIO);
    board.read(at::EDID_ROM, 1, -ENXIO);
    board.rom.give_access(true, false);
    board.write(at::EDID_ROM, {0, 0x22});
    EXPECT_EQ(board.rom.lost_writes(), 2u);
    EXPECT_EQ(board.rom.refused_reads(), 1u);
    board.read(at::EDID_ROM, 1);
    EXPECT_EQ(board.data[0], 0x11);
    board.rom.give_access(true, true);
    board.write(at::EDID_ROM, {0, 0x33});
    const Micros written = board.time.now();
    board.read(at::EDID_ROM, 2);
    EXPECT_EQ(board.data, (std::vector<uint8_t>{0x11, 0x11})) << "still being written";
    board.time.advance_to(written + 5'000);
    board.read(at::EDID_ROM, 2);
    EXPECT_EQ(board.data, (std::vector<uint8_t>{0x33, 0x11}));
    EXPECT_EQ(board.rom.writes(), 1u);
}
