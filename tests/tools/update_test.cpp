#include "tests/tools/tool.h"

#include <csignal>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sys/stat.h>

namespace {

const emu::RootFs& root()
{
    return bench::box().root();
}

/** Something that may be firmware, and is another thing for every name. */
std::string image_of(const std::string& name)
{
    return "\x7f" + name;
}

void fill_card(std::initializer_list<const char*> files)
{
    bench::tell("card insert");
    for (const char* file : files) bench::box().card().write(std::string("update/") + file, image_of(file));
    root().make_empty("/mnt/custblk");
}

void mount_card()
{
    ASSERT_EQ(std::system(root().map_line("/bin/mount -t vfat /dev/mmcblk0p1 /mnt/sddisk").c_str()), 0);
}

/** Scripts that ran, in order. */
std::vector<std::string> ran()
{
    std::vector<std::string> names;
    std::istringstream log(root().read("/run/update/log"));
    for (std::string name, file; log >> name >> file;) names.push_back(name);
    return names;
}

using Names = std::vector<std::string>;

/** Put lines into an update script, in front of what it does. */
class ChangedScript {
public:
    ChangedScript(std::string path, const std::string& lines) : path_(std::move(path)), before_(root().read(path_))
    {
        const size_t first_line = before_.find('\n') + 1;
        root().write(path_, before_.substr(0, first_line) + lines + "\n" + before_.substr(first_line));
        EXPECT_EQ(chmod(root().map(path_).c_str(), 0755), 0);
    }
    ~ChangedScript()
    {
        root().write(path_, before_);
        EXPECT_EQ(chmod(root().map(path_).c_str(), 0755), 0);
    }
    ChangedScript(const ChangedScript&) = delete;
    ChangedScript& operator=(const ChangedScript&) = delete;

private:
    std::string path_, before_;
};

constexpr char BOOTLOADER[] = "/kxbin/update_bootloader.sh";
constexpr char KERNEL[] = "/qvbin/update_kernel.sh";

// Catches: another order, an item that is passed over, a card left mounted that was not or the other way round.
TEST(BoxtoolUpdate, RunsAllItemsInOrderAndLeavesTheCardAsItWas)
{
    for (const bool mounted : {false, true}) {
        SCOPED_TRACE(mounted ? "mounted before" : "not mounted before");
        fill_card({"xfs.bin", "boot.bin", "kernel.bin", "custblk/one"});
        if (mounted) mount_card();
        root().remove("/run/update/log");
        const bench::ToolRun run = bench::tool("update run --yes");
        EXPECT_EQ(run.status, 0) << run.err;
        EXPECT_EQ(ran(), (Names{"bootloader", "kernel", "custblk"}));
        EXPECT_EQ(root().read("/mnt/custblk/one"), image_of("custblk/one"));
        EXPECT_LT(run.out.find("custom block image: done"), run.out.find("custom block files: running"));
        EXPECT_NE(run.out.find("A restart of the box is due"), std::string::npos);
        EXPECT_EQ(bench::box().card().mounted(), mounted);
    }
}

// Catches: items run after a failed one, a failure that is not named, a half update that says nothing of the restart,
// and half an item that counts as done because a signal and no exit status ended its script.
TEST(BoxtoolUpdate, StopsAtTheFirstItemThatFails)
{
    static const struct {
        const char* script;
        const char* lines;
        const char* error;
        Names ran;
        bool restart_due;
    } cases[] = {
        {BOOTLOADER, "exit 3", "boot loader failed with exit status 3; not run: kernel, custom block image", {}, false},
        {KERNEL,
         "exit 3",
         "kernel failed with exit status 3; done before, and in use after a restart: boot loader; not run: custom "
         "block "
         "image",
         {"bootloader"},
         true},
        {"/qvbin/update_custblk.sh",
         "exit 3",
         "custom block image failed with exit status 3; done before, and in use after a restart: boot loader, kernel",
         {"bootloader", "kernel"},
         true},
        {KERNEL,
         "kill -KILL $PPID; exit 0", // and the script goes no further by itself
         "kernel was ended by signal 9 (Killed); done before, and in use after a restart: boot loader; not run: custom "
         "block image",
         {"bootloader"},
         true},
        {KERNEL,
         "kill -SEGV $$",
         "kernel failed with exit status 139 (signal 11, Segmentation fault); done before, and in use after a restart: "
         "boot loader; not run: custom block image",
         {"bootloader"},
         true},
    };
    fill_card({"xfs.bin", "boot.bin", "kernel.bin"});
    for (const auto& c : cases) {
        SCOPED_TRACE(c.error);
        root().remove("/run/update/log");
        const ChangedScript script(c.script, c.lines);
        const bench::ToolRun run = bench::tool("update run --yes --json");
        EXPECT_EQ(run.status, 1);
        const nlohmann::json values = nlohmann::json::parse(run.out, nullptr, false);
        EXPECT_EQ(values.value("error", ""), c.error);
        EXPECT_EQ(values.value("restart_due", !c.restart_due), c.restart_due);
        EXPECT_EQ(ran(), c.ran);
        EXPECT_FALSE(bench::box().card().mounted());
    }
}

// Catches: Ctrl-C, a lost connection or a kill in the middle of an item that leave half a boot loader in the flash, and
// a tool that does not hear that it was asked to stop.
TEST(BoxtoolUpdate, SignalsReachNeitherToolNorScriptWhileAnItemRuns)
{
    root().write("/run/update/tool", std::to_string(getpid()));
    const std::string run_folder = root().map("/run/update");
    const std::string at_tool = "read -r tool <" + run_folder + "/tool; kill -TERM $tool";
    const std::string everywhere = at_tool + "; cut -d' ' -f5,6 /proc/$$/stat >" + run_folder +
                                   "/session; for signal in INT HUP TERM QUIT; do kill -$signal $$ $tool; done";
    fill_card({"boot.bin", "kernel.bin"});
    {
        const ChangedScript script(BOOTLOADER, everywhere);
        const bench::ToolRun run = bench::tool("update run --yes");
        EXPECT_EQ(run.status, 1);
        EXPECT_NE(run.out.find("boot loader: done\n"), std::string::npos) << run.out;
        EXPECT_NE(
            run.err.find(" between two items; done before, and in use after a restart: boot loader; not run: kernel"),
            std::string::npos)
            << run.err;
        EXPECT_EQ(ran(), Names{"bootloader"});
        std::istringstream session(root().read("/run/update/session"));
        pid_t group = 0, id = 0;
        session >> group >> id;
        EXPECT_TRUE(group > 0 && group != getpgrp() && id != getsid(0))
            << "a terminal's keys reach its foreground group";
        EXPECT_FALSE(bench::box().card().mounted());
    }
    root().remove("/run/update/log");
    const ChangedScript script(KERNEL, everywhere);
    const bench::ToolRun run = bench::tool("update run --yes");
    EXPECT_EQ(run.status, 0) << "nothing was left to be stopped: " << run.err;
    EXPECT_EQ(ran(), (Names{"bootloader", "kernel"}));

    root().remove("/run/update/log");
    const ChangedScript before_the_question("/bin/mount", at_tool);
    const bench::Terminal terminal; // nobody there types an answer
    const bench::ToolRun asked = bench::tool("update run", terminal.fd());
    EXPECT_EQ(asked.status, 2);
    EXPECT_NE(asked.err.find("Go on? [y/N] \nboxtool: nothing was changed\n"), std::string::npos) << asked.err;
    EXPECT_FALSE(bench::box().card().mounted());
    EXPECT_EQ(ran(), Names{});
}

// Catches: a script that dies of the pipe because the terminal or the pager that read its output is gone.
TEST(BoxtoolUpdate, AnUpdateGoesOnWhenNobodyReadsItsOutput)
{
    fill_card({"boot.bin", "kernel.bin"});
    const ChangedScript script(BOOTLOADER,
                               "i=0; while [ $i -lt 20000 ]; do echo writing block $i || exit 9; i=$((i + 1)); done");
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    close(ends[0]);
    EXPECT_EQ(bench::tool("update run --yes", -1, ends[1]).status, 0);
    close(ends[1]);
    EXPECT_EQ(ran(), (Names{"bootloader", "kernel"}));
}

// Catches: an image that bricks the box because nobody looked at it, and one that is refused though it may be right.
TEST(BoxtoolUpdate, ImagesThatCannotBeRightAreRefusedByName)
{
    static const struct {
        const char* what;
        std::string image;
        const char* error; ///< empty: nothing speaks against it
    } cases[] = {
        {"empty", "", "update/kernel.bin is empty"},
        {"recording",
         std::string("\0\0\0\x18"
                     "ftypisom",
                     12),
         "update/kernel.bin is an MP4 recording"},
        {"picture", "\xff\xd8\xff\xe0 JFIF", "update/kernel.bin is a JPEG picture"},
        {"text", "<html>\n404 not found\n</html>\n", "update/kernel.bin is a text"},
        {"erased", std::string(100'000, '\xff'), "update/kernel.bin holds nothing but bytes of 0xff"},
        {"never written", std::string(100'000, '\0'), "update/kernel.bin holds nothing but bytes of 0x00"},
        {"begins with zeros", std::string(70'000, '\0') + "x", ""},
        {"not known", "\x01\x02\x03", ""},
    };
    fill_card({"boot.bin"});
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        root().remove("/run/update/log");
        bench::box().card().write("update/kernel.bin", c.image);
        const bool good = *c.error == '\0';
        const bench::ToolRun run = bench::tool("update run --yes");
        EXPECT_EQ(run.status, good ? 0 : 1);
        EXPECT_EQ(run.err, good ? "" : std::string("boxtool: ") + c.error + "\n");
        EXPECT_EQ(ran(), good ? (Names{"bootloader", "kernel"}) : Names{});
        EXPECT_EQ(bench::tool("update list").status, run.status);
    }
    bench::box().card().erase_all();
    bench::box().card().write("update/kernel.bin/file", "x");
    EXPECT_EQ(bench::tool("update run --yes").err, "boxtool: update/kernel.bin is a folder, not an image\n");
}

// Catches: an update of nothing reported as done, a card that is missing or cannot be mounted taken for an empty one,
// items that are looked for where nobody was told to put them, and consent to something that was not shown.
TEST(BoxtoolUpdate, SaysWhatIsThereAndWhatIsMissing)
{
    EXPECT_NE(bench::tool("update run --yes").err.find("no card in the slot: No such file"), std::string::npos);
    fill_card({});
    bench::box().card().write("update/kernel.bin", "\x27\x05\x19\x56 kernel");
    bench::box().card().write("update/custblk/a folder/it's a logo", "logo");
    bench::box().card().write("boot.bin", image_of("boot.bin"));
    const bench::ToolRun list = bench::tool("update list");
    EXPECT_EQ(list.out, "boot loader         -\n"
                        "kernel              on the card\n"
                        "    update/kernel.bin: 11 bytes, begins with 27 05 19 56 20 6b 65 72 (U-Boot image)\n"
                        "    SHA-256 dfcf9fa1116b7706dbc891370e1afba38ce936505982134ec63af2b5ec613f1f\n"
                        "custom block image  -\n"
                        "custom block files  on the card\n"
                        "    update/custblk/a folder/it's a logo: 4 bytes\n"
                        "    SHA-256 3598ce6f965b2481fe26316c06b30950c46ac7f8e7229f104aa78f579997668d\n");
    EXPECT_EQ(list.err, "boxtool: boot.bin at the card's root is not used: items lie in the card's folder update/\n");
    EXPECT_FALSE(bench::box().card().mounted());
    root().write("/bin/sha256sum", "#!/bin/sh\nexit 127\n");
    ASSERT_EQ(chmod(root().map("/bin/sha256sum").c_str(), 0755), 0);
    EXPECT_NE(bench::tool("update list").out.find("SHA-256 not known, the box has no sha256sum\n"), std::string::npos);
    bench::tell("card busy 1");
    EXPECT_NE(bench::tool("update list").err.find("the card stays mounted"), std::string::npos);
    bench::tell("card erase");
    const bench::ToolRun nothing = bench::tool("update run --yes");
    EXPECT_EQ(nothing.status, 1);
    EXPECT_EQ(nothing.err, "boxtool: the card carries nothing to update: items lie in the card's folder update/\n");
    EXPECT_EQ(ran(), Names{});
}

// Catches: a recording that is cut off by an update nobody would have started, however it is being written.
TEST(BoxtoolUpdate, ARecordingIsAskedAboutApart)
{
    fill_card({"kernel.bin"});
    mount_card();
    {
        const std::ofstream recording(root().map("/mnt/sddisk/00001.00001.mp4"));
        const bench::ToolRun run = bench::tool("update run --yes");
        EXPECT_EQ(run.status, 2);
        EXPECT_NE(run.err.find("boxtool: A recording is running, "), std::string::npos) << run.err;
        EXPECT_EQ(ran(), Names{});
    }
    std::ifstream player(root().map("/mnt/sddisk/00001.00001.mp4"));
    EXPECT_EQ(bench::tool("update run --yes").status, 0) << "a file that is only read";
    ASSERT_EQ(std::system(root().map_line("/bin/umount /mnt/sddisk").c_str()), 0);

    bench::tell("source 0 plug 1080p60");
    bench::Output quiet;
    EXPECT_EQ(chdir(root().map("/kxbin").c_str()), 0);
    const bench::Daemon daemon;
    bench::run_for(std::chrono::seconds(5));
    bench::tell("key record");
    bench::run_for(std::chrono::seconds(5));
    for (const char* answers : {"y\nn\n", "y\ny\n"}) {
        root().remove("/run/update/log");
        const bench::Terminal terminal(answers);
        const bench::ToolRun run = bench::tool("update run", terminal.fd());
        const bool wanted = answers[2] == 'y';
        EXPECT_EQ(run.status, wanted ? 0 : 2) << run.err;
        EXPECT_NE(run.err.find("A recording is running, /mnt/sddisk/00001.00001.mp4."), std::string::npos) << run.err;
        EXPECT_EQ(bench::count(run.err, "Go on? [y/N]"), 2u);
        EXPECT_EQ(ran(), wanted ? Names{"kernel"} : Names{});
    }
    EXPECT_EQ(bench::tool("update run --yes --while-recording").status, 0);
    bench::tell("key stop");
    bench::run_for(std::chrono::seconds(5));
    EXPECT_EQ(bench::tool("update run --yes").status, 0);
}

} // namespace
