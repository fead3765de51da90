#include "devaccess/i2c.h"

#include "devaccess/video_device.h"
#include "tests/support/bench.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <numeric>
#include <vector>

namespace capd {
namespace {

constexpr unsigned char NAME_BYTE = 3; // shown in failure lines only

emu::I2cBus& bus()
{
    return bench::box().i2c();
}

// Catches: a try too few or too many, retries without a pause or with one after the last, a failure that is told more
// than once or not at all, a result that hides it.
TEST(I2cTransfer, IsTriedThreeTimesAndToldOnce)
{
    static const struct {
        const char* what;
        uint64_t failures, tries;
        int64_t slept_us;
        int result;
        const char* suffix;
    } cases[] = {
        {"well", 0, 1, 0, 0, ""},
        {"two failures", 2, 3, 20, 0, ""},
        {"three failures", 3, 3, 20, -1, "() ioctl failed 5 Input/output error\n"},
    };
    ASSERT_EQ(video_device_open(), 0);
    bench::Output output;
    for (const int selector : {1, 0}) {
        for (const auto& c : cases) {
            SCOPED_TRACE(c.what);
            const auto line = [&](const char* name) { return *c.suffix == '\0' ? "" : std::string(name) + c.suffix; };
            const unsigned int bytes[] = {0x10, 0x1AB}; // the low 8 bits count
            output.take();
            bus().fail(I2C_RECEIVER, 0, c.failures, EIO);
            const uint64_t before = bus().count(I2C_RECEIVER);
            const auto start = bench::now();
            EXPECT_EQ(do_wri2cnb(selector, I2C_RECEIVER, 2, bytes), c.result);
            EXPECT_EQ(bus().count(I2C_RECEIVER) - before, c.tries);
            EXPECT_EQ((bench::now() - start).count(), c.slept_us);
            EXPECT_EQ(output.take(), line("do_wri2cnb"));
            if (c.result == 0) {
                EXPECT_EQ(bus().last(0).data[0], 0xAB);
            }

            bus().fail(I2C_RECEIVER, 0, c.failures, EIO);
            unsigned int out[2] = {0xFFFF, 0xFFFF};
            EXPECT_EQ(do_rdi2cnb(selector, I2C_RECEIVER, 1, bytes, 1, out), c.result);
            if (c.result != 0) {
                EXPECT_EQ(errno, EIO) << "printing may not lose the reason";
            }
            EXPECT_EQ(out[0] == 0xFFFF, c.result != 0) << "only a success touches the buffer";
            EXPECT_EQ(out[1], 0xFFFFU) << "one byte was asked for";
            EXPECT_EQ(output.take(), line("do_rdi2cnb"));
        }
    }
}

// Catches: lengths that overrun a record or a buffer, and the last that fits refused.
TEST(I2cTransfer, LengthsThatDoNotFitAreRefusedBeforeAnythingIsSent)
{
    ASSERT_EQ(video_device_open(), 0);
    std::array<unsigned int, I2C_MAX_DATA> words{};
    for (const int length : {-1, I2C_MAX_DATA + 1, 1 << 30}) {
        const uint64_t before = bus().count();
        errno = 0;
        EXPECT_EQ(do_wri2cnb(1, I2C_EDID_ROM, length, words.data()), -1);
        EXPECT_EQ(do_rdi2cnb(1, I2C_EDID_ROM, 1, words.data(), length, words.data()), -1);
        EXPECT_EQ(do_rdi2cnb(1, I2C_EDID_ROM, length, words.data(), 1, words.data()), -1);
        EXPECT_EQ(errno, EINVAL);
        EXPECT_EQ(bus().count(), before);
    }
    EXPECT_EQ(do_rdi2cnb(1, I2C_RECEIVER, 1, words.data(), I2C_MAX_DATA, words.data()), 0);
    EXPECT_EQ(do_rdi2cnb(1, I2C_RECEIVER, I2C_MAX_ADDRESS + 1, words.data(), 1, words.data()), -1);
}

// Catches: the 8-bit address taken for the 7-bit one, an offset sent with the data, a count off by one.
TEST(I2cRegisters, AreReadAndWrittenFromTheOffsetOn)
{
    ASSERT_EQ(sys_init(), 0);
    std::array<unsigned char, I2C_MAX_DATA - 1> sent{};
    std::iota(sent.begin(), sent.end(), static_cast<unsigned char>(0x30));
    EXPECT_EQ(i2c_write_byte(0x9C, 0x20, static_cast<int>(sent.size()), sent.data(), NAME_BYTE), 1);
    EXPECT_EQ(bus().last(0).device, 0x4E);
    EXPECT_EQ(bus().last(0).reg, 0x20);
    EXPECT_EQ(bus().last(0).length, I2C_MAX_DATA - 1);
    std::array<unsigned char, I2C_MAX_DATA> got{};
    EXPECT_EQ(i2c_read_byte(0x9C, 0x20, I2C_MAX_DATA, got.data(), NAME_BYTE), 1);
    EXPECT_TRUE(std::equal(sent.begin(), sent.end(), got.begin()));
    EXPECT_EQ(got.back(), 0) << "the register behind the last one written";
}

// Catches: a refused count that reaches past the fixed buffer, a failure that clears the caller's data or that is not
// told, a message whose numbers are in the wrong base.
TEST(I2cRegisters, AFailureIsToldAndLeavesTheData)
{
    ASSERT_EQ(sys_init(), 0);
    std::vector<unsigned char> data(200, 0x77);
    static const struct {
        const char* what;
        bool write;
        unsigned int count;
        const char* begin;
        bool sent;
    } cases[] = {
        {"absent, read", false, 16, "do_rdi2cnb() ioctl failed 6 No such device or address\ni2c_read_byte", true},
        {"absent, write", true, 16, "do_wri2cnb() ioctl failed 6 No such device or address\ni2c_write_byte", true},
        {"read too long", false, 73, "i2c_read_byte", false},
        {"read far too long", false, 0xFFFFFFFF, "i2c_read_byte", false},
        {"write too long", true, 72, "i2c_write_byte", false},
        {"negative write", true, 0xFFFFFFFF, "i2c_write_byte", false},
    };
    bench::Output output;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const uint64_t before = bus().count();
        if (c.write)
            EXPECT_EQ(i2c_write_byte(0x44, 0x1A, static_cast<int>(c.count), data.data(), NAME_BYTE), 1);
        else
            EXPECT_EQ(i2c_read_byte(0x44, 0x1A, c.count, data.data(), NAME_BYTE), 1);
        EXPECT_EQ(bus().count() != before, c.sent);
        char expected[200];
        snprintf(expected, sizeof(expected),
                 "%s failed: address=0x22, offset=0x1a, byteno=%x, pdata=%p, device=3\nreturn code=-1\n", c.begin,
                 c.count, static_cast<void*>(data.data()));
        EXPECT_EQ(output.take(), expected);
        EXPECT_TRUE(std::all_of(data.begin(), data.end(), [](unsigned char byte) { return byte == 0x77; }));
    }
}

// Catches: a helper on another device, a failed read that passes on what lay on the stack, and one of the board
// controller, whose bits are read to be written back, that forgets them.
TEST(I2cSingleRegister, ReachesItsDeviceAndAFailedReadHasItsFixedValue)
{
    static const struct {
        int device;
        int (*write)(int, int);
        int (*read)(int);
        int when_refused;
    } helpers[] = {
        {I2C_RECEIVER, i2c_write_rx, i2c_read_rx, 0},
        {I2C_EDID_ROM, i2c_write_edidrom, i2c_read_edidrom, 0},
        {I2C_BOARD, i2c_write_board, i2c_read_board, 0x5A},
    };
    ASSERT_EQ(sys_init(), 0);
    i2c_write_board(2, 0x30); // the host's turn on the EDID ROM
    bench::Output output;
    for (const auto& helper : helpers) {
        const auto device = static_cast<uint8_t>(helper.device);
        EXPECT_EQ(helper.write(2, 0x15A), 0);
        EXPECT_EQ(bus().last(0).device, device);
        EXPECT_EQ(bus().last(0).data[0], 0x5A);
        EXPECT_EQ(helper.read(2), bus().last(0).data[0]);
        bus().fail(device, 0, 6, EIO);
        EXPECT_EQ(helper.read(2), helper.when_refused);
        EXPECT_EQ(helper.write(2, 1), -1);
    }
    bus().fail(I2C_BOARD, 0, 6, EIO);
    EXPECT_EQ(i2c_read_board(2), 0x5A) << "a refused write changed nothing";
    EXPECT_EQ(i2c_read_board(3), 0) << "never known";
    const unsigned int behind[] = {2, 0x0D}; // not through the helper
    EXPECT_EQ(do_wri2cnb(1, I2C_BOARD, 2, behind), 0);
    EXPECT_EQ(i2c_read_board(2), 0x0D);
    bus().fail(I2C_BOARD, 0, 3, EIO);
    EXPECT_EQ(i2c_read_board(2), 0x0D) << "what was read counts, too";
}

} // namespace
} // namespace capd
