// driver version, api, debug-level, codec-error: the capture driver itself.
#include "tools/commands.h"

#include "devaccess/diagnostics.h"

#include <nlohmann/json.hpp>

namespace boxtool {

namespace {

void add_value(Commands& commands, CLI::App& group, const char* name, const char* help, int (*get)(int*))
{
    commands.add(group, name, help, REPORTS | DEVICE).run([=](Session& session) {
        int value = 0;
        check(get(&value), format("driver %s", name));
        session.report({{"value", value}});
    });
}

void debug_level(Session& session, int function, std::optional<int> level)
{
    int value = level.value_or(0);
    const int result =
        level ? capd::do_setdriverdbglevel(function, value) : capd::do_getdriverdbglevel(function, &value);
    check(result, format("driver debug-level %d", function));
    session.report({{"function", function}, {"level", value}});
}

} // namespace

void add_driver_commands(Commands& commands)
{
    constexpr Range HALF_WORD = {0, 0xffff};
    CLI::App& group = commands.group("driver", "The capture driver itself", HEADING_DRIVER);
    add_value(commands, group, "version", "Show the driver's version", capd::do_getdriverversion);
    add_value(commands, group, "api", "Show the version of the driver's interface", capd::do_getapiversion);
    add_value(commands, group, "codec-error", "Show whether a codec failed", capd::do_checkcodecerror);

    Command& debug = commands.add(group, "debug-level", "Show or set a debug level of the driver", REPORTS | DEVICE);
    const auto function = debug.number<int>("function", HALF_WORD, "function of the driver");
    const auto level = debug.optional_number<int>("level", HALF_WORD, "new level; left out: show it");
    debug.run([=](Session& session) { debug_level(session, *function, *level); });
}

} // namespace boxtool
