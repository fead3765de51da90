/**
 * @file
 * The box's root file system: a folder on this machine, made from a template when it is new. It outlives the box's
 * process as flash memory does. What stands under /run says how the box's scripts are to behave and what they do.
 *
 * One thread at a time. Calls do a few file operations and wait for nothing else.
 */
#pragma once

#include "emulator/base/host_files.h"
#include "emulator/kernel/paths.h"

#include <string>
#include <string_view>

namespace emu {

class RootFs {
public:
    /**
     * Take a folder as the root, filled from the template when it is empty, not there, or was filled in part only. It
     * is locked first and for as long as this object lives: nothing in it is touched while another box has it.
     * Throws std::runtime_error that names the folder when its name has characters that a shell would read, when it
     * holds something else than a box's root, when another box has it, or when it cannot be made or filled.
     */
    explicit RootFs(const std::string& root);

    /** The folder, absolute and without symbolic links. */
    const std::string& path() const { return root_; }
    /** The path on this machine of an absolute path of the box. */
    std::string map(std::string_view box_path) const { return map_box_path(root_, box_path); }
    /** A shell line of the box as this machine's shell is to run it. */
    std::string map_line(std::string_view shell_line) const { return map_shell_line(root_, shell_line); }

    /** Whether a file or folder is there; the path is the box's, here and below. */
    bool exists(std::string_view box_path) const;
    /** A file's bytes, empty when it is none that can be read, or has more than 1 MiB. */
    std::string read(std::string_view box_path) const;
    /**
     * Replace a file in one step, so that a script that reads it meanwhile sees the old or the new one.
     * @throw std::system_error with the errno, when the file stays as it was
     */
    void write(std::string_view box_path, std::string_view text) const;
    /** Remove a file or a folder with all that is in it; nothing there is no error. */
    void remove(std::string_view box_path) const;
    /** Make an empty folder, with those above it; one that exists is emptied. */
    void make_empty(std::string_view box_path) const;

private:
    void take_name(const std::string& root);
    void lock();
    void fill() const;

    std::string root_;
    Descriptor lock_;
};

} // namespace emu
