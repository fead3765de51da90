#include "services/key_input.h"

#include "tests/support/bench.h"

namespace capd {
namespace {

// Catches: a code that gives another key's action, a line for a poll that found nothing, a code taken although the
// controller does not flag it or although it could not be read.
TEST(KeyInput, APollGivesTheKeyOfTheWaitingCode)
{
    static const struct {
        const char* what;
        int code; ///< -1: none pressed
        const char* fault;
        int raw, key;
        const char* printed;
    } cases[] = {
        {"nothing pressed", -1, "", -1, KEYINPUT_NONE, ""},
        {"record", 21, "", 21, KEYINPUT_RECORD, "Raw key: 21 1\n"},
        {"stop", 84, "", 84, KEYINPUT_STOP, "Raw key: 84 1\n"},
        {"low", 65, "", 65, KEYINPUT_CONFIG_LOW, "Raw key: 65 1\n"},
        {"high", 66, "", 66, KEYINPUT_CONFIG_HIGH, "Raw key: 66 1\n"},
        {"port 0", 70, "", 70, KEYINPUT_PORT_0, "Raw key: 70 1\n"},
        {"port 1", 69, "", 69, KEYINPUT_PORT_1, "Raw key: 69 1\n"},
        {"power", 67, "", 67, KEYINPUT_POWER, "Raw key: 67 1\n"},
        {"another key", 22, "", 22, KEYINPUT_NONE, "Raw key: 22 1\n"},
        {"highest code", 255, "", 255, KEYINPUT_NONE, "Raw key: 255 1\n"},
        {"code 0", 0, "", 0, KEYINPUT_NONE, ""},
        {"status unreadable", 21, "i2c fail board next 3", -2, KEYINPUT_NONE,
         "do_rdi2cnb() ioctl failed 5 Input/output error\n"},
        {"code unreadable", 21, "i2c fail board next 3 after 1", 0, KEYINPUT_NONE,
         "do_rdi2cnb() ioctl failed 5 Input/output error\n"},
    };
    ASSERT_EQ(keyinput_init(), 0);
    bench::Output output;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const auto prepare = [&] {
            if (c.code >= 0) bench::tell("key " + std::to_string(c.code));
            if (*c.fault != '\0') bench::tell(c.fault);
        };
        prepare();
        EXPECT_EQ(keyinput_read_raw(), c.raw);
        prepare();
        output.take();
        EXPECT_EQ(keyinput_get_key(), c.key);
        EXPECT_EQ(output.take(), c.printed);
        keyinput_read_raw(); // what a fault left waiting
    }
}

} // namespace
} // namespace capd
