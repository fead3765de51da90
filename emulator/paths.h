/**
 * @file
 * Paths of the box on a PC: the box's root file system is a folder, and what the daemon says in the box's words is
 * said again in the folder's. Any thread; nothing blocks.
 */
#pragma once

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

} // namespace emu
