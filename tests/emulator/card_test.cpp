#include "emulator/kernel/paths.h"
#include "platform/platform.h"
#include "tests/support/bench.h"

#include <cstdlib>
#include <sys/wait.h>

namespace {

int shell(const char* line)
{
    return WEXITSTATUS(capd::platform::run_shell(line));
}

std::string first_line(const char* line)
{
    char text[256];
    capd::platform::read_shell_line(line, text, sizeof text);
    return text;
}

emu::Card& card()
{
    return bench::box().card();
}

constexpr const char* MOUNT = "/bin/mount -t vfat /dev/mmcblk0p1 /mnt/sddisk";
constexpr const char* UMOUNT = "/bin/umount /dev/mmcblk0p1";
constexpr const char* WRITABLE = "cat /proc/mounts |grep -q '/mnt/sddisk vfat rw'";

// Catches: a shell line that reaches for this machine's own card, or a program of this machine looked for in the box.
TEST(Paths, OnlyTheBoxsOwnAreMapped)
{
    static const struct {
        const char *line, *mapped;
    } cases[] = {
        {MOUNT, "/r/bin/mount -t vfat /r/dev/mmcblk0p1 /r/mnt/sddisk"},
        {"/bin/mount | /bin/grep /mnt/sddisk", "/r/bin/mount | /bin/grep /r/mnt/sddisk"},
        {WRITABLE, "cat /r/proc/mounts |grep -q '/r/mnt/sddisk vfat rw'"},
        {"cat /proc/partitions | grep mmcblk0p1", "cat /r/proc/partitions | grep mmcblk0p1"},
        {"cp -R /mnt/sddisk/update/custblk/* /mnt/custblk/", "cp -R /r/mnt/sddisk/update/custblk/* /r/mnt/custblk/"},
        {"/kxbin/x.sh;/qvbin/y.sh -i/mnt/sddisk", "/r/kxbin/x.sh;/r/qvbin/y.sh -i/mnt/sddisk"},
        {"ls /mnt/sddisk2 /usr/bin/mount /bin/mounted /proc/mountstats a/kxbin",
         "ls /mnt/sddisk2 /usr/bin/mount /bin/mounted /proc/mountstats a/kxbin"},
        {"sed s/a/b/ low.cfg >/mnt/sddisk", "sed s/a/b/ low.cfg >/r/mnt/sddisk"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(emu::map_shell_line("/r", c.line), std::string("PATH=/r/bin:$PATH; ") + c.mapped);
    EXPECT_EQ(emu::map_box_path("/r", "/mnt/sddisk/a"), "/r/mnt/sddisk/a");
    EXPECT_EQ(emu::map_box_path("/r", "low.cfg"), "low.cfg");
}

// Catches: mount scripts that accept what the real ones refuse, and files that do not move with the card.
TEST(Card, MountsAndUnmountsAsTheRealOneDoes)
{
    const bench::Output quiet;
    EXPECT_EQ(shell(MOUNT), 32) << "empty slot";
    EXPECT_EQ(shell(UMOUNT), 32) << "not mounted";
    bench::tell("card insert 2000000");
    card().write("a.txt", "hello");
    EXPECT_EQ(shell("/bin/mount -t vfat /dev/mmcblk0p1 /mnt/nowhere"), 32);
    EXPECT_EQ(shell("/bin/mount -t ext4 /dev/mmcblk0p1 /mnt/sddisk"), 32);
    EXPECT_EQ(shell(MOUNT), 0);
    EXPECT_EQ(shell(MOUNT), 32) << "already mounted";
    EXPECT_EQ(shell(WRITABLE), 0);
    EXPECT_EQ(shell("grep -q hello /mnt/sddisk/a.txt"), 0);
    EXPECT_EQ(first_line("cat /proc/partitions | grep mmcblk0p1 | awk '{print $3}'"), "2000000\n");
    bench::tell("card busy 2");
    EXPECT_EQ(shell(UMOUNT), 32);
    EXPECT_EQ(shell("/bin/umount /mnt/sddisk"), 32);
    EXPECT_EQ(shell(UMOUNT), 0);
    EXPECT_EQ(shell("test -e /mnt/sddisk/a.txt"), 1);
    EXPECT_EQ(card().read("a.txt"), "hello");
    bench::tell("card protect on");
    EXPECT_EQ(shell(MOUNT), 0) << "a write-protected card mounts read-only";
    EXPECT_EQ(shell(WRITABLE), 1);
    EXPECT_NE(first_line("/bin/mount | /bin/grep /mnt/sddisk").find("type vfat (ro,"), std::string::npos);
}

// Catches: a pulled card that still has its files in the box, a mount that vanishes by itself, files written to the
// empty mount point that turn up on the next card, and a mount over them that fails.
TEST(Card, PulledWhileMountedLeavesAnEmptyMount)
{
    const bench::Output quiet;
    bench::tell("card insert");
    ASSERT_EQ(shell(MOUNT), 0);
    card().write("kept", "1");
    bench::tell("card remove");
    EXPECT_EQ(shell("test -e /dev/mmcblk0p1"), 1);
    EXPECT_EQ(shell("/bin/mount | /bin/grep -q /mnt/sddisk"), 0);
    EXPECT_EQ(shell("test -e /mnt/sddisk/kept"), 1);
    EXPECT_EQ(shell("echo x >/mnt/sddisk/lost"), 0);
    bench::tell("card insert");
    EXPECT_EQ(shell(MOUNT), 32) << "the old mount is still there";
    EXPECT_EQ(shell(UMOUNT), 0);
    EXPECT_EQ(shell("echo x >/mnt/sddisk/under"), 0) << "the bare mount point is a folder like any other";
    ASSERT_EQ(shell(MOUNT), 0);
    EXPECT_EQ(card().files(), (std::map<std::string, uint64_t>{{"kept", 1}}));
    EXPECT_EQ(shell(UMOUNT), 0);
    EXPECT_EQ(shell("test -e /mnt/sddisk/under"), 0);
}

// Catches: a large file that costs nothing because this machine stores it with holes.
TEST(Card, FilesTakeTheRoomTheyAreLong)
{
    bench::tell("card insert 6000000");
    bench::tell("card put big.mp4 5000000");
    ASSERT_EQ(shell(MOUNT), 0);
    const long used = std::atol(first_line("du -s /mnt/sddisk | awk '{print $1}'").c_str());
    EXPECT_GE(used, 5'000'000);
    EXPECT_LE(used, 5'000'100);
    EXPECT_EQ(card().free_kb(), 1'000'000u);
}

// Catches: a box that comes up with yesterday's mount, without the card in its slot, or without the files on it.
TEST(Card, PowerCutWhileMountedLosesNeitherFilesNorTheCard)
{
    const std::string folder = bench::box().root().path() + "/second";
    {
        const emu::RootFs root(folder);
        emu::Card first(root);
        first.set_size_kb(200'000);
        first.insert();
        ASSERT_EQ(WEXITSTATUS(std::system(root.map_line(MOUNT).c_str())), 0);
        first.write("a.txt", "hello");
        first.protect(true);
    }
    for (const bool in_slot : {true, false}) {
        const emu::RootFs root(folder);
        emu::Card again(root);
        EXPECT_EQ(again.present(), in_slot);
        EXPECT_FALSE(again.mounted());
        EXPECT_TRUE(again.write_protected());
        EXPECT_EQ(again.size_kb(), 200'000u);
        EXPECT_EQ(again.read("a.txt"), "hello");
        EXPECT_EQ(root.read("/proc/partitions").find("mmcblk0p1") != std::string::npos, in_slot);
        again.remove();
    }
}

} // namespace
