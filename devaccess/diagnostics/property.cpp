// Diagnostic commands on the video properties.
#include "devaccess/diagnostics/answer.h"
#include "devaccess/diagnostics/diagnostics.h"
#include "devaccess/request_code.h"

#include <array>

namespace capd {

namespace {

constexpr uint32_t GET_VIDEO_PROPERTY = read_write_request('D', 32, 16);
constexpr uint32_t SET_VIDEO_PROPERTY = write_request('D', 31, 16);
constexpr uint32_t READ_ID_BASE = 100; // the driver numbers what is read from here on

constexpr std::array<const char*, VIDEO_PROPERTIES> NAMES = { // ids 1 to 26
    "PowerLine Freq",
    "Brightness",
    "Contrast",
    "Hue",
    "Saturation",
    "Sharpness",
    "Gamma",
    "Auto White Balance Enabled",
    "White Balance",
    "Low Light Boost",
    "Auto Focus Enabled",
    "Focus",
    "Auto Exposure enabled",
    "Exposure",
    "Auto Exposure Priority",
    "PowerLine Freq range",
    "Brightness range",
    "Contrast range",
    "Saturation range",
    "Sharpness range",
    "Gamma range",
    "White Balance range",
    "Low Light Boost range",
    "Focus range",
    "Exposure range",
    "Auto Exposure Priority range"};
static_assert(NAMES.back() != nullptr);

} // namespace

const char* video_property_name(int id)
{
    if (id < 1 || id > VIDEO_PROPERTIES) return "UnKnown";
    return NAMES[static_cast<size_t>(id) - 1];
}

int do_getvideoprop(int id, VideoProperty* out)
{
    VideoProperty property{};
    property.id = static_cast<int32_t>(static_cast<uint32_t>(id) + READ_ID_BASE);
    const Answer answer = ask(GET_VIDEO_PROPERTY, &property);
    printf("%s()->  Func=Get %d (%s), ret val=%d min=%d max=%d \n", __func__, id, video_property_name(id),
           property.value, property.minimum, property.maximum);
    if (answer.ok() && out != nullptr) *out = {id, property.value, property.minimum, property.maximum};
    return finish(__func__, answer);
}

int do_setvideoprop(int id, int value)
{
    VideoProperty property{id, value, 0, 0};
    const Answer answer = ask(SET_VIDEO_PROPERTY, &property);
    printf("%s()-> Func=Set %d (%s), val=%d \n", __func__, id, video_property_name(id), value);
    return finish(__func__, answer);
}

void getvidprop_help()
{
    printf("\n");
    for (int id = 1; id <= VIDEO_PROPERTIES; ++id) printf("getvidprop %d : for %s\n", id, video_property_name(id));
    printf("\n");
}

void setvidprop_help()
{
    printf("\n");
    for (int id = 1; id <= SETTABLE_VIDEO_PROPERTIES; ++id)
        printf("setvidprop %d <value_in_dec> : for %s\n", id, video_property_name(id));
    printf("\n");
}

} // namespace capd
