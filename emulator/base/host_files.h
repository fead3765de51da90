/**
 * @file
 * Files of this machine that people name in commands: EDIDs, ROM images, scenarios. Devices, FIFOs and folders are
 * refused before they are read or written, since reading one may never end; sizes are limited.
 * Any thread. Calls block for the file system only.
 */
#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>

namespace emu {

/** Closes a descriptor with its owner. */
class Descriptor {
public:
    explicit Descriptor(int fd = -1) : fd_(fd) {}
    ~Descriptor() { reset(); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int get() const { return fd_; }
    explicit operator bool() const { return fd_ >= 0; }
    /** Take another one; the one before is closed. */
    void reset(int fd = -1);

private:
    int fd_;
};

/** A file that cannot be read; what() gives the reason without the file's name, as in "is a folder". */
class HostFileError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/** Open a regular file to read it. @throw HostFileError */
int open_host_file(const std::string& name);

/** Read a regular file of at most `limit` bytes. @throw HostFileError */
std::string read_host_file(const std::string& name, size_t limit);

/** The same with pipes and devices, for a program's own start: it waits until their other end is done. */
std::string read_host_stream(const std::string& name, size_t limit);

/**
 * Make a regular file of these bytes, or replace what is in it.
 * @throw std::system_error  what() begins with the file's name; a file that could not be written whole stays in part
 */
void write_host_file(const std::string& name, std::string_view bytes);

/** What people are told of a failed operation: the path that it was to make or change, and the system's words. */
std::string file_error(const std::filesystem::filesystem_error& error);

} // namespace emu
