#include "tools/update_item.h"

#include "platform/platform.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <span>
#include <sys/stat.h>
#include <unistd.h>

namespace boxtool {

namespace {

constexpr char CARD[] = "/mnt/sddisk/";
constexpr char FOLDER[] = "/mnt/sddisk/update/";
constexpr size_t HEAD_SIZE = 4096; // enough to tell a text from a program
constexpr size_t SHA256_DIGITS = 64;

using Head = std::span<const uint8_t>;

/** This machine's path of a path of the box. */
std::string mapped(const std::string& path)
{
    char buffer[capd::platform::PATH_SIZE];
    return capd::platform::map_path(path.c_str(), buffer);
}

bool has_at(Head head, size_t offset, std::string_view bytes)
{
    return head.size() >= offset + bytes.size() && std::memcmp(head.data() + offset, bytes.data(), bytes.size()) == 0;
}

bool is_text(Head head)
{
    return std::all_of(head.begin(), head.end(),
                       [](uint8_t c) { return std::isprint(c) != 0 || std::isspace(c) != 0; });
}

/** How files begin. */
struct Magic {
    size_t offset;
    std::string_view bytes;
    const char* what;
};

using namespace std::string_view_literals;

// What never is firmware: only this is refused, a box may take images that nobody here has heard of.
constexpr Magic NO_FIRMWARE[] = {
    {4, "ftyp"sv, "an MP4 recording"},
    {0, "\xff\xd8\xff"sv, "a JPEG picture"},
    {0, "\x89PNG"sv, "a PNG picture"},
    {0, "%PDF"sv, "a PDF document"},
};
constexpr Magic FIRMWARE[] = {
    {0, "\x27\x05\x19\x56"sv, "U-Boot image"},
    {0, "\xd0\x0d\xfe\xed"sv, "device tree or FIT image"},
    {0, "hsqs"sv, "squashfs"},
    {0, "\x45\x3d\xcd\x28"sv, "cramfs"},
    {0, "UBI#"sv, "UBI image"},
    {0, "\x31\x18\x10\x06"sv, "UBIFS image"},
    {0, "\x85\x19"sv, "JFFS2 image"},
    {0, "XFSB"sv, "XFS image"},
    {0, "\x1f\x8b"sv, "gzip"},
    {0,
     "\x7f"
     "ELF"sv,
     "ELF program"},
    {36, "\x18\x28\x6f\x01"sv, "ARM zImage"},
};

template<typename Table>
const char* find_magic(const Table& table, Head head)
{
    for (const Magic& magic : table)
        if (has_at(head, magic.offset, magic.bytes)) return magic.what;
    return nullptr;
}

std::string beginning(Head head)
{
    std::string text;
    for (uint8_t byte : head.first(std::min<size_t>(head.size(), 8)))
        text += format(text.empty() ? "%02x" : " %02x", byte);
    const char* known = find_magic(FIRMWARE, head);
    return known == nullptr ? text : text + " (" + known + ")";
}

/** Reads a file from front to end. */
class Reader {
public:
    explicit Reader(const std::string& path) : path_(path), fd_(open(path.c_str(), O_RDONLY | O_CLOEXEC))
    {
        if (fd_ < 0) refuse(path);
    }
    ~Reader() { close(fd_); }
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

    /** The next bytes, none at the end. They hold until the next call. */
    Head next()
    {
        ssize_t got = 0;
        do got = read(fd_, buffer_.data(), buffer_.size());
        while (got < 0 && errno == EINTR);
        if (got < 0) refuse(path_);
        return Head(buffer_).first(static_cast<size_t>(got));
    }

private:
    std::string path_;
    int fd_;
    std::array<uint8_t, 65536> buffer_{};
};

/** Whether all bytes of a file are the same, as in flash that was erased or never written. */
bool is_blank(const std::string& path)
{
    Reader reader(path);
    Head part = reader.next();
    if (part.empty()) return false;
    const uint8_t first = part.front();
    for (; !part.empty(); part = reader.next())
        if (std::any_of(part.begin(), part.end(), [first](uint8_t byte) { return byte != first; })) return false;
    return true;
}

/** Why an image cannot be firmware; empty when nothing is certain. */
std::string image_fault(Head head, const std::string& path)
{
    if (head.empty()) return "is empty";
    if (const char* kind = find_magic(NO_FIRMWARE, head); kind != nullptr) return std::string("is ") + kind;
    if (is_text(head)) return "is a text";
    if (is_blank(path)) return format("holds nothing but bytes of 0x%02x", head.front());
    return "";
}

/** A path as a word of a shell line. */
std::string quoted(const std::string& path)
{
    std::string word = "'";
    for (char c : path) word += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return word + "'";
}

/** Have the box work a checksum out: what it has for that, the tool need not bring along. */
std::string sha256(const std::string& path)
{
    char line[SHA256_DIGITS + 1];
    const std::string command = "sha256sum <" + quoted(path) + " 2>/dev/null";
    if (!capd::platform::read_shell_line(command.c_str(), line, sizeof(line))) return "";
    const std::string text(line);
    return text.size() == SHA256_DIGITS && text.find_first_not_of("0123456789abcdef") == std::string::npos ? text : "";
}

ItemFile look_at_file(const std::string& name)
{
    ItemFile file{.path = name};
    const std::string path = mapped(FOLDER + name);
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) refuse(path);
    file.size = static_cast<uint64_t>(status.st_size);
    file.sha256 = sha256(FOLDER + name);
    return file;
}

FoundItem look_at_image(const Item& item)
{
    FoundItem found{.item = &item, .present = true, .files = {look_at_file(item.file)}};
    ItemFile& file = found.files.front();
    const std::string path = mapped(FOLDER + file.path);
    Reader reader(path);
    const Head part = reader.next(), head = part.first(std::min(part.size(), HEAD_SIZE));
    file.begins = beginning(head);
    file.fault = image_fault(head, path);
    return found;
}

/** The files of a folder and of those in it, in the order of their names. */
void collect(const std::string& folder, std::vector<ItemFile>& files)
{
    const std::string path = mapped(FOLDER + folder);
    const auto close = [](DIR* dir) { closedir(dir); };
    const std::unique_ptr<DIR, decltype(close)> dir(opendir(path.c_str()), close);
    if (dir == nullptr) refuse(path);
    std::vector<std::string> names;
    while (const dirent* entry = readdir(dir.get()))
        if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0)
            names.emplace_back(entry->d_name);
    std::sort(names.begin(), names.end());
    for (const std::string& name : names) {
        const std::string inside = folder + "/" + name;
        struct stat status {};
        if (stat(mapped(FOLDER + inside).c_str(), &status) == 0 && S_ISDIR(status.st_mode))
            collect(inside, files);
        else
            files.push_back(look_at_file(inside));
    }
}

FoundItem look_at_folder(const Item& item)
{
    FoundItem found{.item = &item, .present = true};
    collect(item.file, found.files);
    if (found.files.empty()) found.fault = "holds no file";
    return found;
}

bool is_folder(const std::string& box_path)
{
    struct stat status {};
    return stat(mapped(box_path).c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

} // namespace

const std::vector<Item>& update_items()
{
    using capd::FirmwareItem;
    static const std::vector<Item> items = {
        {FirmwareItem::Bootloader, "boot loader", "boot.bin", capd::fwupdate_has_bootloader, false},
        {FirmwareItem::Kernel, "kernel", "kernel.bin", capd::fwupdate_has_kernel, false},
        {FirmwareItem::CustblkImage, "custom block image", "xfs.bin", capd::fwupdate_has_custblk_image, false},
        {FirmwareItem::CustblkFiles, "custom block files", "custblk", capd::fwupdate_has_custblk_files, true},
    };
    return items;
}

FoundItem look_at(const Item& item)
{
    if (item.has() != 0) return {.item = &item};
    const bool folder = is_folder(capd::fwupdate_path(item.item));
    if (folder != item.is_folder)
        return {.item = &item, .present = true, .fault = folder ? "is a folder, not an image" : "is no folder"};
    return folder ? look_at_folder(item) : look_at_image(item);
}

std::vector<std::string> misplaced_images()
{
    std::vector<std::string> names;
    for (const Item& item : update_items())
        if (access(mapped(CARD + std::string(item.file)).c_str(), F_OK) == 0) names.emplace_back(item.file);
    return names;
}

} // namespace boxtool
