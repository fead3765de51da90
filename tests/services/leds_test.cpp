#include "services/leds.h"

#include "devaccess/i2c.h"
#include "tests/support/bench.h"

namespace capd {
namespace {

uint64_t transfers()
{
    return bench::box().i2c().count(I2C_BOARD);
}

/** What one LED shows over some ticks, '1' lit. */
std::string watch(int group, int index, int ticks)
{
    std::string seen;
    for (int i = 0; i < ticks; ++i) {
        EXPECT_EQ(led_refresh(), 0);
        seen += ((bench::box().board().leds(group) >> index) & 1) != 0 ? '1' : '0';
    }
    return seen;
}

// Catches: a flash too many or too few, a sequence that starts dark or never ends, a mode that reaches a neighbour, an
// LED of the second group written to the first one's register, a mode set again that does not restart.
TEST(Leds, EachModeShowsItsSequence)
{
    static const struct {
        const char* what;
        int mode;
        const char* sequence;
    } cases[] = {
        {"on", LED_ON, "111111111111"},
        {"one flash", LED_FLASH_1, "100000000000"},
        {"two flashes", LED_FLASH_2, "101000000000"},
        {"three flashes", LED_FLASH_3, "101010000000"},
        {"four flashes", LED_FLASH_4, "101010100000"},
        {"five flashes", LED_FLASH_5, "101010101000"},
        {"blinking", LED_BLINK, "101010101010"},
        {"off", LED_OFF, "000000000000"},
    };
    ASSERT_EQ(led_init(), 0);
    for (const auto& c : cases) {
        for (int led = 0; led < LED_GROUPS * LEDS_PER_GROUP; led += 5) {
            SCOPED_TRACE(std::string(c.what) + ", LED " + std::to_string(led));
            const int group = led / LEDS_PER_GROUP;
            const int index = led % LEDS_PER_GROUP;
            led_set(group, index, c.mode);
            EXPECT_EQ(watch(group, index, 1), std::string(c.sequence, 1));
            led_set(group, index, c.mode); // in mid-sequence: from the start again
            EXPECT_EQ(watch(group, index, 12), c.sequence);
            EXPECT_EQ(bench::box().board().leds(group) & ~(1 << index), 0);
            EXPECT_EQ(bench::box().board().leds(1 - group), 0);
            led_set(group, index, LED_OFF);
            led_refresh();
        }
    }
}

// Catches: a mode that nobody knows and that darkens, lights or restarts an LED.
TEST(Leds, UnknownModeLeavesTheLedAsItWas)
{
    ASSERT_EQ(led_init(), 0);
    for (const int before : {LED_ON, LED_OFF})
        for (const int unknown : {9, -1, 8}) {
            led_set(0, 3, before);
            const std::string now = watch(0, 3, 1);
            led_set(0, 3, unknown);
            EXPECT_EQ(watch(0, 3, 3), now + now + now);
        }
}

// Catches: an LED beside the table that lands on another one or outside of all of them.
TEST(Leds, OnesThatAreNotThereAreIgnored)
{
    ASSERT_EQ(led_init(), 0);
    for (const auto& [group, index] : {std::pair{2, 0}, {-1, 0}, {0, 8}, {0, -1}, {1, 8}, {1 << 29, 0}, {0, 1 << 30}})
        EXPECT_EQ(led_set(group, index, LED_ON), 0);
    led_refresh();
    EXPECT_EQ(transfers(), 0U);
    EXPECT_EQ(led_group_clear(2), -1);
    EXPECT_EQ(led_group_clear(-1), -1);
    EXPECT_EQ(transfers(), 0U);
}

// Catches: a write at every tick, or a refused byte that is sent again and again or passed on as another group's
// result.
TEST(Leds, AGroupIsWrittenWhenItsByteChangesAndOnlyThen)
{
    ASSERT_EQ(led_init(), 0);
    bench::Output output;
    led_set(0, 0, LED_ON);
    led_set(1, 7, LED_ON);
    EXPECT_EQ(led_refresh(), 0);
    EXPECT_EQ(transfers(), 2U);
    led_set(0, 0, LED_ON);
    EXPECT_EQ(led_refresh(), 0);
    EXPECT_EQ(transfers(), 2U);

    led_set(0, 1, LED_ON);
    bench::tell("i2c fail board next 3");
    EXPECT_EQ(led_refresh(), 0) << "group 1 needed no write";
    EXPECT_EQ(bench::box().board().leds(0), 0x01);
    EXPECT_EQ(led_refresh(), 0);
    EXPECT_EQ(transfers(), 5U) << "the refused byte counts as written";
    led_set(0, 2, LED_ON);
    EXPECT_EQ(led_refresh(), 0);
    EXPECT_EQ(bench::box().board().leds(0), 0x07);

    led_set(1, 6, LED_ON);
    bench::tell("i2c fail board next 3");
    EXPECT_EQ(led_refresh(), -1);
}

// Catches: a standby that leaves LEDs lit or loses their modes, and LEDs that stay dark after it.
TEST(Leds, AClearedGroupComesBackWithTheNextTick)
{
    ASSERT_EQ(led_init(), 0);
    led_set(0, 0, LED_ON);
    led_set(1, 0, LED_ON);
    led_refresh();
    EXPECT_EQ(led_group_clear(0), 0);
    EXPECT_EQ(bench::box().board().leds(0), 0);
    EXPECT_EQ(bench::box().board().leds(1), 1);
    led_refresh();
    EXPECT_EQ(bench::box().board().leds(0), 1);
}

} // namespace
} // namespace capd
