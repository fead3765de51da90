#include "emulator/kernel/paths.h"

#include <array>
#include <cctype>
#include <sys/msg.h>

namespace emu {

namespace {

// What is the box's own. Anything else in a shell line is the same on both machines.
constexpr std::array<std::string_view, 9> BOX_PATHS = {"/bin/mount",  "/bin/umount",  "/dev/mmcblk0p1",
                                                       "/mnt/sddisk", "/mnt/custblk", "/proc/mounts",
                                                       "/kxbin",      "/qvbin",       "/proc/partitions"};

bool name_character(char c)
{
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_' || c == '-' || c == '.';
}

/** The box's path that starts here, empty when none does. */
std::string_view box_path_at(std::string_view line, size_t at)
{
    if (at > 0 && (name_character(line[at - 1]) || line[at - 1] == '/')) return {};
    for (std::string_view path : BOX_PATHS) {
        if (!line.substr(at).starts_with(path)) continue;
        const size_t end = at + path.size();
        if (end == line.size() || !name_character(line[end])) return path;
    }
    return {};
}

} // namespace

bool usable_root(std::string_view root)
{
    if (root.size() < 2 || root.size() > ROOT_PATH_LIMIT || root[0] != '/') return false;
    for (char c : root)
        if (!name_character(c) && c != '/' && c != '+') return false;
    return true;
}

std::string map_box_path(std::string_view root, std::string_view box_path)
{
    if (!box_path.starts_with('/')) return std::string(box_path);
    return std::string(root) + std::string(box_path);
}

std::string map_shell_line(std::string_view root, std::string_view line)
{
    std::string mapped = "PATH=" + std::string(root) + "/bin:$PATH; ";
    for (size_t at = 0; at < line.size();) {
        const std::string_view path = box_path_at(line, at);
        if (path.empty()) {
            mapped += line[at++];
            continue;
        }
        mapped.append(root).append(path);
        at += path.size();
    }
    return mapped;
}

int32_t map_queue_key(std::string_view root, int32_t key)
{
    uint32_t hash = 0x811C9DC5; // FNV-1a
    for (char c : root) hash = (hash ^ static_cast<uint8_t>(c)) * 0x01000193;
    hash ^= static_cast<uint32_t>(key);
    return static_cast<int32_t>(hash == IPC_PRIVATE ? 1 : hash);
}

void remove_queue(std::string_view root)
{
    const int queue = msgget(map_queue_key(root, FIRMWARE_QUEUE), 0);
    if (queue >= 0) msgctl(queue, IPC_RMID, nullptr);
}

} // namespace emu
