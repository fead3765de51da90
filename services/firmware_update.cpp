#include "services/firmware_update.h"

#include "platform/platform.h"
#include "services/command.h"

#include <unistd.h>

namespace capd {

namespace {

struct Item {
    const char* path; ///< on the card
    const char* command;
};
constexpr Item CUSTBLK_IMAGE = {"/mnt/sddisk/update/xfs.bin", "/qvbin/update_custblk.sh -i /mnt/sddisk/update/xfs.bin"};
constexpr Item CUSTBLK_FILES = {"/mnt/sddisk/update/custblk", "cp -R /mnt/sddisk/update/custblk/* /mnt/custblk/"};
constexpr Item KERNEL = {"/mnt/sddisk/update/kernel.bin", "/qvbin/update_kernel.sh -i /mnt/sddisk/update/kernel.bin"};
constexpr Item BOOTLOADER = {"/mnt/sddisk/update/boot.bin",
                             "/kxbin/update_bootloader.sh -i /mnt/sddisk/update/boot.bin"};

int has(const Item& item)
{
    char mapped[platform::PATH_SIZE];
    return access(platform::map_path(item.path, mapped), R_OK);
}

} // namespace

int fwupdate_has_custblk_image()
{
    return has(CUSTBLK_IMAGE);
}

int fwupdate_has_custblk_files()
{
    return has(CUSTBLK_FILES);
}

int fwupdate_has_kernel()
{
    return has(KERNEL);
}

int fwupdate_has_bootloader()
{
    return has(BOOTLOADER);
}

int fwupdate_custblk_image()
{
    return run_command(CUSTBLK_IMAGE.command);
}

int fwupdate_custblk_files()
{
    return run_command(CUSTBLK_FILES.command);
}

int fwupdate_kernel()
{
    return run_command(KERNEL.command);
}

int fwupdate_bootloader()
{
    return run_command(BOOTLOADER.command);
}

} // namespace capd
