/**
 * @file
 * Paths of the box on a PC: the box's root file system is a folder, and what the daemon says in the box's words is
 * said again in the folder's. Any thread; nothing blocks.
 */
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace emu {

/** Longest name of a root folder, so that mapped paths and lines stay short enough for their users' buffers. */
constexpr size_t ROOT_PATH_LIMIT = 300;

/** @return whether a root's name is absolute, short enough and free of characters that a shell or sed would read. */
bool usable_root(std::string_view root);

/** @return the path on this machine of an absolute path of the box; a relative path is returned as it is. */
std::string map_box_path(std::string_view root, std::string_view box_path);

/**
 * Put the root before the box's own devices, folders and programs wherever a path in a shell line starts with one, and
 * let the shell look for programs in the box's /bin first. Programs that the box shares with every Linux machine
 * (/bin/grep, awk, sed, cp) stay this machine's own.
 */
std::string map_shell_line(std::string_view root, std::string_view line);

/** Key of the System V message queue that the firmware makes. It lives in the kernel, not in the root. */
constexpr int32_t FIRMWARE_QUEUE = 0x2027;

/** Key on this machine of a message queue of the box: boxes beside each other, and other programs, have others. */
int32_t map_queue_key(std::string_view root, int32_t key);

/** Remove the firmware's queue, as switching the box off does; there may be none. */
void remove_queue(std::string_view root);

} // namespace emu
