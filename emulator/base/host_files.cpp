#include "emulator/base/host_files.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace emu {

void Descriptor::reset(int fd)
{
    if (fd_ >= 0) ::close(fd_);
    fd_ = fd;
}

namespace {

/** Why a file is none to read or write, nullptr where it is a regular one. */
const char* kind_refused(int fd)
{
    struct stat info {};
    if (::fstat(fd, &info) != 0) return std::strerror(errno);
    if (S_ISREG(info.st_mode)) return nullptr;
    return S_ISDIR(info.st_mode) ? "is a folder" : "is no regular file";
}

std::string read_all(int fd, size_t limit)
{
    std::string bytes(limit + 1, '\0');
    size_t used = 0;
    while (used < bytes.size()) {
        const ssize_t got = ::read(fd, bytes.data() + used, bytes.size() - used);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) throw HostFileError(std::string("cannot be read: ") + std::strerror(errno));
        if (got == 0) break;
        used += static_cast<size_t>(got);
    }
    if (used > limit) throw HostFileError("has more than " + std::to_string(limit) + " bytes");
    bytes.resize(used);
    return bytes;
}

} // namespace

int open_host_file(const std::string& name)
{
    // Without O_NONBLOCK a FIFO that nobody writes would be waited for.
    const int fd = ::open(name.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (fd < 0) throw HostFileError(std::string("cannot be read: ") + std::strerror(errno));
    if (const char* why = kind_refused(fd); why != nullptr) {
        ::close(fd);
        throw HostFileError(why);
    }
    return fd;
}

std::string read_host_file(const std::string& name, size_t limit)
{
    const Descriptor file(open_host_file(name));
    return read_all(file.get(), limit);
}

std::string read_host_stream(const std::string& name, size_t limit)
{
    const Descriptor file(::open(name.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
    if (!file) throw HostFileError(std::string("cannot be read: ") + std::strerror(errno));
    return read_all(file.get(), limit);
}

void write_host_file(const std::string& name, std::string_view bytes)
{
    const auto fail = [&name](int error) { throw std::system_error(error, std::generic_category(), name); };
    const Descriptor file(::open(name.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, 0644));
    if (!file) fail(errno);
    if (const char* why = kind_refused(file.get()); why != nullptr) throw std::runtime_error(name + ": " + why);
    if (::ftruncate(file.get(), 0) != 0) fail(errno);
    while (!bytes.empty()) {
        const ssize_t put = ::write(file.get(), bytes.data(), bytes.size());
        if (put < 0 && errno == EINTR) continue;
        if (put < 0) fail(errno);
        bytes.remove_prefix(static_cast<size_t>(put));
    }
}

std::string file_error(const std::filesystem::filesystem_error& error)
{
    const std::filesystem::path& place = error.path2().empty() ? error.path1() : error.path2();
    return (place.empty() ? "" : place.string() + ": ") + error.code().message();
}

} // namespace emu
