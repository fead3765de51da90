#include "tools/names.h"

#include <iterator>

namespace boxtool {

namespace {

constexpr unsigned FORMAT_LPCM = 1;
constexpr unsigned FORMAT_LAST_WITH_BIT_RATE = 8; // compressed formats from 2 on

// clang-format off
constexpr const char* AUDIO_FORMATS[] = {
    "format 0", "LPCM", "AC-3", "MPEG-1", "MP3", "MPEG-2", "AAC", "DTS", "ATRAC", "One Bit Audio", "E-AC-3", "DTS-HD",
    "MAT", "DST", "WMA Pro", "extended format"};

constexpr int AUDIO_RATES_HZ[] = {32000, 44100, 48000, 88200, 96000, 176400, 192000}; // bit 0 on

constexpr const char* SPEAKERS[] = { // bit 0 of the first byte on
    "FL/FR", "LFE", "FC", "BL/BR", "BC", "FLc/FRc", "RLC/RRC", "FLw/FRw",
    "TpFL/TpFR", "TpC", "TpFC"};

/** Picture of a video identification code. Where two follow each other the first is for 4:3, the second for 16:9. */
struct Picture {
    uint16_t width, height;
    char scan;
    uint8_t rate; ///< pictures in a second, of fields when interlaced
    bool operator==(const Picture&) const = default;
};
constexpr Picture PICTURES[] = { // code 1 on
    {640, 480, 'p', 60},    {720, 480, 'p', 60},    {720, 480, 'p', 60},    {1280, 720, 'p', 60},
    {1920, 1080, 'i', 60},  {1440, 480, 'i', 60},   {1440, 480, 'i', 60},   {1440, 240, 'p', 60},
    {1440, 240, 'p', 60},   {2880, 480, 'i', 60},   {2880, 480, 'i', 60},   {2880, 240, 'p', 60},
    {2880, 240, 'p', 60},   {1440, 480, 'p', 60},   {1440, 480, 'p', 60},   {1920, 1080, 'p', 60},
    {720, 576, 'p', 50},    {720, 576, 'p', 50},    {1280, 720, 'p', 50},   {1920, 1080, 'i', 50},
    {1440, 576, 'i', 50},   {1440, 576, 'i', 50},   {1440, 288, 'p', 50},   {1440, 288, 'p', 50},
    {2880, 576, 'i', 50},   {2880, 576, 'i', 50},   {2880, 288, 'p', 50},   {2880, 288, 'p', 50},
    {1440, 576, 'p', 50},   {1440, 576, 'p', 50},   {1920, 1080, 'p', 50},  {1920, 1080, 'p', 24},
    {1920, 1080, 'p', 25},  {1920, 1080, 'p', 30},  {2880, 480, 'p', 60},   {2880, 480, 'p', 60},
    {2880, 576, 'p', 50},   {2880, 576, 'p', 50},   {1920, 1080, 'i', 50},  {1920, 1080, 'i', 100},
    {1280, 720, 'p', 100},  {720, 576, 'p', 100},   {720, 576, 'p', 100},   {1440, 576, 'i', 100},
    {1440, 576, 'i', 100},  {1920, 1080, 'i', 120}, {1280, 720, 'p', 120},  {720, 480, 'p', 120},
    {720, 480, 'p', 120},   {1440, 480, 'i', 120},  {1440, 480, 'i', 120},  {720, 576, 'p', 200},
    {720, 576, 'p', 200},   {1440, 576, 'i', 200},  {1440, 576, 'i', 200},  {720, 480, 'p', 240},
    {720, 480, 'p', 240},   {1440, 480, 'i', 240},  {1440, 480, 'i', 240},  {1280, 720, 'p', 24},
    {1280, 720, 'p', 25},   {1280, 720, 'p', 30},   {1920, 1080, 'p', 120}, {1920, 1080, 'p', 100},
};
// clang-format on
static_assert(std::size(AUDIO_FORMATS) == 16 && std::size(PICTURES) == 64);

unsigned format_code(const std::array<uint8_t, 3>& descriptor)
{
    return descriptor[0] >> 3 & 15U;
}

/** Values of a table whose bits are set. */
template<typename Table>
Json chosen(const Table& table, unsigned bits)
{
    Json values = Json::array();
    for (size_t i = 0; i < std::size(table); ++i)
        if ((bits >> i & 1) != 0) values.push_back(table[i]);
    return values;
}

constexpr int WORD_LENGTHS[] = {16, 20, 24}; // bits, from bit 0 on

} // namespace

Json audio_descriptor_values(const std::array<uint8_t, 3>& descriptor)
{
    const unsigned code = format_code(descriptor);
    Json values = {{"format", AUDIO_FORMATS[code]},
                   {"channels", (descriptor[0] & 7) + 1},
                   {"rates_hz", chosen(AUDIO_RATES_HZ, descriptor[1])}};
    if (code == FORMAT_LPCM) values["bits"] = chosen(WORD_LENGTHS, descriptor[2]);
    if (code > FORMAT_LPCM && code <= FORMAT_LAST_WITH_BIT_RATE) values["max_kbit_s"] = descriptor[2] * 8;
    return values;
}

std::string audio_descriptor_text(const std::array<uint8_t, 3>& descriptor)
{
    const Json values = audio_descriptor_values(descriptor);
    const unsigned channels = (descriptor[0] & 7U) + 1;
    std::string text =
        format("%s, %u channel%s,", AUDIO_FORMATS[format_code(descriptor)], channels, channels == 1 ? "" : "s");
    for (const Json& rate : values["rates_hz"]) text += format(" %g", rate.get<int>() / 1000.0);
    text += values["rates_hz"].empty() ? " no rate" : " kHz";
    if (values.contains("max_kbit_s")) text += format(", up to %d kbit/s", values["max_kbit_s"].get<int>());
    if (!values.contains("bits")) return text;
    text += ",";
    for (const Json& bits : values["bits"]) text += format(" %d", bits.get<int>());
    return text + " bits";
}

Json speaker_names(const std::array<uint8_t, 3>& allocation)
{
    return chosen(SPEAKERS, allocation[0] | unsigned{allocation[1]} << 8);
}

Json deep_colour_bits(uint8_t flags)
{
    constexpr int BITS[] = {30, 36, 48}; // from bit 4 on
    return chosen(BITS, flags >> 4 & 7U);
}

std::string video_format(unsigned code)
{
    if (code < 1 || code > std::size(PICTURES)) return "not defined";
    const Picture& picture = PICTURES[code - 1];
    const bool narrow = code == 1 || (code < std::size(PICTURES) && picture == PICTURES[code]);
    return format("%ux%u%c%u, %s", picture.width, picture.height, picture.scan, picture.rate, narrow ? "4:3" : "16:9");
}

Json sample_bits(int code)
{
    constexpr int UP_TO_20_BITS[] = {0, 16, 18, 0, 19, 20, 17, 0}; // by bits 1 to 3
    constexpr int UP_TO_24_BITS[] = {0, 20, 22, 0, 23, 24, 21, 0};
    if (code < 0) return {};
    const auto length = static_cast<size_t>(code >> 1 & 7);
    const int bits = (code & 1) != 0 ? UP_TO_24_BITS[length] : UP_TO_20_BITS[length];
    return bits == 0 ? Json() : Json(bits);
}

} // namespace boxtool
