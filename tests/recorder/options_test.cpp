#include "recorder/options.h"

#include "recorder/corrections.h"
#include "recorder/daemon_settings.h"

#include "tests/support/bench.h"

#include <vector>

namespace capd {

namespace {

std::string parse(const std::vector<const char*>& words)
{
    bench::Output output;
    std::vector<std::string> copies = {"capd"};
    copies.insert(copies.end(), words.begin(), words.end());
    std::vector<char*> arguments;
    for (std::string& word : copies) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    parse_options(static_cast<int>(copies.size()), arguments.data());
    return output.take();
}

} // namespace

// Catches: an option that sets another one's limit, a confirmation that shows something else than what is stored, and
// an end of the parsing, or of the daemon, at the first word that is wrong.
TEST(Options, SetTheirLimitAndConfirmWhatIsStored)
{
    static const struct {
        const char* what;
        std::vector<const char*> words;
        const char* printed;
        uint32_t DaemonSettings::*field;
        uint32_t stored;
    } rows[] = {
        {"size",
         {"--max-file-size", "1000"},
         "Maximum file size set to: 1000kb\n",
         &DaemonSettings::max_file_size,
         1000},
        {"duration",
         {"--max-file-duration=60"},
         "Maximum file duration set to: 60m\n",
         &DaemonSettings::max_file_duration,
         60},
        {"small", {"--min-file-size", "7"}, "Minimum file size set to: 7kb\n", &DaemonSettings::min_file_size, 7},
        {"limit",
         {"--storage-hard-limit", "0"},
         "Storage hard limit set to: 0kb\n",
         &DaemonSettings::storage_hard_limit,
         0},
        {"negative",
         {"--min-file-size", "-1"},
         "Minimum file size set to: 4294967295kb\n",
         &DaemonSettings::min_file_size,
         UINT32_MAX},
        {"text", {"--min-file-size", "plenty"}, "Minimum file size set to: 0kb\n", &DaemonSettings::min_file_size, 0},
        {"an unknown one first",
         {"--frobnicate", "--max-file-size", "5"},
         "unrecognized option '--frobnicate'\n",
         &DaemonSettings::max_file_size,
         5},
        {"a short one first",
         {"-xy", "--max-file-size", "6"},
         "invalid option -- 'y'\n",
         &DaemonSettings::max_file_size,
         6},
        {"no argument at the end",
         {"--min-file-size", "8", "--max-file-size"},
         "requires an argument\n",
         &DaemonSettings::min_file_size,
         8},
        {"an argument where none belongs",
         {"--disable-edid-write=1", "--min-file-size", "9"},
         "doesn't allow an argument\n",
         &DaemonSettings::min_file_size,
         9},
        {"a stray word",
         {"stray", "--min-file-size", "10"},
         "Minimum file size set to: 10kb\n",
         &DaemonSettings::min_file_size,
         10},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        settings = {};
        const std::string printed = parse(row.words);
        EXPECT_NE(printed.find(row.printed), std::string::npos) << printed;
        EXPECT_EQ(settings.*row.field, row.stored);
        EXPECT_EQ(settings.edid_write_disabled, 0);
    }
    EXPECT_EQ(parse({"--disable-edid-write"}), "Disalbe edid write set\n");
    EXPECT_EQ(settings.edid_write_disabled, 1);
}

// Catches: a sequence number that is taken over unchecked and later indexes past the table, and keys that stay locked.
TEST(Options, TakeOnlySelfTestsThatExist)
{
    static constexpr struct {
        const char* number;
        int stored;
        size_t reports;
    } rows[] = {{"0", 0, 0}, {"2", 2, 0}, {"3", -1, 1}, {"-2", -1, 1}, {"2147483647", -1, 1}, {"-1", -1, 0}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.number);
        const std::string printed = parse({"--test", row.number});
        EXPECT_EQ(settings.test_sequence, row.stored);
        EXPECT_EQ(bench::count(printed, "No self-test sequence"), row.reports) << printed;
        EXPECT_EQ(bench::count(printed, "\ncapd:"), row.reports);
    }
}

// Catches: an unknown name that takes the rest of the list with it, a word that turns on something else, and a log of
// corrections where there are none.
TEST(Options, CorrectionsAreTakenByNameAndUnknownOnesReported)
{
    static const struct {
        std::vector<const char*> words;
        const char *reported, *in_force;
    } rows[] = {
        {{}, "", ""},
        {{"--correct", "none"}, "", ""},
        {{"--correct", "all"}, "", "recordings,space,pace,displays,formats,panel\n"},
        {{"--correct", "pace,,recordings"}, "", "recordings,pace\n"},
        {{"--correct", "space", "--correct=panel"}, "", "space,panel\n"},
        {{"--correct", "all,none,panel"}, "", "panel\n"},
        {{"--correct", "spac,spaces,formats"}, "No correction 'spaces'; there are recordings, space, ", "formats\n"},
        {{"--correct", "spac,formats"}, "No correction 'spac'", "formats\n"},
    };
    for (const auto& row : rows) {
        set_corrections("none");
        const std::string printed = parse(row.words);
        EXPECT_NE(printed.find(row.reported), std::string::npos) << printed;
        EXPECT_EQ(printed.find("No correction") == std::string::npos, *row.reported == '\0') << printed;
        const std::string told = bench::printed(log_corrections);
        EXPECT_TRUE(told.ends_with(row.in_force)) << told;
        EXPECT_EQ(told.empty(), *row.in_force == '\0') << told;
    }
}

} // namespace capd
