#include "services/storage.h"

#include "platform/platform.h"
#include "services/command.h"
#include "services/corrections.h"
#include "services/number.h"
#include "services/recording_name.h"
#include "services/safe_names.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace capd {

namespace {

constexpr char PARTITION[] = "/dev/mmcblk0p1";
constexpr int64_t RESERVED_KB = 32768; // 32 MiB of the card are held back

// The file system ends its files just below 4 GiB; one that is larger elsewhere counts as that, never as a small one.
constexpr int64_t MAX_FILE_SIZE = UINT32_MAX;

struct Numbering {
    int32_t next;    // number that the next new recording takes
    int32_t segment; // file of the recording in progress
};
Numbering numbering = {0, 1};

/** Run a shell line that prints a number. @return the number; 0 when it printed none, with measured false */
long read_number(const char* line, bool& measured)
{
    char text[32];
    char* end = text;
    const long number = platform::read_shell_line(line, text, sizeof(text)) ? strtol(text, &end, 10) : 0;
    if (end == text) measured = false;
    return number;
}

/** Read up to n bytes of a file as text; buf has room for n + 1. @return 0 when something was read, else 1 */
int file_read_line(const char* path, char* buf, int n)
{
    char mapped[platform::PATH_SIZE];
    const int fd = open(platform::map_path(path, mapped), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return 1;
    const ssize_t length = std::max<ssize_t>(read(fd, buf, static_cast<size_t>(n)), 0);
    buf[length] = '\0';
    printf("Line read from file %s line=%s\n", path, buf);
    close(fd);
    return length > 0 ? 0 : 1;
}

/** Replace a file's contents by len bytes of text. @return 0 when something was written, else 1 */
int file_write_line(const char* path, const char* text, int len)
{
    char mapped[platform::PATH_SIZE];
    const int fd = open(platform::map_path(path, mapped), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (fd < 0) {
        printf("Open failed %s, %s\n", path, strerror(errno));
        return 1;
    }
    const bool written = write(fd, text, static_cast<size_t>(len)) > 0;
    if (written) printf("Wrote %s to %s\n", text, path);
    close(fd);
    return written ? 0 : 1;
}

/** @return 0 when the file can be read and written, else -1 */
int file_access_rw(const char* path)
{
    char mapped[platform::PATH_SIZE];
    return access(platform::map_path(path, mapped), R_OK | W_OK);
}

int write_number_file(int number)
{
    char text[NUMBER_TEXT_SIZE];
    const int length = snprintf(text, sizeof(text), "%d", number);
    return file_write_line(NUMBER_FILE, text, length);
}

/** Find the number of a new recording, in the number file or by starting one. @return 0, or 1 when neither works */
int take_number()
{
    if (file_access_rw(NUMBER_FILE) != 0) {
        printf("Creating new %s\n", NUMBER_FILE);
        numbering.next = FIRST_NUMBER;
        return write_number_file(FIRST_NUMBER);
    }
    printf("Updating %s\n", NUMBER_FILE);
    char text[NUMBER_TEXT_SIZE] = "";
    const int result = file_read_line(NUMBER_FILE, text, NUMBER_TEXT_SIZE - 1);
    numbering.next = parse_int(text);
    if (numbering.next == 0) printf("Invalid number in %s file: %d\n", NUMBER_FILE, numbering.next);
    return result;
}

/** Look whether the write just made turned the card read-only, as it does when its file system is damaged. */
int check_still_writable()
{
    if (storage_check_writable() == 0) return 0;
    printf("Storage switched to read-only automaticly\n");
    return 1;
}

int name_new_recording(char* name, int size)
{
    const int result = take_number();
    if (result != 0) return result;
    write_name(name, size, numbering.next, 1);
    numbering.next = number_after(numbering.next);
    write_number_file(numbering.next);
    if (check_still_writable() != 0) return 1;
    numbering.segment = 1;
    return 0;
}

int name_next_segment(char* name, int size)
{
    ++numbering.segment;
    write_name(name, size, number_before(numbering.next), numbering.segment);
    return 0;
}

int remove_file(const char* path)
{
    char mapped[platform::PATH_SIZE];
    const int result = remove(platform::map_path(path, mapped));
    if (result != 0) printf("Couldn't remove file %s(e=%s)\n", path, strerror(errno));
    return result;
}

} // namespace

int storage_init()
{
    return 0;
}

int storage_card_present()
{
    char mapped[platform::PATH_SIZE];
    return access(platform::map_path(PARTITION, mapped), R_OK);
}

int storage_is_mounted()
{
    return run_command("/bin/mount | /bin/grep /mnt/sddisk");
}

int storage_mount()
{
    safe_names_enter_card();
    return run_command("/bin/mount -t vfat /dev/mmcblk0p1 /mnt/sddisk");
}

int storage_umount_device()
{
    safe_names_leave_card();
    return run_command("/bin/umount /dev/mmcblk0p1");
}

int storage_check_writable()
{
    const int result = run_command("cat /proc/mounts |grep -q '/mnt/sddisk vfat rw'");
    if (result == 1) printf("Storage mounted, but read only");
    return result;
}

int storage_get_available_kb(unsigned long* kb)
{
    bool measured = true;
    const int64_t total =
        read_number("cat /proc/partitions | grep mmcblk0p1 | awk '{print $3}'", measured) - RESERVED_KB;
    const int64_t least = service_corrections.space ? 0 : 1; // for the default, 0 would say that it is not known
    printf("Full sddisk space            %lu kb\n",
           static_cast<unsigned long>(service_corrections.space ? std::max<int64_t>(total, 0) : total));
    const int64_t used = read_number("du -s /mnt/sddisk | awk '{print $1}'", measured);
    printf("Used space:                  %lu kb\n", static_cast<unsigned long>(used));
    // A card that is smaller than the reserve, or empty, would count as one that could not be measured.
    const bool usable = service_corrections.space ? measured : total > 0 && used > 0;
    if (!usable) {
        printf("Couldn't work out space available\n");
        return 1;
    }
    *kb = static_cast<unsigned long>(std::max(total - used, least)); // files may reach into the reserve
    printf("Space available:             %lu kb\n", *kb);
    return 0;
}

int storage_get_file_size(const char* path, unsigned long* size)
{
    char mapped[platform::PATH_SIZE];
    struct stat status;
    const int result = stat(platform::map_path(path, mapped), &status);
    if (result == 0) *size = static_cast<unsigned long>(std::min<int64_t>(status.st_size, MAX_FILE_SIZE));
    return result;
}

int storage_get_next_filename(int continuation, char* name, int size)
{
    // A number file that is lost, or of another card, names a finished recording, which the encoder would overwrite.
    if (service_corrections.recordings) {
        const int result = safe_next_filename(continuation, name, size);
        return result != 0 ? result : check_still_writable();
    }
    return continuation < 1 ? name_new_recording(name, size) : name_next_segment(name, size);
}

int storage_remove_small_file(unsigned long min_kb)
{
    // A number file that changed meanwhile names somebody else's recording.
    if (service_corrections.recordings) return storage_card_present() == 0 ? safe_remove_small_file(min_kb) : 1;
    char text[NUMBER_TEXT_SIZE];
    if (file_read_line(NUMBER_FILE, text, NUMBER_TEXT_SIZE - 1) != 0) return 1;
    const int current = number_before(parse_int(text));
    char name[64];
    write_name(name, sizeof(name), current, numbering.segment);
    unsigned long size = 0;
    const int found = storage_get_file_size(name, &size);
    if (found != 0) return found;
    const uint64_t limit_kb = min_kb; // wider than the box's unsigned long, for the product
    if (size >= limit_kb * 1024) return 0;
    const int result = remove_file(name);
    if (numbering.segment > 0) {
        --numbering.segment; // the next part takes the removed one's name
        return result;
    }
    write_number_file(current);
    return check_still_writable() != 0 ? 1 : result;
}

} // namespace capd
