/**
 * @file
 * The clock that periods are measured with: how long ago something was, never when. Any thread; no call blocks.
 */
#pragma once

#include "platform/platform.h"

namespace capd {

/** The time; its seconds are never 0 on a box whose clock is right or whose periods are corrected. */
platform::WallTime period_time();

/** Its whole seconds. */
int64_t period_seconds();

} // namespace capd
