#include "services/safe_names.h"

#include "platform/platform.h"
#include "services/recording_name.h"

#include <bitset>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace capd {

namespace {

constexpr char NEW_NUMBER_FILE[] = "/mnt/sddisk/.media_fileno.new";
constexpr int NAME_SIZE = 64;
constexpr int NUMBER_DIGITS = 5;
constexpr time_t FAT_TIME_STEP = 2; // seconds: vfat keeps no finer times

/** The recording that parts belong to. */
struct Recording {
    int number;   // 0: none yet
    int part;     // last one that was named and not removed; 0 none
    time_t begun; // when its number was taken, by the card's own file times; 0 not known
};
Recording recording;
bool same_card; // nothing was mounted since the last name

/** The recording's last part as it was when its card was unmounted; of a card that was pulled it is not known. */
struct Left {
    bool known;
    off_t size;
    time_t changed;
};
Left left_part;

/** Numbers that files on a card have. */
struct CardNumbers {
    std::bitset<LAST_NUMBER + 1> used;
    int highest = 0;
};

/** @return the recording number that a file's name begins with, 0 when it does not */
int number_of(const char* name)
{
    int number = 0;
    for (int i = 0; i < NUMBER_DIGITS; ++i) {
        if (isdigit(static_cast<unsigned char>(name[i])) == 0) return 0;
        number = number * 10 + (name[i] - '0');
    }
    return name[NUMBER_DIGITS] == '.' ? number : 0;
}

bool read_folder(CardNumbers& numbers)
{
    char mapped[platform::PATH_SIZE];
    DIR* folder = opendir(platform::map_path(CARD_FOLDER, mapped));
    if (folder == nullptr) {
        printf("Couldn't read %s, %s\n", CARD_FOLDER, strerror(errno));
        return false;
    }
    errno = 0;
    while (const dirent* entry = readdir(folder)) {
        const int number = number_of(entry->d_name);
        numbers.used[static_cast<size_t>(number)] = true;
        if (number > numbers.highest) numbers.highest = number;
    }
    const bool whole = errno == 0;
    closedir(folder);
    return whole;
}

/** @return the number in the number file; 0 when there is none from 1 to 99999 */
int read_number_file()
{
    char mapped[platform::PATH_SIZE];
    const int fd = open(platform::map_path(NUMBER_FILE, mapped), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return 0;
    char text[NUMBER_TEXT_SIZE] = "";
    const ssize_t length = read(fd, text, sizeof(text) - 1);
    close(fd);
    if (length <= 0) return 0;
    char* end = nullptr;
    const long number = strtol(text, &end, 10);
    while (isspace(static_cast<unsigned char>(*end)) != 0) ++end;
    const bool is_number = end != text && *end == '\0' && number >= FIRST_NUMBER && number <= LAST_NUMBER;
    return is_number ? static_cast<int>(number) : 0;
}

bool write_synced(int fd, const char* text)
{
    const auto length = static_cast<ssize_t>(strlen(text));
    return write(fd, text, static_cast<size_t>(length)) == length && fsync(fd) == 0;
}

/** Have a file's name on the card, not only in memory. */
void sync_folder()
{
    char mapped[platform::PATH_SIZE];
    const int fd = open(platform::map_path(CARD_FOLDER, mapped), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) return;
    fsync(fd);
    close(fd);
}

/** Replace the number file in one step: a power cut leaves the old one or the new one. @return its time, or 0 */
time_t replace_number_file(int number)
{
    char mapped[platform::PATH_SIZE];
    char mapped_new[platform::PATH_SIZE];
    const char* path = platform::map_path(NEW_NUMBER_FILE, mapped_new);
    const int fd = open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    char text[NUMBER_TEXT_SIZE];
    snprintf(text, sizeof(text), "%d", number);
    struct stat written {};
    const bool done = fd >= 0 && write_synced(fd, text) && fstat(fd, &written) == 0;
    if (fd >= 0) close(fd);
    if (!done || rename(path, platform::map_path(NUMBER_FILE, mapped)) != 0) {
        printf("Couldn't write %s, %s\n", NUMBER_FILE, strerror(errno));
        return 0;
    }
    sync_folder();
    printf("Wrote %s to %s\n", text, NUMBER_FILE);
    return written.st_mtime;
}

/** @return the first number from one on that no file has; 0 when all are taken */
int free_number(const CardNumbers& numbers, int number)
{
    for (int i = 0; i < LAST_NUMBER; ++i, number = number_after(number))
        if (!numbers.used[static_cast<size_t>(number)]) return number;
    return 0;
}

int choose_number(const CardNumbers& numbers)
{
    int number = read_number_file();
    if (number == 0) {
        number = number_after(numbers.highest);
        printf("No usable number in %s, going on with %d\n", NUMBER_FILE, number);
    }
    return free_number(numbers, number);
}

bool is_near(time_t one, time_t other)
{
    return one <= other + FAT_TIME_STEP && other <= one + FAT_TIME_STEP;
}

/**
 * Whether a file is the recording's last part: the very one that was left, or where that is not known, one that is not
 * older than the recording.
 */
bool is_the_part(const struct stat& status)
{
    if (left_part.known) return status.st_size == left_part.size && is_near(status.st_mtime, left_part.changed);
    return recording.begun != 0 && status.st_mtime + FAT_TIME_STEP >= recording.begun;
}

/** Look at a file of the recording. @return whether it is there */
bool find_part(int part, struct stat& status)
{
    char name[NAME_SIZE];
    char mapped[platform::PATH_SIZE];
    write_name(name, sizeof(name), recording.number, part);
    return stat(platform::map_path(name, mapped), &status) == 0;
}

int name_new_recording(char* name, int size)
{
    CardNumbers numbers;
    if (!read_folder(numbers)) return 1;
    const int number = choose_number(numbers);
    if (number == 0) {
        printf("No recording number is free\n");
        return 1;
    }
    const time_t begun = replace_number_file(number_after(number));
    recording = {number, 1, begun};
    same_card = true;
    left_part.known = false;
    write_name(name, size, number, 1);
    return 0;
}

/** Whether the card in the slot is the one that the recording is on. A part that never came to be is taken back. */
bool is_on_the_card()
{
    if (recording.number == 0 || recording.part == 0) return false;
    if (same_card) return true;
    struct stat status {};
    if (find_part(recording.part, status)) return is_the_part(status);
    if (recording.part == 1 || left_part.known || !find_part(recording.part - 1, status)) return false;
    --recording.part;
    return is_the_part(status);
}

/** The part named last is not there any more. Without another one its number can be taken again. */
void forget_part()
{
    if (--recording.part == 0 && read_number_file() == number_after(recording.number))
        replace_number_file(recording.number);
}

} // namespace

int safe_next_filename(int continuation, char* name, int size)
{
    if (continuation < 1 || !is_on_the_card()) return name_new_recording(name, size);
    struct stat status {};
    // What cannot be looked at may be there.
    if (find_part(recording.part + 1, status) || errno != ENOENT) return name_new_recording(name, size);
    ++recording.part;
    same_card = true;
    left_part.known = false;
    write_name(name, size, recording.number, recording.part);
    return 0;
}

void safe_names_leave_card()
{
    struct stat status {};
    if (!same_card || recording.part == 0 || !find_part(recording.part, status)) return;
    left_part = {true, status.st_size, status.st_mtime};
}

void safe_names_enter_card()
{
    same_card = false;
}

int safe_remove_small_file(unsigned long min_kb)
{
    if (recording.part == 0 || !same_card) return 0;
    struct stat status {};
    if (!find_part(recording.part, status)) {
        forget_part(); // the encoder made no file
        return 1;
    }
    const int64_t limit_kb = static_cast<int64_t>(min_kb); // wider than the box's long, for the product
    if (status.st_size >= limit_kb * 1024) return 0;
    char name[NAME_SIZE];
    char mapped[platform::PATH_SIZE];
    write_name(name, sizeof(name), recording.number, recording.part);
    if (remove(platform::map_path(name, mapped)) != 0) {
        printf("Couldn't remove file %s(e=%s)\n", name, strerror(errno));
        return 1;
    }
    forget_part();
    return 0;
}

} // namespace capd
