// update list and run: firmware update from the card's update directory.
#include "tools/commands.h"

#include "services/firmware_update.h"
#include "services/storage.h"

#include <algorithm>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <vector>

namespace boxtool {

namespace {

struct Item {
    const char* name;
    const char* file;
    int (*has)();
    int (*run)();
};

// In the order in which they are run: what is needed to start the rest comes first.
constexpr Item ITEMS[] = {
    {"boot loader", "boot.bin", capd::fwupdate_has_bootloader, capd::fwupdate_bootloader},
    {"kernel", "kernel.bin", capd::fwupdate_has_kernel, capd::fwupdate_kernel},
    {"custom block image", "xfs.bin", capd::fwupdate_has_custblk_image, capd::fwupdate_custblk_image},
    {"custom block files", "custblk", capd::fwupdate_has_custblk_files, capd::fwupdate_custblk_files},
};

using Items = std::vector<const Item*>;

/** The card, mounted for as long as this lives and afterwards as it was found. */
class MountedCard {
public:
    explicit MountedCard(Session& session) : session_(session)
    {
        if (capd::storage_card_present() != 0) refuse("no card in the slot");
        if (capd::storage_is_mounted() == 0) return;
        const int status = capd::storage_mount();
        if (status != 0) throw Refused(format("the card cannot be mounted (exit status %d)", status));
        ours_ = true;
    }
    ~MountedCard()
    {
        if (!ours_) return;
        const int status = capd::storage_umount_device();
        if (status != 0) session_.warn(format("the card stays mounted: unmounting it gave exit status %d", status));
    }
    MountedCard(const MountedCard&) = delete;
    MountedCard& operator=(const MountedCard&) = delete;

private:
    Session& session_;
    bool ours_ = false;
};

/** Say for each item whether the card carries it, and add that to the report. */
Items look(Session& session, Json& report)
{
    Items found;
    for (const Item& item : ITEMS) {
        const bool present = item.has() == 0;
        if (present) found.push_back(&item);
        session.say("%-18s  %-10s  %s\n", item.name, item.file, present ? "on the card" : "-");
        report.push_back({{"item", item.name}, {"file", item.file}, {"present", present}});
    }
    return found;
}

std::string names(Items::const_iterator from, Items::const_iterator to)
{
    std::string text;
    for (; from != to; ++from) text += std::string(text.empty() ? "" : ", ") + (*from)->name;
    return text;
}

void list(Session& session)
{
    Json items = Json::array();
    {
        const MountedCard card(session);
        look(session, items);
    }
    session.report({{"items", items}});
}

/** What a half-done update leaves behind, in words. */
std::string failure(const Items& items, Items::const_iterator failed, int status)
{
    std::string text = format("%s failed with exit status %d", (*failed)->name, status);
    if (failed != items.begin()) text += "; done before, and in use after a restart: " + names(items.begin(), failed);
    if (failed + 1 != items.end()) text += "; not run: " + names(failed + 1, items.end());
    return text;
}

void run_items(Session& session, const Items& items, Json& results)
{
    for (auto item = items.begin(); item != items.end(); ++item) {
        session.say("%s: running\n", (*item)->name);
        const int status = (*item)->run();
        results.push_back({{"item", (*item)->name}, {"status", status}});
        if (status != 0) throw Refused(failure(items, item, status));
        session.say("%s: done\n", (*item)->name);
    }
}

void run_card(Session& session, Json& report)
{
    const MountedCard card(session);
    const Items items = look(session, report["items"]);
    if (items.empty()) throw Refused("the card carries nothing to update");
    session.ask(format("Update %s.", names(items.begin(), items.end()).c_str()));
    run_items(session, items, report["results"]);
}

void run(Session& session)
{
    Json report = {{"items", Json::array()}, {"results", Json::array()}, {"restart_due", false}};
    try {
        run_card(session, report);
    } catch (const Refused&) {
        report["restart_due"] = std::any_of(report["results"].begin(), report["results"].end(),
                                            [](const Json& result) { return result["status"] == 0; });
        session.report(report);
        throw;
    }
    report["restart_due"] = true;
    session.report(report);
    session.say("The update is complete. A restart of the box is due: restart it when nothing is being recorded.\n");
}

} // namespace

void add_update_commands(Commands& commands)
{
    CLI::App& group = commands.group("update", "Firmware update from the card", HEADING_BOX);
    commands.add(group, "list", "Show which update items the card carries", PLAIN).run(list);
    commands
        .add(group, "run", "Run the items that the card carries, in order, up to the first failure; never restarts",
             ASKS)
        .run(run);
}

} // namespace boxtool
