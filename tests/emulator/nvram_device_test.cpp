#include "tests/support/bench.h"

#include <cerrno>
#include <cstring>
#include <filesystem>

namespace {

constexpr uint32_t GET = 0xC0C04E00, SET = 0x40C04E01, LOAD_FILE = 0x41004E05;
constexpr uint32_t EMPTY = 0x40044E02, COMMIT = 0x40044E03, LOAD = 0x40044E04, LIST = 0x40044E06;

struct Entry {
    char name[64], value[128];
};

Entry entry(const std::string& name, const std::string& value = "")
{
    Entry made{};
    std::memcpy(made.name, name.data(), name.size());
    std::memcpy(made.value, value.data(), value.size());
    return made;
}

emu::NvramDevice& nvram()
{
    return bench::box().nvram();
}

int set(const std::string& name, const std::string& value)
{
    Entry made = entry(name, value);
    return nvram().request(SET, &made);
}

std::string get(const std::string& name)
{
    Entry asked = entry(name);
    const int result = nvram().request(GET, &asked);
    return result == 0 ? asked.value : "error " + std::to_string(-result);
}

// Catches: a cut that leaves the old or the new text whole, a commit that counts as made, a second cut out of one.
TEST(NvramDevice, ACommitThatThePowerCutsLeavesWhatWasWritten)
{
    static constexpr struct {
        int bytes;
        const char *a, *b; // of "A=11\nB=22\n"
    } rows[] = {{0, "", ""}, {2, "", ""}, {3, "1", ""}, {5, "11", ""}, {8, "11", "2"}, {9, "11", "22"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.bytes);
        ASSERT_EQ(nvram().request_value(LOAD, 1), 0);
        ASSERT_EQ(set("A", "11") + set("B", "22"), 0);
        bench::tell("nvram cut-commit " + std::to_string(row.bytes));
        EXPECT_EQ(nvram().request_value(COMMIT, 1), -EIO);
        EXPECT_TRUE(nvram().store().empty());
        emu::NvramDevice::Store flash = nvram().flash();
        EXPECT_EQ(flash["A"], row.a);
        EXPECT_EQ(flash["B"], row.b);
        EXPECT_EQ(nvram().request_value(COMMIT, 1), 0);
    }
}

// Catches: a commit that is lost, a set that survives without one, a load that mixes old and new entries.
TEST(NvramDevice, OnlyWhatWasCommittedSurvivesAPowerCut)
{
    ASSERT_EQ(set("KEPT", "a=b c"), 0);
    ASSERT_EQ(nvram().request_value(COMMIT, 1), 0);
    ASSERT_EQ(set("KEPT", "changed"), 0);
    ASSERT_EQ(set("LOST", "1"), 0);
    bench::tell("nvram power-cut");
    EXPECT_EQ(get("KEPT"), "error " + std::to_string(ENOENT)) << "memory is empty until a load";
    ASSERT_EQ(set("BEFORE", "1"), 0);
    ASSERT_EQ(nvram().request_value(LOAD, 1), 0);
    EXPECT_EQ(nvram().store(), (emu::NvramDevice::Store{{"KEPT", "a=b c"}}));
    ASSERT_EQ(nvram().request_value(EMPTY, 0), 0);
    EXPECT_EQ(nvram().store().size(), 0u);
    EXPECT_EQ(nvram().flash().size(), 1u);
    const emu::NvramDevice next_boot(bench::box().root());
    EXPECT_EQ(next_boot.flash(), nvram().flash());
}

// Catches: records that read past their fields, entries that break the flash file, a damaged file that stops the box.
TEST(NvramDevice, HostileRecordsAndFilesDoNoHarm)
{
    EXPECT_EQ(set(std::string(63, 'n'), std::string(127, 'v')), 0);
    EXPECT_EQ(get(std::string(63, 'n')), std::string(127, 'v'));
    Entry endless{};
    std::memset(&endless, 'x', sizeof endless);
    EXPECT_EQ(nvram().request(GET, &endless), -EINVAL);
    EXPECT_EQ(nvram().request(SET, &endless), -EINVAL);
    for (const char* name : {"", "A=B", "A\nB"}) EXPECT_EQ(set(name, "1"), -EINVAL) << name;
    EXPECT_EQ(set("A", "1\nB=2"), -EINVAL);
    int entries = 0;
    while (set("ENTRY" + std::to_string(entries), std::string(100, 'v')) == 0 && entries < 1000) ++entries;
    EXPECT_LT(entries, 200) << "the partition is full at some point";

    const std::string name = "/mnt/custblk/nvram.txt";
    bench::box().root().write(name, "GOOD=1\n=nameless\nno equals sign\n" + std::string(64, 'n') +
                                        "=1\nLONG=" + std::string(128, 'v') + "\nALSO=2");
    char path[256] = {};
    name.copy(path, sizeof path - 1);
    ASSERT_EQ(nvram().request(LOAD_FILE, path), 0);
    EXPECT_EQ(nvram().store(), (emu::NvramDevice::Store{{"ALSO", "2"}, {"GOOD", "1"}}));
    std::memset(path, '/', sizeof path);
    EXPECT_EQ(nvram().request(LOAD_FILE, path), -EINVAL);
    EXPECT_EQ(nvram().request(COMMIT, path), -EINVAL) << "a pointer where an integer belongs";
    EXPECT_EQ(nvram().request_value(GET, 1), -EFAULT);
    EXPECT_EQ(nvram().request(0xC0C04E01, &endless), -ENOTTY);
    EXPECT_EQ(nvram().store().size(), 2u);
    std::snprintf(path, sizeof path, "/kxbin");
    EXPECT_EQ(nvram().request(LOAD_FILE, path), 0) << "a folder has no entries";
    std::filesystem::create_directories(bench::box().root().map("/flash/nvram.new"));
    EXPECT_EQ(nvram().request_value(COMMIT, 1), -EISDIR) << "a disk that does not take it";
}

// Catches: a refusal that hits the wrong request or still does its work.
TEST(NvramDevice, RefusesExactlyWhatItIsTold)
{
    bench::tell("nvram set A 1");
    static const struct {
        const char* what;
        bool get, set, commit, load, list;
    } cases[] = {
        {"get", false, true, true, true, true},     {"set", true, false, true, true, true},
        {"commit", true, true, false, true, true},  {"load", true, true, true, false, true},
        {"all", false, false, false, false, false}, {"none", true, true, true, true, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        bench::tell(std::string("nvram refuse ") + c.what);
        EXPECT_EQ(get("A") == "1", c.get);
        EXPECT_EQ(set("A", "1") == 0, c.set);
        EXPECT_EQ(nvram().request_value(COMMIT, 1) == 0, c.commit);
        EXPECT_EQ(nvram().request_value(LOAD, 1) == 0, c.load);
        EXPECT_EQ(nvram().request_value(LIST, 0) == 0, c.list);
    }
    EXPECT_EQ(nvram().list_output(), "A=1\n");
    bench::tell("nvram missing on");
    EXPECT_EQ(bench::box().open("/dev/qvnvram"), -ENOENT);
}

} // namespace
