/**
 * @file
 * What the recorder's scenarios share: the box with the daemon on it, its keys and LEDs, and the daemon's log.
 */
#pragma once

#include "tests/support/bench.h"

#include <cstdio>
#include <memory>
#include <unistd.h>
#include <vector>

namespace bench {

/** LEDs of group 0 by what they show. */
enum Led : int { POWER, PORT_0, RECORDING_0, PORT_1, RECORDING_1, CONFIGURATION, ERROR };

class RecorderBox {
public:
    /** @param loop_step how long the loop's sleep of 1 us takes */
    explicit RecorderBox(emu::Micros loop_step = 10'000)
    {
        emu::inprocess_set_loop_step(loop_step);
        std::setvbuf(stdout, nullptr, _IOLBF, 0);                // one order of lines on both outputs
        EXPECT_EQ(chdir(box().root().map("/kxbin").c_str()), 0); // where the box's start-up script starts the daemon
    }

    /** When something went wrong the whole log is worth reading. */
    ~RecorderBox()
    {
        log();
        output_.reset();
        if (testing::Test::HasFailure()) std::fwrite(all_.data(), 1, all_.size(), stdout);
    }

    /** A card in the slot and a source of 1080p60 with stereo sound on port 0. */
    void usual_world()
    {
        tell("card insert");
        tell("source 0 plug 1080p60");
    }

    /** Start the daemon and give it time until its input is stable. */
    void start(std::initializer_list<const char*> options = {})
    {
        Daemon{options};
        run_for(4s);
    }

    void press(const std::string& key, std::chrono::microseconds time = 1s)
    {
        tell("key " + key);
        run_for(time);
    }

    /** What was printed since the last call. */
    std::string log()
    {
        std::string text = output_->take();
        all_ += text;
        return text;
    }

    bool encoder_runs()
    {
        box().encoder().catch_up();
        return box().encoder().recording().has_value();
    }

    /** Size of a recording in KiB; -1 when there is none. */
    long file_kb(const std::string& name)
    {
        box().encoder().catch_up();
        const auto files = box().card().files();
        const auto file = files.find(name);
        return file == files.end() ? -1 : static_cast<long>(file->second / 1024);
    }

    /** Names of the recordings on the card, in order, each with a blank behind it. */
    std::string recordings()
    {
        std::string names;
        for (const auto& [name, size] : box().card().files())
            if (name.ends_with(".mp4")) names += name + " ";
        return names;
    }

    static char look(int group, int led)
    {
        switch (box().board().look(group, led)) {
        case emu::LedLook::Off: return '-';
        case emu::LedLook::On: return 'O';
        case emu::LedLook::Blinking: return '*';
        }
        return '?';
    }

    /** The panel's seven LEDs as a person sees them: '-' dark, 'O' lit, '*' blinking. */
    static std::string panel()
    {
        std::string text;
        for (int led = POWER; led <= ERROR; ++led) text += look(0, led);
        return text;
    }

    /** The storage bar's six LEDs likewise. */
    static std::string bar()
    {
        std::string text;
        for (int led = 0; led < 6; ++led) text += look(1, led);
        return text;
    }

    /** How often the error LED lights up while something is done and the five seconds after it. */
    template<typename Act>
    static uint64_t error_flashes(Act act)
    {
        const uint64_t before = box().board().flashes(0, ERROR);
        act();
        run_for(5s);
        return box().board().flashes(0, ERROR) - before;
    }

private:
    std::unique_ptr<Output> output_ = std::make_unique<Output>();
    std::string all_;
};

/** The first of some texts that does not follow the ones before it in a log; empty when all do. */
inline std::string missing_in_order(const std::string& log, const std::vector<std::string>& texts)
{
    size_t at = 0;
    for (const std::string& text : texts) {
        at = log.find(text, at);
        if (at == std::string::npos) return text;
        at += text.size();
    }
    return {};
}

} // namespace bench
