#include "emulator/kernel/nvram_device.h"

#include "emulator/commands/commands.h"

namespace emu {

namespace {

std::string describe_nvram(const NvramDevice& nvram)
{
    if (!nvram.present()) return "no device\n";
    std::string text =
        "in memory:\n" + NvramDevice::as_text(nvram.store()) + "in flash:\n" + NvramDevice::as_text(nvram.flash());
    if (!nvram.list_output().empty()) text += "last listed:\n" + nvram.list_output();
    return text;
}

Reply entry_command(Args& args, const std::function<void(const std::string&, const std::string&)>& put)
{
    const std::string name = args.word("a name");
    if (name.size() >= NvramDevice::NAME_SIZE || !NvramDevice::storable(name, "")) args.refuse("cannot be a name");
    const std::string value = args.word("a value");
    if (value.size() >= NvramDevice::VALUE_SIZE || !NvramDevice::storable(name, value))
        args.refuse("cannot be a value");
    args.end();
    put(name, value);
    return {};
}

Reply refuse_command(NvramDevice& nvram, Args& args)
{
    using enum NvramDevice::Operation;
    static const std::vector<std::pair<std::string, unsigned>> WHAT = {
        {"none", 0},
        {"get", NvramDevice::bit(Get)},
        {"set", NvramDevice::bit(Set)},
        {"empty", NvramDevice::bit(Empty)},
        {"commit", NvramDevice::bit(Commit)},
        {"load", NvramDevice::bit(Load)},
        {"load-file", NvramDevice::bit(LoadFile)},
        {"list", NvramDevice::bit(List)},
        {"all", NvramDevice::ALL_OPERATIONS},
    };
    std::vector<std::string> names;
    names.reserve(WHAT.size());
    for (const auto& [name, mask] : WHAT) names.push_back(name);
    const std::string wanted = args.choice(names);
    args.end();
    for (const auto& [name, mask] : WHAT)
        if (name == wanted) nvram.refuse(mask);
    return {};
}

} // namespace

void add_nvram_commands(CommandTable& commands, NvramDevice& nvram)
{
    commands.add("nvram set", "NAME VALUE   put an entry into the device's memory", [&nvram](Args& args) {
        return entry_command(args, [&nvram](const auto& name, const auto& value) { nvram.set(name, value); });
    });
    commands.add("nvram flash", "NAME VALUE   put an entry into the device's flash", [&nvram](Args& args) {
        return entry_command(args, [&nvram](const auto& name, const auto& value) { nvram.set_flash(name, value); });
    });
    commands.add_switch("nvram missing", "on|off   take the device away",
                        [&nvram](bool missing) { nvram.set_present(!missing); });
    commands.add("nvram refuse", "get|set|empty|commit|load|load-file|list|all|none   refuse only these requests",
                 [&nvram](Args& args) { return refuse_command(nvram, args); });
    commands.add_action("nvram power-cut", "  lose what was not committed", [&nvram] { nvram.power_cut(); });
    commands.add_number(
        "nvram cut-commit", "BYTES   the power fails when the next commit has written so many bytes of the flash",
        {"bytes", 0, 16384}, [&nvram](long long bytes) { nvram.cut_next_commit(static_cast<size_t>(bytes)); });
    commands.add_show("nvram", [&nvram] { return describe_nvram(nvram); });
}

} // namespace emu
