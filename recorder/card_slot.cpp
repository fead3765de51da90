#include "recorder/card_slot.h"

#include "recorder/card.h"
#include "recorder/corrections.h"
#include "recorder/log.h"
#include "recorder/recording.h"
#include "recorder/state.h"
#include "services/period_clock.h"
#include "services/storage.h"

namespace capd {

namespace {

int64_t last_storage_event; // seconds; last look at the slot
bool card_removed;          // from the look that missed the card to the one that finds it

int look_for_new_card()
{
    if (storage_card_present() != 0) return 0;
    CAPD_LOG_STEP(LOG_INFO, "New storage was added\n");
    card_removed = false;
    // A restart or the record key may have been faster than this look. Measuring would end with an unmount, and an
    // encoder that has not opened its file yet would then fill the box's own root file system.
    if (recorder_state() == STATE_RECORDING) return 0;
    return _storage_measure();
}

void look_for_removed_card()
{
    if (storage_card_present() == 0) return;
    CAPD_LOG_STEP(LOG_INFO, "Storage removed\n");
    _storage_led_bar_clear();
    _auto_stop();
    if (recorder_corrections.space) _storage_forget(); // the next card would be recorded on as if it had as much room
    card_removed = true;
}

} // namespace

int _check_storage_event()
{
    const LogOperation operation(__func__);
    const int64_t now = period_seconds();
    if (now - last_storage_event <= 0) return 0;
    int r = 0;
    if (card_removed)
        r = look_for_new_card();
    else
        look_for_removed_card();
    last_storage_event = now;
    return r;
}

} // namespace capd
