#include "emulator/world/card.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace fs = std::filesystem;

namespace emu {

namespace {

constexpr std::string_view DEVICE = "/dev/mmcblk0p1";
constexpr std::string_view MOUNT_POINT = "/mnt/sddisk";
constexpr std::string_view FOLDER = "/card";
constexpr std::string_view MOUNTS = "/proc/mounts";
constexpr std::string_view PARTITIONS = "/proc/partitions";
constexpr std::string_view SIZE = "/run/card-size"; // kept for the box's next start, in kB
// Told to the mount scripts:
constexpr std::string_view PROTECTED = "/run/card/protected"; // there while the slider is at LOCK
constexpr std::string_view BUSY = "/run/card/busy";           // umounts still to refuse
constexpr std::string_view STALE = "/run/card/stale";         // there while a mount's card is gone

constexpr const char* SYSTEM_MOUNTS = "ubi0:rootfs / ubifs rw,relatime 0 0\nproc /proc proc rw,relatime 0 0\n"
                                      "sysfs /sys sysfs rw,relatime 0 0\ntmpfs /tmp tmpfs rw,relatime 0 0\n";

/** vfat has no longer ones. */
constexpr size_t LONGEST_NAME = 255;

/** A partition begins 4 MiB into the card. */
constexpr uint64_t PARTITION_START_KB = 4096;

} // namespace

Card::Card(const RootFs& root) : root_(root)
{
    if (mounted() && !stale()) bring_back();
    root_.make_empty(MOUNT_POINT);
    const bool was_protected = write_protected();
    root_.make_empty("/run/card");
    protect(was_protected);
    root_.write(MOUNTS, SYSTEM_MOUNTS);
    if (const uint64_t size = std::strtoull(root_.read(SIZE).c_str(), nullptr, 10); size > 0) size_kb_ = size;
    write_partitions();
}

std::string Card::folder() const
{
    return root_.map(mounted() && !stale() ? MOUNT_POINT : FOLDER);
}

bool Card::stale() const
{
    return root_.exists(STALE);
}

/** The files leave the mount point as the card does. */
void Card::bring_back()
{
    root_.remove(FOLDER);
    fs::rename(root_.map(MOUNT_POINT), root_.map(FOLDER));
    fs::create_directory(root_.map(MOUNT_POINT));
}

void Card::insert()
{
    if (present()) return;
    root_.write(DEVICE, "");
    try {
        write_partitions();
    } catch (...) { // this machine's disk is full: the card stays outside
        root_.remove(DEVICE);
        throw;
    }
}

void Card::remove()
{
    if (!present()) return;
    if (leaving_) leaving_();
    if (mounted() && !stale()) {
        bring_back();
        root_.write(STALE, "");
    }
    root_.remove(DEVICE);
    write_partitions();
}

void Card::set_trouble(const CardTrouble& trouble)
{
    trouble_ = trouble;
    if (troubled_) troubled_();
}

bool Card::present() const
{
    return root_.exists(DEVICE);
}

void Card::set_size_kb(uint64_t size_kb)
{
    root_.write(SIZE, std::to_string(size_kb) + "\n");
    size_kb_ = size_kb;
    write_partitions();
}

void Card::write_partitions()
{
    std::string text = "major minor  #blocks  name\n\n  31        0     131072 mtdblock0\n";
    if (present())
        text += " 179        0  " + std::to_string(size_kb_ + PARTITION_START_KB) + " mmcblk0\n 179        1  " +
                std::to_string(size_kb_) + " mmcblk0p1\n";
    root_.write(PARTITIONS, text);
}

void Card::protect(bool on)
{
    if (on)
        root_.write(PROTECTED, "");
    else
        root_.remove(PROTECTED);
}

bool Card::write_protected() const
{
    return root_.exists(PROTECTED);
}

/** The card's line in the list of mounts, without its device; empty when it is not mounted. */
std::string Card::mount_line() const
{
    const std::string mounts = root_.read(MOUNTS), wanted = root_.map(DEVICE) + " ";
    const size_t at = mounts.find(wanted);
    if (at == std::string::npos) return {};
    const size_t from = at + wanted.size();
    return mounts.substr(from, mounts.find('\n', from) - from);
}

bool Card::mounted() const
{
    return !mount_line().empty();
}

bool Card::mounted_read_only() const
{
    return mount_line().find(" vfat ro") != std::string::npos;
}

void Card::turn_read_only()
{
    std::string mounts = root_.read(MOUNTS);
    const std::string line = mount_line();
    const size_t word = line.find(" vfat rw");
    if (word == std::string::npos) return;
    mounts.replace(mounts.find(line) + word, 8, " vfat ro");
    root_.write(MOUNTS, mounts);
}

void Card::set_busy(unsigned umounts)
{
    if (umounts == 0)
        root_.remove(BUSY);
    else
        root_.write(BUSY, std::to_string(umounts) + "\n");
}

const char* Card::wrong_name(std::string_view name)
{
    if (name.empty() || name.front() == '/' || name.back() == '/') return "is not a name on the card";
    for (const fs::path& part : fs::path(name))
        if (part == ".." || part == ".") return "is not a name on the card";
    if (name.size() > LONGEST_NAME) return "has more than 255 letters";
    const auto control = [](char c) { return static_cast<unsigned char>(c) < ' ' || c == 0x7F; };
    return std::any_of(name.begin(), name.end(), control) ? "holds a control character" : nullptr;
}

/** The path of a file that is to be made, with the folders above it. */
std::string Card::make_room(const std::string& name) const
{
    const fs::path top = folder();
    fs::path at;
    for (const fs::path& part : fs::path(name).parent_path()) {
        at /= part;
        if (fs::exists(top / at) && !fs::is_directory(top / at))
            throw std::runtime_error("'" + at.string() + "' on the card is a file, not a folder");
    }
    fs::create_directories(top / at);
    return (top / name).string();
}

void Card::write(const std::string& name, std::string_view text)
{
    write_host_file(make_room(name), text);
}

void Card::put(const std::string& name, uint64_t size_kb)
{
    const std::string path = make_room(name);
    write_host_file(path, "");
    fs::resize_file(path, size_kb * 1024);
}

std::string Card::read(const std::string& name) const
{
    std::ifstream file(fs::path(folder()) / name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

bool Card::erase(const std::string& name)
{
    return fs::remove_all(fs::path(folder()) / name) > 0;
}

void Card::erase_all()
{
    for (const auto& entry : fs::directory_iterator(folder())) fs::remove_all(entry.path());
}

std::optional<uint64_t> Card::size_of(const std::string& name) const
{
    std::error_code error;
    const uint64_t size = fs::file_size(fs::path(folder()) / name, error);
    return error ? std::nullopt : std::optional<uint64_t>(size);
}

/** The scripts mount the card and the encoder removes files meanwhile: what goes while it is looked at is left out. */
std::map<std::string, uint64_t> Card::files() const
{
    std::map<std::string, uint64_t> sizes;
    const fs::path top = folder();
    std::error_code error;
    for (auto entry = fs::recursive_directory_iterator(top, fs::directory_options::skip_permission_denied, error);
         entry != fs::recursive_directory_iterator(); entry.increment(error)) {
        std::error_code gone;
        const bool regular = entry->is_regular_file(gone);
        const uint64_t size = regular ? entry->file_size(gone) : 0;
        if (regular && !gone) sizes[entry->path().lexically_relative(top).string()] = size;
    }
    return sizes;
}

uint64_t Card::used_kb() const
{
    uint64_t kb = 0;
    for (const auto& [name, size] : files()) kb += (size + 1023) / 1024;
    return kb;
}

uint64_t Card::free_kb() const
{
    const uint64_t used = used_kb();
    return used < size_kb_ ? size_kb_ - used : 0;
}

} // namespace emu
