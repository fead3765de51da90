// driver version, api, debug-level, codec-error: the capture driver itself.
#include "tools/commands.h"

#include "devaccess/diagnostics/diagnostics.h"

namespace boxtool {

namespace {

/** A version's three parts are its three lower bytes. */
std::string version_text(uint32_t version)
{
    return format("%u.%u.%u", version >> 16, version >> 8 & 0xff, version & 0xff);
}

void add_version(Commands& commands, CLI::App& group, const char* name, const char* help, int (*get)(int*))
{
    commands.add(group, name, help, DEVICE).run([=](Session& session) {
        int value = 0;
        check(get(&value), format("driver %s", name));
        const std::string text = version_text(static_cast<uint32_t>(value));
        session.say("%s\n", text.c_str());
        session.report({{"version", text}, {"value", value}});
    });
}

void codec_error(Session& session)
{
    int value = 0;
    check(capd::do_checkcodecerror(&value), "driver codec-error");
    session.say(value == 0 ? "no error\n" : "error %d\n", value);
    session.report({{"value", value}});
}

void debug_level(Session& session, int function, std::optional<int> level)
{
    int value = level.value_or(0);
    const int result =
        level ? capd::do_setdriverdbglevel(function, value) : capd::do_getdriverdbglevel(function, &value);
    check(result, format("driver debug-level %d", function));
    session.say("function %d: level %d (0x%x)\n", function, value, static_cast<unsigned>(value));
    session.report({{"function", function}, {"level", value}});
}

} // namespace

void add_driver_commands(Commands& commands)
{
    constexpr Range HALF_WORD = {0, 0xffff};
    CLI::App& group = commands.group("driver", "The capture driver itself", HEADING_DRIVER);
    add_version(commands, group, "version", "Show the driver's version", capd::do_getdriverversion);
    add_version(commands, group, "api", "Show the version of the driver's interface", capd::do_getapiversion);
    commands.add(group, "codec-error", "Show whether a codec failed", DEVICE).run(codec_error);

    Command& debug = commands.add(group, "debug-level", "Show or set a debug level of the driver", DEVICE);
    const auto function = debug.number<int>("function", HALF_WORD, "function of the driver");
    const auto level = debug.optional_number<int>("level", HALF_WORD, "new level; left out: show it");
    debug.run([=](Session& session) { debug_level(session, *function, *level); });
}

} // namespace boxtool
