#include "recorder/card_slot.h"

#include "platform/platform.h"
#include "recorder/card.h"
#include "recorder/log.h"
#include "recorder/recording.h"
#include "recorder/status.h"
#include "services/storage.h"

namespace capd {

static int look_for_new_card(const char* function)
{
    if (storage_card_present() != 0) return 0;
    CAPD_LOG_AS(function, LOG_INFO, "New storage was added\n");
    status.card_removed = 0;
    // A restart or the record key may have been faster than this look. Measuring would end with an unmount, and an
    // encoder that has not opened its file yet would then fill the box's own root file system.
    if (recorder_state() == STATE_RECORDING) return 0;
    return _storage_measure();
}

static void look_for_removed_card(const char* function)
{
    if (storage_card_present() == 0) return;
    CAPD_LOG_AS(function, LOG_INFO, "Storage removed\n");
    _storage_led_bar_clear();
    _auto_stop();
    status.card_removed = 1;
}

int _check_storage_event()
{
    const int64_t now = platform::wall_seconds();
    if (now - status.last_storage_event <= 0) return 0;
    int r = 0;
    if (status.card_removed == 1)
        r = look_for_new_card(__func__);
    else
        look_for_removed_card(__func__);
    status.last_storage_event = now;
    return r;
}

} // namespace capd
