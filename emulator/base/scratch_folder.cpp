#include "emulator/base/scratch_folder.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <unistd.h>

namespace emu {

ScratchFolder::ScratchFolder(const std::string& name)
    : path_((std::filesystem::temp_directory_path() / (name + "-XXXXXX")).string()), owner_(getpid())
{
    if (mkdtemp(path_.data()) == nullptr)
        throw std::runtime_error("cannot make " + path_ + ": " + std::strerror(errno));
}

ScratchFolder::~ScratchFolder()
{
    std::error_code ignored;
    if (is_mine()) std::filesystem::remove_all(path_, ignored);
}

bool ScratchFolder::is_mine() const
{
    return owner_ == getpid();
}

} // namespace emu
