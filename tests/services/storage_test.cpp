#include "services/storage.h"

#include "tests/support/bench.h"

#include <climits>
#include <cstring>
#include <sys/stat.h>

namespace capd {
namespace {

emu::Card& card()
{
    return bench::box().card();
}

void insert_and_mount()
{
    bench::tell("card insert");
    ASSERT_EQ(storage_mount(), 0);
}

std::string next_name(int continuation, int result = 0)
{
    char name[128] = "";
    EXPECT_EQ(storage_get_next_filename(continuation, name, 127), result);
    return name;
}

// Catches: an exit status that is lost or taken for another one's, an answer that is not about our card.
TEST(Storage, CardAndMountAreSeenAsTheyAre)
{
    bench::Output output;
    EXPECT_NE(storage_card_present(), 0);
    EXPECT_EQ(storage_mount(), 32);
    EXPECT_EQ(storage_is_mounted(), 1);
    bench::tell("card insert");
    EXPECT_EQ(storage_card_present(), 0);
    EXPECT_EQ(storage_mount(), 0);
    EXPECT_EQ(storage_is_mounted(), 0);
    output.take();
    EXPECT_EQ(storage_check_writable(), 0);
    EXPECT_EQ(output.take(), "");
    bench::tell("card read-only");
    EXPECT_EQ(storage_check_writable(), 1);
    EXPECT_EQ(output.take(), "Storage mounted, but read only");
    bench::tell("card busy 1");
    EXPECT_EQ(storage_umount_device(), 32);
    EXPECT_EQ(storage_umount_device(), 0);
    EXPECT_EQ(storage_is_mounted(), 1);
}

// Catches: a full card whose space wraps to a huge figure, a reserve that is forgotten, a missing card that has space.
TEST(Storage, FreeSpaceIsWhatTheReserveAndTheFilesLeave)
{
    static const struct {
        const char* what;
        long size_kb, used_kb, free_kb; ///< free -1: cannot be worked out
    } cases[] = {
        {"32 GB card", 31166976, 1000, 31133208},
        {"2 TB card", 2147483647, 1000, 2147483647 - 32768 - 1000},
        {"files reach into the reserve", 132768, 100001, 1}, // 0 would say that it is not known
        {"files reach to the reserve", 132768, 100000, 1},
        {"nearly full", 132768, 99998, 2},
        {"smaller than the reserve", 32768, 1000, -1},
    };
    insert_and_mount();
    struct stat folder;
    ASSERT_EQ(stat(card().folder().c_str(), &folder), 0);
    const long folder_kb = (static_cast<long>(folder.st_size) + 1023) / 1024; // is counted as well
    bench::Output output;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        card().set_size_kb(static_cast<uint64_t>(c.size_kb));
        card().put("file", static_cast<uint64_t>(c.used_kb - folder_kb));
        unsigned long kb = 77;
        EXPECT_EQ(storage_get_available_kb(&kb), c.free_kb < 0 ? 1 : 0);
        EXPECT_EQ(kb, c.free_kb < 0 ? 77UL : static_cast<unsigned long>(c.free_kb));
        char expected[160];
        snprintf(expected, sizeof(expected),
                 "Full sddisk space            %lu kb\nUsed space:                  %ld kb\n%s",
                 static_cast<unsigned long>(c.size_kb - 32768), c.used_kb,
                 c.free_kb < 0 ? "Couldn't work out space available\n" : "Space available:             ");
        EXPECT_TRUE(output.take().starts_with(expected));
    }
    unsigned long kb = 77;
    bench::tell("card remove");
    EXPECT_EQ(storage_get_available_kb(&kb), 1);
    EXPECT_EQ(kb, 77UL);
}

// Catches: numbers that are used twice, skipped or wrapped early, a text in the number file that is believed, one that
// overruns its buffer or its range.
TEST(Storage, ANewRecordingTakesTheNumberFilesNumber)
{
    static const struct {
        const char* what;
        const char* before; ///< nullptr: no file
        const char* name;
        const char* after;
        const char* continued;
    } cases[] = {
        {"none yet", nullptr, "00001.00001.mp4", "2", "00001.00002.mp4"},
        {"in use", "41", "00041.00001.mp4", "42", "00041.00002.mp4"},
        {"last number", "99999", "99999.00001.mp4", "1", "99999.00002.mp4"},
        {"past the last", "123456", "123456.00001.mp4", "123457", "123456.00002.mp4"},
        {"no number", "abc", "00000.00001.mp4", "1", "99999.00002.mp4"},
        {"negative", "-5", "-00005.00001.mp4", "-4", "-00005.00002.mp4"},
        {"largest", "2147483647", "2147483647.00001.mp4", "1", "99999.00002.mp4"},
        {"longer than the buffer", "99999999999999999999999999999999999999", "2147483647.00001.mp4", "1",
         "99999.00002.mp4"},
    };
    insert_and_mount();
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        card().erase(".media_fileno");
        if (c.before != nullptr) card().write(".media_fileno", c.before);
        EXPECT_EQ(next_name(0), std::string("/mnt/sddisk/") + c.name);
        EXPECT_EQ(card().read(".media_fileno"), c.after);
        EXPECT_EQ(next_name(1), std::string("/mnt/sddisk/") + c.continued);
        EXPECT_EQ(card().read(".media_fileno"), c.after) << "the next part leaves the file alone";
    }
}

// Catches: texts of the console, a name that overruns the caller's buffer, a card that turned read-only unnoticed.
TEST(Storage, NamingTellsWhatItDoesAndWhatFails)
{
    insert_and_mount();
    bench::Output output;
    next_name(0);
    EXPECT_EQ(output.take(), "Creating new /mnt/sddisk/.media_fileno\nWrote 1 to /mnt/sddisk/.media_fileno\n"
                             "Wrote 2 to /mnt/sddisk/.media_fileno\n");
    card().write(".media_fileno", "x");
    next_name(0);
    EXPECT_EQ(output.take(), "Updating /mnt/sddisk/.media_fileno\nLine read from file /mnt/sddisk/.media_fileno "
                             "line=x\nInvalid number in /mnt/sddisk/.media_fileno file: 0\nWrote 1 to "
                             "/mnt/sddisk/.media_fileno\n");
    card().write(".media_fileno", "");
    EXPECT_EQ(next_name(0, 1), "") << "an empty file names nothing";
    card().write(".media_fileno", "8");
    bench::tell("card read-only");
    output.take();
    EXPECT_EQ(next_name(0, 1), "/mnt/sddisk/00008.00001.mp4");
    EXPECT_TRUE(output.take().ends_with("Storage mounted, but read onlyStorage switched to read-only automaticly\n"));
    for (const int size : {-1, 0, 1, 2, 3, 20}) {
        char name[24];
        memset(name, '#', sizeof(name));
        storage_get_next_filename(1, name, size);
        if (size >= 2) {
            EXPECT_EQ(strlen(name), static_cast<size_t>(size) - 2);
        }
        for (size_t i = size < 2 ? 0 : static_cast<size_t>(size) - 1; i < sizeof(name); ++i) EXPECT_EQ(name[i], '#');
    }
    bench::tell("card remove");
    bench::box().root().remove("/mnt/sddisk");
    output.take();
    EXPECT_EQ(next_name(0, 1), "");
    EXPECT_TRUE(output.take().ends_with("Open failed /mnt/sddisk/.media_fileno, No such file or directory\n"));
}

// Catches: a large recording removed because a product or size wrapped at 32 bits, a removed part whose name is lost.
TEST(Storage, OnlyASmallLastFileIsRemoved)
{
    static const struct {
        const char* what;
        const char* number;
        const char* file; ///< that is there
        uint64_t kb;
        unsigned long min_kb;
        int result;
        bool stays;
    } cases[] = {
        {"smaller", "6", "00005.00001.mp4", 99, 100, 0, false},
        {"just large enough", "6", "00005.00001.mp4", 100, 100, 0, true},
        {"number before 1", "1", "99999.00001.mp4", 1, 2, 0, false},
        {"limit above 4 GiB", "6", "00005.00001.mp4", 4194303, 4194305, 0, false},
        {"file above 4 GiB", "6", "00005.00001.mp4", 4194305, 100, 0, true},
        {"another number's", "7", "00005.00001.mp4", 1, 2, -1, true},
        {"no number file", nullptr, "00005.00001.mp4", 1, 2, 1, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        if (storage_is_mounted() != 0) insert_and_mount();
        next_name(0); // segment 1
        card().erase_all();
        if (c.number != nullptr) card().write(".media_fileno", c.number);
        card().put(c.file, c.kb);
        EXPECT_EQ(storage_remove_small_file(c.min_kb), c.result);
        EXPECT_EQ(card().files().contains(c.file), c.stays);
    }
    // The removed part's name is taken again; below the first part the recording's number is.
    card().erase_all();
    EXPECT_EQ(next_name(0), "/mnt/sddisk/00001.00001.mp4");
    EXPECT_EQ(next_name(1), "/mnt/sddisk/00001.00002.mp4");
    for (const char* file : {"00001.00002.mp4", "00001.00001.mp4", "00001.00000.mp4"}) {
        card().put(file, 1);
        EXPECT_EQ(storage_remove_small_file(2), 0);
    }
    EXPECT_EQ(card().read(".media_fileno"), "1");
}

} // namespace
} // namespace capd
