#include "devaccess/nvram.h"

#include "tests/support/bench.h"

#include <cerrno>
#include <unistd.h>

namespace capd {
namespace {

/** What is written to one descriptor while it lives; an Output around it takes the other ones. */
class Tap {
public:
    explicit Tap(int fd) : fd_(fd), saved_(dup(fd))
    {
        EXPECT_EQ(pipe(ends_), 0);
        dup2(ends_[1], fd);
    }
    ~Tap()
    {
        dup2(saved_, fd_);
        for (const int fd : {saved_, ends_[0], ends_[1]}) close(fd);
    }
    std::string take()
    {
        char text[512];
        if (write(ends_[1], "#", 1) != 1) return "broken tap"; // never empty, so the read never waits
        const ssize_t length = read(ends_[0], text, sizeof(text));
        return {text, static_cast<size_t>(length) - 1};
    }

private:
    int fd_, saved_, ends_[2];
};

const struct Operation {
    const char* what;
    int (*run)();
    const char* success;
    const char* failure;
} OPERATIONS[] = {
    {"set", [] { return nvram_set("_A", "b c"); }, "_A = b c\n", "failed, errno=5\n"},
    {"get",
     [] {
         char value[NVRAM_VALUE_SIZE];
         return nvram_get("_A", value);
     },
     "", "failed, errno=5\n"},
    {"commit", [] { return nvram_commit(1); }, "nvram commit success\n", "nvram commit failed, errno=5\n"},
    {"load from flash", [] { return nvram_load_mtd(1); }, "nvram load mtd success\n",
     "nvram load mtd failed, errno=5\n"},
    {"load from file", [] { return nvram_load_file("/flash/nvram"); }, "nvram load file sucess\n",
     "nvram loadfailed, errno=5\n"},
    {"list", [] { return nvram_list(); }, "nvram list success\n", "nvram list failed, errno=5\n"},
    {"empty", [] { return nvram_empty(); }, "empty nvram success\n", "empty nvram failed, errno=5\n"},
};

// Catches: an outcome told on the wrong descriptor or in another operation's words, a value request sent as a record, a
// device left open, an errno lost in the report.
TEST(Nvram, EachOperationTellsItsOutcome)
{
    bench::Output others;
    Tap failures(0);
    Tap successes(2);
    for (int round = 0; round < 20; ++round) { // more often than the box has handles
        for (const Operation& operation : OPERATIONS) {
            SCOPED_TRACE(operation.what);
            bench::tell("nvram missing off");
            bench::tell("nvram refuse none");
            EXPECT_EQ(operation.run(), 0);
            EXPECT_EQ(successes.take(), operation.success);
            EXPECT_EQ(failures.take(), "");
            bench::tell("nvram refuse all");
            errno = 0;
            EXPECT_EQ(operation.run(), -1);
            EXPECT_EQ(errno, EIO);
            EXPECT_EQ(failures.take(), operation.failure);
            bench::tell("nvram missing on");
            EXPECT_EQ(operation.run(), NVRAM_NO_DEVICE);
            EXPECT_EQ(failures.take(), "can't open /dev/qvnvram\n");
            EXPECT_EQ(successes.take(), "");
        }
    }
}

// Catches: a name or value that loses its last character or its end on the way, a long one that overruns the record or
// is stored cut, a failed get that clears the caller's value.
TEST(Nvram, LongestNamesAndValuesPassAndLongerOnesAreRefused)
{
    bench::Output output;
    const std::string name(63, 'n');
    const std::string value(127, 'v');
    char got[NVRAM_VALUE_SIZE] = "as it was";
    EXPECT_EQ(nvram_get(name.c_str(), got), -1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(nvram_set((name + "n").c_str(), "v"), -1);
    EXPECT_EQ(nvram_set(name.c_str(), (value + "v").c_str()), -1);
    EXPECT_EQ(nvram_get((name + "n").c_str(), got), -1);
    EXPECT_EQ(nvram_load_file(std::string(256, '/').c_str()), -1);
    EXPECT_EQ(errno, ENAMETOOLONG);
    EXPECT_STREQ(got, "as it was");
    EXPECT_TRUE(bench::box().nvram().store().empty());

    EXPECT_EQ(nvram_set(name.c_str(), value.c_str()), 0);
    EXPECT_EQ(nvram_get(name.c_str(), got), 0);
    EXPECT_EQ(got, value);
    EXPECT_EQ(nvram_load_file((std::string(243, '/') + "/flash/nvram").c_str()), -1) << "255 characters are sent";
    EXPECT_EQ(errno, ENOENT);
}

} // namespace
} // namespace capd
