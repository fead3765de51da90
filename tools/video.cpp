// video-property, video-source, video-frontend: what the capture driver captures, and how the picture is set.
#include "tools/commands.h"

#include "devaccess/diagnostics.h"

#include <nlohmann/json.hpp>

namespace boxtool {

namespace {

void list_properties(Session& session)
{
    if (!session.json()) {
        capd::getvidprop_help();
        capd::setvidprop_help();
    }
    Json properties = Json::array();
    for (int id = 1; id <= capd::VIDEO_PROPERTIES; ++id)
        properties.push_back(
            {{"id", id}, {"name", capd::video_property_name(id)}, {"settable", id <= capd::SETTABLE_VIDEO_PROPERTIES}});
    session.report({{"properties", properties}});
}

void get_property(Session& session, int id)
{
    capd::VideoProperty property{};
    check(capd::do_getvideoprop(id, &property), format("video-property get %d", id));
    session.report({{"id", id},
                    {"name", capd::video_property_name(id)},
                    {"value", property.value},
                    {"minimum", property.minimum},
                    {"maximum", property.maximum}});
}

/** A command of one word that reads a number, or sets it when one is given. */
void add_get_or_set(Commands& commands, const char* name, const char* help, int (*get)(int*), int (*set)(int))
{
    Command& command = commands.add(name, help, HEADING_DRIVER, REPORTS | DEVICE);
    const auto value = command.optional_number<int>("value", SIGNED_WORD, "what to select; left out: show it");
    command.run([=](Session& session) {
        int current = value->value_or(0);
        check(*value ? set(current) : get(&current), name);
        session.report({{"value", current}});
    });
}

} // namespace

void add_video_commands(Commands& commands)
{
    CLI::App& group = commands.group("video-property", "Picture properties of the capture driver", HEADING_DRIVER);
    commands.add(group, "list", "List the properties that can be read and set", REPORTS).run(list_properties);

    Command& get = commands.add(group, "get", "Read a property, or a property's range", REPORTS | DEVICE);
    const auto id = get.number<int>("id", {1, capd::VIDEO_PROPERTIES}, "property, see list");
    get.run([=](Session& session) { get_property(session, *id); });

    Command& set = commands.add(group, "set", "Set a property", DEVICE);
    const auto set_id = set.number<int>("id", {1, capd::SETTABLE_VIDEO_PROPERTIES}, "property, see list");
    const auto value = set.number<int>("value", SIGNED_WORD, "value");
    set.run([=](Session&) { check(capd::do_setvideoprop(*set_id, *value), format("video-property set %d", *set_id)); });

    add_get_or_set(commands, "video-source", "Show or select the video source", capd::do_getvideosource,
                   capd::do_setvideosource);
    add_get_or_set(commands, "video-frontend", "Show or select the video front end", capd::do_getvideofrontend,
                   capd::do_setvideofrontend);
}

} // namespace boxtool
