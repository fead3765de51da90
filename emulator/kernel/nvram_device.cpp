#include "emulator/kernel/nvram_device.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <system_error>
#include <utility>

namespace emu {

namespace {

// Request codes as the driver's manual lists them, and the sizes of their records.
constexpr uint32_t GET = 0xC0C04E00;
constexpr uint32_t SET = 0x40C04E01;
constexpr uint32_t EMPTY = 0x40044E02;
constexpr uint32_t COMMIT = 0x40044E03;
constexpr uint32_t LOAD_FLASH = 0x40044E04;
constexpr uint32_t LOAD_FILE = 0x41004E05;
constexpr uint32_t LIST = 0x40044E06;
constexpr size_t PATH_SIZE = 256;

constexpr size_t PARTITION_SIZE = 16384;
constexpr std::string_view FLASH_FILE = "/flash/nvram";

bool terminated(const char* text, size_t size)
{
    return std::memchr(text, '\0', size) != nullptr;
}

/** Entries of a text; lines that are none, or too long for the device's records, are skipped. */
NvramDevice::Store from_text(std::string_view text)
{
    NvramDevice::Store store;
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(text.size(), line.size() + 1));
        const size_t equals = line.find('=');
        if (equals == 0 || equals >= NvramDevice::NAME_SIZE || line.size() - equals > NvramDevice::VALUE_SIZE) continue;
        store[std::string(line.substr(0, equals))] = line.substr(equals + 1);
    }
    return store;
}

} // namespace

bool NvramDevice::storable(std::string_view name, std::string_view value)
{
    return !name.empty() && name.find_first_of("=\n") == std::string_view::npos &&
           value.find('\n') == std::string_view::npos;
}

std::string NvramDevice::as_text(const Store& store)
{
    std::string text;
    for (const auto& [name, value] : store) text.append(name).append("=").append(value).append("\n");
    return text;
}

int NvramDevice::get(char* record) const
{
    if (refuses(Operation::Get)) return -EIO;
    if (!terminated(record, NAME_SIZE)) return -EINVAL;
    const auto found = store_.find(record);
    if (found == store_.end()) return -ENOENT;
    std::fill_n(record + NAME_SIZE, VALUE_SIZE, '\0');
    found->second.copy(record + NAME_SIZE, VALUE_SIZE - 1);
    return 0;
}

int NvramDevice::set(const char* record)
{
    if (refuses(Operation::Set)) return -EIO;
    if (!terminated(record, NAME_SIZE) || !terminated(record + NAME_SIZE, VALUE_SIZE)) return -EINVAL;
    const std::string name(record), value(record + NAME_SIZE);
    if (!storable(name, value)) return -EINVAL;
    Store changed = store_;
    changed[name] = value;
    if (as_text(changed).size() > PARTITION_SIZE) return -ENOSPC;
    store_ = std::move(changed);
    return 0;
}

int NvramDevice::load_file(const char* record)
{
    if (refuses(Operation::LoadFile)) return -EIO;
    if (!terminated(record, PATH_SIZE) || record[0] != '/') return -EINVAL;
    if (!root_.exists(record)) return -ENOENT;
    store_ = from_text(root_.read(record));
    return 0;
}

int NvramDevice::commit()
{
    const auto cut_at = std::exchange(cut_at_, std::nullopt);
    try {
        root_.write(FLASH_FILE, as_text(store_).substr(0, cut_at.value_or(std::string::npos)));
    } catch (const std::system_error& error) { // the flash is a file on this machine's disk, which may be full
        return -error.code().value();
    }
    if (cut_at) {
        power_cut();
        return -EIO;
    }
    ++commits_;
    return 0;
}

int NvramDevice::request(uint32_t code, void* record)
{
    auto* bytes = static_cast<char*>(record);
    switch (code) {
    case GET: return get(bytes);
    case SET: return set(bytes);
    case LOAD_FILE: return load_file(bytes);
    case EMPTY:
    case COMMIT:
    case LOAD_FLASH:
    case LIST: return -EINVAL; // their argument is an integer; a pointer in its place is none that makes sense
    default: return -ENOTTY;
    }
}

int NvramDevice::request_value(uint32_t code, int /*value*/)
{
    switch (code) {
    case EMPTY:
        if (refuses(Operation::Empty)) return -EIO;
        store_.clear();
        return 0;
    case COMMIT: return refuses(Operation::Commit) ? -EIO : commit();
    case LOAD_FLASH:
        if (refuses(Operation::Load)) return -EIO;
        store_ = flash(); // an erased partition is an empty store
        return 0;
    case LIST:
        if (refuses(Operation::List)) return -EIO;
        list_output_ = as_text(store_);
        return 0;
    case GET:
    case SET:
    case LOAD_FILE: return -EFAULT; // an integer is no address of a record
    default: return -ENOTTY;
    }
}

NvramDevice::Store NvramDevice::flash() const
{
    return from_text(root_.read(FLASH_FILE));
}

void NvramDevice::set_flash(const std::string& name, const std::string& value)
{
    Store changed = flash();
    changed[name] = value;
    root_.write(FLASH_FILE, as_text(changed));
}

} // namespace emu
