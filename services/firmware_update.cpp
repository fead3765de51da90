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

// In the order of FirmwareItem.
constexpr Item ITEMS[] = {
    {"/mnt/sddisk/update/boot.bin", "/kxbin/update_bootloader.sh -i /mnt/sddisk/update/boot.bin"},
    {"/mnt/sddisk/update/kernel.bin", "/qvbin/update_kernel.sh -i /mnt/sddisk/update/kernel.bin"},
    {"/mnt/sddisk/update/xfs.bin", "/qvbin/update_custblk.sh -i /mnt/sddisk/update/xfs.bin"},
    {"/mnt/sddisk/update/custblk", "cp -R /mnt/sddisk/update/custblk/* /mnt/custblk/"},
};

const Item& row(FirmwareItem item)
{
    return ITEMS[static_cast<uint8_t>(item)];
}

int has(FirmwareItem item)
{
    char mapped[platform::PATH_SIZE];
    return access(platform::map_path(row(item).path, mapped), R_OK);
}

} // namespace

const char* fwupdate_path(FirmwareItem item)
{
    return row(item).path;
}

int fwupdate_run(FirmwareItem item)
{
    return platform::run_shell(row(item).command);
}

int fwupdate_has_custblk_image()
{
    return has(FirmwareItem::CustblkImage);
}

int fwupdate_has_custblk_files()
{
    return has(FirmwareItem::CustblkFiles);
}

int fwupdate_has_kernel()
{
    return has(FirmwareItem::Kernel);
}

int fwupdate_has_bootloader()
{
    return has(FirmwareItem::Bootloader);
}

int fwupdate_custblk_image()
{
    return exit_status(fwupdate_run(FirmwareItem::CustblkImage));
}

int fwupdate_custblk_files()
{
    return exit_status(fwupdate_run(FirmwareItem::CustblkFiles));
}

int fwupdate_kernel()
{
    return exit_status(fwupdate_run(FirmwareItem::Kernel));
}

int fwupdate_bootloader()
{
    return exit_status(fwupdate_run(FirmwareItem::Bootloader));
}

} // namespace capd
