// Figures of the daemon on the in-process box. Each is printed with the floor that its comment explains.
#include "devaccess/i2c.h"
#include "emulator/inprocess/inprocess.h"
#include "hdmirx/hdmirx.h"
#include "hdmirx/src/hdmirx/video_state.h"
#include "hdmitx/hdmitx.h"
#include "recorder/capd.h"

#include <array>
#include <benchmark/benchmark.h>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <string>

namespace {

using Clock = std::chrono::steady_clock;

void tell(const char* line)
{
    const emu::Reply reply = emu::inprocess_box().command(line);
    if (reply.ok) return;
    std::fprintf(stderr, "%s\n", reply.text.c_str());
    std::exit(1);
}

/** One I2C read through the daemon's transport, the seam and the emulated chip: below 1 us. */
void BM_Request(benchmark::State& state)
{
    unsigned int value = 0;
    const unsigned int reg = 0x10;
    for (auto _ : state) benchmark::DoNotOptimize(capd::do_rdi2cnb(1, capd::I2C_RECEIVER, 1, &reg, 1, &value));
}

/** Transfers and time of a receiver tick by video state, from 5 V to a running picture and ten seconds of it. */
void BM_Tick(benchmark::State& state)
{
    struct Sum {
        uint64_t ticks = 0, transfers = 0;
        double seconds = 0;
    };
    std::map<int, Sum> sums;
    for (auto _ : state) {
        tell("source 0 unplug");
        capd::hdmirx_init();
        for (int tick = 0; tick < 900; ++tick) {
            if (tick == 100) tell("source 0 plug 1080p60");
            Sum& sum = sums[capd::rx::VState()];
            const uint64_t transfers = emu::inprocess_box().i2c().count();
            const auto start = Clock::now();
            capd::hdmirx_run();
            sum.seconds += std::chrono::duration<double>(Clock::now() - start).count();
            sum.transfers += emu::inprocess_box().i2c().count() - transfers;
            ++sum.ticks;
            emu::inprocess_sleep(20'000);
        }
    }
    for (const auto& [vstate, sum] : sums) {
        const std::string name = "state" + std::to_string(vstate);
        const auto ticks = static_cast<double>(sum.ticks);
        state.counters[name + "_transfers"] = static_cast<double>(sum.transfers) / ticks;
        state.counters[name + "_us"] = sum.seconds * 1e6 / ticks;
    }
}

/**
 * Virtual time from hot plug to programmed output beside its floor: one millisecond for each of the 256 bytes and one
 * poll period. The display is plugged in right after a poll, the worst moment. Reading the EDID takes longer than a
 * poll period, so the second step follows at once. What is above the floor is the wait of the AFE set-up.
 */
void BM_HotPlug(benchmark::State& state)
{
    constexpr double FLOOR_MS = 256 + 100;
    constexpr emu::Micros POLL_US = 100'000;
    double total_ms = 0;
    capd::hdmitx_init();
    for (auto _ : state) {
        tell("display plug tv");
        const emu::Micros start = emu::inprocess_box().time().now();
        emu::inprocess_sleep(POLL_US);
        const emu::Micros noticed = emu::inprocess_box().time().now();
        capd::hdmitx_run();
        const emu::Micros spent = emu::inprocess_box().time().now() - noticed;
        if (spent < POLL_US) emu::inprocess_sleep(POLL_US - spent);
        capd::hdmitx_run();
        total_ms += static_cast<double>(emu::inprocess_box().time().now() - start) / 1e3;
        tell("display unplug");
        capd::hdmitx_run();
    }
    const double average = total_ms / static_cast<double>(state.iterations());
    state.counters["virtual_ms"] = average;
    state.counters["floor_ms"] = FLOOR_MS;
    state.counters["ratio"] = average / FLOOR_MS;
}

/** Two virtual hours of recording with the full loop, the LED thread and a bus of a speed: below 10 s of real time. */
void BM_TwoHoursOfRecording(benchmark::State& state)
{
    emu::inprocess_set_loop_step(static_cast<emu::Micros>(state.range(0)));
    emu::inprocess_box().i2c().set_speed(static_cast<uint32_t>(state.range(1)));
    std::filesystem::current_path(emu::inprocess_box().root().map("/kxbin"));
    tell("card insert");
    tell("source 0 plug 1080p60");
    static std::array<char, 5> name{"capd"};
    static std::array<char*, 2> arguments{name.data(), nullptr};
    emu::inprocess_start([] { capd::run(1, arguments.data()); });
    emu::inprocess_sleep(10'000'000);
    tell("key record");
    emu::inprocess_sleep(1'000'000);
    for (auto _ : state) emu::inprocess_sleep(7'200'000'000);
    state.counters["card_files"] = static_cast<double>(emu::inprocess_box().card().files().size());
}

} // namespace

BENCHMARK(BM_Request);
BENCHMARK(BM_Tick)->Iterations(5);
BENCHMARK(BM_HotPlug)->Iterations(20);
BENCHMARK(BM_TwoHoursOfRecording)
    ->ArgNames({"step", "hz"})
    ->Args({100, 0})
    ->Args({100, 100'000})
    ->Args({10'000, 0})
    ->Iterations(1)
    ->Unit(benchmark::kSecond);

BENCHMARK_MAIN();
