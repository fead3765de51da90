#include "tests/tools/tool.h"

#include <nlohmann/json.hpp>

namespace {

void fill_card(std::initializer_list<const char*> files)
{
    bench::tell("card insert");
    for (const char* file : files) bench::box().card().write(std::string("update/") + file, "image");
    bench::box().root().make_empty("/mnt/custblk");
}

void mount_card()
{
    ASSERT_EQ(std::system(bench::box().root().map_line("/bin/mount -t vfat /dev/mmcblk0p1 /mnt/sddisk").c_str()), 0);
}

/** Scripts that ran, in order. */
std::vector<std::string> ran()
{
    std::vector<std::string> names;
    std::istringstream log(bench::box().root().read("/run/update/log"));
    for (std::string name, file; log >> name >> file;) names.push_back(name);
    return names;
}

using Names = std::vector<std::string>;

// Catches: another order, an item that is passed over, a card left mounted that was not or the other way round.
TEST(BoxtoolUpdate, RunsAllItemsInOrderAndLeavesTheCardAsItWas)
{
    for (const bool mounted : {false, true}) {
        SCOPED_TRACE(mounted ? "mounted before" : "not mounted before");
        fill_card({"xfs.bin", "boot.bin", "kernel.bin", "custblk/one"});
        if (mounted) mount_card();
        bench::box().root().remove("/run/update/log");
        const bench::ToolRun run = bench::tool("update run --yes");
        EXPECT_EQ(run.status, 0) << run.err;
        EXPECT_EQ(ran(), (Names{"bootloader", "kernel", "custblk"}));
        EXPECT_EQ(bench::box().root().read("/mnt/custblk/one"), "image");
        EXPECT_LT(run.out.find("custom block image: done"), run.out.find("custom block files: running"));
        EXPECT_NE(run.out.find("A restart of the box is due"), std::string::npos);
        EXPECT_EQ(bench::box().card().mounted(), mounted);
    }
}

// Catches: items run after a failed one, a failure that is not named, a half update that says nothing of the restart.
TEST(BoxtoolUpdate, StopsAtTheFirstItemThatFails)
{
    static const struct {
        const char* script;
        const char* error;
        Names ran;
        bool restart_due;
    } cases[] = {
        {"bootloader",
         "boot loader failed with exit status 3; not run: kernel, custom block image",
         {"bootloader"},
         false},
        {"kernel",
         "kernel failed with exit status 3; done before, and in use after a restart: boot loader; not run: ",
         {"bootloader", "kernel"},
         true},
        {"custblk", "custom block image failed with exit status 3", {"bootloader", "kernel", "custblk"}, true},
    };
    fill_card({"xfs.bin", "boot.bin", "kernel.bin"});
    for (const auto& c : cases) {
        SCOPED_TRACE(c.script);
        const std::string status = std::string("/run/update/") + c.script + ".status";
        bench::box().root().remove("/run/update/log");
        bench::box().root().write(status, "3\n");
        const bench::ToolRun run = bench::tool("update run --yes --json");
        EXPECT_EQ(run.status, 1);
        EXPECT_NE(run.out.find(c.error), std::string::npos) << run.out;
        EXPECT_EQ(nlohmann::json::parse(run.out, nullptr, false).value("restart_due", !c.restart_due), c.restart_due);
        EXPECT_EQ(ran(), c.ran);
        EXPECT_FALSE(bench::box().card().mounted());
        bench::box().root().remove(status);
    }
}

// Catches: an update of nothing reported as done, a card that is missing or cannot be mounted taken for an empty one.
TEST(BoxtoolUpdate, SaysWhatIsThereAndWhatIsMissing)
{
    EXPECT_NE(bench::tool("update run --yes").err.find("no card in the slot: No such file"), std::string::npos);
    fill_card({"kernel.bin"});
    const bench::ToolRun list = bench::tool("update list");
    EXPECT_EQ(list.out, "boot loader         boot.bin    -\n"
                        "kernel              kernel.bin  on the card\n"
                        "custom block image  xfs.bin     -\n"
                        "custom block files  custblk     -\n");
    EXPECT_FALSE(bench::box().card().mounted());
    bench::tell("card busy 1");
    EXPECT_NE(bench::tool("update list").err.find("the card stays mounted"), std::string::npos);
    bench::tell("card erase");
    const bench::ToolRun nothing = bench::tool("update run --yes");
    EXPECT_EQ(nothing.status, 1);
    EXPECT_NE(nothing.err.find("boxtool: the card carries nothing to update\n"), std::string::npos);
    EXPECT_EQ(ran(), Names{});
}

} // namespace
