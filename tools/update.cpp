// update list and run: firmware update from the card's folder update/.
#include "tools/commands.h"
#include "tools/recording.h"
#include "tools/update_item.h"

#include "services/storage.h"

#include <algorithm>
#include <csignal>
#include <cstring>

namespace boxtool {

namespace {

using FoundItems = std::vector<FoundItem>;

constexpr char WHERE[] = "items lie in the card's folder update/";

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

/** A daemon that has mounted the card for itself takes it away again when it likes. */
bool is_card_there()
{
    return capd::storage_is_mounted() == 0;
}

std::string sha_text(const ItemFile& file)
{
    return file.sha256.empty() ? "not known, the box has no sha256sum" : file.sha256;
}

void tell_files(Session& session, const FoundItem& found, Json& files)
{
    for (const ItemFile& file : found.files) {
        session.say("    update/%s: %llu bytes%s%s\n    SHA-256 %s\n", file.path.c_str(),
                    static_cast<unsigned long long>(file.size), file.begins.empty() ? "" : ", begins with ",
                    file.begins.c_str(), sha_text(file).c_str());
        files.push_back({{"file", "update/" + file.path},
                         {"bytes", file.size},
                         {"sha256", file.sha256.empty() ? Json() : Json(file.sha256)}});
        if (!file.begins.empty()) files.back()["begins_with"] = file.begins;
        if (!file.fault.empty()) files.back()["fault"] = file.fault;
    }
}

/** Show one item, and add it to the report. */
void tell(Session& session, const FoundItem& found, Json& items)
{
    const Item& item = *found.item;
    items.push_back({{"item", item.name}, {"file", std::string("update/") + item.file}, {"present", found.present}});
    session.say("%-18s  %s\n", item.name, found.present ? "on the card" : "-");
    Json files = Json::array();
    tell_files(session, found, files);
    if (found.present) items.back()["files"] = files;
    if (!found.fault.empty()) items.back()["fault"] = found.fault;
}

/** What cannot be right, in words. */
std::string faults_of(const FoundItems& items)
{
    std::string text;
    const auto add = [&text](const std::string& path, const std::string& fault) {
        if (!fault.empty()) text += (text.empty() ? "" : ", ") + ("update/" + path + " " + fault);
    };
    for (const FoundItem& found : items) {
        add(found.item->file, found.fault);
        for (const ItemFile& file : found.files) add(file.path, file.fault);
    }
    return text;
}

/** Look at the card and show what it carries. Throws Refused when something on it cannot be right. */
FoundItems look(Session& session)
{
    FoundItems present;
    Json items = Json::array();
    for (const Item& item : update_items()) {
        FoundItem found = look_at(item);
        tell(session, found, items);
        if (found.present) present.push_back(std::move(found));
    }
    if (!is_card_there()) throw Refused("the card was unmounted while it was looked at: try again");
    session.report({{"items", items}});
    for (const std::string& name : misplaced_images()) session.warn(name + " at the card's root is not used: " + WHERE);
    const std::string faults = faults_of(present);
    if (!faults.empty()) throw Refused(faults);
    return present;
}

std::string names(FoundItems::const_iterator from, FoundItems::const_iterator to)
{
    std::string text;
    for (; from != to; ++from) text += std::string(text.empty() ? "" : ", ") + from->item->name;
    return text;
}

void list(Session& session)
{
    session.hold_signals();
    const MountedCard card(session);
    look(session);
}

/** Where an update that ended early leaves the box, in words. */
std::string left_behind(const FoundItems& items, FoundItems::const_iterator done, FoundItems::const_iterator not_run)
{
    std::string text;
    if (done != items.begin()) text += "; done before, and in use after a restart: " + names(items.begin(), done);
    if (not_run != items.end()) text += "; not run: " + names(not_run, items.end());
    return text;
}

/** The card goes away under the update when the daemon ends a recording, and what is recorded is lost at the restart.
 */
void ask_about_recording(Session& session)
{
    const std::string recording = running_recording();
    session.report({{"recording", recording.empty() ? Json() : Json(recording)}});
    if (recording.empty()) return;
    session.ask_in_person("A recording is running, " + recording +
                              ". It slows the update down, and when it ends the daemon takes the card away.",
                          "Stop it, or give --while-recording.");
}

void run_items(Session& session, const FoundItems& items, Json& results)
{
    HeldSignals& signals = session.hold_signals();
    for (auto found = items.begin(); found != items.end(); ++found) {
        if (const int signal = signals.came(); signal != 0)
            throw Refused(format("stopped by signal %d (%s) between two items", signal, strsignal(signal)) +
                          left_behind(items, found, found));
        if (!is_card_there()) throw Refused("the card is not mounted any more" + left_behind(items, found, found));
        const Item& item = *found->item;
        session.say("%s: running\n", item.name);
        const int status = run_undisturbed(session.streams(), [&item] { return capd::fwupdate_run(item.item); });
        const bool done = was_done(status);
        results.push_back({{"item", item.name}, {"done", done}, {"wait_status", status}});
        if (!done)
            throw Refused(std::string(item.name) + " " + describe_end(status) + left_behind(items, found, found + 1));
        session.say("%s: done\n", item.name);
    }
}

void run_card(Session& session, bool while_recording, Json& results)
{
    const MountedCard card(session);
    const FoundItems items = look(session);
    if (items.empty()) throw Refused(std::string("the card carries nothing to update: ") + WHERE);
    session.ask("Update " + names(items.begin(), items.end()) + ".");
    if (!while_recording) ask_about_recording(session);
    run_items(session, items, results);
}

void run(Session& session, bool while_recording)
{
    Json results = Json::array();
    const auto report = [&] {
        const bool due = std::any_of(results.begin(), results.end(), [](const Json& result) { return result["done"]; });
        session.report({{"results", results}, {"restart_due", due}});
    };
    session.hold_signals();
    try {
        run_card(session, while_recording, results);
    } catch (const std::runtime_error&) {
        report();
        throw;
    }
    report();
    session.say("The update is complete. A restart of the box is due: restart it when nothing is being recorded.\n");
}

} // namespace

void add_update_commands(Commands& commands)
{
    CLI::App& group = commands.group("update", "Firmware update from the card's folder update/", HEADING_BOX);
    commands
        .add(group, "list",
             "Show which items the card's folder update/ carries: boot.bin, kernel.bin, xfs.bin, custblk/", PLAIN)
        .run(list);
    Command& running = commands.add(
        group, "run", "Run the items in the card's folder update/, in order, up to the first failure; never restarts",
        ASKS);
    const auto while_recording = running.flag("--while-recording", "do it although a recording is running");
    running.run([=](Session& session) { run(session, *while_recording); });
}

} // namespace boxtool
