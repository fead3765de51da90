#include "services/settings.h"

#include "devaccess/nvram.h"
#include "services/number.h"

#include <cstdio>
#include <cstdlib>

namespace capd {

namespace {

constexpr char CONFIG_NAME[] = "_AV_REC_CONFIG";
constexpr char PORT_NAME[] = "_HDMIRX_PORT";
constexpr char BITRATE_NAME_FORMAT[] = "_BITRATE_%d";

// A value that someone else stored longer than ours is cut to what these hold.
constexpr int DIGIT_TEXT_SIZE = 12;
constexpr int BITRATE_TEXT_SIZE = 32;

struct BitrateName {
    char text[BITRATE_TEXT_SIZE];
};

BitrateName bitrate_name(int config)
{
    BitrateName name;
    snprintf(name.text, sizeof(name.text), BITRATE_NAME_FORMAT, config);
    return name;
}

int read_digit(const char* name, int* value)
{
    char text[NVRAM_VALUE_SIZE];
    *value = 0;
    if (nvram_get(name, text) != 0) return 0;
    text[DIGIT_TEXT_SIZE - 1] = '\0';
    printf("Read %s from nvram: %s\n", name, text);
    *value = parse_int(text);
    return 0;
}

int write_text(const char* name, const char* text)
{
    printf("Writing %s to nvram: %s\n", name, text);
    return nvram_set(name, text);
}

int write_digit(const char* name, int value)
{
    const char text[] = {static_cast<char>('0' + value), '\0'};
    return write_text(name, text);
}

} // namespace

int config_init()
{
    return nvram_load_mtd(1);
}

int config_get_av_rec_config(int* config)
{
    return read_digit(CONFIG_NAME, config);
}

int config_get_hdmirx_port(int* port)
{
    return read_digit(PORT_NAME, port);
}

int config_get_bitrate(int config, long* bitrate)
{
    const BitrateName name = bitrate_name(config);
    char text[NVRAM_VALUE_SIZE] = "";
    const int result = nvram_get(name.text, text);
    text[BITRATE_TEXT_SIZE - 1] = '\0';
    printf("Read %s from nvram: %s\n", name.text, text);
    if (result == 0) *bitrate = strtol(text, nullptr, 10);
    return result;
}

int config_set_av_rec_config(int config)
{
    return write_digit(CONFIG_NAME, config);
}

int config_set_hdmirx_port(int port)
{
    return write_digit(PORT_NAME, port);
}

int config_set_bitrate(int config, long bitrate)
{
    char text[BITRATE_TEXT_SIZE];
    snprintf(text, sizeof(text), "%ld", bitrate);
    return write_text(bitrate_name(config).text, text);
}

int config_commit()
{
    return nvram_commit(1);
}

} // namespace capd
