#include "recorder/edid_passthrough.h"

#include "hdmitx/edid_rom.h"
#include "hdmitx/hdmitx.h"
#include "recorder/corrections.h"
#include "recorder/daemon_settings.h"
#include "recorder/log.h"
#include "recorder/state.h"
#include "recorder/timer.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>

namespace capd {

static_assert(EDID_IMAGE_SIZE == EDID_ROM_SIZE);

namespace {

// An access takes the ROM away from the source, which may drop its picture, and a cell bears a million writes: a ROM
// that does not take them is left alone more and more.
constexpr uint64_t FIRST_RETRY_US = 5'000'000;
constexpr uint64_t LAST_RETRY_US = 640'000'000;

std::array<unsigned char, EDID_IMAGE_SIZE> pending; // what the ROM should hold
bool is_pending;                                    // and does not yet
Timer retry_timer;
uint64_t retry_us = FIRST_RETRY_US;

void dump(const unsigned char* bytes)
{
    for (int i = 0; i < EDID_IMAGE_SIZE; ++i) printf(i % 8 == 7 ? "%.2X\n" : "%.2X ", static_cast<unsigned>(bytes[i]));
}

void remember(const unsigned char* edid)
{
    std::copy_n(edid, pending.size(), pending.begin());
    is_pending = true;
    timer_start(&retry_timer);
}

bool rom_holds(const unsigned char* edid)
{
    std::array<unsigned char, EDID_ROM_SIZE> current{};
    return edidrom_read(current.data(), 0, EDID_ROM_SIZE) == 0 && memcmp(edid, current.data(), EDID_ROM_SIZE) == 0;
}

/** Write the ROM. @return 0, or the failing access's result */
int write_rom(const unsigned char* edid)
{
    const int r = edidrom_write(edid, 0, EDID_ROM_SIZE);
    if (r != 0) CAPD_LOG_STEP(LOG_WARNING, "Error writing edid data in callback\n");
    return r;
}

/** Write the ROM and look whether it took it; once more when it did not. */
void write_rom_surely(const unsigned char* edid)
{
    for (int attempt = 0; attempt < 2; ++attempt)
        if (write_rom(edid) == 0 && rom_holds(edid)) return;
    CAPD_LOG_STEP(LOG_WARNING, "The edidrom does not hold what was written, trying again later\n");
    remember(edid);
}

/** Bring the ROM up to date. */
int pass_on(const unsigned char* edid)
{
    dump(edid);
    CAPD_LOG_STEP(LOG_INFO, "Writing edid data in callback\n");
    int r = edidrom_init();
    CAPD_LOG_STEP(LOG_INFO, "edidrom_init: %d\n", r);
    CAPD_LOG_STEP(LOG_INFO, "Reading current edidrom\n");
    std::array<unsigned char, EDID_ROM_SIZE> current{};
    r = edidrom_read(current.data(), 0, EDID_ROM_SIZE);
    if (r != 0) {
        CAPD_LOG_STEP(LOG_INFO, "Error when reading edidrom, not writing \n");
        edidrom_close();
        if (recorder_corrections.displays) remember(edid); // the source would never learn of this display
        return r;
    }
    CAPD_LOG_STEP(LOG_INFO, "Result: \n");
    dump(current.data());
    if (memcmp(edid, current.data(), EDID_ROM_SIZE) != 0) {
        CAPD_LOG_STEP(LOG_INFO, "Found a difference in edidrom and output edid, writing edidrom\n");
        // Half an EDID has a wrong checksum: a source that reads it takes the box for a broken display.
        if (recorder_corrections.displays)
            write_rom_surely(edid);
        else
            r = write_rom(edid);
    }
    edidrom_close();
    return r;
}

} // namespace

int edid_data_callback(const unsigned char* edid)
{
    const LogOperation operation(__func__);
    CAPD_LOG_STEP(LOG_INFO, "Got edid data in callback\n");
    is_pending = false;
    retry_us = FIRST_RETRY_US;
    if (settings.edid_write_disabled == 1) {
        CAPD_LOG_STEP(LOG_INFO, "Edid write disabled\n");
        return 0;
    }
    if (recorder_state() == STATE_RECORDING) {
        CAPD_LOG_STEP(LOG_INFO, "Busy recording, not setting edid data\n");
        if (recorder_corrections.displays) remember(edid); // as long as it takes: the display may stay for years
        return 0;
    }
    return pass_on(edid);
}

void edid_passthrough_retry()
{
    if (!is_pending || recorder_state() == STATE_RECORDING || recorder_state() == STATE_AUTO_STOPPED) return;
    if (timer_expired(&retry_timer, retry_us) == 0) return;
    const LogOperation operation("edid_data_callback");
    const std::array<unsigned char, EDID_IMAGE_SIZE> edid = pending;
    is_pending = false;
    retry_us = std::min(2 * retry_us, LAST_RETRY_US);
    pass_on(edid.data());
}

} // namespace capd
