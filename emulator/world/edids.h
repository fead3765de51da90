/**
 * @file
 * EDIDs that displays of the emulated box come with, by name, and EDIDs from files. Any thread; files are read and
 * written at once.
 */
#pragma once

#include "emulator/world/edid_builder.h"

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace emu {

struct ShippedEdid {
    std::string name;
    std::string about; ///< one line for a list
    bool good;         ///< keeps the standards; the bad ones break them on purpose
    EdidImage image;
};

/** A file that cannot be read or holds no EDID; what() says why, without its name. */
class EdidError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/** All of them, good ones first. */
const std::vector<ShippedEdid>& shipped_edids();

/**
 * Read bytes as an EDID: binary, or text of hexadecimal bytes with blanks, commas and "0x" between them and comments
 * behind '#'. The content is not judged: a broken EDID is a display's good right.
 * @throw EdidError  no bytes, no whole blocks, more than 256 blocks, or a text with something else in it
 */
EdidImage parse_edid_file(const std::string& content);

/** A shipped EDID by name, nullptr when there is none. */
const ShippedEdid* find_shipped_edid(std::string_view name);

/** Read a file as parse_edid_file() does. @throw EdidError also for what is no regular file, or too long */
EdidImage read_edid_file(const std::string& file);

/** A shipped EDID by name, else the file of that name. @throw EdidError */
EdidImage find_edid(const std::string& name_or_file);

/** Write an image as a binary file. Throws as write_host_file() does. */
void save_edid(const EdidImage& image, const std::string& file);

} // namespace emu
