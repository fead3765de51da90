/**
 * @file
 * The SD card and its slot. The card's files are kept in a folder: /card of the root while it is not mounted; the mount
 * script moves that folder to /mnt/sddisk and umount moves it back, so open files stay open and sizes stay right.
 * A card that is pulled while mounted keeps its files and leaves the mount in the list, over an empty folder.
 * What a folder cannot show: a program that ignores the mount list can write to a read-only card.
 *
 * The mount scripts run in other processes; the list of mounts, the slot's device node and the files under /run/card
 * are what they share with the card.
 */
#pragma once

#include "emulator/kernel/rootfs.h"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace emu {

class CommandTable;

/** What is wrong with a card's memory: how the encoder's writes go. 0 stands for nothing wrong. */
struct CardTrouble {
    uint64_t slow_kb = 0;   ///< kB that it takes in a second
    uint64_t broken_at = 0; ///< kB of a file behind which a write ends with an error
    uint64_t full_at = 0;   ///< kB of all files behind which it is full, whatever it says of its free space
    bool operator==(const CardTrouble&) const = default;
};

class Card {
public:
    static constexpr uint64_t DEFAULT_SIZE_KB = 31'166'976; ///< a "32 GB" card

    /** At power-on nothing is mounted. The card is where it was, in the slot or beside it, with its size and slider. */
    explicit Card(const RootFs& root);

    /** Put the card into the slot, as large as it was. */
    void insert();
    /** Pull it, mounted or not. */
    void remove();
    bool present() const;
    /** Have a function called just before the card leaves the slot. */
    void on_removal(std::function<void()> leaving) { leaving_ = std::move(leaving); }

    /** Size of its partition in blocks of 1 KiB. */
    uint64_t size_kb() const { return size_kb_; }
    void set_size_kb(uint64_t size_kb);
    /** Move the lock slider; it counts from the next mount on. */
    void protect(bool on);
    bool write_protected() const;
    /** The file system finds an error and makes itself read-only until it is mounted anew. */
    void turn_read_only();
    /** Refuse the next umounts as busy; 0 lets the next one succeed. */
    void set_busy(unsigned umounts);

    /** How the card's memory fails the encoder. Files that are made by commands, and small ones, pass. */
    void set_trouble(const CardTrouble& trouble);
    const CardTrouble& trouble() const { return trouble_; }
    /** Have a function called whenever that changes. */
    void on_trouble(std::function<void()> changed) { troubled_ = std::move(changed); }

    /** Whether the list of mounts has the card, and how. A card that was pulled is still in it. */
    bool mounted() const;
    bool mounted_read_only() const;

    /** @name The files on the card, whether mounted, in a pocket or in the slot. Names are relative to it.
     * @{ */
    /** @return why a text cannot be a name on the card, nullptr when it can */
    static const char* wrong_name(std::string_view name);
    /**
     * Make a file of a size, its folders too. It has no data: on this machine it takes no room. What cannot be done
     * here and below is a std::runtime_error whose text names the file.
     */
    void put(const std::string& name, uint64_t size_kb);
    void write(const std::string& name, std::string_view text);
    std::string read(const std::string& name) const;
    /** @return whether there was such a file or folder */
    bool erase(const std::string& name);
    void erase_all();
    /** Size of a file in bytes, nothing when it is not there. */
    std::optional<uint64_t> size_of(const std::string& name) const;
    /** Sizes in bytes by name. */
    std::map<std::string, uint64_t> files() const;
    uint64_t used_kb() const;
    uint64_t free_kb() const;
    /** Path of the folder on this machine. */
    std::string folder() const;
    /** @} */

private:
    void write_partitions();
    void bring_back();
    bool stale() const;
    std::string make_room(const std::string& name) const;
    std::string mount_line() const;

    const RootFs& root_;
    std::function<void()> leaving_, troubled_;
    uint64_t size_kb_ = DEFAULT_SIZE_KB;
    CardTrouble trouble_;
};

/** Add "card ..." and the section "card". */
void add_card_commands(CommandTable& commands, Card& card);

} // namespace emu
