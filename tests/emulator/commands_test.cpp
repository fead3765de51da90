#include "tests/support/bench.h"

#include <filesystem>
#include <fstream>
#include <sys/stat.h>

namespace {

// Catches: a wrong command that passes in silence, a message that leaves one searching, a refused command that has
// already changed something when it finds its mistake.
TEST(Commands, RefusedOnesNameTheirPlaceAndChangeNothing)
{
    static const struct {
        const char *line, *place;
    } cases[] = {
        {"flurb", "word 1 'flurb': no such command"},
        {"crad insert", "word 1 'crad': no such command; did you mean 'card'?"},
        {"color rgb", "word 1 'color': no such command; 'colour' is part of source; try help source"},
        {"xyzzy", "word 1 'xyzzy': no such command; there are board, card, codec, display, encoder, "},
        {"help xyzzy", "word 1 'xyzzy': no such command"},
        {"card", "word 2 is missing: busy, erase, error, full, insert, path, "},
        {"card inser", "word 2 'inser': did you mean 'insert'? expected busy, erase, "},
        {"source", "word 2 is missing: a port, 0 or 1, and what happens there; try help source"},
        {"source 0 color rgb", "word 3 'color': did you mean 'colour'? expected plug, unplug, sync-delay, format, "},
        {"source 0 plug 1080p60 color rgb", "word 5 'color': did you mean 'colour'? expected sync-delay, hdmi, dvi, "},
        {"source 1 mute on", "nothing is plugged into port 1; try source 1 plug FORMAT"},
        {"source 1 5v on", "nothing is plugged into port 1"},
        {"source 1 drop 3", "nothing is plugged into port 1"},
        {"card insert big", "word 3 'big': is not a number"},
        {"card insert 0", "word 3 '0': is not between 1 and "},
        {"card insert 1000 kB", "word 4 'kB' is one too many"},
        {"card size", "word 3 is missing: a size in kB"},
        {"card protect maybe", "word 3 'maybe': expected on, off"},
        {"card put ../outside 1", "word 3 '../outside': is not a name on the card"},
        {"card put /etc/passwd 1", "word 3 '/etc/passwd': is not a name on the card"},
        {"card put a/../../b 1", "word 3 'a/../../b': is not a name on the card"},
        {"card put . 1", "word 3 '.': is not a name on the card"},
        {"card put file/b 1", "'file' on the card is a file, not a folder"},
        {"card write folder text", "/card/folder: Is a directory"},
        {"card put file 010x", "word 4 '010x': is not a number"},
        {"card erase .", "word 3 '.': is not a name on the card"},
        {"card erase ./", "word 3 './': is not a name on the card"},
        {"card erase nothing", "'nothing' is not on the card"},
        {"card write a \"b\\\"", "a quote is not closed"},
        {"card write a \"open", "a quote is not closed"},
        {"card busy 0", "word 3 '0': is not between 1"},
        {"card read-only", "the card is not mounted"},
        {"key", "word 2 is missing: a key: record"},
        {"key recrod",
         "word 2 'recrod': did you mean 'record'? expected record, stop, low, high, port0, port1, power, a"},
        {"key 0x1g", "word 2 '0x1g': is not a number"},
        {"key 256", "word 2 '256': is not between 0 and 255"},
        {"nvram set A=B 1", "word 3 'A=B': cannot be a name"},
        {"nvram flash A", "word 4 is missing: a value"},
        {"nvram refuse everything", "word 3 'everything': expected none, get"},
        {"rom fill 0x100", "word 3 '0x100': is not between 0 and 255"},
        {"rom load /nonexistent", "word 3 '/nonexistent': cannot be read: No such file"},
        {"rom load /", "word 3 '/': is a folder"},
        {"rom load /dev/zero", "word 3 '/dev/zero': is no regular file"},
        {"rom save /", "/: Is a directory"},
        {"memory stuck 32 high", "word 3 '32': is not between 0 and 31"},
        {"memory stuck 3", "word 4 is missing: high, low"},
        {"memory short 4 4", "word 4 '4': is the same line"},
        {"memory dead 0x100000", "word 3 '0x100000': is not between"},
        {"encoder die", "no encoder runs"},
        {"encoder hang forever", "word 3 'forever': is not a number"},
        {"i2c fail receiver next", "word 5 is missing"},
        {"show nothing", "word 2 'nothing': expected "},
        {"video node 64 0 0 0", "word 3 '64': is not between 0 and 63"},
    };
    emu::Box& box = bench::box();
    bench::tell("card put file");
    bench::tell("card put folder/file");
    const std::string before = bench::ask("show");
    for (const auto& c : cases) {
        SCOPED_TRACE(c.line);
        const emu::Reply reply = box.command(c.line);
        EXPECT_FALSE(reply.ok);
        EXPECT_NE(reply.text.find(c.place), std::string::npos) << reply.text;
        EXPECT_TRUE(reply.text.starts_with(std::string(c.line) + ": ")) << reply.text;
    }
    EXPECT_EQ(bench::ask("show"), before);
    EXPECT_TRUE(box.command("  # a remark").ok);
    EXPECT_TRUE(box.command("").ok);
    const std::string long_name(300, 'x');
    EXPECT_EQ(box.command("card put " + long_name).text.substr(200),
              "...: word 3 '" + long_name + "': has more than 255 letters");
    EXPECT_FALSE(box.command(std::string_view("key 21\0", 7)).ok);
}

// Catches: words that end the box, or stop it for good: files that never end or that nobody writes, names that the
// file system refuses, numbers beyond every type.
TEST(Commands, NothingThatIsTypedEndsTheBox)
{
    emu::Box& box = bench::box();
    const std::string folder = box.root().path() + "/caller", fifo = folder + "/fifo";
    std::filesystem::create_directories(folder + "/deep/er");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    std::ofstream(folder + "/large") << std::string(300'000, 'x');
    const std::vector<std::string> words = {"",
                                            "\"\"",
                                            "\" \"",
                                            "-1",
                                            "0",
                                            "1",
                                            "2",
                                            "0x7fffffffffffffff",
                                            "1e308",
                                            "nan",
                                            "on",
                                            "off",
                                            "all",
                                            "every",
                                            "tv",
                                            "plug",
                                            "timing",
                                            "1080p60",
                                            ".",
                                            "..",
                                            "deep",
                                            "large",
                                            "new",
                                            "new/er",
                                            fifo,
                                            "/dev/zero",
                                            "/dev/full",
                                            "%s%n",
                                            "\xff\xfe",
                                            "--json",
                                            std::string(300, 'n'),
                                            "\"a\nb\\\"\""};
    const emu::Caller caller{.folder = folder, .rehearsal = false, .listener = nullptr};
    unsigned refused = 0;
    for (const std::string& name : box.commands().names())
        for (const std::string& first : words)
            for (const std::string& second : words) {
                const std::string line = name + " " + first + " " + second;
                const emu::Reply reply = box.command(line, caller);
                refused += !reply.ok;
                EXPECT_TRUE(reply.ok || reply.text.size() > name.size() + 2) << line;
                EXPECT_NE(reply.kind, emu::Reply::Kind::More) << "nobody listens to " << line;
            }
    EXPECT_GT(refused, 1000u);
    EXPECT_FALSE(box.command(std::string(1 << 20, 'z') + " " + std::string(1 << 20, 'z')).ok);
    bench::run_for(std::chrono::seconds(1));
    bench::tell("source 0 plug 1080p60");
    bench::tell("show");
    EXPECT_TRUE(std::filesystem::exists(box.root().map("/card")));
    EXPECT_FALSE(std::filesystem::exists(folder + "/../new")) << "files are where the caller is";
    EXPECT_TRUE(std::filesystem::exists(folder + "/new"));
}

// Catches: an EDID ROM that the host reaches while a source has it, or that takes bytes without write access; a ROM
// file that is too long cutting off silently.
TEST(EdidRom, HostHasWhatTheControlBitsGive)
{
    static const struct {
        const char* what;
        int read;
        uint8_t control;
        bool written;
    } cases[] = {
        {"port 0 selected", -ENXIO, 0x05, false},
        {"port 1 selected, all asked", -ENXIO, 0x36, false},
        {"no port, nothing asked", -ENXIO, 0x04, false},
        {"write bit alone", -ENXIO, 0x14, false},
        {"read", 0, 0x24, false},
        {"read and write", 0, 0x34, true},
    };
    emu::Box& box = bench::box();
    uint64_t lost = 0;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const uint8_t control[] = {2, c.control}, write[] = {0x10, 0x77}, offset[] = {0x10};
        box.edid_rom().fill(0);
        ASSERT_EQ(box.i2c().write(emu::i2c_address::BOARD, control), 0);
        EXPECT_EQ(box.i2c().write(emu::i2c_address::EDID_ROM, write), c.read);
        EXPECT_EQ(box.edid_rom().bytes()[0x10], c.written ? 0x77 : 0);
        EXPECT_EQ(box.edid_rom().lost_writes(), lost += !c.written);
        uint8_t value[1] = {0xFF};
        EXPECT_EQ(box.i2c().read(emu::i2c_address::EDID_ROM, offset, value), c.read);
        EXPECT_EQ(value[0], c.read != 0 ? 0xFF : box.edid_rom().bytes()[0x10]);
    }
    const std::string name = box.root().path() + "/long.bin";
    std::ofstream(name) << std::string(257, 'x');
    EXPECT_FALSE(box.command("rom load " + name).ok);
    EXPECT_EQ(box.edid_rom().bytes()[0], 0);
}

// Catches: a key that stays waiting after it was read, a lost key that nobody hears of, and a blinking LED that a
// person at the bench is told is on.
TEST(BoardController, KeysAndLedsAreWhatAPersonSees)
{
    emu::BoardController& board = bench::box().board();
    const auto read = [](uint8_t reg) {
        uint8_t value[1] = {};
        EXPECT_EQ(bench::box().i2c().read(emu::i2c_address::BOARD, std::span(&reg, 1), value), 0);
        return value[0];
    };
    bench::tell("key stop");
    bench::tell("key record");
    EXPECT_EQ(board.lost_codes(), 1u);
    EXPECT_EQ(read(0) & 0x10, 0x10);
    EXPECT_EQ(read(1), 21);
    EXPECT_EQ(read(0) & 0x10, 0);

    const auto light = [](uint8_t lit) {
        const uint8_t bytes[] = {5, lit};
        EXPECT_EQ(bench::box().i2c().write(emu::i2c_address::BOARD, bytes), 0);
        bench::run_for(std::chrono::milliseconds(400));
    };
    using enum emu::LedLook;
    for (int tick = 0; tick < 10; ++tick) light(static_cast<uint8_t>(0x01 | (tick % 2 == 0 ? 0x40 : 0)));
    EXPECT_EQ(board.look(0, 0), On);
    EXPECT_EQ(board.look(0, 1), Off);
    EXPECT_EQ(board.look(0, 6), Blinking);
    EXPECT_EQ(board.flashes(0, 6), 5u);
    bench::run_for(std::chrono::seconds(3));
    EXPECT_EQ(board.look(0, 6), Off);
    EXPECT_NE(bench::ask("show leds").find("power: on\n"), std::string::npos);
}

} // namespace
