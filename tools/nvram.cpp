// nvram get, set, list, commit, load, empty: the name/value store.
#include "tools/commands.h"

#include "devaccess/nvram.h"

#include <cerrno>

namespace boxtool {

namespace {

constexpr int FLASH = 1; // what the daemon passes for commit and load
constexpr int NVRAM_REFUSED = -1;

void check_nvram(int result, const std::string& what)
{
    if (result == capd::NVRAM_NO_DEVICE) refuse("/dev/qvnvram");
    check(result, what);
}

void get(Session& session, const std::string& name)
{
    char value[capd::NVRAM_VALUE_SIZE] = {};
    const int result = capd::nvram_get(name.c_str(), value);
    if (result == NVRAM_REFUSED && errno == ENOENT) throw Refused("nvram get: there is no entry '" + name + "'");
    check_nvram(result, "nvram get " + name);
    session.say("%s\n", value);
    session.report({{"name", name}, {"value", value}});
}

void set(Session& session, const std::string& name, const std::string& value)
{
    check_nvram(capd::nvram_set(name.c_str(), value.c_str()), "nvram set " + name);
    session.say("%s = %s\n", name.c_str(), value.c_str());
    session.report({{"name", name}, {"value", value}});
}

void list(Session& session)
{
    check_nvram(capd::nvram_list(), "nvram list");
    session.say("the device has listed its entries in the kernel log: see dmesg\n");
}

void commit(Session& session)
{
    check_nvram(capd::nvram_commit(FLASH), "nvram commit");
    session.say("the entries are in flash\n");
}

void load(Session& session, const std::string& path)
{
    const int result = path.empty() ? capd::nvram_load_mtd(FLASH) : capd::nvram_load_file(path.c_str());
    check_nvram(result, path.empty() ? "nvram load" : "nvram load " + path);
    session.say("the entries are those of %s\n", path.empty() ? "flash" : path.c_str());
}

void empty(Session& session)
{
    session.ask("Remove all entries from the nvram's memory (a commit then removes them from flash).");
    check_nvram(capd::nvram_empty(), "nvram empty");
    session.say("there are no entries in memory\n");
}

} // namespace

void add_nvram_commands(Commands& commands)
{
    constexpr size_t NAME_MAX_LENGTH = capd::NVRAM_NAME_SIZE - 1;
    CLI::App& group = commands.group("nvram", "Settings store", HEADING_BOX);

    Command& read = commands.add(group, "get", "Show an entry's value", PLAIN);
    const auto name = read.text("name", 1, NAME_MAX_LENGTH, "entry, 1 to 63 characters");
    read.run([=](Session& session) { get(session, *name); });

    Command& write = commands.add(group, "set", "Change or add an entry, in memory until commit", PLAIN);
    const auto to = write.text("name", 1, NAME_MAX_LENGTH, "entry, 1 to 63 characters");
    const auto value = write.text("value", 0, capd::NVRAM_VALUE_SIZE - 1, "value, up to 127 characters");
    write.run([=](Session& session) { set(session, *to, *value); });

    commands.add(group, "list", "Have the device list its entries, on its own output (the kernel log)", PLAIN)
        .run(list);
    commands.add(group, "commit", "Write the memory's entries to flash", PLAIN).run(commit);

    Command& loading =
        commands.add(group, "load", "Replace the memory's entries by those in flash, or in a file", PLAIN);
    const auto path = loading.text("--file", 1, capd::NVRAM_PATH_SIZE - 1, "file of the box, up to 255 characters");
    loading.run([=](Session& session) { load(session, *path); });

    commands.add(group, "empty", "Remove all entries from memory", ASKS).run(empty);
}

} // namespace boxtool
