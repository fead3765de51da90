/**
 * @file
 * Update items as they lie on the mounted card: what is there, and what cannot be right about it.
 */
#pragma once

#include "tools/session.h"

#include "services/firmware_update.h"

#include <cstdint>
#include <string>
#include <vector>

namespace boxtool {

/** What the box can be given. */
struct Item {
    capd::FirmwareItem item;
    const char* name;
    const char* file; ///< in the card's folder update/
    int (*has)();
    bool is_folder;
};

/** All items, in the order in which they are run: what is needed to start the rest comes first. */
const std::vector<Item>& update_items();

/** A file of an item. */
struct ItemFile {
    std::string path{}; ///< in the card's folder update/
    uint64_t size = 0;
    std::string sha256{}; ///< empty when the box cannot work it out
    std::string begins{}; ///< its first bytes, and what they stand for where that is known
    std::string fault{};  ///< why it cannot be the item; empty when nothing speaks against it
};

/** An item as it was found. */
struct FoundItem {
    const Item* item = nullptr;
    bool present = false;
    std::vector<ItemFile> files{}; ///< one, or those of the folder
    std::string fault{};           ///< of the item as a whole; empty when nothing speaks against it
};

/** Look at an item; reads all of its files. Throws Refused when one cannot be read. */
FoundItem look_at(const Item& item);

/** Names of images that lie at the card's root, where no update finds them. */
std::vector<std::string> misplaced_images();

} // namespace boxtool
