#include "recorder/self_test.h"

#include "recorder/daemon_settings.h"
#include "recorder/keys.h"
#include "recorder/recording.h"
#include "recorder/selection.h"
#include "recorder/timer.h"

#include <array>
#include <cstdio>
#include <span>

namespace capd {

struct TestStep {
    Action action;
    int32_t argument;
    int32_t delay_ms; ///< from this step's start to the next one's
};

// clang-format off
constexpr TestStep FAST_STEPS[] = {
    {_power_on,             0, 0},
    {_power_off,            0, 0},
    {_power_on,             0, 0},
    {_hdmirx_port_select,   0, 0},
    {_av_rec_config_select, 0, 0},
    {_av_rec_start,         0, 0},
    {_av_rec_stop,          0, 0},
    {_hdmirx_port_select,   1, 0},
    {_av_rec_config_select, 1, 0},
    {_av_rec_start,         0, 0},
    {_av_rec_stop,          0, 0},
};
constexpr TestStep SLOW_STEPS[] = {
    {_power_on,             0, 2000},
    {_power_off,            0, 2000},
    {_power_on,             0, 2000},
    {_hdmirx_port_select,   0, 2000},
    {_av_rec_config_select, 0, 2000},
    {_av_rec_start,         0, 5000},
    {_av_rec_stop,          0, 5000},
    {_hdmirx_port_select,   1, 2000},
    {_av_rec_config_select, 1, 2000},
    {_av_rec_start,         0, 5000},
    {_av_rec_stop,          0, 5000},
};
constexpr TestStep RECORDING_STEPS[] = {
    {_hdmirx_port_select,   0, 0},
    {_av_rec_config_select, 0, 3000},
    {_av_rec_start,         0, 10000},
    {_av_rec_stop,          0, 0},
    {_hdmirx_port_select,   1, 0},
    {_av_rec_config_select, 1, 3000},
    {_av_rec_start,         0, 10000},
    {_av_rec_stop,          0, 0},
    {_hdmirx_port_select,   0, 0},
    {_av_rec_config_select, 0, 0},
    {_hdmirx_port_select,   1, 0},
    {_av_rec_config_select, 1, 0},
};
// clang-format on

/** By sequence number. */
constexpr std::array<std::span<const TestStep>, 3> SEQUENCES = {FAST_STEPS, SLOW_STEPS, RECORDING_STEPS};

bool self_test_exists(int sequence)
{
    return sequence >= 0 && sequence < static_cast<int>(SEQUENCES.size());
}

namespace {

size_t test_step;       // the next one
uint64_t test_delay_us; // before it
Timer test_timer{1, 0}; // long due, so that the first step runs at once

} // namespace

void self_test_run()
{
    if (timer_expired(&test_timer, test_delay_us) != 1) return;
    const std::span<const TestStep> steps = SEQUENCES[static_cast<size_t>(settings.test_sequence)];
    const TestStep& step = steps[test_step];
    printf(">> Run test function %d, delay after %dmsec\n", static_cast<int>(test_step), step.delay_ms);
    step.action(step.argument);
    test_delay_us = static_cast<uint64_t>(step.delay_ms) * 1000;
    test_step = (test_step + 1) % steps.size();
}

} // namespace capd
