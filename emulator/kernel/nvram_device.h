/**
 * @file
 * The nvram device: names and values in memory, loaded from and committed to a flash partition (a file of the root
 * file system, a NAME=VALUE line per entry). A power cut loses what was not committed; memory is empty until a load.
 */
#pragma once

#include "emulator/kernel/rootfs.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace emu {

class CommandTable;

class NvramDevice {
public:
    explicit NvramDevice(const RootFs& root) : root_(root) {}

    using Store = std::map<std::string, std::string>;
    /** Bytes of a record's name and value, the closing 0 included. */
    static constexpr size_t NAME_SIZE = 64, VALUE_SIZE = 128;
    /** Whether an entry keeps its meaning as a line of the flash file. */
    static bool storable(std::string_view name, std::string_view value);
    /** Entries as such lines. */
    static std::string as_text(const Store& store);

    /** Whether the device node is there. */
    bool present() const { return present_; }
    void set_present(bool present) { present_ = present; }

    /** A request with a record, or with an integer by value. @return 0, or a negative errno; -ENOTTY for other codes */
    int request(uint32_t code, void* record);
    int request_value(uint32_t code, int value);

    /** Operations that can be told to fail. */
    enum class Operation : uint8_t { Get, Set, Empty, Commit, Load, LoadFile, List };
    static constexpr unsigned ALL_OPERATIONS = 0x7F;
    static constexpr unsigned bit(Operation operation) { return 1u << static_cast<unsigned>(operation); }
    /** Refuse every request of these operations (a mask of bit()) with EIO, until told otherwise. */
    void refuse(unsigned operations) { refused_ = operations; }

    /** The power fails: memory is lost, flash stays. */
    void power_cut() { store_.clear(); }
    /**
     * Let the power fail within the next commit, when it has written so many bytes of its text over the erased
     * partition. The device has no checksum of its own: lines that are whole count at the next start, and a value that
     * was cut is a shorter one.
     */
    void cut_next_commit(size_t bytes) { cut_at_ = bytes; }
    /** Put an entry into memory, or into flash past the device. */
    void set(const std::string& name, const std::string& value) { store_[name] = value; }
    void set_flash(const std::string& name, const std::string& value);

    const Store& store() const { return store_; }
    Store flash() const;
    /** What the device printed for the last list request. */
    const std::string& list_output() const { return list_output_; }
    uint64_t commits() const { return commits_; }

private:
    int get(char* record) const;
    int set(const char* record);
    int load_file(const char* record);
    int commit();
    bool refuses(Operation operation) const { return (refused_ & bit(operation)) != 0; }

    const RootFs& root_;
    Store store_;
    std::string list_output_;
    unsigned refused_ = 0;
    uint64_t commits_ = 0;
    std::optional<size_t> cut_at_;
    bool present_ = true;
};

/** Add "nvram set|flash|missing|refuse|power-cut|cut-commit" and the section "nvram". */
void add_nvram_commands(CommandTable& commands, NvramDevice& nvram);

} // namespace emu
