// video-property, video-source, video-frontend: what the capture driver captures, and how the picture is set.
#include "tools/commands.h"

#include "devaccess/diagnostics/diagnostics.h"

#include <cctype>
#include <cerrno>
#include <cstring>

namespace boxtool {

namespace {

/** A property's name as it is typed: "White Balance" is white_balance. */
std::string typed_name(std::string_view name)
{
    std::string typed;
    for (char c : name)
        typed += std::isalnum(static_cast<unsigned char>(c)) != 0
                     ? static_cast<char>(std::tolower(static_cast<unsigned char>(c)))
                     : '_';
    return typed;
}

/** Find a property by its name, however it is written, or by its number. Throws UsageError. */
int find_property(const std::string& given, int last)
{
    for (int id = 1; id <= last; ++id)
        if (typed_name(given) == typed_name(capd::video_property_name(id)) || given == std::to_string(id)) return id;
    throw UsageError("property: there is no '" + given + "'; video-property list names them, with numbers from 1 to " +
                     std::to_string(last));
}

/** The property that only tells another one's range; 0 where there is none. */
int range_of(int id)
{
    const std::string wanted = std::string(capd::video_property_name(id)) + " range";
    for (int range = capd::SETTABLE_VIDEO_PROPERTIES + 1; range <= capd::VIDEO_PROPERTIES; ++range)
        if (wanted == capd::video_property_name(range)) return range;
    return 0;
}

/** Read a property, with its limits from where the driver has them. @return the failing request's result */
int read_property(int id, capd::VideoProperty& property)
{
    const int result = capd::do_getvideoprop(id, &property);
    capd::VideoProperty limits{};
    if (result < 0 || range_of(id) == 0 || capd::do_getvideoprop(range_of(id), &limits) < 0) return result;
    property.minimum = limits.minimum;
    property.maximum = limits.maximum;
    return result;
}

void show(Session& session, int id, const capd::VideoProperty& property)
{
    session.say("%2d %30s : min=%d max=%d value=%d\n", id, typed_name(capd::video_property_name(id)).c_str(),
                property.minimum, property.maximum, property.value);
}

Json values_of(int id, const capd::VideoProperty& property)
{
    return {{"id", id},
            {"name", typed_name(capd::video_property_name(id))},
            {"value", property.value},
            {"minimum", property.minimum},
            {"maximum", property.maximum}};
}

/** All that can be set; one that the driver refuses does not hide the others. */
void list_properties(Session& session)
{
    Json properties = Json::array();
    for (int id = 1; id <= capd::SETTABLE_VIDEO_PROPERTIES; ++id) {
        capd::VideoProperty property{};
        const std::string name = typed_name(capd::video_property_name(id));
        if (read_property(id, property) < 0) {
            const char* reason = std::strerror(errno);
            session.say("%2d %30s : %s\n", id, name.c_str(), reason);
            properties.push_back({{"id", id}, {"name", name}, {"error", reason}});
            continue;
        }
        show(session, id, property);
        properties.push_back(values_of(id, property));
    }
    session.report({{"properties", properties}});
}

void get_property(Session& session, int id)
{
    capd::VideoProperty property{};
    check(read_property(id, property), "video-property get " + typed_name(capd::video_property_name(id)));
    show(session, id, property);
    session.report(values_of(id, property));
}

void set_property(Session& session, int id, int value)
{
    const std::string name = typed_name(capd::video_property_name(id));
    check(capd::do_setvideoprop(id, value), "video-property set " + name);
    session.report({{"id", id}, {"name", name}, {"value", value}});
}

/** Take a property. Its number is known when the arguments are checked. */
std::shared_ptr<const int> take_property(Command& command, int last)
{
    const auto given = command.text("property", 1, 64, "name or number, see list");
    auto id = std::make_shared<int>();
    command.verify([=] { *id = find_property(*given, last); });
    return id;
}

/** A command of one word that reads a number, or sets it when one is given. */
void add_get_or_set(Commands& commands, const char* name, const char* help, int (*get)(int*), int (*set)(int))
{
    Command& command = commands.add(name, help, HEADING_DRIVER, DEVICE);
    const auto value = command.optional_number<int>("value", SIGNED_WORD, "what to select; left out: show it");
    command.run([=](Session& session) {
        int current = value->value_or(0);
        check(*value ? set(current) : get(&current), name);
        session.say("%d\n", current);
        session.report({{"value", current}});
    });
}

} // namespace

void add_video_commands(Commands& commands)
{
    CLI::App& group = commands.group("video-property", "Picture properties of the capture driver", HEADING_DRIVER);
    commands.add(group, "list", "Show all properties with their ranges and values", DEVICE).run(list_properties);

    Command& get = commands.add(group, "get", "Show a property with its range and value", DEVICE);
    const auto id = take_property(get, capd::VIDEO_PROPERTIES);
    get.run([=](Session& session) { get_property(session, *id); });

    Command& set = commands.add(group, "set", "Set a property", DEVICE);
    const auto set_id = take_property(set, capd::SETTABLE_VIDEO_PROPERTIES);
    const auto value = set.number<int>("value", SIGNED_WORD, "value");
    set.run([=](Session& session) { set_property(session, *set_id, *value); });

    add_get_or_set(commands, "video-source", "Show or select the video source", capd::do_getvideosource,
                   capd::do_setvideosource);
    add_get_or_set(commands, "video-frontend", "Show or select the video front end", capd::do_getvideofrontend,
                   capd::do_setvideofrontend);
}

} // namespace boxtool
