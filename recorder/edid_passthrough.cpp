#include "recorder/edid_passthrough.h"

#include "hdmitx/edid_rom.h"
#include "hdmitx/hdmitx.h"
#include "recorder/daemon_settings.h"
#include "recorder/log.h"
#include "recorder/state.h"

#include <array>
#include <cstdio>
#include <cstring>

namespace capd {

static_assert(EDID_IMAGE_SIZE == EDID_ROM_SIZE);

namespace {

void dump(const unsigned char* bytes)
{
    for (int i = 0; i < EDID_IMAGE_SIZE; ++i) printf(i % 8 == 7 ? "%.2X\n" : "%.2X ", static_cast<unsigned>(bytes[i]));
}

} // namespace

int edid_data_callback(const unsigned char* edid)
{
    CAPD_LOG(LOG_INFO, "Got edid data in callback\n");
    if (settings.edid_write_disabled == 1) {
        CAPD_LOG(LOG_INFO, "Edid write disabled\n");
        return 0;
    }
    if (recorder_state() == STATE_RECORDING) {
        CAPD_LOG(LOG_INFO, "Busy recording, not setting edid data\n");
        return 0;
    }
    dump(edid);
    CAPD_LOG(LOG_INFO, "Writing edid data in callback\n");
    int r = edidrom_init();
    CAPD_LOG(LOG_INFO, "edidrom_init: %d\n", r);
    CAPD_LOG(LOG_INFO, "Reading current edidrom\n");
    std::array<unsigned char, EDID_ROM_SIZE> current{};
    r = edidrom_read(current.data(), 0, EDID_ROM_SIZE);
    if (r != 0) {
        CAPD_LOG(LOG_INFO, "Error when reading edidrom, not writing \n");
        edidrom_close();
        return r;
    }
    CAPD_LOG(LOG_INFO, "Result: \n");
    dump(current.data());
    if (memcmp(edid, current.data(), EDID_ROM_SIZE) != 0) {
        CAPD_LOG(LOG_INFO, "Found a difference in edidrom and output edid, writing edidrom\n");
        r = edidrom_write(edid, 0, EDID_ROM_SIZE);
        if (r != 0) CAPD_LOG(LOG_WARNING, "Error writing edid data in callback\n");
    }
    edidrom_close();
    return r;
}

} // namespace capd
