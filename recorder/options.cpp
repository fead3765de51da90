#include "recorder/options.h"

#include "recorder/corrections.h"
#include "recorder/daemon_settings.h"
#include "recorder/log.h"
#include "recorder/self_test.h"

#include <cstdio>
#include <cstdlib>
#include <getopt.h>

namespace capd {

enum OptionCode : int {
    OPTION_TEST = 1,
    OPTION_MAX_FILE_SIZE,
    OPTION_MAX_FILE_DURATION,
    OPTION_MIN_FILE_SIZE,
    OPTION_STORAGE_HARD_LIMIT,
    OPTION_DISABLE_EDID_WRITE,
    OPTION_CORRECT,
};

constexpr option OPTIONS[] = {
    {"test", required_argument, nullptr, OPTION_TEST},
    {"max-file-size", required_argument, nullptr, OPTION_MAX_FILE_SIZE},
    {"max-file-duration", required_argument, nullptr, OPTION_MAX_FILE_DURATION},
    {"min-file-size", required_argument, nullptr, OPTION_MIN_FILE_SIZE},
    {"storage-hard-limit", required_argument, nullptr, OPTION_STORAGE_HARD_LIMIT},
    {"disable-edid-write", no_argument, nullptr, OPTION_DISABLE_EDID_WRITE},
    {"correct", required_argument, nullptr, OPTION_CORRECT},
    {nullptr, 0, nullptr, 0},
};

namespace {

unsigned long set_limit(uint32_t* field, const char* text)
{
    *field = static_cast<uint32_t>(atol(text));
    return *field;
}

void apply_option(int code, const char* argument)
{
    switch (code) {
    case OPTION_TEST: settings.test_sequence = atoi(argument); break;
    case OPTION_MAX_FILE_SIZE:
        printf("Maximum file size set to: %lukb\n", set_limit(&settings.max_file_size, argument));
        break;
    case OPTION_MAX_FILE_DURATION: // seconds, whatever the letter says
        printf("Maximum file duration set to: %lum\n", set_limit(&settings.max_file_duration, argument));
        break;
    case OPTION_MIN_FILE_SIZE:
        printf("Minimum file size set to: %lukb\n", set_limit(&settings.min_file_size, argument));
        break;
    case OPTION_STORAGE_HARD_LIMIT:
        printf("Storage hard limit set to: %lukb\n", set_limit(&settings.storage_hard_limit, argument));
        break;
    case OPTION_DISABLE_EDID_WRITE:
        settings.edid_write_disabled = 1;
        printf("Disalbe edid write set\n");
        break;
    case OPTION_CORRECT: set_corrections(argument); break;
    default: break; // getopt_long() has said what is wrong
    }
}

} // namespace

void parse_options(int argc, char* argv[])
{
    optind = 1;
    for (int code = 0; (code = getopt_long(argc, argv, "", OPTIONS, nullptr)) != -1;) apply_option(code, optarg);
    if (settings.test_sequence != -1 && !self_test_exists(settings.test_sequence)) {
        CAPD_LOG(LOG_WARNING, "No self-test sequence %d, the keys stay in charge\n", settings.test_sequence);
        settings.test_sequence = -1;
    }
}

} // namespace capd
