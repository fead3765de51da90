#include "emulator/world/formats.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>

namespace emu {

namespace {

constexpr double SAME_RATE_HZ = 0.5; // 59.94 and 60 Hz are one to a display

constexpr bool P = true, N = false; ///< sync polarity
constexpr bool I = true, _ = false; ///< interlaced or not

// Blanking is that of the first field of interlaced formats; the second has half a line more on either side of its
// sync, which the odd count of lines in a frame accounts for. The borders of VESA's oldest timings are counted as
// porches.
// clang-format off
constexpr Format FORMATS[] = {
    // CTA-861        clock       horizontal           vertical    lines  sync scan rep VIC
    {"640x480p60",         25175,  640,   16,  96,  48,  480, 10, 2, 33,  525, N, N, _, 1,  1,  0},
    {"480p60",             27000,  720,   16,  62,  60,  480,  9, 6, 30,  525, N, N, _, 1,  2,  3},
    {"720p60",             74250, 1280,  110,  40, 220,  720,  5, 5, 20,  750, P, P, _, 1,  0,  4},
    {"1080i60",            74250, 1920,   88,  44, 148,  540,  2, 5, 15, 1125, P, P, I, 1,  0,  5},
    {"480i60",             27000, 1440,   38, 124, 114,  240,  4, 3, 15,  525, N, N, I, 2,  6,  7},
    {"240p60",             27000, 1440,   38, 124, 114,  240,  4, 3, 15,  262, N, N, _, 2,  8,  9},
    {"240p60-263",         27000, 1440,   38, 124, 114,  240,  5, 3, 15,  263, N, N, _, 2,  8,  9},
    {"2880x480i60",        54000, 2880,   76, 248, 228,  240,  4, 3, 15,  525, N, N, I, 4, 10, 11},
    {"2880x240p60",        54000, 2880,   76, 248, 228,  240,  4, 3, 15,  262, N, N, _, 4, 12, 13},
    {"2880x240p60-263",    54000, 2880,   76, 248, 228,  240,  5, 3, 15,  263, N, N, _, 4, 12, 13},
    {"1440x480p60",        54000, 1440,   32, 124, 120,  480,  9, 6, 30,  525, N, N, _, 2, 14, 15},
    {"1080p60",           148500, 1920,   88,  44, 148, 1080,  4, 5, 36, 1125, P, P, _, 1,  0, 16},
    {"576p50",             27000,  720,   12,  64,  68,  576,  5, 5, 39,  625, N, N, _, 1, 17, 18},
    {"720p50",             74250, 1280,  440,  40, 220,  720,  5, 5, 20,  750, P, P, _, 1,  0, 19},
    {"1080i50",            74250, 1920,  528,  44, 148,  540,  2, 5, 15, 1125, P, P, I, 1,  0, 20},
    {"576i50",             27000, 1440,   24, 126, 138,  288,  2, 3, 19,  625, N, N, I, 2, 21, 22},
    {"288p50",             27000, 1440,   24, 126, 138,  288,  2, 3, 19,  312, N, N, _, 2, 23, 24},
    {"288p50-313",         27000, 1440,   24, 126, 138,  288,  3, 3, 19,  313, N, N, _, 2, 23, 24},
    {"288p50-314",         27000, 1440,   24, 126, 138,  288,  4, 3, 19,  314, N, N, _, 2, 23, 24},
    {"2880x576i50",        54000, 2880,   48, 252, 276,  288,  2, 3, 19,  625, N, N, I, 4, 25, 26},
    {"2880x288p50",        54000, 2880,   48, 252, 276,  288,  2, 3, 19,  312, N, N, _, 4, 27, 28},
    {"2880x288p50-313",    54000, 2880,   48, 252, 276,  288,  3, 3, 19,  313, N, N, _, 4, 27, 28},
    {"2880x288p50-314",    54000, 2880,   48, 252, 276,  288,  4, 3, 19,  314, N, N, _, 4, 27, 28},
    {"1440x576p50",        54000, 1440,   24, 128, 136,  576,  5, 5, 39,  625, N, N, _, 2, 29, 30},
    {"1080p50",           148500, 1920,  528,  44, 148, 1080,  4, 5, 36, 1125, P, P, _, 1,  0, 31},
    {"1080p24",            74250, 1920,  638,  44, 148, 1080,  4, 5, 36, 1125, P, P, _, 1,  0, 32},
    {"1080p25",            74250, 1920,  528,  44, 148, 1080,  4, 5, 36, 1125, P, P, _, 1,  0, 33},
    {"1080p30",            74250, 1920,   88,  44, 148, 1080,  4, 5, 36, 1125, P, P, _, 1,  0, 34},
    {"2880x480p60",       108000, 2880,   64, 248, 240,  480,  9, 6, 30,  525, N, N, _, 4, 35, 36},
    {"2880x576p50",       108000, 2880,   48, 256, 272,  576,  5, 5, 39,  625, N, N, _, 4, 37, 38},
    {"1080i50-1250",       72000, 1920,   32, 168, 184,  540, 23, 5, 57, 1250, P, N, I, 1,  0, 39},
    {"1080i100",          148500, 1920,  528,  44, 148,  540,  2, 5, 15, 1125, P, P, I, 1,  0, 40},
    {"720p100",           148500, 1280,  440,  40, 220,  720,  5, 5, 20,  750, P, P, _, 1,  0, 41},
    {"576p100",            54000,  720,   12,  64,  68,  576,  5, 5, 39,  625, N, N, _, 1, 42, 43},
    {"576i100",            54000, 1440,   24, 126, 138,  288,  2, 3, 19,  625, N, N, I, 2, 44, 45},
    {"1080i120",          148500, 1920,   88,  44, 148,  540,  2, 5, 15, 1125, P, P, I, 1,  0, 46},
    {"720p120",           148500, 1280,  110,  40, 220,  720,  5, 5, 20,  750, P, P, _, 1,  0, 47},
    {"480p120",            54000,  720,   16,  62,  60,  480,  9, 6, 30,  525, N, N, _, 1, 48, 49},
    {"480i120",            54000, 1440,   38, 124, 114,  240,  4, 3, 15,  525, N, N, I, 2, 50, 51},
    {"576p200",           108000,  720,   12,  64,  68,  576,  5, 5, 39,  625, N, N, _, 1, 52, 53},
    {"576i200",           108000, 1440,   24, 126, 138,  288,  2, 3, 19,  625, N, N, I, 2, 54, 55},
    {"480p240",           108000,  720,   16,  62,  60,  480,  9, 6, 30,  525, N, N, _, 1, 56, 57},
    {"480i240",           108000, 1440,   38, 124, 114,  240,  4, 3, 15,  525, N, N, I, 2, 58, 59},
    {"720p24",             59400, 1280, 1760,  40, 220,  720,  5, 5, 20,  750, P, P, _, 1,  0, 60},
    {"720p25",             74250, 1280, 2420,  40, 220,  720,  5, 5, 20,  750, P, P, _, 1,  0, 61},
    {"720p30",             74250, 1280, 1760,  40, 220,  720,  5, 5, 20,  750, P, P, _, 1,  0, 62},
    {"720p48",             90000, 1280,  960,  40, 220,  720,  5, 5, 20,  750, P, P, _, 1,  0, 108},
    {"1080p48",           148500, 1920,  638,  44, 148, 1080,  4, 5, 36, 1125, P, P, _, 1,  0, 111},
    {"1680x720p24",        59400, 1680, 1360,  40, 220,  720,  5, 5, 20,  750, P, P, _, 1,  0, 79},
    {"1680x720p25",        59400, 1680, 1228,  40, 220,  720,  5, 5, 20,  750, P, P, _, 1,  0, 80},
    {"1680x720p30",        59400, 1680,  700,  40, 220,  720,  5, 5, 20,  750, P, P, _, 1,  0, 81},
    {"1680x720p50",        82500, 1680,  260,  40, 220,  720,  5, 5, 20,  750, P, P, _, 1,  0, 82},
    {"1680x720p60",        99000, 1680,  260,  40, 220,  720,  5, 5, 20,  750, P, P, _, 1,  0, 83},
    {"1680x720p48",        99000, 1680,  810,  40, 220,  720,  5, 5, 20,  750, P, P, _, 1,  0, 110},
    {"2560x1080p24",       99000, 2560,  998,  44, 148, 1080,  4, 5, 11, 1100, P, P, _, 1,  0, 86},
    {"2560x1080p25",       90000, 2560,  448,  44, 148, 1080,  4, 5, 36, 1125, P, P, _, 1,  0, 87},
    {"2560x1080p30",      118800, 2560,  768,  44, 148, 1080,  4, 5, 36, 1125, P, P, _, 1,  0, 88},
    // VESA DMT; "rb" is reduced blanking
    {"dmt-640x350-85",     31500,  640,   32,  64,  96,  350, 32, 3, 60,  445, P, N, _, 1,  0,  0},
    {"dmt-640x400-85",     31500,  640,   32,  64,  96,  400,  1, 3, 41,  445, N, P, _, 1,  0,  0},
    {"dmt-720x400-85",     35500,  720,   36,  72, 108,  400,  1, 3, 42,  446, N, P, _, 1,  0,  0},
    {"dmt-640x480-60",     25175,  640,   16,  96,  48,  480, 10, 2, 33,  525, N, N, _, 1,  0,  0},
    {"dmt-640x480-72",     31500,  640,   24,  40, 128,  480,  9, 3, 28,  520, N, N, _, 1,  0,  0},
    {"dmt-640x480-75",     31500,  640,   16,  64, 120,  480,  1, 3, 16,  500, N, N, _, 1,  0,  0},
    {"dmt-640x480-85",     36000,  640,   56,  56,  80,  480,  1, 3, 25,  509, N, N, _, 1,  0,  0},
    {"dmt-800x600-56",     36000,  800,   24,  72, 128,  600,  1, 2, 22,  625, P, P, _, 1,  0,  0},
    {"dmt-800x600-60",     40000,  800,   40, 128,  88,  600,  1, 4, 23,  628, P, P, _, 1,  0,  0},
    {"dmt-800x600-72",     50000,  800,   56, 120,  64,  600, 37, 6, 23,  666, P, P, _, 1,  0,  0},
    {"dmt-800x600-75",     49500,  800,   16,  80, 160,  600,  1, 3, 21,  625, P, P, _, 1,  0,  0},
    {"dmt-800x600-85",     56250,  800,   32,  64, 152,  600,  1, 3, 27,  631, P, P, _, 1,  0,  0},
    {"dmt-848x480-60",     33750,  848,   16, 112, 112,  480,  6, 8, 23,  517, P, P, _, 1,  0,  0},
    {"dmt-1024x768i-43",   44900, 1024,    8, 176,  56,  384,  0, 4, 20,  817, P, P, I, 1,  0,  0},
    {"dmt-1024x768-60",    65000, 1024,   24, 136, 160,  768,  3, 6, 29,  806, N, N, _, 1,  0,  0},
    {"dmt-1024x768-70",    75000, 1024,   24, 136, 144,  768,  3, 6, 29,  806, N, N, _, 1,  0,  0},
    {"dmt-1024x768-75",    78750, 1024,   16,  96, 176,  768,  1, 3, 28,  800, P, P, _, 1,  0,  0},
    {"dmt-1024x768-85",    94500, 1024,   48,  96, 208,  768,  1, 3, 36,  808, P, P, _, 1,  0,  0},
    {"dmt-1152x864-75",   108000, 1152,   64, 128, 256,  864,  1, 3, 32,  900, P, P, _, 1,  0,  0},
    {"dmt-1280x768-60rb",  68250, 1280,   48,  32,  80,  768,  3, 7, 12,  790, P, N, _, 1,  0,  0},
    {"dmt-1280x768-60",    79500, 1280,   64, 128, 192,  768,  3, 7, 20,  798, N, P, _, 1,  0,  0},
    {"dmt-1280x768-75",   102250, 1280,   80, 128, 208,  768,  3, 7, 27,  805, N, P, _, 1,  0,  0},
    {"dmt-1280x800-60rb",  71000, 1280,   48,  32,  80,  800,  3, 6, 14,  823, P, N, _, 1,  0,  0},
    {"dmt-1280x800-60",    83500, 1280,   72, 128, 200,  800,  3, 6, 22,  831, N, P, _, 1,  0,  0},
    {"dmt-1280x960-60",   108000, 1280,   96, 112, 312,  960,  1, 3, 36, 1000, P, P, _, 1,  0,  0},
    {"dmt-1280x960-85",   148500, 1280,   64, 160, 224,  960,  1, 3, 47, 1011, P, P, _, 1,  0,  0},
    {"dmt-1280x1024-60",  108000, 1280,   48, 112, 248, 1024,  1, 3, 38, 1066, P, P, _, 1,  0,  0},
    {"dmt-1280x1024-75",  135000, 1280,   16, 144, 248, 1024,  1, 3, 38, 1066, P, P, _, 1,  0,  0},
    {"dmt-1280x1024-85",  157500, 1280,   64, 160, 224, 1024,  1, 3, 44, 1072, P, P, _, 1,  0,  0},
    {"dmt-1360x768-60",    85500, 1360,   64, 112, 256,  768,  3, 6, 18,  795, P, P, _, 1,  0,  0},
    {"dmt-1366x768-60rb",  72000, 1366,   14,  56,  64,  768,  1, 3, 28,  800, P, P, _, 1,  0,  0},
    {"dmt-1366x768-60",    85500, 1366,   70, 143, 213,  768,  3, 3, 24,  798, P, P, _, 1,  0,  0},
    {"dmt-1400x1050-60rb", 101000, 1400,   48,  32,  80, 1050,  3, 4, 23, 1080, P, N, _, 1,  0,  0},
    {"dmt-1400x1050-60",  121750, 1400,   88, 144, 232, 1050,  3, 4, 32, 1089, N, P, _, 1,  0,  0},
    {"dmt-1400x1050-75",  156000, 1400,  104, 144, 248, 1050,  3, 4, 42, 1099, N, P, _, 1,  0,  0},
    {"dmt-1440x900-60rb",  88750, 1440,   48,  32,  80,  900,  3, 6, 17,  926, P, N, _, 1,  0,  0},
    {"dmt-1440x900-60",   106500, 1440,   80, 152, 232,  900,  3, 6, 25,  934, N, P, _, 1,  0,  0},
    {"dmt-1440x900-75",   136750, 1440,   96, 152, 248,  900,  3, 6, 33,  942, N, P, _, 1,  0,  0},
    {"dmt-1600x900-60rb", 108000, 1600,   24,  80,  96,  900,  1, 3, 96, 1000, P, P, _, 1,  0,  0},
    {"dmt-1600x1200-60",  162000, 1600,   64, 192, 304, 1200,  1, 3, 46, 1250, P, P, _, 1,  0,  0},
    {"dmt-1680x1050-60rb", 119000, 1680,   48,  32,  80, 1050,  3, 6, 21, 1080, P, N, _, 1,  0,  0},
    {"dmt-1680x1050-60",  146250, 1680,  104, 176, 280, 1050,  3, 6, 30, 1089, N, P, _, 1,  0,  0},
    {"dmt-1920x1200-60rb", 154000, 1920,   48,  32,  80, 1200,  3, 6, 26, 1235, P, N, _, 1,  0,  0},
    {"dmt-1920x1200-60",  193250, 1920,  136, 200, 336, 1200,  3, 6, 36, 1245, N, P, _, 1,  0,  0},
};
// clang-format on

struct Alias {
    std::string_view alias, name;
};
constexpr Alias ALIASES[] = {
    {"vga", "dmt-640x480-60"},       {"svga", "dmt-800x600-60"},    {"xga", "dmt-1024x768-60"},
    {"wxga", "dmt-1280x800-60"},     {"sxga", "dmt-1280x1024-60"},  {"sxga+", "dmt-1400x1050-60"},
    {"wxga+", "dmt-1440x900-60"},    {"uxga", "dmt-1600x1200-60"},  {"wsxga+", "dmt-1680x1050-60"},
    {"wuxga", "dmt-1920x1200-60rb"}, {"dmt-1280x720-60", "720p60"}, {"dmt-1920x1080-60", "1080p60"},
};

struct OtherRate {
    std::string_view told, nominal;
};
constexpr OtherRate DROPPED_RATES[] = {{"119.88", "120"}, {"59.94", "60"}, {"47.95", "48"},
                                       {"29.97", "30"},   {"23.98", "24"}, {"23.976", "24"}};
constexpr OtherRate WHOLE_RATES[] = {{"240.00", "240"}, {"120.00", "120"}, {"60.00", "60"}};
constexpr double NTSC = 1.001; ///< a whole rate by a dropped one

const Format* find_named(std::string_view name)
{
    const auto alias = std::ranges::find(ALIASES, name, &Alias::alias);
    if (alias != std::end(ALIASES)) name = alias->name;
    const auto found = std::ranges::find(FORMATS, name, &Format::name);
    return found != std::end(FORMATS) ? found : nullptr;
}

const Format* find_vic(std::string_view digits)
{
    unsigned vic = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), vic);
    if (error != std::errc() || end != digits.data() + digits.size() || vic == 0) return nullptr;
    const auto found =
        std::ranges::find_if(FORMATS, [vic](const Format& f) { return f.vic == vic || f.vic_wide == vic; });
    return found != std::end(FORMATS) ? found : nullptr;
}

/** The format that is named with one of these rates in the place of its own. */
const Format* find_with_rate(std::string_view name, std::span<const OtherRate> rates)
{
    for (const OtherRate& rate : rates) {
        const size_t at = name.rfind(rate.told);
        if (at == std::string_view::npos) continue;
        const std::string_view rest = name.substr(at + rate.told.size());
        if (!rest.empty() && rest[0] != '-') continue;
        return find_named(std::string(name.substr(0, at)).append(rate.nominal).append(rest));
    }
    return nullptr;
}

/** Formats on a 27 or 25.175 MHz clock run at the dropped rate; those of CTA-861 have a clock for the whole one, too.
 */
bool is_whole_rate(const Format& format)
{
    return std::abs(format.field_rate() - std::round(format.field_rate())) <= 0.01;
}

Format with_clock(Format format, double khz)
{
    format.clock_khz = static_cast<uint32_t>(std::lround(khz));
    return format;
}

} // namespace

bool is_same_picture(const PictureTiming& a, const PictureTiming& b)
{
    return a.width == b.width && a.height == b.height && a.interlaced == b.interlaced &&
           std::abs(a.rate_hz - b.rate_hz) <= SAME_RATE_HZ;
}

PictureTiming timing_of(const Format& format)
{
    return {.clock_khz = format.clock_khz,
            .width = format.h_active,
            .height = static_cast<uint16_t>(format.interlaced ? 2 * format.v_active : format.v_active),
            .interlaced = format.interlaced,
            .rate_hz = format.field_rate()};
}

double Format::field_rate() const
{
    const double fields = interlaced ? 2 : 1;
    return clock_khz * 1000.0 * fields / (static_cast<double>(h_total()) * lines);
}

uint32_t Format::field_us() const
{
    return static_cast<uint32_t>(1e6 / field_rate());
}

std::span<const Format> all_formats()
{
    return FORMATS;
}

std::optional<Format> find_format(std::string_view name)
{
    if (name.starts_with("vic")) {
        const Format* found = find_vic(name.substr(3));
        return found != nullptr ? std::optional(*found) : std::nullopt;
    }
    if (const Format* found = find_named(name)) return *found;
    if (const Format* found = find_with_rate(name, DROPPED_RATES); found != nullptr && is_whole_rate(*found))
        return with_clock(*found, found->clock_khz / NTSC);
    const Format* found = find_with_rate(name, WHOLE_RATES);
    if (found != nullptr && found->vic != 0 && !is_whole_rate(*found))
        return with_clock(*found, found->clock_khz * NTSC);
    return std::nullopt;
}

std::string list_formats()
{
    std::string text;
    for (const Format& f : FORMATS) {
        char line[120];
        std::snprintf(line, sizeof line, "%-20s %4ux%-4u %s %7.2f Hz  %7.3f MHz", std::string(f.name).c_str(),
                      unsigned{f.h_active}, f.interlaced ? f.v_active * 2u : f.v_active,
                      f.interlaced ? "interlaced " : "progressive", f.field_rate(), f.clock_khz / 1000.0);
        text += line;
        for (unsigned vic : {f.vic, f.vic_wide})
            if (vic != 0) text += "  VIC " + std::to_string(vic);
        text += "\n";
    }
    text += "59.94, 47.95, 29.97, 23.98 or 119.88 in the place of 60, 48, 30, 24 or 120 divides a clock by 1.001;\n"
            "60.00, 120.00 or 240.00 multiplies that of 640x480p60, 480p60 and their relatives\n";
    for (const Alias& a : ALIASES) text += std::string(a.alias) + " is " + std::string(a.name) + "\n";
    return text;
}

} // namespace emu
