#include "services/firmware_update.h"

#include "tests/support/bench.h"

#include <csignal>
#include <sys/stat.h>
#include <sys/wait.h>

namespace capd {
namespace {

void put_script(const char* path, const std::string& text)
{
    bench::box().root().write(path, text);
    ASSERT_EQ(chmod(bench::box().root().map(path).c_str(), 0755), 0);
}

// Catches: an item looked for under another's name, a script that gets another item or none, an exit status that is
// lost on the way.
TEST(FirmwareUpdate, EachItemIsFoundAndHandedToItsScript)
{
    static const struct {
        const char* item;
        int (*has)();
        int (*run)();
        const char* script;
    } cases[] = {
        {"/mnt/sddisk/update/xfs.bin", fwupdate_has_custblk_image, fwupdate_custblk_image, "/qvbin/update_custblk.sh"},
        {"/mnt/sddisk/update/kernel.bin", fwupdate_has_kernel, fwupdate_kernel, "/qvbin/update_kernel.sh"},
        {"/mnt/sddisk/update/boot.bin", fwupdate_has_bootloader, fwupdate_bootloader, "/kxbin/update_bootloader.sh"},
    };
    const emu::RootFs& root = bench::box().root();
    root.make_empty("/mnt/sddisk/update");
    for (const auto& c : cases) {
        SCOPED_TRACE(c.item);
        EXPECT_EQ(c.has(), -1);
        root.write(c.item, "image");
        EXPECT_EQ(c.has(), 0);
        put_script(c.script, "#!/bin/sh\nset -e\n[ \"$1\" = -i ]\ncp \"$2\" \"$2.seen\"\nexit 3\n");
        EXPECT_EQ(c.run(), 3);
        EXPECT_EQ(root.read(std::string(c.item) + ".seen"), "image");
        root.remove(c.script);
        EXPECT_EQ(c.run(), 127) << "what the shell says of a script that is not there";
        root.remove(c.item);
    }
}

// Catches: half a kernel in the flash that counts as done. The runner's result is the exit status and nothing else; the
// wait status tells.
TEST(FirmwareUpdate, AScriptThatASignalEndedIsToldByItsWaitStatus)
{
    const emu::RootFs& root = bench::box().root();
    root.make_empty("/mnt/sddisk/update");
    put_script("/qvbin/update_kernel.sh", "#!/bin/sh\nkill -KILL $PPID\n");
    EXPECT_EQ(fwupdate_kernel(), 0);
    const int status = fwupdate_run(FirmwareItem::Kernel);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << status;
}

TEST(FirmwareUpdate, CustomBlockFilesAreCopiedWithTheirFolders)
{
    const emu::RootFs& root = bench::box().root();
    root.make_empty("/mnt/custblk");
    root.make_empty("/mnt/sddisk/update/custblk/deep");
    EXPECT_EQ(fwupdate_has_custblk_files(), 0);
    root.write("/mnt/sddisk/update/custblk/deep/file", "text");
    EXPECT_EQ(fwupdate_custblk_files(), 0);
    EXPECT_EQ(root.read("/mnt/custblk/deep/file"), "text");
    root.remove("/mnt/sddisk/update");
    EXPECT_EQ(fwupdate_has_custblk_files(), -1);
    EXPECT_NE(fwupdate_custblk_files(), 0);
}

} // namespace
} // namespace capd
