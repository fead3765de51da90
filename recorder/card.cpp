#include "recorder/card.h"

#include "platform/platform.h"
#include "recorder/corrections.h"
#include "recorder/daemon_settings.h"
#include "recorder/log.h"
#include "recorder/panel.h"
#include "recorder/state.h"
#include "services/storage.h"

#include <array>

namespace capd {

constexpr int UMOUNT_ATTEMPTS = 4;
constexpr uint32_t UMOUNT_RETRY_US = 1'000'000;

/** KiB of free space below which LED 0 to 4 of the bar is lit: 512 GiB, 16 GiB, 8 GiB, 2 GiB, 512 MiB. */
constexpr std::array<unsigned long, BAR_LEDS - 1> BAR_THRESHOLD_KB = {536'870'912, 16'777'216, 8'388'608, 2'097'152,
                                                                      524'288};

namespace {

uint32_t sddisk_available_kb; // as last measured, less the files closed since; 0 not known
bool measured;                // sddisk_available_kb is known

/** What is left of free space when so much of it is gone. */
uint32_t left(uint32_t free_kb, uint32_t gone_kb)
{
    // Below nothing the figure wraps to 4 TiB, and the end of the card is never seen.
    return recorder_corrections.space && gone_kb > free_kb ? 0 : free_kb - gone_kb;
}

bool below_limit(uint32_t free_kb)
{
    return free_kb < settings.storage_hard_limit;
}

/** Mode of one LED of the bar. LED 5 has no threshold: it joins in below the hard limit only. */
int bar_mode(int led, unsigned long free_kb)
{
    if (free_kb < settings.storage_hard_limit) return LED_BLINK;
    if (led >= static_cast<int>(BAR_THRESHOLD_KB.size())) return LED_OFF;
    return free_kb < BAR_THRESHOLD_KB[static_cast<size_t>(led)] ? LED_ON : LED_OFF;
}

} // namespace

int _storage_mount()
{
    if (storage_is_mounted() == 0) return 0;
    return storage_mount();
}

int _storage_umount()
{
    const int mounted = storage_is_mounted();
    // A look that was killed says nothing, and a card that is pulled while it is mounted loses files.
    if (recorder_corrections.recordings ? mounted == 1 : mounted != 0) return 0;
    for (int attempt = 1; storage_umount_device() != 0; ++attempt) {
        if (attempt == UMOUNT_ATTEMPTS) {
            CAPD_LOG(LOG_WARNING, "umount sddisk failed\n");
            return 1;
        }
        CAPD_LOG(LOG_INFO, "umount sddisk failed, sleeping and retrying..\n");
        platform::sleep_us(UMOUNT_RETRY_US);
    }
    CAPD_LOG(LOG_INFO, "umount sddisk succeedeed\n");
    return 0;
}

int _storage_check_led_update()
{
    int r = storage_check_writable();
    if (r != 0) {
        CAPD_LOG(LOG_NOTICE, "Storage mounted but read-only\n");
        _storage_led_bar_clear();
        show_error(RecorderError::CardNotWritable);
        return r;
    }
    unsigned long free_kb = 0;
    r = storage_get_available_kb(&free_kb);
    measured = r == 0;
    sddisk_available_kb = static_cast<uint32_t>(free_kb);
    CAPD_LOG(LOG_INFO, "sddisk_available_kb: %lukb\n", static_cast<unsigned long>(sddisk_available_kb));
    CAPD_LOG(LOG_INFO, "storage_hard_limit: %lukb\n", static_cast<unsigned long>(settings.storage_hard_limit));
    if (!free_space_is_known()) CAPD_LOG(LOG_WARNING, "The free space is not known\n");
    _storage_led_bar_update(sddisk_available_kb);
    return r;
}

void _storage_forget()
{
    measured = false;
    sddisk_available_kb = 0;
}

bool free_space_is_known()
{
    return !recorder_corrections.space || measured;
}

int _storage_measure()
{
    _storage_forget(); // what was known is of the card before
    const int r = _storage_mount();
    if (r != 0) return r;
    _storage_check_led_update();
    return _storage_umount();
}

int _sddisk_available_kb_update(const char* file)
{
    unsigned long size = 0;
    const int r = storage_get_file_size(file, &size);
    if (r != 0) {
        CAPD_LOG(LOG_WARNING, "Couldn't get file size: %d\n", r);
        return 0;
    }
    sddisk_available_kb = left(sddisk_available_kb, static_cast<uint32_t>(size >> 10));
    CAPD_LOG(LOG_INFO, "Sddisk available kb: %lu\n", static_cast<unsigned long>(sddisk_available_kb));
    return 0;
}

uint32_t _sddisk_free_kb(uint32_t file_kb)
{
    return left(sddisk_available_kb, file_kb);
}

int _storage_led_bar_update(unsigned long free_kb)
{
    if (!free_space_is_known()) {
        _storage_led_bar_clear();
        return 0;
    }
    for (int led = BAR_LEDS - 1; led >= 0; --led) led_set(BAR_GROUP, led, bar_mode(led, free_kb));
    return 0;
}

void _storage_led_bar_clear()
{
    for (int led = BAR_LEDS - 1; led >= 0; --led) led_set(BAR_GROUP, led, LED_OFF);
}

bool _storage_is_full()
{
    // 0 stands for "not known" as well, and a card that is full to the last block would be recorded on.
    if (recorder_corrections.space) return measured && (sddisk_available_kb == 0 || below_limit(sddisk_available_kb));
    return sddisk_available_kb != 0 && sddisk_available_kb < settings.storage_hard_limit;
}

} // namespace capd
