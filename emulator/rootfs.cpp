#include "emulator/rootfs.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace fs = std::filesystem;

namespace emu {

// Folders that a version control system does not keep because nothing is in them.
static constexpr const char* EMPTY_FOLDERS[] = {"dev",      "proc",        "mnt/sddisk", "mnt/custblk", "card",
                                                "run/card", "run/encoder", "run/update", "flash"};

RootFs::RootFs(const std::string& root)
{
    const fs::path folder = fs::weakly_canonical(fs::absolute(root));
    root_ = folder.string();
    if (root_.ends_with('/')) root_.pop_back();
    if (!usable_root(root_))
        throw std::runtime_error("'" + root_ + "' cannot be a root: use letters, digits and ._+- and at most " +
                                 std::to_string(ROOT_PATH_LIMIT) + " characters");
    fs::create_directories(folder);
    if (fs::is_empty(folder)) fs::copy(EMU_ROOTFS_TEMPLATE, folder, fs::copy_options::recursive);
    if (!fs::exists(folder / "kxbin") || !fs::exists(folder / "bin/mount"))
        throw std::runtime_error("'" + root_ + "' holds something else than a box's root");
    for (const char* name : EMPTY_FOLDERS) fs::create_directories(folder / name);
}

bool RootFs::exists(std::string_view box_path) const
{
    std::error_code ignored;
    return fs::exists(fs::path(map(box_path)), ignored);
}

std::string RootFs::read(std::string_view box_path) const
{
    std::ifstream file(map(box_path), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void RootFs::write(std::string_view box_path, std::string_view text) const
{
    const std::string path = map(box_path), fresh = path + ".new";
    std::ofstream file(fresh, std::ios::binary);
    file.write(text.data(), static_cast<std::streamsize>(text.size()));
    file.close();
    if (!file) throw std::runtime_error("cannot write " + fresh);
    fs::rename(fresh, path);
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
