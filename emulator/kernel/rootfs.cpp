#include "emulator/kernel/rootfs.h"

#include "emulator/base/host_files.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <stdexcept>
#include <sys/file.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace emu {

namespace {

// Folders that a version control system does not keep because nothing is in them.
constexpr const char* EMPTY_FOLDERS[] = {"dev",      "proc",        "mnt/sddisk", "mnt/custblk", "card",
                                         "run/card", "run/encoder", "run/update", "flash"};

constexpr std::string_view LOCK = "/run/box.lock";         // held by the process of the box, whose number it holds
constexpr std::string_view UNFINISHED = "/run/unfinished"; // there while the template is copied

constexpr size_t READ_LIMIT = size_t{1} << 20;

bool has_box(const fs::path& folder)
{
    return fs::exists(folder / "kxbin") && fs::exists(folder / "bin/mount");
}

std::runtime_error failure(const std::string& root, const std::string& what)
{
    return std::runtime_error("'" + root + "' " + what);
}

} // namespace

RootFs::RootFs(const std::string& root) : root_(root)
{
    try {
        take_name(root);
        fs::create_directories(root_);
        if (!fs::is_empty(root_) && !has_box(root_) && !exists(LOCK))
            throw failure(root_, "holds something else than a box's root");
        lock();
        if (exists(UNFINISHED) || !has_box(root_)) fill();
        for (const char* name : EMPTY_FOLDERS) fs::create_directories(fs::path(root_) / name);
    } catch (const fs::filesystem_error& error) {
        throw failure(root_, "cannot be made a box's root: " + file_error(error));
    } catch (const std::system_error& error) {
        throw failure(root_, std::string("cannot be made a box's root: ") + error.what());
    }
}

void RootFs::take_name(const std::string& root)
{
    root_ = fs::weakly_canonical(fs::absolute(root)).string();
    if (root_.ends_with('/')) root_.pop_back();
    if (!usable_root(root_))
        throw failure(root_, "cannot be a root: use letters, digits and ._+- and at most " +
                                 std::to_string(ROOT_PATH_LIMIT) + " characters");
}

void RootFs::lock()
{
    fs::create_directories(map("/run"));
    const std::string name = map(LOCK);
    lock_.reset(::open(name.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644));
    if (!lock_) throw std::system_error(errno, std::generic_category(), name);
    if (::flock(lock_.get(), LOCK_EX | LOCK_NB) != 0) {
        if (errno != EWOULDBLOCK) throw std::system_error(errno, std::generic_category(), name);
        std::string process = read(LOCK);
        while (process.ends_with('\n')) process.pop_back();
        throw failure(root_, "is in use by another box" + (process.empty() ? "" : ", process " + process));
    }
    // Only for the message above: on a full disk it lacks the number.
    const std::string process = std::to_string(::getpid()) + "\n";
    if (::ftruncate(lock_.get(), 0) != 0 || ::pwrite(lock_.get(), process.data(), process.size(), 0) < 0) return;
}

/** Copy the template. What an earlier start has left half copied is copied again. */
void RootFs::fill() const
{
    write_host_file(map(UNFINISHED), "");
    fs::copy(EMU_ROOTFS_TEMPLATE, root_, fs::copy_options::recursive | fs::copy_options::overwrite_existing);
    fs::remove(map(UNFINISHED));
}

bool RootFs::exists(std::string_view box_path) const
{
    std::error_code ignored;
    return fs::exists(fs::path(map(box_path)), ignored);
}

std::string RootFs::read(std::string_view box_path) const
{
    try {
        return read_host_file(map(box_path), READ_LIMIT);
    } catch (const HostFileError&) {
        return {};
    }
}

void RootFs::write(std::string_view box_path, std::string_view text) const
{
    const std::string path = map(box_path), fresh = path + ".new";
    try {
        write_host_file(fresh, text);
        if (std::rename(fresh.c_str(), path.c_str()) != 0)
            throw std::system_error(errno, std::generic_category(), path);
    } catch (...) {
        ::unlink(fresh.c_str());
        throw;
    }
}

void RootFs::remove(std::string_view box_path) const
{
    fs::remove_all(fs::path(map(box_path)));
}

void RootFs::make_empty(std::string_view box_path) const
{
    remove(box_path);
    fs::create_directories(fs::path(map(box_path)));
}

} // namespace emu
