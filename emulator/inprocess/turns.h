/**
 * @file
 * Turns of the threads on the virtual clock. They are contexts of one thread of this machine, which change places when
 * one sleeps: a turn costs the same on a busy machine as on an idle one, where a scheduler would let each of a million
 * turns wait for milliseconds.
 */
#pragma once

#include "emulator/base/timeline.h"

#include <functional>
#include <memory>
#include <ucontext.h>
#include <vector>

namespace emu {

class Turns {
public:
    explicit Turns(Timeline& time) : time_(time) {}

    /** Make the caller the first thread. It has the turn. */
    void begin();

    /** Let time pass for the thread that has the turn, and the others run; events of the box happen in between. */
    void sleep(Micros duration);

    /** Start a thread whose first turn comes when the caller sleeps. */
    void start(std::function<void()> body);

    /** Start a thread that runs at once until it first sleeps; then the caller goes on, without time having passed. */
    void start_now(std::function<void()> body);

private:
    struct Thread {
        Micros wake;
        uint64_t order; ///< who asked first goes first at the same moment
        std::function<void()> body;
        ucontext_t context{};
        const void* stack = nullptr; ///< its lowest address
        size_t stack_size = 0;
        int saved_errno = 0; ///< each thread has its own
    };

    static void run_current();

    Thread& add(std::function<void()> body);
    Thread& next() const;
    void change_to(Thread& chosen);

    Timeline& time_;
    std::vector<std::unique_ptr<Thread>> threads_;
    Thread* current_ = nullptr; ///< has the turn
    uint64_t order_ = 0;
};

} // namespace emu
