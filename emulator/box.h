/**
 * @file
 * The emulated box: the hardware, and on top of it the commands that look at all of it. It outlives the daemon as
 * hardware does.
 *
 * One thread at a time uses a box. No call blocks, but for shell lines, which run in a real shell.
 */
#pragma once

#include "emulator/hardware.h"

namespace emu {

class Box : public Hardware {
public:
    explicit Box(const BoxOptions& options);

    /** Whether "quit" was said; what goes on then is up to the owner. */
    bool switched_off() const { return switched_off_; }

private:
    bool switched_off_ = false;
};

} // namespace emu
