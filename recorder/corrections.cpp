#include "recorder/corrections.h"

#include "hdmirx/hdmirx_corrections.h"
#include "hdmitx/hdmitx_corrections.h"
#include "recorder/log.h"
#include "services/corrections.h"

#include <cstdio>
#include <cstring>

namespace capd {

constinit RecorderCorrections recorder_corrections;

namespace {

/** A correction, and its switches in the rooms; nullptr: no more. */
struct Correction {
    const char* name;
    bool* switches[3];
};

constexpr Correction CORRECTIONS[] = {
    {"recordings", {&recorder_corrections.recordings, &service_corrections.recordings, nullptr}},
    {"space", {&recorder_corrections.space, &service_corrections.space, nullptr}},
    {"pace", {&recorder_corrections.pace, &service_corrections.pace, nullptr}},
    {"displays", {&recorder_corrections.displays, &hdmitx_corrections.displays, nullptr}},
    {"formats", {&recorder_corrections.formats, &hdmirx_corrections.formats, nullptr}},
    {"panel", {&recorder_corrections.panel, &hdmirx_corrections.panel, nullptr}},
};

/** A name in a list; its end is not a terminator. */
struct Word {
    const char* text;
    size_t length;

    bool is(const char* name) const { return strlen(name) == length && strncmp(text, name, length) == 0; }
};

/** @return whether there is such a correction */
bool turn(const Word& name, bool on)
{
    bool found = false;
    for (const Correction& correction : CORRECTIONS) {
        if (!name.is(correction.name) && !name.is("all")) continue;
        for (bool* one : correction.switches)
            if (one != nullptr) *one = on;
        found = true;
    }
    return found;
}

void take(const Word& word)
{
    if (word.length == 0) return;
    if (word.is("none")) {
        turn({"all", 3}, false);
    } else if (!turn(word, true)) {
        CAPD_LOG_STEP(LOG_WARNING,
                      "No correction '%.*s'; there are recordings, space, pace, displays, formats, panel, all, none\n",
                      static_cast<int>(word.length), word.text);
    }
}

} // namespace

void set_corrections(const char* list)
{
    for (;;) {
        const size_t length = strcspn(list, ",");
        take({list, length});
        if (list[length] == '\0') return;
        list += length + 1;
    }
}

void log_corrections()
{
    char names[80] = ""; // longer than all of them together
    size_t length = 0;
    for (const Correction& correction : CORRECTIONS) {
        if (!*correction.switches[0]) continue;
        const char* comma = length == 0 ? "" : ",";
        length += static_cast<size_t>(snprintf(names + length, sizeof(names) - length, "%s%s", comma, correction.name));
    }
    if (length != 0) CAPD_LOG_STEP(LOG_INFO, "Corrections in force: %s\n", names);
}

} // namespace capd
