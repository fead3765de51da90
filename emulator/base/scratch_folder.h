/**
 * @file
 * A folder for as long as somebody needs it.
 */
#pragma once

#include <string>

namespace emu {

/** A fresh folder in the machine's folder for such, which goes with its owner; a child of fork() leaves it alone. */
class ScratchFolder {
public:
    /** @param name begins its name. Throws std::runtime_error when it cannot be made. */
    explicit ScratchFolder(const std::string& name);
    ~ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    const std::string& path() const { return path_; }
    /** Whether this process made it. */
    bool is_mine() const;

private:
    std::string path_;
    int owner_;
};

} // namespace emu
